// The vector row kernels of the depth decision equal the scalar ones, byte for byte.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "scale/compress_bits.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::simd::Tier;

namespace {

quilp::MeasureKernels const& TableFor(Tier t) {
  return t == Tier::kAvx2 ? quilp::MeasureKernelsAvx2() : quilp::MeasureKernelsSse41();
}

}  // namespace

TEST(MeasureSimd, RowsEqualTheScalarRows) {
  std::mt19937 rng(13);
  for (Tier tier : VectorTiers())
    for (int width : {1, 2, 3, 7, 15, 16, 17, 18, 31, 33, 34, 35, 47, 64, 77, 100, 1001}) {
      SCOPED_TRACE(testing::Message() << quilp::simd::TierName(tier) << " width " << width);
      std::vector<uint8_t> colour(3 * width), rows(3 * width);
      for (auto& b : colour) b = uint8_t(rng());
      // Few levels, so that ties (flat pixels, equal neighbours) are common.
      for (auto& b : rows) b = uint8_t(rng() % 4 * 60 + (rng() % 8 == 0 ? rng() % 3 : 0));
      std::vector<uint8_t> want(width, 9), got(width, 9);
      quilp::MeasureKernelsScalar().chroma(colour.data(), want.data(), width);
      TableFor(tier).chroma(colour.data(), got.data(), width);
      ASSERT_EQ(want, got);
      std::fill(want.begin(), want.end(), 9);
      std::fill(got.begin(), got.end(), 9);
      uint8_t const* up = rows.data();
      uint8_t const* row = up + width;
      uint8_t const* down = row + width;
      quilp::MeasureKernelsScalar().extrema(up, row, down, want.data(), width);
      TableFor(tier).extrema(up, row, down, got.data(), width);
      ASSERT_EQ(want, got);  // the first and last bytes stay untouched on every path
    }
}
