// Global binarization: DibBinarizeSimple, DibBinarizeOtsu / OtsuR against the literal rules.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>
#include <vector>

#include "quilp32.h"
#include "support/images.h"
#include "support/otsu_reference.h"

using namespace testing_support;

namespace {

// Checks a 1-bit result of the rectangle (left, top) of a grey record, pixel by pixel:
// black (bit 0) exactly where black(level) holds.
void ExpectPixels(DibInfo const* out, DibInfo const* grey, int left, int top,
                  std::function<bool(int)> const& black) {
  for (int y = 0; y < out->Height(); ++y)
    for (int x = 0; x < out->Width(); ++x) {
      int const v = Px(grey, left + x, top + y);
      ASSERT_EQ(Bit(out, x, y), black(v) ? 0 : 1) << "pixel " << x << "," << y << " level " << v;
    }
}

// Bytes of a 1-bit row past the pixels: the last byte's spare bits and the row padding.
void ExpectRowTails(DibInfo const* out, int spareBits, int padding) {
  int const used = (out->Width() + 7) / 8;
  for (int y = 0; y < out->Height(); ++y) {
    unsigned char const* row = out->GetLine(y);
    if (out->Width() % 8) {
      int const spare = 0xFF >> (out->Width() % 8);
      ASSERT_EQ(row[used - 1] & spare, spareBits ? spare : 0) << "row " << y;
    }
    for (int i = used; i < out->ByteWidth(); ++i) ASSERT_EQ(row[i], padding) << "row " << y;
  }
}

// A grey page-like image: two or three populations of levels with the extremes present.
DibPtr PageLike(int width, int height, bool topDown, uint32_t seed) {
  DibPtr dib = RandomDib(width, height, 8, topDown, seed);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      uint8_t& p = Px(dib.get(), x, y);
      int const r = p;
      p = r < 40 ? uint8_t(10 + r) : r < 90 ? uint8_t(100 + r % 50) : r < 100 ? uint8_t(r % 2 ? 0 : 255)
                                                                     : uint8_t(190 + r % 60);
    }
  return dib;
}

}  // namespace

TEST(BinarizeSimple, ThresholdsEveryLevelAsDefined) {
  for (int width : kAwkwardWidths)
    for (bool topDown : {false, true}) {
      DibPtr grey = RandomDib(width + 2, 9, 8, topDown, uint32_t(width * 3 + topDown));
      tagRect32 rect{1, 1, width, 8};  // right == Width - 2 + 1 stays inside
      for (int threshold : {0, 1, 77, 128, 255, 256, 300, -1})
        for (bool invert : {false, true}) {
          SCOPED_TRACE(testing::Message() << "width " << width << (topDown ? " top-down" : " bottom-up")
                                          << " threshold " << threshold << " invert " << invert);
          DibPtr out(DibBinarizeSimple(grey.get(), threshold, invert, &rect));
          ASSERT_NE(out, nullptr);
          ASSERT_EQ(out->BitsPerPixel(), 1);
          ASSERT_EQ(out->Width(), width);
          ASSERT_EQ(out->Height(), 8);
          EXPECT_EQ(out->XPelsPerMeter(), grey->XPelsPerMeter());
          int const t = threshold & 255;  // only the low 8 bits count
          ExpectPixels(out.get(), grey.get(), 1, 1, [&](int v) { return (v < t) != invert; });
          ExpectRowTails(out.get(), 1, 0);
        }
    }
}

TEST(BinarizeSimple, NamedThresholdsAndFailures) {
  DibPtr grey = RandomDib(30, 5, 8, false, 1);
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 30; ++x) Px(grey.get(), x, y) = uint8_t(x * 8 + y);  // 0..236
  auto blackCount = [](DibInfo const* out) {
    int n = 0;
    for (int y = 0; y < out->Height(); ++y)
      for (int x = 0; x < out->Width(); ++x) n += Bit(out, x, y) == 0;
    return n;
  };
  DibPtr zero(DibBinarizeSimple(grey.get(), 0, false, nullptr));
  DibPtr wrap(DibBinarizeSimple(grey.get(), 256, false, nullptr));
  EXPECT_EQ(blackCount(zero.get()), 0);
  EXPECT_EQ(blackCount(wrap.get()), 0);
  for (int y = 0; y < 5; ++y) Px(grey.get(), 0, y) = 255;
  DibPtr top(DibBinarizeSimple(grey.get(), 255, false, nullptr));
  EXPECT_EQ(blackCount(top.get()), 150 - 5);  // only level 255 stays white
  EXPECT_EQ(DibBinarizeSimple(nullptr, 10, false, nullptr), nullptr);
  for (int depth : {1, 24, 32}) {
    DibPtr other = RandomDib(30, 5, depth, false, 2);
    EXPECT_EQ(DibBinarizeSimple(other.get(), 10, false, nullptr), nullptr) << depth;
  }
  for (tagRect32 bad : {tagRect32{-1, 0, 5, 4}, tagRect32{0, 0, 31, 4}, tagRect32{5, 0, 2, 4},
                        tagRect32{0, 0, 29, 6}})
    EXPECT_EQ(DibBinarizeSimple(grey.get(), 10, false, &bad), nullptr);
}

TEST(BinarizeOtsu, EveryBandFollowsTheThresholds) {
  struct Band { int classes, from, to; };
  Band const bands[] = {{2, 0, 0}, {2, 0, 1}, {2, 1, 1}, {2, 1, 0}, {3, 0, 0}, {3, 0, 1},
                        {3, 0, 2}, {3, 1, 1}, {3, 1, 2}, {3, 2, 2}, {3, 2, 0}, {3, 1, 0},
                        {3, 2, 1}};
  for (int width : {1, 17, 77})
    for (bool topDown : {false, true})
      for (bool extremes : {false, true}) {
        DibPtr grey = PageLike(width + 4, 13, topDown, uint32_t(width + 100 * topDown));
        tagRect32 rect{2, 1, width + 1, 12};
        std::vector<int> h = ReferenceHistogram(grey.get(), 2, 1, width, 12);
        if (extremes) h[0] = h[1] = h[254] = h[255] = 0;
        int t[2] = {0, 0};
        int const t2 = ReferenceOtsu2(h, 0, 255);
        ReferenceOtsu3(h, t);  // unset thresholds stay 0
        for (Band b : bands)
          for (bool invert : {false, true}) {
            SCOPED_TRACE(testing::Message() << "width " << width << " topDown " << topDown
                                            << " classes " << b.classes << " from " << b.from
                                            << " to " << b.to << " invert " << invert
                                            << " ignore extremes " << extremes);
            int const* levels = b.classes == 2 ? &t2 : t;
            int const lower = b.from > 0 ? levels[b.from - 1] : 0;
            int const upper = b.to < b.classes - 1 ? levels[b.to] : 255;
            DibPtr out(extremes ? DibBinarizeOtsuR(grey.get(), b.classes, b.from, b.to, invert, &rect)
                                : DibBinarizeOtsu(grey.get(), b.classes, b.from, b.to, invert, &rect));
            ASSERT_NE(out, nullptr);
            ASSERT_EQ(out->Width(), width);
            ASSERT_EQ(out->Height(), 12);
            ExpectPixels(out.get(), grey.get(), 2, 1, [&](int v) {
              return invert ? (v < lower && v >= upper) : (lower <= v && v < upper);
            });
            ExpectRowTails(out.get(), 1, 255);  // whole rows start white
          }
      }
}

TEST(BinarizeOtsu, NamedCasesAndFailures) {
  DibPtr grey = PageLike(40, 20, false, 9);
  auto count = [](DibInfo const* out, int bit) {
    int n = 0;
    for (int y = 0; y < out->Height(); ++y)
      for (int x = 0; x < out->Width(); ++x) n += Bit(out, x, y) == bit;
    return n;
  };
  int n255 = 0;
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 40; ++x) n255 += Px(grey.get(), x, y) == 255;
  ASSERT_GT(n255, 0);
  DibPtr allButTop(DibBinarizeOtsu(grey.get(), 2, 0, 1, false, nullptr));  // lower 0, upper 255
  EXPECT_EQ(count(allButTop.get(), 1), n255);
  DibPtr white(DibBinarizeOtsu(grey.get(), 2, 0, 0, true, nullptr));
  EXPECT_EQ(count(white.get(), 0), 0);
  for (auto args : {std::vector<int>{4, 0, 0}, {1, 0, 0}, {2, 2, 0}, {2, 0, 2}, {3, -1, 0},
                    {3, 0, -1}, {3, 3, 3}})
    EXPECT_EQ(DibBinarizeOtsu(grey.get(), args[0], args[1], args[2], false, nullptr), nullptr);
  EXPECT_EQ(DibBinarizeOtsu(nullptr, 2, 0, 0, false, nullptr), nullptr);
  for (int depth : {1, 32}) {
    DibPtr other = RandomDib(9, 9, depth, true, 3);
    EXPECT_EQ(DibBinarizeOtsuR(other.get(), 2, 0, 0, false, nullptr), nullptr);
  }
  tagRect32 outside{-1, 0, 10, 10};
  EXPECT_EQ(DibBinarizeOtsu(grey.get(), 2, 0, 0, false, &outside), nullptr);
  // Background exactly 255, text exactly 0, a few greys: OtsuR thresholds come from the greys.
  DibPtr page = RandomDib(50, 10, 8, true, 4);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 50; ++x) Px(page.get(), x, y) = x < 20 ? 255 : x < 40 ? 0 : uint8_t(60 + 12 * (x % 10));
  std::vector<int> h = ReferenceHistogram(page.get(), 0, 0, 50, 10);
  h[0] = h[1] = h[254] = h[255] = 0;
  int const t = ReferenceOtsu2(h, 0, 255);
  DibPtr r(DibBinarizeOtsuR(page.get(), 2, 0, 0, false, nullptr));
  ExpectPixels(r.get(), page.get(), 0, 0, [&](int v) { return v < t; });
  // Only the extremes: the threshold comes from the prior weights alone (the middle, 128).
  for (int y = 0; y < 10; ++y)
    for (int x = 40; x < 50; ++x) Px(page.get(), x, y) = 254;
  DibPtr prior(DibBinarizeOtsuR(page.get(), 2, 0, 0, false, nullptr));
  ExpectPixels(prior.get(), page.get(), 0, 0, [&](int v) { return v < 128; });
}

TEST(BinarizeOtsu, ColourThroughTheGreyProjectionWithExactFit) {
  for (bool topDown : {false, true}) {
    DibPtr colour = RandomDib(33, 15, 24, topDown, 20 + topDown);
    tagRect32 rect{4, 3, 30, 13};
    DibPtr grey(DibRGB2Grey(colour.get(), nullptr, &rect));
    for (int classes : {2, 3}) {
      DibPtr a(DibBinarizeOtsu(colour.get(), classes, 0, 1, false, &rect));
      DibPtr b(DibBinarizeOtsu(grey.get(), classes, 0, 1, false, nullptr));
      ASSERT_TRUE(a && b);
      ASSERT_EQ(a->biSizeImage, b->biSizeImage);
      EXPECT_EQ(0, std::memcmp(a->BitsPtr(), b->BitsPtr(), a->biSizeImage));
    }
    tagRect32 edge{0, 0, 33, 14};  // right == Width: accepted, one column beyond
    DibPtr wide(DibBinarizeOtsu(colour.get(), 2, 0, 0, false, &edge));
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(wide->Width(), 34);
    tagRect32 below{0, 0, 32, 15};  // bottom == Height: accepted too
    DibPtr tall(DibBinarizeOtsu(colour.get(), 2, 0, 0, false, &below));
    ASSERT_NE(tall, nullptr);
    EXPECT_EQ(tall->Height(), 16);
    tagRect32 beyond{0, 0, 34, 14};
    EXPECT_EQ(DibBinarizeOtsu(colour.get(), 2, 0, 0, false, &beyond), nullptr);
  }
  DibPtr black(DibCreate(8, 8, 0, 0, 24));
  EXPECT_EQ(DibBinarizeOtsu(black.get(), 2, 0, 0, false, nullptr), nullptr);
}
