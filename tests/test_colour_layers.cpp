// Colour-set dropout with tolerances, colour transforms, background suppression, colour
// matching and ink separation, through the exports.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <vector>

#include "colour/lab.h"
#include "quilp32.h"
#include "support/images.h"

using namespace testing_support;

namespace {

void Fill(DibInfo* dib, int l, int t, int r, int b, unsigned char const bgr[3]) {
  for (int y = t; y <= b; ++y)
    for (int x = l; x <= r; ++x)
      for (int c = 0; c < 3; ++c) Px(dib, x, y, c) = bgr[c];
}

// A tinted page with four inks: black bars, a red ring, blue strokes, a yellow band. Returns
// the truth label of each pixel (0 paper, 1 black, 2 red, 3 blue, 4 yellow).
std::vector<int> InkPage(DibPtr& page, bool topDown) {
  int const w = 240, h = 180;
  page.reset(DibCreate(w, topDown ? -h : h, 11811, 11811, 24));
  std::vector<int> truth(w * h, 0);
  unsigned char const paper[3] = {236, 244, 250}, ink[5][3] = {
      {0, 0, 0}, {20, 20, 24}, {40, 32, 200}, {170, 50, 30}, {60, 236, 255}};
  Fill(page.get(), 0, 0, w - 1, h - 1, paper);
  auto mark = [&](int l, int t, int r, int b, int k) {
    Fill(page.get(), l, t, r, b, ink[k]);
    for (int y = t; y <= b; ++y)
      for (int x = l; x <= r; ++x) truth[y * w + x] = k;
  };
  mark(10, 100, 230, 120, 4);  // the highlighter band, under the text
  for (int i = 0; i < 8; ++i) mark(12 + 28 * i, 104, 24 + 28 * i, 116, 1);
  for (int i = 0; i < 8; ++i) mark(12 + 28 * i, 20, 16 + 28 * i, 60, 1);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      double const d = std::hypot(x - 180.0, y - 40.0);
      if (d >= 22 && d <= 30) mark(x, y, x, y, 2);
    }
  for (int i = 0; i < 5; ++i) mark(20 + 30 * i, 140 + i, 40 + 30 * i, 143 + i, 3);
  mark(200, 176, 230, h - 1, 3);  // a stroke on the last row
  return truth;
}

}  // namespace

TEST(SupressColorsCommon, WithoutTolerancesItIsTheColourSetDropout) {
  unsigned char const keep[2][3] = {{0, 0, 0}, {200, 40, 30}};
  unsigned char const drop[2][3] = {{40, 40, 220}, {60, 200, 60}};
  for (bool topDown : {false, true}) {
    DibPtr src = RandomDib(37, 11, 24, topDown, 5);
    DibPtr plain(DibSupressColors(src.get(), 2, keep, 2, drop, nullptr));
    double const zero[2] = {0.0, 0.0};
    DibPtr common(DibSupressColorsCommon(src.get(), 2, keep, zero, 2, drop, nullptr, 8, nullptr));
    ASSERT_NE(plain, nullptr);
    ASSERT_NE(common, nullptr);
    for (int y = 0; y < 11; ++y)
      ASSERT_EQ(std::memcmp(plain->GetLine(y), common->GetLine(y), 37), 0) << y;
  }
}

TEST(SupressColorsCommon, TolerancesAndColourOutput) {
  // Pixels: the kept ink, a colour 0.13 rad away from it, the dropped blue, white.
  DibPtr src(DibCreate(4, 1, 0, 0, 24));
  unsigned char const px[4][3] = {{140, 140, 220}, {160, 140, 220}, {200, 60, 40}, {255, 255, 255}};
  for (int i = 0; i < 4; ++i) Fill(src.get(), i, 0, i, 0, px[i]);
  unsigned char const keep[1][3] = {{140, 140, 220}}, drop[1][3] = {{200, 60, 40}};
  double const tolerance[1] = {0.3};
  DibPtr grey(DibSupressColorsCommon(src.get(), 1, keep, tolerance, 1, drop, nullptr, 8, nullptr));
  ASSERT_NE(grey, nullptr);
  // Within the tolerance a pixel keeps its whole darkness |p|.
  double const len = std::sqrt(95.0 * 95 + 115.0 * 115 + 35.0 * 35);
  EXPECT_EQ(Px(grey.get(), 1, 0), 255 - int(len + 0.5));
  EXPECT_EQ(Px(grey.get(), 2, 0), 255);
  DibPtr colour(DibSupressColorsCommon(src.get(), 1, keep, nullptr, 1, drop, nullptr, 24, nullptr));
  ASSERT_NE(colour, nullptr);
  for (int c = 0; c < 3; ++c) {
    EXPECT_NEAR(Px(colour.get(), 0, 0, c), px[0][c], 1) << c;  // the kept ink stays itself
    EXPECT_EQ(Px(colour.get(), 2, 0, c), 255) << c;             // the dropped one goes
    EXPECT_EQ(Px(colour.get(), 3, 0, c), 255) << c;
  }
  double const negative[1] = {-0.1};
  EXPECT_EQ(DibSupressColorsCommon(src.get(), 1, keep, negative, 1, drop, nullptr, 8, nullptr), nullptr);
  EXPECT_EQ(DibSupressColorsCommon(src.get(), 1, keep, nullptr, 1, drop, nullptr, 16, nullptr), nullptr);
}

TEST(TransformColorsEx, EachOperationFollowsItsFormula) {
  for (bool topDown : {false, true}) {
    SCOPED_TRACE(topDown);
    DibPtr src = RandomDib(19, 7, 24, topDown, 9);
    // Levels: black 20, white 220, gamma 2 on every byte; blue's white moved to 120 by key.
    char const* names[] = {"whiteB"};
    char const* values[] = {"120"};
    DibInfo* out = nullptr;
    ASSERT_EQ(DibTransformColorsEx(out, src.get(), 1, 20, 220, 200, 1, names, values, nullptr, nullptr), 0);
    DibPtr levels(out);
    for (int y = 0; y < 7; ++y)
      for (int x = 0; x < 19; ++x)
        for (int c = 0; c < 3; ++c) {
          double const t = std::clamp((Px(src.get(), x, y, c) - 20.0) / ((c == 0 ? 120 : 220) - 20.0), 0.0, 1.0);
          ASSERT_EQ(Px(levels.get(), x, y, c), int(std::floor(255 * std::pow(t, 0.5) + 0.5)));
        }
    out = nullptr;
    ASSERT_EQ(DibTransformColorsEx(out, src.get(), 3, 1, 2, 3, 0, nullptr, nullptr, nullptr, nullptr), 0);
    DibPtr grey(out);
    ASSERT_EQ(grey->BitsPerPixel(), 8);
    for (int y = 0; y < 7; ++y)
      for (int x = 0; x < 19; ++x)
        ASSERT_EQ(Px(grey.get(), x, y), (Px(src.get(), x, y, 0) + 2 * Px(src.get(), x, y, 1) +
                                         3 * Px(src.get(), x, y, 2) + 3) / 6);
    out = nullptr;
    ASSERT_EQ(DibTransformColorsEx(out, src.get(), 4, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr), 0);
    DibPtr inverse(out);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(Px(inverse.get(), 5, 3, c), 255 - Px(src.get(), 5, 3, c));
  }
  // White balance: a tinted sheet becomes white; the ink is divided by the same paper.
  DibPtr page(DibCreate(40, 40, 0, 0, 24));
  unsigned char const paper[3] = {200, 230, 250}, ink[3] = {100, 23, 50};
  Fill(page.get(), 0, 0, 39, 39, paper);
  Fill(page.get(), 5, 5, 12, 30, ink);
  DibInfo* out = nullptr;
  ASSERT_EQ(DibTransformColorsEx(out, page.get(), 2, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr), 0);
  DibPtr balanced(out);
  for (int c = 0; c < 3; ++c) {
    EXPECT_EQ(Px(balanced.get(), 30, 30, c), 255);
    EXPECT_EQ(Px(balanced.get(), 6, 6, c), (ink[c] * 255 + paper[c] / 2) / paper[c]);
  }
  // Refusals: unknown operation, grey of a grey image, an empty level range.
  DibPtr grey8 = RandomDib(5, 5, 8, false, 1);
  for (auto [src, oper, p1, p2] : {std::tuple{page.get(), 9, 0, 0}, {grey8.get(), 3, 0, 0},
                                   {page.get(), 1, 200, 100}}) {
    out = nullptr;
    EXPECT_EQ(DibTransformColorsEx(out, src, oper, p1, p2, 0, 0, nullptr, nullptr, nullptr, nullptr), -1);
  }
}

TEST(Suppress, UnevenTintedPaperTurnsWhiteAndInksKeepTheirHue) {
  int const w = 300, h = 200;
  DibPtr page(DibCreate(w, h, 11811, 11811, 24));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {  // paper darkening to the right, tinted, with texture
      int const shade = 250 - x / 5 + ((x * 7 + y * 13) % 5);
      Px(page.get(), x, y, 0) = uint8_t(shade - 30);
      Px(page.get(), x, y, 1) = uint8_t(shade - 10);
      Px(page.get(), x, y, 2) = uint8_t(shade);
    }
  unsigned char const red[3] = {40, 40, 180}, black[3] = {20, 20, 20};
  Fill(page.get(), 250, 50, 260, 150, red);
  Fill(page.get(), 20, 50, 26, 150, black);
  DibPtr clean(DibSuppress(page.get(), 0, 0, nullptr));
  ASSERT_NE(clean, nullptr);
  for (int y = 0; y < h; y += 7)
    for (int x : {5, 60, 150, 200, 290})
      for (int c = 0; c < 3; ++c) ASSERT_EQ(Px(clean.get(), x, y, c), 255) << x << "," << y;
  EXPECT_GT(Px(clean.get(), 255, 100, 2), Px(clean.get(), 255, 100, 1) + 80);  // still red
  EXPECT_LT(Px(clean.get(), 23, 100, 1), 60);                                   // still black
  EXPECT_EQ(DibSuppress(page.get(), -1, 0, nullptr), nullptr);
  EXPECT_EQ(DibSuppress(page.get(), 0, 256, nullptr), nullptr);
  // Any window wider than the page is one block: the largest one must not overflow.
  DibPtr whole(DibSuppress(page.get(), w, 0, nullptr)), widest(DibSuppress(page.get(), INT_MAX, 0, nullptr));
  ASSERT_TRUE(whole && widest);
  EXPECT_EQ(std::memcmp(whole->GetLine(h - 1), widest->GetLine(h - 1), std::size_t(whole->ByteWidth()) * h), 0);
}

TEST(MatchColor, DeltaE2000AgreesWithPublishedPairs) {
  // Pairs and differences from the CIEDE2000 test data of Sharma, Wu and Dalal (2005).
  struct Pair {
    quilp::Lab x, y;
    double dE;
  } const pairs[] = {
      {{50, 2.6772, -79.7751}, {50, 0, -82.7485}, 2.0425},
      {{50, 3.1571, -77.2803}, {50, 0, -82.7485}, 2.8615},
      {{50, 0, 0}, {50, -1, 2}, 2.3669},
      {{50, 2.5, 0}, {73, 25, -18}, 27.1492},
      {{60.2574, -34.0099, 36.2677}, {60.4626, -34.1751, 39.4387}, 1.2644},
  };
  for (Pair const& p : pairs) EXPECT_NEAR(quilp::DeltaE2000(p.x, p.y, true), p.dE, 1e-4);
}

TEST(MatchColor, MaskHoldsThePixelsWithinTolerance) {
  DibPtr page;
  std::vector<int> const truth = InkPage(page, false);
  unsigned char const red[3] = {40, 32, 200};
  DibPtr mask(DibMatchColor(page.get(), &red, 10.0, false, nullptr));
  ASSERT_NE(mask, nullptr);
  for (int y = 0; y < page->Height(); ++y)
    for (int x = 0; x < page->Width(); ++x)
      ASSERT_EQ(Bit(mask.get(), x, y), truth[y * page->Width() + x] == 2 ? 0 : 1) << x << "," << y;
  // Lightness ignored: a darker red (the same ink in shadow) still matches.
  DibPtr shade(DibCreate(1, 1, 0, 0, 24));
  unsigned char const dark[3] = {20, 16, 110};
  Fill(shade.get(), 0, 0, 0, 0, dark);
  DibPtr strict(DibMatchColor(shade.get(), &red, 10.0, false, nullptr));
  DibPtr loose(DibMatchColor(shade.get(), &red, 10.0, true, nullptr));
  EXPECT_EQ(Bit(strict.get(), 0, 0), 1);
  EXPECT_EQ(Bit(loose.get(), 0, 0), 0);
  EXPECT_EQ(DibMatchColor(page.get(), &red, -1.0, false, nullptr), nullptr);
  EXPECT_EQ(DibMatchColor(page.get(), nullptr, 1.0, false, nullptr), nullptr);
}

TEST(Separate, FindsEachInkOnItsOwnLayer) {
  for (bool topDown : {false, true}) {
    SCOPED_TRACE(topDown);
    DibPtr page;
    std::vector<int> const truth = InkPage(page, topDown);
    DibInfo* masks[kDibMaxInks];
    unsigned char inks[kDibMaxInks][3];
    DibInfo* labels = nullptr;
    int const k = DibSeparate(page.get(), 0, 6, masks, inks, &labels, nullptr);
    ASSERT_EQ(k, 4);
    DibPtr map(labels);
    std::vector<DibPtr> owned;
    for (int i = 0; i < k; ++i) owned.emplace_back(masks[i]);
    EXPECT_EQ(masks[4], nullptr);
    // Each truth ink maps to one layer, and every pixel agrees.
    int layerOf[5] = {0, -1, -1, -1, -1};
    for (int y = 0; y < page->Height(); ++y)
      for (int x = 0; x < page->Width(); ++x) {
        int const want = truth[y * page->Width() + x], got = Px(map.get(), x, y);
        if (want > 0 && layerOf[want] < 0) layerOf[want] = got;
        ASSERT_EQ(got, layerOf[want]) << x << "," << y << " ink " << want;
        if (got > 0) {
          ASSERT_EQ(Bit(owned[got - 1].get(), x, y), 0);
        }
      }
    EXPECT_NEAR(inks[layerOf[2] - 1][2], 200 * 255 / 250, 12);  // red, relative to the paper
  }
  DibInfo* masks[kDibMaxInks];
  DibInfo* labels = reinterpret_cast<DibInfo*>(1);
  EXPECT_EQ(DibSeparate(nullptr, 0, 4, masks, nullptr, &labels, nullptr), -1);
  EXPECT_EQ(labels, nullptr);
  DibPtr grey = RandomDib(4, 4, 8, false, 2);
  EXPECT_EQ(DibSeparate(grey.get(), 0, 4, masks, nullptr, nullptr, nullptr), -1);
  DibPtr page;
  InkPage(page, false);
  EXPECT_EQ(DibSeparate(page.get(), 5, 4, masks, nullptr, nullptr, nullptr), -1);
}
