// The dropout grey against its literal per-pixel rule, on every tier and both row orders.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "colour/dropout_grey.h"
#include "quilp32.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::simd::Tier;

namespace {

// The rule written out in floating point: rounded third of the sum, rounded lift, capped.
int Literal(int b, int g, int r, int strength, int tolerance) {
  int const chroma = std::max({b, g, r}) - std::min({b, g, r});
  double const mean = std::floor((b + g + r) / 3.0 + 0.5);
  double const lift = std::floor(std::max(0, chroma - tolerance) * strength / 16.0 + 0.5);
  return int(std::min(255.0, mean + lift));
}

}  // namespace

TEST(DropoutGrey, EveryTierFollowsTheRule) {
  int const rules[][2] = {{0, 0}, {256, 0}, {DibDropoutStrength, DibDropoutTolerance}, {16, 255}};
  for (Tier tier : ScalarAndVectorTiers())
    for (int bits : {24, 32})
      for (int width : kAwkwardWidths)
        for (bool topDown : {false, true}) {
          DibPtr src = RandomDib(width + 70, 5, bits, topDown, uint32_t(width * 4 + bits + topDown));
          Px(src.get(), 1, 1, 0) = 255, Px(src.get(), 1, 1, 1) = 0, Px(src.get(), 1, 1, 2) = 0;
          tagRect32 const rect{1, 1, width + 1, 4};
          ScopedTier cap(tier);
          for (auto const& rule : rules) {
            SCOPED_TRACE(::testing::Message() << quilp::simd::TierName(tier) << " " << bits << " bits, width "
                                              << width << (topDown ? " top-down" : " bottom-up")
                                              << ", rule " << rule[0] << "/" << rule[1]);
            DibPtr out(DibDropoutGrey(src.get(), rule[0], rule[1], &rect));
            ASSERT_TRUE(out);
            ASSERT_EQ(out->BitsPerPixel(), 8);
            ASSERT_EQ(out->biHeight < 0, topDown);
            ASSERT_EQ(out->XPelsPerMeter(), src->XPelsPerMeter());
            for (int y = 0; y < 3; ++y)
              for (int x = 0; x < width; ++x)
                ASSERT_EQ(Px(out.get(), x, y), Literal(Px(src.get(), x + 1, y + 1, 0), Px(src.get(), x + 1, y + 1, 1),
                                                       Px(src.get(), x + 1, y + 1, 2), rule[0], rule[1]))
                    << "at " << x << "," << y;
          }
        }
}

// The 16-bit arithmetic of the vector paths must hold for every colour at the largest lift.
TEST(DropoutGrey, VectorPathsEqualScalarOverTheColourCube) {
  std::vector<uint8_t> row(3 * 65536), want(65536), got(65536);
  for (Tier tier : VectorTiers())
    for (quilp::DropoutGreyRule rule : {quilp::DropoutGreyRule{256, 0}, quilp::DropoutGreyRule{40, 32}})
      for (int third = 0; third < 256; third += 3) {
        for (int i = 0; i < 65536; ++i) {
          row[3 * i] = uint8_t(i), row[3 * i + 1] = uint8_t(i >> 8), row[3 * i + 2] = uint8_t(third);
        }
        quilp::DropoutGreyKernelsScalar().bgr(row.data(), want.data(), 65536, rule);
        (tier == Tier::kSse41 ? quilp::DropoutGreyKernelsSse41() : quilp::DropoutGreyKernelsAvx2())
            .bgr(row.data(), got.data(), 65536, rule);
        ASSERT_EQ(std::memcmp(want.data(), got.data(), want.size()), 0)
            << quilp::simd::TierName(tier) << " third byte " << third;
      }
}

TEST(DropoutGrey, RefusesWhatItCannotConvert) {
  DibPtr colour = RandomDib(8, 8, 24, false, 1), grey = RandomDib(8, 8, 8, false, 2);
  tagRect32 const outside{20, 20, 30, 30};
  EXPECT_EQ(DibDropoutGrey(nullptr, 40, 32, nullptr), nullptr);
  EXPECT_EQ(DibDropoutGrey(grey.get(), 40, 32, nullptr), nullptr);
  for (auto const& bad : {std::pair{-1, 32}, std::pair{257, 32}, std::pair{40, -1}, std::pair{40, 256}})
    EXPECT_EQ(DibDropoutGrey(colour.get(), bad.first, bad.second, nullptr), nullptr) << bad.first << "/" << bad.second;
  EXPECT_EQ(DibDropoutGrey(colour.get(), 40, 32, &outside), nullptr);
}
