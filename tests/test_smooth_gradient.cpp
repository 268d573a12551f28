// Median, bilateral, gradient and texture maps against brute-force definitions, on every
// vector tier, at awkward widths and in both row orders.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "quilp32.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::simd::Tier;

namespace {

// Byte c of pixel (x, y) with the coordinates clamped into the image.
int At(DibInfo const* d, int x, int y, int c = 0) {
  x = std::clamp(x, 0, d->Width() - 1);
  y = std::clamp(y, 0, d->Height() - 1);
  return Px(d, x, y, c);
}

int BruteMedian(DibInfo const* d, int x, int y, int c, int size) {
  std::vector<int> v;
  for (int dy = -size / 2; dy <= size / 2; ++dy)
    for (int dx = -size / 2; dx <= size / 2; ++dx) v.push_back(At(d, x + dx, y + dy, c));
  std::nth_element(v.begin(), v.begin() + v.size() / 2, v.end());
  return v[v.size() / 2];
}

}  // namespace

TEST(Smooth, MedianIsTheWindowMedianOnEveryTier) {
  for (Tier tier : ScalarAndVectorTiers())
    for (int depth : {8, 24, 32})
      for (int size : {3, 5, 7})
        for (int width : {1, 2, 15, 33, 77})
          for (bool topDown : {false, true}) {
            if (size > 3 && width > 33) continue;
            SCOPED_TRACE(testing::Message() << quilp::simd::TierName(tier) << " depth " << depth
                                            << " size " << size << " width " << width << " "
                                            << topDown);
            ScopedTier cap(tier);
            DibPtr src = RandomDib(width, 6, depth, topDown, width * 7 + size);
            DibPtr out(DibSmooth(src.get(), 0, size, 0, nullptr));
            ASSERT_NE(out, nullptr);
            for (int y = 0; y < 6; ++y)
              for (int x = 0; x < width; ++x)
                for (int c = 0; c < depth / 8; ++c)
                  ASSERT_EQ(Px(out.get(), x, y, c), BruteMedian(src.get(), x, y, c, size))
                      << x << "," << y << " byte " << c;
          }
}

TEST(Smooth, BilateralFollowsItsWeights) {
  DibPtr src = RandomDib(13, 9, 24, true, 3);
  int const size = 5, strength = 30;
  DibPtr out(DibSmooth(src.get(), 1, size, strength, nullptr));
  ASSERT_NE(out, nullptr);
  double const sd = size / 4.0;
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 13; ++x) {
      int64_t sum[3] = {0, 0, 0}, total = 0;
      for (int dy = -2; dy <= 2; ++dy)
        for (int dx = -2; dx <= 2; ++dx) {
          int dv = 0;
          for (int c = 0; c < 3; ++c) dv = std::max(dv, std::abs(At(src.get(), x + dx, y + dy, c) - Px(src.get(), x, y, c)));
          int64_t const ws = int64_t(std::floor(4096 * std::exp(-(dx * dx + dy * dy) / (2 * sd * sd)) + 0.5));
          int64_t const wr = int64_t(std::floor(4096 * std::exp(-double(dv) * dv / (2.0 * strength * strength)) + 0.5));
          int64_t const w = (ws * wr + 2048) >> 12;
          total += w;
          for (int c = 0; c < 3; ++c) sum[c] += w * At(src.get(), x + dx, y + dy, c);
        }
      for (int c = 0; c < 3; ++c) ASSERT_EQ(Px(out.get(), x, y, c), (sum[c] + total / 2) / total);
    }
  for (auto [method, size, strength] : {std::tuple{0, 4, 0}, {1, 33, 10}, {1, 5, 0}, {2, 3, 1}})
    EXPECT_EQ(DibSmooth(src.get(), method, size, strength, nullptr), nullptr);
}

TEST(GradientMap, MagnitudeIsTheLiteralFormulaOnEveryTier) {
  for (Tier tier : ScalarAndVectorTiers())
    for (int kernel : {0, 1})
      for (int width : kAwkwardWidths)
        for (bool topDown : {false, true}) {
          SCOPED_TRACE(testing::Message() << quilp::simd::TierName(tier) << " kernel " << kernel
                                          << " width " << width << " " << topDown);
          ScopedTier cap(tier);
          DibPtr src = RandomDib(width, 5, 8, topDown, width + 31 * kernel);
          DibPtr out(DibGradientMap(src.get(), kernel, 0, 0, nullptr));
          ASSERT_NE(out, nullptr);
          int const s = kernel ? 3 : 1, c = kernel ? 10 : 2;
          float const inv = kernel ? 1.0f / 16 : 1.0f / 4;
          for (int y = 0; y < 5; ++y)
            for (int x = 0; x < width; ++x) {
              DibInfo const* d = src.get();
              int const gx = s * (At(d, x + 1, y - 1) - At(d, x - 1, y - 1) + At(d, x + 1, y + 1) -
                                  At(d, x - 1, y + 1)) + c * (At(d, x + 1, y) - At(d, x - 1, y));
              int const gy = s * (At(d, x - 1, y + 1) - At(d, x - 1, y - 1) + At(d, x + 1, y + 1) -
                                  At(d, x + 1, y - 1)) + c * (At(d, x, y + 1) - At(d, x, y - 1));
              int const want = std::min(255, int(std::sqrt(float(gx * gx + gy * gy)) * inv + 0.5f));
              ASSERT_EQ(Px(out.get(), x, y), want) << x << "," << y;
            }
        }
}

TEST(GradientMap, DirectionsPointToTheLighterSide) {
  // A ramp lighter to the right, one lighter downward, one lighter to the upper left.
  struct Case {
    int dx, dy, directions, sector;
  } const cases[] = {{1, 0, 8, 0}, {0, 1, 8, 2}, {-1, -1, 8, 5}, {0, -1, 4, 3}, {-1, 0, 2, 1}};
  for (Case const& k : cases) {
    DibPtr src(DibCreate(9, 9, 0, 0, 8));
    for (int y = 0; y < 9; ++y)
      for (int x = 0; x < 9; ++x) Px(src.get(), x, y) = uint8_t(100 + 10 * (k.dx * x + k.dy * y));
    DibPtr out(DibGradientMap(src.get(), 0, k.directions, 4, nullptr));
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(Px(out.get(), 4, 4), k.sector) << k.dx << "," << k.dy;
  }
  DibPtr flat(DibCreate(5, 5, 0, 0, 8));
  DibPtr none(DibGradientMap(flat.get(), 1, 8, 1, nullptr));
  EXPECT_EQ(Px(none.get(), 2, 2), 255);
  EXPECT_EQ(DibGradientMap(flat.get(), 2, 0, 0, nullptr), nullptr);
  EXPECT_EQ(DibGradientMap(flat.get(), 0, 1, 0, nullptr), nullptr);
}

TEST(GetTexture, BlocksHoldTheirDeviationAndEdgeEnergy) {
  for (bool topDown : {false, true})
    for (int measure : {0, 1}) {
      DibPtr src = RandomDib(23, 17, 8, topDown, 4 + measure);
      int const block = 5;
      DibPtr out(DibGetTexture(src.get(), block, measure, nullptr));
      ASSERT_NE(out, nullptr);
      ASSERT_EQ(out->Width(), 5);
      ASSERT_EQ(out->Height(), 4);
      for (int by = 0; by < 4; ++by)
        for (int bx = 0; bx < 5; ++bx) {
          double s = 0, q = 0, n = 0;
          for (int y = by * block; y < std::min(17, by * block + block); ++y)
            for (int x = bx * block; x < std::min(23, bx * block + block); ++x) {
              DibInfo const* d = src.get();
              double const v = measure == 0 ? Px(d, x, y)
                                            : std::abs(At(d, x + 1, y) - At(d, x - 1, y)) +
                                                  std::abs(At(d, x, y + 1) - At(d, x, y - 1));
              s += v, q += v * v, n += 1;
            }
          double const want = measure == 0 ? std::sqrt(std::max(0.0, q / n - (s / n) * (s / n)))
                                           : s / (2 * n);
          ASSERT_EQ(Px(out.get(), bx, by), std::min(255, int(want + 0.5))) << bx << "," << by;
        }
    }
  DibPtr src = RandomDib(8, 8, 8, false, 1);
  EXPECT_EQ(DibGetTexture(src.get(), 1, 0, nullptr), nullptr);
  EXPECT_EQ(DibGetTexture(src.get(), 4, 2, nullptr), nullptr);
}
