// Every vector path of the binarization kernels equals the scalar one.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "binarize/histogram.h"
#include "binarize/threshold.h"
#include "quilp32.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::simd::Tier;

namespace {

quilp::ThresholdKernels const& MarkTable(Tier t) {
  return t == Tier::kAvx2 ? quilp::ThresholdKernelsAvx2() : quilp::ThresholdKernelsSse41();
}
quilp::HistogramKernels const& HistogramTable(Tier t) {
  return t == Tier::kAvx2 ? quilp::HistogramKernelsAvx2() : quilp::HistogramKernelsSse41();
}

}  // namespace

TEST(BinarizeSimd, BandRowsEqualTheScalarKernel) {
  std::mt19937 rng(21);
  std::vector<std::pair<int, int>> bands = {{0, 0},   {0, 1},   {0, 128}, {0, 255}, {0, 256},
                                            {1, 256}, {255, 256}, {128, 256}, {40, 41},
                                            {200, 100}, {256, 256}, {7, 250}};
  for (int i = 0; i < 20; ++i) {
    int a = int(rng() % 257), b = int(rng() % 257);
    bands.emplace_back(a, b);
  }
  for (Tier tier : VectorTiers())
    for (int width : {1, 7, 8, 15, 16, 17, 31, 32, 33, 63, 64, 65, 77, 100, 129, 1000}) {
      std::vector<uint8_t> src(width);
      for (auto& v : src) v = uint8_t(rng());
      for (auto [lo, hi] : bands) {
        std::vector<uint8_t> want((width + 7) / 8 + 1, 0xA5), got = want;
        quilp::ThresholdKernelsScalar().mark(src.data(), want.data(), width, lo, hi);
        MarkTable(tier).mark(src.data(), got.data(), width, lo, hi);
        ASSERT_EQ(want, got) << quilp::simd::TierName(tier) << " width " << width << " band "
                             << lo << ".." << hi;
        EXPECT_EQ(got.back(), 0xA5);  // nothing written past the row's bytes
      }
    }
}

TEST(BinarizeSimd, HistogramsEqualTheScalarCounts) {
  for (Tier tier : VectorTiers())
    for (int width : kAwkwardWidths)
      for (bool topDown : {false, true}) {
        DibPtr dib = RandomDib(width + 5, 13, 8, topDown, uint32_t(width + 7 * topDown));
        // Long runs of one level too, as page background gives.
        for (int x = 0; x < width + 5; ++x) Px(dib.get(), x, 4) = 250;
        quilp::DibView const v = quilp::MakeView(dib.get(), quilp::Area{2, 1, width, 11});
        uint32_t want[256] = {}, got[256] = {};
        want[9] = got[9] = 5;  // the kernels add to what is there
        quilp::HistogramKernelsScalar().add(v.top, v.step, v.width, v.height, want);
        HistogramTable(tier).add(v.top, v.step, v.width, v.height, got);
        ASSERT_EQ(0, std::memcmp(want, got, sizeof want))
            << quilp::simd::TierName(tier) << " width " << width << " topDown " << topDown;
      }
}

// Through the exports on every tier: the same images bit for bit, padding included.
TEST(BinarizeSimd, ExportsGiveTheSameImagesOnEveryPath) {
  for (int width : kAwkwardWidths)
    for (bool topDown : {false, true}) {
      DibPtr grey = RandomDib(width + 3, 9, 8, topDown, uint32_t(width * 5 + topDown));
      DibPtr colour = RandomDib(width + 3, 9, 24, topDown, uint32_t(width * 7 + topDown));
      tagRect32 rect{1, 1, width, 7};
      ExpectSameOnEveryTier([&] {
        std::vector<DibPtr> out;
        out.emplace_back(DibBinarizeSimple(grey.get(), 131, false, &rect));
        out.emplace_back(DibBinarizeSimple(grey.get(), 0, true, &rect));
        out.emplace_back(DibBinarizeOtsu(grey.get(), 3, 1, 1, false, &rect));
        out.emplace_back(DibBinarizeOtsuR(colour.get(), 2, 0, 0, false, &rect));
        DibInfo* ex = nullptr;
        tagPoint32 at{3, 1};
        DibBinarizeEx(ex, grey.get(), 2, 0, 0, 0, nullptr, nullptr, &rect, &at);
        out.emplace_back(ex);
        return out;
      }, WidthAndOrder(width, topDown));
    }
}
