// Every vector path of the colour dropouts equals the scalar one, pixel for pixel.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "colour/colour_dropout.h"
#include "quilp32.h"
#include "support/dropout_reference.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::simd::Tier;

namespace {

quilp::DropoutKernels const& TableFor(Tier t) {
  return t == Tier::kAvx2 ? quilp::DropoutKernelsAvx2() : quilp::DropoutKernelsSse41();
}

}  // namespace

// The integer division must stay exact on every path: the whole colour cube, for colours whose
// weights are large, small, negative or lopsided.
TEST(DropoutSimd, OneColourIsExactOverTheWholeColourCube) {
  unsigned char const colours[][3] = {{0, 0, 255}, {200, 30, 90}, {254, 255, 255}, {1, 0, 0},
                                      {0, 128, 255}, {0, 255, 255}};
  DibPtr cube(DibCreate(65536, 1, 0, 0, 24));
  std::vector<uint8_t> want(65536);
  for (auto const& colour : colours) {
    OneColourRef const ref(colour);
    ASSERT_TRUE(ref.valid);
    for (int red = 0; red < 256; ++red) {
      uint8_t* row = cube->GetLine(0);
      for (int i = 0; i < 65536; ++i) {
        row[3 * i] = uint8_t(i & 255);
        row[3 * i + 1] = uint8_t(i >> 8);
        row[3 * i + 2] = uint8_t(red);
        want[i] = uint8_t(ref(i & 255, i >> 8, red));
      }
      for (Tier tier : ScalarAndVectorTiers()) {
        ScopedTier cap(tier);
        DibPtr out(DibSupressColor(cube.get(), &colour, nullptr));
        ASSERT_NE(out, nullptr);
        ASSERT_EQ(std::memcmp(out->GetLine(0), want.data(), want.size()), 0)
            << quilp::simd::TierName(tier) << " colour " << int(colour[0]) << ","
            << int(colour[1]) << "," << int(colour[2]) << " red " << red;
      }
    }
  }
}

TEST(DropoutSimd, ColourSetRowsEqualTheScalarRows) {
  std::mt19937 rng(17);
  for (Tier tier : VectorTiers())
    for (int keepCount : {1, 2, 8, 9})
      for (int dropCount : {0, 1, 7, 8, 17}) {
        std::vector<double> keep(3 * keepCount), drop(3 * dropCount + 3);
        for (auto* u : {&keep, &drop})
          for (std::size_t i = 0; i + 2 < u->size(); i += 3) {
            double const a[3] = {double(rng() % 256), double(rng() % 256), double(rng() % 255 + 1)};
            double const r = 1.0 / std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
            for (int c = 0; c < 3; ++c) (*u)[i + c] = a[c] * r;
          }
        quilp::ColourSets const sets{keep.data(), keepCount, drop.data(), dropCount};
        for (int width : kAwkwardWidths) {
          std::vector<uint8_t> row(3 * width);
          for (auto& b : row) b = uint8_t(rng());
          for (int x = 0; x < width; x += 5) row[3 * x] = row[3 * x + 1] = row[3 * x + 2] = 255;
          for (int x = 2; x < width; x += 6)  // exactly along the first kept colour
            for (int c = 0; c < 3; ++c) row[3 * x + c] = uint8_t(255 - int(keep[c] * 200 + 0.5));
          std::vector<uint8_t> want(width), got(width);
          quilp::DropoutKernelsScalar().colourSets(row.data(), want.data(), width, sets);
          TableFor(tier).colourSets(row.data(), got.data(), width, sets);
          ASSERT_EQ(want, got) << quilp::simd::TierName(tier) << " width " << width << " keep "
                               << keepCount << " drop " << dropCount;
        }
      }
}

// The fast vector path estimates the sines in single precision and must fall back wherever
// that could change a rounding: many pixels, most of them close to a kept or a dropped colour
// (where the sines are small), the rest random, against the scalar rows.
TEST(DropoutSimd, ColourSetsAgreeNearEveryColour) {
  std::mt19937 rng(23);
  for (Tier tier : VectorTiers())
    for (int trial = 0; trial < 24; ++trial) {
      int const keepCount = 1 + trial % 3, dropCount = trial % 9;
      std::vector<std::array<int, 3>> darkness;
      std::vector<double> keep, drop;
      for (int i = 0; i < keepCount + dropCount; ++i) {
        std::array<int, 3> a = {int(rng() % 256), int(rng() % 256), int(rng() % 256)};
        if (a[0] + a[1] + a[2] == 0) a[1] = 1;
        if (i == 1 && trial % 4 == 0) a = darkness[0];  // a colour both kept and dropped
        darkness.push_back(a);
        double const r = 1.0 / std::sqrt(double(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]));
        for (int c = 0; c < 3; ++c) (i < keepCount ? keep : drop).push_back(a[c] * r);
      }
      drop.resize(drop.size() + 3);
      quilp::ColourSets const sets{keep.data(), keepCount, drop.data(), dropCount};
      int const width = 4099;
      std::vector<uint8_t> row(3 * width), want(width), got(width);
      for (int rowIndex = 0; rowIndex < 40; ++rowIndex) {
        for (int x = 0; x < width; ++x) {
          std::array<int, 3> const& a = darkness[rng() % darkness.size()];
          double const scale = (rng() % 1000) / 999.0 * 1.3;
          int const jitter = rng() % 4 == 0 ? 3 : rng() % 2;  // often exactly along
          for (int c = 0; c < 3; ++c) {
            int d = rng() % 8 == 0 ? int(rng() % 256) : int(a[c] * scale + 0.5) + int(rng() % (2 * jitter + 1)) - jitter;
            row[3 * x + c] = uint8_t(255 - std::clamp(d, 0, 255));
          }
        }
        quilp::DropoutKernelsScalar().colourSets(row.data(), want.data(), width, sets);
        TableFor(tier).colourSets(row.data(), got.data(), width, sets);
        ASSERT_EQ(want, got) << quilp::simd::TierName(tier) << " trial " << trial << " row " << rowIndex;
      }
    }
}

// Through the exports: awkward widths, both row orders, sub-rectangles.
TEST(DropoutSimd, ExportsGiveTheSameImagesOnEveryPath) {
  unsigned char const colour[3] = {40, 60, 230};
  unsigned char const keep[2][3] = {{120, 20, 20}, {0, 0, 0}};
  unsigned char const drop[9][3] = {{40, 60, 230}, {20, 200, 30}, {10, 220, 240}, {250, 10, 200},
                                    {90, 90, 200}, {0, 255, 255}, {200, 100, 0}, {60, 0, 90},
                                    {180, 180, 30}};
  for (int width : kAwkwardWidths)
    for (bool topDown : {false, true}) {
      DibPtr src = RandomDib(width + 3, 9, 24, topDown, uint32_t(width * 2 + topDown));
      tagRect32 rect{1, 1, width, 7};
      ExpectSameOnEveryTier([&] {
        std::vector<DibPtr> out;
        out.emplace_back(DibSupressColor(src.get(), &colour, &rect));
        out.emplace_back(DibSupressColors(src.get(), 2, keep, 9, drop, &rect));
        out.emplace_back(DibSupressColors(src.get(), 1, keep, 0, drop, &rect));
        return out;
      }, WidthAndOrder(width, topDown));
    }
}
