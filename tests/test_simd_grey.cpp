// Every vector path of the grey projection equals the scalar one, pixel for pixel.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "colour/grey_projection.h"
#include "quilp32.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::GreyKernels;
using quilp::GreyTransform;
using quilp::simd::Tier;

namespace {

GreyKernels const& TableFor(Tier t) {
  return t == Tier::kAvx512 ? quilp::GreyKernelsAvx512()
         : t == Tier::kAvx2 ? quilp::GreyKernelsAvx2()
                            : quilp::GreyKernelsSse41();
}

}  // namespace

// The division by q must stay exact: every colour of the cube, for several directions.
TEST(GreySimd, ProjectionIsExactOverTheWholeColourCube) {
  std::vector<uint8_t> row(3 * 65536);
  std::vector<uint8_t> want(65536), got(65536);
  // Centred directions take the range from black and white only, so a direction whose
  // components nearly cancel (the last one) has a tiny q and quotients far beyond 32767,
  // which must still clamp to 255.
  double const directions[][3] = {{1, 1, 1}, {127, 0, 0}, {0.114, 0.587, 0.299},
                                  {-3, 7, 1}, {5, -2, -9}, {0, 0, 1}, {1, -1, 0.003}};
  int const weights[] = {0, 16, 0, 3, 1, 100000, 0};
  bool const blackWhiteOnly[] = {false, true, false, false, false, false, true};
  for (Tier tier : VectorTiers())
    for (int d = 0; d < 7; ++d) {
      SCOPED_TRACE(quilp::simd::TierName(tier));
      GreyTransform t;
      ASSERT_TRUE(quilp::MakeGreyTransform(directions[d], blackWhiteOnly[d], weights[d], t));
      for (int red = 0; red < 256; ++red) {
        for (int i = 0; i < 65536; ++i) {
          row[3 * i] = uint8_t(i & 255);
          row[3 * i + 1] = uint8_t(i >> 8);
          row[3 * i + 2] = uint8_t(red);
        }
        quilp::GreyKernelsScalar().project(row.data(), want.data(), 65536, t);
        TableFor(tier).project(row.data(), got.data(), 65536, t);
        ASSERT_EQ(std::memcmp(want.data(), got.data(), want.size()), 0)
            << "direction " << d << " red " << red;
      }
    }
}

TEST(GreySimd, MomentsEqualTheScalarSums) {
  std::mt19937 rng(5);
  for (Tier tier : VectorTiers())
    for (int width : {1, 7, 15, 16, 17, 31, 32, 33, 77, 300, 70000}) {
      std::vector<uint8_t> row(3 * width);
      for (auto& b : row) b = uint8_t(rng());
      uint64_t want[6] = {}, got[6] = {};
      quilp::GreyKernelsScalar().moments(row.data(), width, want);
      TableFor(tier).moments(row.data(), width, got);
      for (int i = 0; i < 6; ++i) ASSERT_EQ(want[i], got[i]) << width << " sum " << i;
    }
}

// Through the exports: awkward widths, both row orders, sub-rectangles, all three forms.
TEST(GreySimd, ExportsGiveTheSameImagesOnEveryPath) {
  unsigned char const colour[3] = {40, 200, 90};
  for (int width : kAwkwardWidths)
    for (bool topDown : {false, true}) {
      DibPtr src = RandomDib(width + 3, 9, 24, topDown, uint32_t(width * 2 + topDown));
      tagRect32 rect{1, 1, width, 7};
      ExpectSameOnEveryTier([&] {
        std::vector<DibPtr> out;
        out.emplace_back(DibRGB2Grey(src.get(), nullptr, &rect));
        out.emplace_back(DibRGB2Grey(src.get(), &colour, &rect));
        out.emplace_back(DibRGB2GreyN(src.get(), &colour, &rect));
        out.emplace_back(DibRGB2GreyX(src.get(), &colour, 21, &rect));
        EXPECT_EQ(out[0]->biHeight < 0, topDown);  // results keep the source's row order
        return out;
      }, WidthAndOrder(width, topDown));
    }
}
