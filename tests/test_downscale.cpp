// DibDownscale against block means computed pixel by pixel.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>

#include "quilp32.h"
#include "support/images.h"

using namespace testing_support;

namespace {

// The rounded mean of channel `ch` over the block (ox, oy) of the area at (left, top).
int BlockMean(DibInfo const* src, int left, int top, int width, int height, int ox, int oy,
              int hf, int vf, int ch) {
  uint64_t sum = 0, n = 0;
  for (int y = oy * vf; y < std::min((oy + 1) * vf, height); ++y)
    for (int x = ox * hf; x < std::min((ox + 1) * hf, width); ++x, ++n)
      sum += Px(src, left + x, top + y, ch);
  return int((sum + n / 2) / n);
}

// 1 when more than half of the block's bits are set.
int BlockMajority(DibInfo const* src, int left, int top, int width, int height, int ox, int oy,
                  int hf, int vf) {
  int set = 0, n = 0;
  for (int y = oy * vf; y < std::min((oy + 1) * vf, height); ++y)
    for (int x = ox * hf; x < std::min((ox + 1) * hf, width); ++x, ++n) set += Bit(src, left + x, top + y);
  return 2 * set > n ? 1 : 0;
}

}  // namespace

TEST(Downscale, BlockMeansOfEveryDepthFactorAndRectangle) {
  struct Factors { int h, v; };
  std::mt19937 rng(4);
  for (int depth : {8, 24, 1})
    for (Factors f : {Factors{1, 1}, Factors{2, 2}, Factors{3, 1}, Factors{1, 4}, Factors{4, 4},
                      Factors{5, 3}, Factors{40, 40}})
      for (int w : {1, 7, 16, 17, 33})
      for (int h : {18, 19}) {  // an even height pairs rows in storage order
        SCOPED_TRACE(testing::Message() << depth << " bits, " << f.h << " x " << f.v << ", " << w << " x " << h);
        bool const topDown = (w & 2) != 0;
        DibPtr src = RandomDib(w + 5, 23, depth, topDown, uint32_t(rng()));
        tagRect32 rect{3, 2, 3 + w - 1, 2 + h - 1};  // w x h at (3, 2)
        DibInfo* out = nullptr;
        ASSERT_TRUE(DibDownscale(out, src.get(), f.h, f.v, 0, &rect));
        DibPtr result(out);
        int const rw = (w + f.h - 1) / f.h, rh = (h + f.v - 1) / f.v;
        ASSERT_EQ(result->Width(), rw);
        ASSERT_EQ(result->Height(), rh);
        EXPECT_EQ(result->BitsPerPixel(), depth);
        EXPECT_EQ(result->biHeight < 0, topDown);
        EXPECT_EQ(result->XPelsPerMeter(), (3937 + f.h / 2) / f.h);
        EXPECT_EQ(result->YPelsPerMeter(), (3937 + f.v / 2) / f.v);
        for (int y = 0; y < rh; ++y)
          for (int x = 0; x < rw; ++x) {
            if (depth == 1) {
              ASSERT_EQ(Bit(result.get(), x, y), BlockMajority(src.get(), 3, 2, w, h, x, y, f.h, f.v)) << x << "," << y;
              continue;
            }
            for (int ch = 0; ch < depth / 8; ++ch)
              ASSERT_EQ(Px(result.get(), x, y, ch), BlockMean(src.get(), 3, 2, w, h, x, y, f.h, f.v, ch))
                  << x << "," << y;
          }
        if (depth == 1) {  // the bits after the last column stay clear
          for (int y = 0; y < rh; ++y)
            for (int x = rw; x < (rw + 7) / 8 * 8; ++x) ASSERT_EQ(Bit(result.get(), x, y), 0);
        }
      }
}

TEST(Downscale, WholeImageAndRefusals) {
  DibPtr src = RandomDib(10, 9, 8, false, 7);
  DibInfo* out = nullptr;
  ASSERT_TRUE(DibDownscale(out, src.get(), 1, 1, 0, nullptr));
  DibPtr copy(out);
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 10; ++x) ASSERT_EQ(Px(copy.get(), x, y), Px(src.get(), x, y));
  // A rectangle reaching outside is cut to the image.
  tagRect32 big{-5, -5, 100, 100};
  out = nullptr;
  ASSERT_TRUE(DibDownscale(out, src.get(), 3, 3, 0, &big));
  DibPtr cut(out);
  EXPECT_TRUE(cut->Width() == 4 && cut->Height() == 3);
  DibInfo* keep = copy.get();
  DibPtr colour32 = RandomDib(4, 4, 32, false, 8);
  tagRect32 outside{20, 0, 30, 5};
  EXPECT_FALSE(DibDownscale(keep, nullptr, 2, 2, 0, nullptr));
  EXPECT_FALSE(DibDownscale(keep, colour32.get(), 2, 2, 0, nullptr));
  EXPECT_FALSE(DibDownscale(keep, src.get(), 0, 2, 0, nullptr));
  EXPECT_FALSE(DibDownscale(keep, src.get(), 2, -1, 0, nullptr));
  EXPECT_FALSE(DibDownscale(keep, src.get(), 2, 2, 1, nullptr));
  EXPECT_FALSE(DibDownscale(keep, src.get(), 2, 2, 0, &outside));
  EXPECT_EQ(keep, copy.get());
  // Factors far beyond the image give one pixel, the mean of everything.
  out = nullptr;
  ASSERT_TRUE(DibDownscale(out, src.get(), 2147483647, 2147483647, 0, nullptr));
  DibPtr one(out);
  EXPECT_TRUE(one->Width() == 1 && one->Height() == 1);
  uint64_t sum = 0;
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 10; ++x) sum += Px(src.get(), x, y);
  EXPECT_EQ(Px(one.get(), 0, 0), int((sum + 45) / 90));
}
