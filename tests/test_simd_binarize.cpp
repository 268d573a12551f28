// Every vector path of the binarization kernels equals the scalar one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "binarize/histogram.h"
#include "binarize/paper_kernels.h"
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

// The paper-surface kernels on every tier: smooth paper rows (the windowed look-up) and
// scattered ones (its fallback), blends at the extreme weights, block rows expanded at several
// block sizes, column sums that wrap.
TEST(BinarizeSimd, PaperKernelsEqualTheScalarOnes) {
  std::mt19937 rng(5);
  auto tableOf = [](Tier t) -> quilp::PaperKernels const& {
    return t == Tier::kAvx512 ? quilp::PaperKernelsAvx512()
           : t == Tier::kAvx2 ? quilp::PaperKernelsAvx2()
                              : quilp::PaperKernelsSse41();
  };
  quilp::PaperKernels const& scalar = quilp::PaperKernelsScalar();
  for (Tier tier : VectorTiers()) {  // the forced tier is the one that runs
    ScopedTier forced(tier);
    EXPECT_EQ(quilp::PaperKernelsActive().decide, tableOf(tier).decide) << quilp::simd::TierName(tier);
  }
  uint8_t cut[256];
  for (auto& c : cut) c = uint8_t(rng());
  for (Tier tier : VectorTiers())
    for (int width : {1, 7, 15, 16, 17, 31, 33, 63, 64, 65, 77, 100, 129, 200}) {
      SCOPED_TRACE(testing::Message() << quilp::simd::TierName(tier) << " width " << width);
      quilp::PaperKernels const& k = tableOf(tier);
      std::vector<uint8_t> src(width), smooth(width), scattered(width);
      std::vector<uint16_t> a(width), b(width), cols(width);
      for (int x = 0; x < width; ++x) {
        src[x] = uint8_t(rng());
        scattered[x] = uint8_t(rng());
        a[x] = uint16_t(rng() % 65281u), b[x] = uint16_t(x % 5 ? rng() % 65281u : 65280u);
        cols[x] = uint16_t(65000 + rng() % 536u);
      }
      for (int row = 0; row < 40; ++row) {  // paper wandering by up to 2 levels a pixel
        int level = int(rng() % 256u);
        for (auto& p : smooth) p = uint8_t(level = std::clamp(level + int(rng() % 5u) - 2, 0, 255));
        for (auto const* paper : {&smooth, &scattered}) {
          std::vector<uint8_t> want((width + 7) / 8 + 1, 0xA5), got = want;
          scalar.decide(src.data(), paper->data(), cut, want.data(), width);
          k.decide(src.data(), paper->data(), cut, got.data(), width);
          ASSERT_EQ(want, got) << "row " << row;
          EXPECT_EQ(got.back(), 0xA5);  // nothing past the row's bytes
        }
      }
      for (int w : {0, 1, 77, 128, 255, 256}) {
        std::vector<uint8_t> want(width + 1, 0xA5), got = want;
        scalar.blend(a.data(), b.data(), w, want.data(), width);
        k.blend(a.data(), b.data(), w, got.data(), width);
        ASSERT_EQ(want, got) << "weight " << w;
      }
      for (int f : {1, 2, 3, 6, 40}) {  // block rows expanded: blocks of f pixels from block 3
        std::vector<int32_t> left(width);
        std::vector<uint16_t> weight(width), want(width), got(width);
        for (int x = 0; x < width; ++x) left[x] = 3 + x / f, weight[x] = uint16_t(rng() % 257u);
        std::vector<uint8_t> blocks(std::size_t(left.back()) + 65);
        for (auto& v : blocks) v = uint8_t(rng());
        scalar.expand(blocks.data(), left.data(), weight.data(), want.data(), width);
        k.expand(blocks.data(), left.data(), weight.data(), got.data(), width);
        ASSERT_EQ(want, got) << "block " << f;
      }
      std::vector<uint16_t> want = cols, got = cols;
      scalar.addColumns(src.data(), want.data(), width);
      k.addColumns(src.data(), got.data(), width);
      ASSERT_EQ(want, got);
    }
}

// The paper-surface method through its exports on every tier, awkward widths, both orders.
TEST(BinarizeSimd, PaperSurfaceMethodGivesTheSameImagesOnEveryPath) {
  for (int width : kAwkwardWidths)
    for (bool topDown : {false, true}) {
      DibPtr grey = RandomDib(width + 90, 40, 8, topDown, uint32_t(width * 3 + topDown));
      for (int y = 0; y < 40; ++y)  // shaded paper under the noise, so ink and paper both occur
        for (int x = 0; x < width + 90; ++x)
          if (Px(grey.get(), x, y) > 60) Px(grey.get(), x, y) = uint8_t(150 + x % 100 + Px(grey.get(), x, y) % 6);
      tagRect32 rect{90, 2, width + 90, 39};
      ExpectSameOnEveryTier([&] {
        std::vector<DibPtr> out;
        out.emplace_back(DibBinarizeStat(grey.get(), 0, 0, &rect));
        DibInfo* ex = nullptr;
        tagPoint32 at{5, 0};
        DibBinarizeEx(ex, grey.get(), 6, 9, 30, 0, nullptr, nullptr, nullptr, &at);
        out.emplace_back(ex);
        return out;
      }, WidthAndOrder(width, topDown));
    }
}
