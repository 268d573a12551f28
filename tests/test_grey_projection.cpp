// The grey conversions against the literal projection formula.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>

#include "quilp32.h"
#include "support/images.h"

using namespace testing_support;

namespace {

struct Ref {
  int64_t w[3], min, q;
};

// The projection's constants, straight from the definition.
Ref RefTransform(double d0, double d1, double d2, bool blackWhiteOnly) {
  static int const corners[8][3] = {{0, 0, 0},   {255, 255, 255}, {0, 0, 255},   {0, 255, 0},
                                    {255, 0, 0}, {0, 255, 255},   {255, 255, 0}, {255, 0, 255}};
  double const len = std::sqrt(d0 * d0 + d1 * d1 + d2 * d2);
  Ref r;
  double const d[3] = {d0, d1, d2};
  for (int i = 0; i < 3; ++i) r.w[i] = static_cast<int32_t>(d[i] / len * 65536.0 + 0.5);
  int64_t lo = 0, hi = 0;
  for (int c = 0; c < (blackWhiteOnly ? 2 : 8); ++c) {
    int64_t s = corners[c][0] * r.w[0] + corners[c][1] * r.w[1] + corners[c][2] * r.w[2];
    lo = std::min(lo, s);
    hi = std::max(hi, s);
  }
  r.min = lo;
  r.q = (hi - lo + 255) / 255;
  return r;
}

int RefGrey(Ref const& r, int b0, int b1, int b2, int k) {
  int64_t g = (b0 * r.w[0] + b1 * r.w[1] + b2 * r.w[2] - r.min) / r.q;
  g = std::min<int64_t>(std::max<int64_t>(g, 0), 255);
  if (k >= 1) {
    int m = (b0 + b1 + b2 + 2) / 3;
    int rr = int(std::sqrt(double((b0 - m) * (b0 - m) + (b1 - m) * (b1 - m) +
                                  (b2 - m) * (b2 - m))) + 0.5);
    g = std::min<int64_t>(g + (int64_t(rr) * k + 8) / 16, 255);
  }
  return int(g);
}

// Compares every pixel of `grey` with the reference over the area at (left, top) of src.
void ExpectProjection(DibInfo const* src, DibInfo const* grey, int left, int top, Ref const& r,
                      int k) {
  ASSERT_NE(grey, nullptr);
  for (int y = 0; y < grey->Height(); ++y)
    for (int x = 0; x < grey->Width(); ++x) {
      int const sx = left + x, sy = top + y;
      int want = RefGrey(r, Px(src, sx, sy, 0), Px(src, sx, sy, 1), Px(src, sx, sy, 2), k);
      ASSERT_EQ(Px(grey, x, y), want) << "at " << x << "," << y;
    }
}

}  // namespace

TEST(GreyConversion, ReferenceColourFollowsTheFormulaOnEveryExport) {
  std::mt19937 rng(7);
  for (bool topDown : {false, true})
    for (int trial = 0; trial < 6; ++trial) {
      SCOPED_TRACE(trial);
      DibPtr src = RandomDib(37, 11, 24, topDown, 100 + trial);
      src->biYPelsPerMeter = 7874;  // results keep both resolutions
      unsigned char colour[3] = {uint8_t(rng()), uint8_t(rng()), uint8_t(rng() | 1)};
      tagRect32 rect{3, 2, 30, 9};
      int const k = trial * 7;
      DibInfo* plain = DibRGB2Grey(src.get(), &colour, &rect);
      ExpectProjection(src.get(), plain, 3, 2, RefTransform(colour[0], colour[1], colour[2], false), 0);
      EXPECT_TRUE(plain && plain->XPelsPerMeter() == 3937 && plain->YPelsPerMeter() == 7874);
      DibInfo* x = DibRGB2GreyX(src.get(), &colour, k, &rect);
      ExpectProjection(src.get(), x, 3, 2, RefTransform(colour[0], colour[1], colour[2], false), k);
      DibInfo* n = DibRGB2GreyN(src.get(), &colour, &rect);
      ExpectProjection(src.get(), n, 3, 2,
                       RefTransform(colour[0] - 128.0, colour[1] - 128.0, colour[2] - 128.0, true), 0);
      DibFree(plain);
      DibFree(x);
      DibFree(n);
    }
}

TEST(GreyConversion, WorkedExamples) {
  DibPtr grey(DibCreate(256, 1, 0, 0, 24));
  for (int v = 0; v < 256; ++v)
    for (int c = 0; c < 3; ++c) Px(grey.get(), v, 0, c) = uint8_t(v);
  unsigned char const ones[3] = {1, 1, 1};
  DibInfo* out = DibRGB2Grey(grey.get(), &ones, nullptr);
  ASSERT_NE(out, nullptr);
  for (int v = 0; v < 256; ++v) ASSERT_EQ(Px(out, v, 0), v == 0 ? 0 : v - 1);  // one level lost
  DibFree(out);

  // Centred (255, 128, 128) weighs the blue byte alone.
  DibPtr px(DibCreate(3, 1, 0, 0, 24));
  uint8_t const pixels[3][3] = {{200, 0, 0}, {200, 255, 255}, {0, 90, 17}};
  for (int i = 0; i < 3; ++i)
    for (int c = 0; c < 3; ++c) Px(px.get(), i, 0, c) = pixels[i][c];
  unsigned char const blue[3] = {255, 128, 128};
  out = DibRGB2GreyN(px.get(), &blue, nullptr);
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(Px(out, 0, 0), Px(out, 1, 0));
  EXPECT_EQ(Px(out, 0, 0), 200 * 65536 / 65537);
  EXPECT_EQ(Px(out, 2, 0), 0);
  DibFree(out);

  // Colourfulness weight 16 on pure red (0, 0, 255): distance 208 is added before the cap.
  DibPtr red(DibCreate(1, 1, 0, 0, 24));
  Px(red.get(), 0, 0, 2) = 255;
  unsigned char const dark[3] = {1, 1, 1};
  DibInfo* plain = DibRGB2GreyX(red.get(), &dark, 0, nullptr);
  DibInfo* lifted = DibRGB2GreyX(red.get(), &dark, 16, nullptr);
  ASSERT_TRUE(plain && lifted);
  EXPECT_EQ(Px(lifted, 0, 0), std::min(255, Px(plain, 0, 0) + 208));
  DibFree(plain);
  DibFree(lifted);
}

TEST(GreyConversion, AutomaticDirectionIsTheMainColourAxis) {
  // Colours on one line through black: the main axis is that line's direction.
  for (bool topDown : {false, true}) {
    DibPtr src(DibCreate(40, topDown ? -3 : 3, 0, 0, 24));
    int const dir[3] = {3, 5, 2};
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < 40; ++x)
        for (int c = 0; c < 3; ++c) Px(src.get(), x, y, c) = uint8_t(dir[c] * ((x + y) % 40));
    DibInfo* grey = DibRGB2Grey(src.get(), nullptr, nullptr);
    ExpectProjection(src.get(), grey, 0, 0, RefTransform(3, 5, 2, false), 0);
    DibFree(grey);
  }
  // A negative main axis is turned to a positive sum: a grey ramp still grows with the level.
  DibPtr ramp(DibCreate(256, 1, 0, 0, 24));
  for (int v = 0; v < 256; ++v)
    for (int c = 0; c < 3; ++c) Px(ramp.get(), v, 0, c) = uint8_t(v);
  DibInfo* grey = DibRGB2Grey(ramp.get(), nullptr, nullptr);
  ASSERT_NE(grey, nullptr);
  EXPECT_LT(Px(grey, 10, 0), Px(grey, 200, 0));
  DibFree(grey);
}

TEST(GreyConversion, Failures) {
  DibPtr black(DibCreate(8, 8, 0, 0, 24));  // all zero: the moments have no direction
  EXPECT_EQ(DibRGB2Grey(black.get(), nullptr, nullptr), nullptr);
  EXPECT_EQ(DibRGB2GreyX(black.get(), nullptr, 3, nullptr), nullptr);
  unsigned char const zero[3] = {0, 0, 0}, mid[3] = {128, 128, 128};
  EXPECT_EQ(DibRGB2Grey(black.get(), &zero, nullptr), nullptr);
  EXPECT_EQ(DibRGB2GreyN(black.get(), &mid, nullptr), nullptr);
  unsigned char const c[3] = {1, 2, 3};
  for (int depth : {1, 8, 32}) {
    DibPtr other(DibCreate(8, 8, 0, 0, depth));
    EXPECT_EQ(DibRGB2Grey(other.get(), &c, nullptr), nullptr);
    EXPECT_EQ(DibRGB2GreyN(other.get(), &c, nullptr), nullptr);
    EXPECT_EQ(DibRGB2GreyX(other.get(), &c, 0, nullptr), nullptr);
  }
  EXPECT_EQ(DibRGB2Grey(nullptr, &c, nullptr), nullptr);
  EXPECT_EQ(DibRGB2GreyN(nullptr, &c, nullptr), nullptr);
  EXPECT_EQ(DibRGB2GreyX(nullptr, &c, 1, nullptr), nullptr);
}
