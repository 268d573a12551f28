// Variance and covariance: the formulas written out, the stated examples, the argument
// checks, and every vector path against the scalar one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "compare/statistics.h"
#include "quilp32.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::simd::Tier;

namespace {

// The covariance of byte k of two regions of the same size (variance: the same region twice),
// written from its definition: 32-bit sums within a row, double sums across rows.
double Literal(DibInfo const* a, int ax, int ay, DibInfo const* b, int bx, int by, int w, int h,
               int k) {
  int const n = a->BitsPerPixel() / 8;
  double sx = 0, sy = 0, p = 0;
  for (int y = 0; y < h; ++y) {
    uint32_t rx = 0, ry = 0, rp = 0;
    for (int x = 0; x < w; ++x) {
      uint32_t const u = a->GetLine(ay + y)[(ax + x) * n + k], v = b->GetLine(by + y)[(bx + x) * n + k];
      rx += u;
      ry += v;
      rp += u * v;
    }
    sx += rx;
    sy += ry;
    p += rp;
  }
  double const N = double(w) * h;
  if (n == 1) return N * (p / N - (sx / N) * (sy / N)) / (N - 1);
  double const factor = N / (N - 1);
  return factor * (p / N - (sx / N) * (sy / N));
}

}  // namespace

// Through the exports on every tier.
TEST(Statistics, VarianceAndCovarianceFollowTheFormulas) {
  uint32_t seed = 1;
  for (Tier tier : ScalarAndVectorTiers())
  for (int depth : {8, 24})
    for (bool topDown : {false, true}) {
      ScopedTier cap(tier);
      SCOPED_TRACE(testing::Message() << quilp::simd::TierName(tier) << ", depth " << depth
                                      << " top-down " << topDown);
      DibPtr a = RandomDib(50, 20, depth, topDown, seed++);
      DibPtr b = RandomDib(40, 30, depth, !topDown, seed++);
      tagRect32 ra{-5, 3, 37, 17}, rb{2, 10, 44, 24};  // 38 x 15 after clipping (a)
      double v[3], c[3];
      ASSERT_TRUE(DibComputeVariance(a.get(), &ra, v));
      ASSERT_TRUE(DibComputeCovariance(a.get(), &ra, b.get(), &rb, c));
      for (int k = 0; k < depth / 8; ++k) {
        EXPECT_EQ(v[k], Literal(a.get(), 0, 3, a.get(), 0, 3, 38, 15, k)) << k;
        EXPECT_EQ(c[k], Literal(a.get(), 0, 3, b.get(), 2, 10, 38, 15, k)) << k;
      }
      if (depth == 8) {
        EXPECT_TRUE(v[1] == 0.0 && v[2] == 0.0 && c[1] == 0.0 && c[2] == 0.0);
      }
      double self[3];
      ASSERT_TRUE(DibComputeCovariance(a.get(), &ra, a.get(), &ra, self));
      for (int k = 0; k < 3; ++k) EXPECT_EQ(self[k], v[k]);
    }
}

TEST(Statistics, StatedExamples) {
  DibPtr g(DibCreate(2, 1, 0, 0, 8));
  Px(g.get(), 1, 0) = 255;
  tagRect32 pair{0, 0, 1, 0};
  double r[3];
  ASSERT_TRUE(DibComputeVariance(g.get(), &pair, r));
  EXPECT_EQ(r[0], 32512.5);
  DibPtr flat(DibCreate(30, 7, 0, 0, 24));
  for (int y = 0; y < 7; ++y)
    for (int x = 0; x < 30; ++x) Px(flat.get(), x, y, 1) = 200;
  ASSERT_TRUE(DibComputeVariance(flat.get(), nullptr, r));
  EXPECT_TRUE(r[0] == 0.0 && r[1] == 0.0 && r[2] == 0.0);
  tagRect32 one{1, 0, 1, 0};
  ASSERT_TRUE(DibComputeVariance(g.get(), &one, r));
  EXPECT_TRUE(std::isnan(r[0]));
  tagRect32 outside{5, 5, 9, 9};
  ASSERT_TRUE(DibComputeVariance(g.get(), &outside, r));
  EXPECT_TRUE(std::isnan(r[0]));
}

// A row of 70,000 pixels of 255 overflows the 32-bit sum of squares; the sum wraps as defined.
TEST(Statistics, RowSumsWrapAtThirtyTwoBits) {
  DibPtr wide(DibCreate(70000, 2, 0, 0, 8));
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 70000; ++x) Px(wide.get(), x, y) = x % 3 ? 255 : 254;
  double want = Literal(wide.get(), 0, 0, wide.get(), 0, 0, 70000, 2, 0);
  for (Tier tier : ScalarAndVectorTiers()) {
    ScopedTier cap(tier);
    double r[3];
    ASSERT_TRUE(DibComputeVariance(wide.get(), nullptr, r));
    EXPECT_EQ(r[0], want) << quilp::simd::TierName(tier);
  }
}

TEST(Statistics, ArgumentChecksLeaveZeros) {
  DibPtr g = RandomDib(8, 8, 8, false, 1), c = RandomDib(8, 8, 24, false, 2);
  DibPtr bw = RandomDib(8, 8, 1, false, 3), deep = RandomDib(8, 8, 32, false, 4);
  double r[3] = {9, 9, 9};
  auto zeros = [&] { return r[0] == 0.0 && r[1] == 0.0 && r[2] == 0.0; };
  EXPECT_FALSE(DibComputeVariance(nullptr, nullptr, r));
  EXPECT_TRUE(zeros());
  EXPECT_FALSE(DibComputeVariance(g.get(), nullptr, nullptr));
  for (DibInfo* d : {bw.get(), deep.get()}) {
    r[0] = 9;
    EXPECT_FALSE(DibComputeVariance(d, nullptr, r));
    EXPECT_TRUE(zeros());
    r[1] = 9;
    EXPECT_FALSE(DibComputeCovariance(d, nullptr, d, nullptr, r));
    EXPECT_TRUE(zeros());
  }
  tagRect32 a{0, 0, 3, 3}, b{1, 1, 5, 4};
  r[2] = 9;
  EXPECT_FALSE(DibComputeCovariance(g.get(), &a, g.get(), &b, r));
  EXPECT_TRUE(zeros());
  EXPECT_FALSE(DibComputeCovariance(g.get(), nullptr, nullptr, nullptr, r));
  // Sizes are compared as given, before clipping: these two match, and the second region
  // is cut by its image to less than the first, which is refused.
  tagRect32 inside{0, 0, 5, 5}, cut{4, 4, 9, 9};
  EXPECT_FALSE(DibComputeCovariance(g.get(), &inside, g.get(), &cut, r));
  // Only the first image's depth counts: a 24-bit first image reads an 8-bit second as 24-bit.
  EXPECT_TRUE(DibComputeCovariance(c.get(), nullptr, g.get(), nullptr, r));
  EXPECT_TRUE(DibComputeCovariance(g.get(), nullptr, c.get(), nullptr, r));
}

// The second image read at the first one's depth: its row bytes from the region's start, and
// bytes beyond its pixel area as 0.
TEST(Statistics, SecondImageOfAnotherDepthIsReadAsBytes) {
  DibPtr c = RandomDib(8, 3, 24, false, 5);  // rows of 24 bytes
  DibPtr g = RandomDib(8, 3, 8, false, 6);   // rows of 8 bytes, 24 bytes in all
  double r[3];
  ASSERT_TRUE(DibComputeCovariance(c.get(), nullptr, g.get(), nullptr, r));
  uint8_t const* base = g->BitsPtr();
  std::ptrdiff_t const area = std::ptrdiff_t(g->ByteWidth()) * 3;
  for (int k = 0; k < 3; ++k) {
    double sx = 0, sy = 0, p = 0;
    for (int y = 0; y < 3; ++y) {
      uint32_t rx = 0, ry = 0, rp = 0;
      std::ptrdiff_t const start = g->GetLine(y) - base;
      for (int x = 0; x < 8; ++x) {
        std::ptrdiff_t const at = start + 3 * x + k;
        uint32_t const u = Px(c.get(), x, y, k), v = at < area ? base[at] : 0;
        rx += u;
        ry += v;
        rp += u * v;
      }
      sx += rx;
      sy += ry;
      p += rp;
    }
    double const factor = 24.0 / 23.0;
    EXPECT_EQ(r[k], factor * (p / 24 - (sx / 24) * (sy / 24))) << k;
  }
}

TEST(Statistics, VectorKernelsEqualScalar) {
  std::mt19937 rng(8);
  auto const& scalar = quilp::StatKernelsScalar();
  for (Tier tier : VectorTiers()) {
    auto const& vec = tier == Tier::kAvx2 ? quilp::StatKernelsAvx2() : quilp::StatKernelsSse41();
    for (int width : {1, 7, 15, 16, 17, 31, 32, 33, 47, 63, 64, 65, 77, 100, 1000, 70000}) {
      std::vector<uint8_t> x(3 * width), y(3 * width);
      for (auto& v : x) v = uint8_t(rng() | (width == 70000 ? 0xF0 : 0));
      for (auto& v : y) v = uint8_t(rng());
      uint32_t a[9], b[9];
      scalar.grey(x.data(), width, a);
      vec.grey(x.data(), width, b);
      ASSERT_TRUE(std::equal(a, a + 2, b)) << quilp::simd::TierName(tier) << " " << width;
      scalar.colour(x.data(), width, a);
      vec.colour(x.data(), width, b);
      ASSERT_TRUE(std::equal(a, a + 6, b)) << quilp::simd::TierName(tier) << " " << width;
      scalar.greyCross(x.data(), y.data(), width, a);
      vec.greyCross(x.data(), y.data(), width, b);
      ASSERT_TRUE(std::equal(a, a + 3, b)) << quilp::simd::TierName(tier) << " " << width;
      scalar.colourCross(x.data(), y.data(), width, a);
      vec.colourCross(x.data(), y.data(), width, b);
      ASSERT_TRUE(std::equal(a, a + 9, b)) << quilp::simd::TierName(tier) << " " << width;
    }
  }
}
