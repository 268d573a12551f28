// The edge-pair skew (DibSmartGetAngle): its peak rules on literal vote counts, drawn edge
// pairs of known slope through the reduction and the final rounding, and made pages.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <vector>

#include "geometry/edge_pair_skew.h"
#include "geometry/hough_transform.h"
#include "geometry/row_table.h"
#include "quilp32.h"
#include "support/images.h"
#include "support/skew_pages.h"

using namespace testing_support;
using quilp::kEdgePairSlopes;

namespace {

struct Votes {
  std::vector<int> counts = std::vector<int>(2 * kEdgePairSlopes + 1, 0);
  int& operator[](int slope) { return counts[std::size_t(slope + kEdgePairSlopes)]; }
  int Slope() const { return quilp::EdgePairSlope(counts.data()); }
};

// A paper-grey image with dark two-pixel segments: (x, y) is the left pixel of each, drawn as
// blocks of hf x vf pixels so that the reduction by (hf, vf) gives back the one-pixel picture.
DibPtr Segments(int width, int height, std::vector<std::pair<int, int>> const& at, int hf,
                int vf) {
  DibPtr dib(DibCreate(width * hf, height * vf, 3937, 3937, 8));
  for (int y = 0; y < height * vf; ++y)
    for (int x = 0; x < width * hf; ++x) Px(dib.get(), x, y) = 200;
  for (auto const& p : at)
    for (int y = p.second * vf; y < (p.second + 1) * vf; ++y)
      for (int x = p.first * hf; x < (p.first + 2) * hf; ++x) Px(dib.get(), x, y) = 0;
  return dib;
}

}  // namespace

// The paper level both skew methods measure ink from, on pictures whose levels are counted by
// hand: the Hough transform's lower median (sampled on large areas) and the edge pairs' walk
// down from white over the interior, against half the whole area.
TEST(SkewPaperLevel, BothMethodsOnCountedPictures) {
  // Hough: rows y % 16 == 8, even columns, are the sample; left half 100, right half 180.
  auto sample = [](int x, int y, int w) { return y % 16 == 8 && x % 2 == 0 ? (x < w / 2 ? 100 : 180) : 0; };
  int const seven[] = {9, 3, 250, 3, 77, 9, 200};  // sorted: 3 3 9 [9] 77 200 250
  // Edge pairs on 100 x 100: a margin of 255 around 8100 interior pixels, the first `light`
  // of them (row by row) at 250, the rest at 180; half the area is 5000.
  auto interior = [](int x, int y, int light) {
    bool const inside = x >= 5 && x < 95 && y >= 5 && y < 95;
    return !inside ? 255 : (y - 5) * 90 + (x - 5) < light ? 250 : 180;
  };
  struct Case {
    char const* what;
    bool hough;
    int w, h, arg, want;
  } const cases[] = {
      {"hough: half at 40 takes the lower", true, 10, 10, 50, 40},
      {"hough: 49 at 40", true, 10, 10, 49, 200},
      {"hough: odd count", true, 7, 1, 0, 9},
      {"hough: sampled 32 x 128", true, 32, 128, 0, 100},
      {"hough: sampled 16 x 128", true, 16, 128, 0, 100},
      {"hough: every pixel below 16 wide", true, 15, 128, 0, 0},
      {"hough: every pixel below 128 high", true, 32, 127, 0, 0},
      {"edges: 3600 light", false, 100, 100, 3600, 180},
      {"edges: 5000 light reach half", false, 100, 100, 5000, 250},
      {"edges: 4999 light do not", false, 100, 100, 4999, 180},
      {"edges: interior under half the area", false, 30, 30, 8100, 0},
  };
  for (Case const& c : cases)
    for (bool topDown : {false, true}) {
      DibPtr dib(DibCreate(c.w, topDown ? -c.h : c.h, 0, 0, 8));
      for (int y = 0; y < c.h; ++y)
        for (int x = 0; x < c.w; ++x)
          Px(dib.get(), x, y) = uint8_t(!c.hough ? interior(x, y, c.arg)
                                        : c.h == 1 ? seven[x]
                                        : c.h == 10 ? (x + 10 * y < c.arg ? 40 : 200)
                                                    : sample(x, y, c.w));
      quilp::DibView const v = quilp::MakeView(dib.get());
      EXPECT_EQ(c.hough ? quilp::HoughPaperLevel(quilp::RowsOf(v)) : quilp::EdgePairPaperLevel(v),
                c.want) << c.what << (topDown ? ", top-down" : "");
    }
}

TEST(EdgePairPeak, LastOfEqualMaximaAndBroadPeaksOverSpikes) {
  Votes none;
  EXPECT_EQ(none.Slope(), 0);
  // Two equal broad maxima: scanning upward, the later one wins.
  Votes twin;
  for (int s : {-20, 50}) twin[s - 1] = 6, twin[s] = 9, twin[s + 1] = 7;
  EXPECT_EQ(twin.Slope(), 50);
  // A lone spike against a broad peak: the spike is the maximum and isolated, the broad
  // peak's last high slope (the runner-up, 18 >= 5% of 50) is not, so its count is the
  // target; the last slope holding it is -29.
  Votes spike;
  int const broad[] = {12, 15, 18, 20, 18, 15};
  for (int i = 0; i < 6; ++i) spike[-33 + i] = broad[i];
  spike[100] = 50;
  EXPECT_EQ(spike.Slope(), -29);
  // A spike with neighbours is not isolated: it stays the choice.
  spike[99] = 20;
  EXPECT_EQ(spike.Slope(), 100);
  // Counts of 5% of the maximum or less never set the slope, even when they equal the target.
  Votes faint;
  faint[10] = 100;
  faint[11] = 30;
  faint[9] = 30;
  faint[-200] = 5;
  EXPECT_EQ(faint.Slope(), 10);
  // The range ends at 399.
  Votes edge;
  edge[399] = 4;
  edge[398] = 3;
  EXPECT_EQ(edge.Slope(), 399);
}

TEST(SmartGetAngle, DrawnEdgePairsThroughTheReductionAndTheRounding) {
  // Two segments two bands apart: points (100, y0), (101, y0) and (140, y1), (141, y1). Their
  // four pairs vote dy*1024/dx for dx = 39, 40, 40, 41: with dy = 2 that is 52, 51, 51, 49, so
  // T = 51; with dy = -2, T = -51. skew = (int)(T * vf / hf + 0.5), truncated toward zero.
  struct Case { int dy, hf, vf, skew; };
  for (Case c : {Case{2, 1, 1, 51}, Case{2, 2, 1, 26}, Case{2, 1, 2, 102}, Case{-2, 1, 1, -50},
                 Case{-2, 2, 1, -25}, Case{-2, 1, 2, -101}}) {
    SCOPED_TRACE(testing::Message() << c.dy << " " << c.hf << " " << c.vf);
    int const y0 = 15, y1 = 15 + c.dy;
    DibPtr dib = Segments(200, 40, {{100, y0}, {140, y1}}, c.hf, c.vf);
    int skew = 12345;
    ASSERT_TRUE(DibSmartGetAngle(skew, dib.get(), c.hf, c.vf, nullptr));
    EXPECT_EQ(skew, c.skew);
  }
  // The same pair inside a rectangle of a larger picture; outside it nothing is seen.
  DibPtr dib = Segments(300, 60, {{150, 30}, {190, 32}}, 1, 1);
  tagRect32 around{50, 15, 249, 54}, beside{0, 0, 99, 59};
  int skew = 0;
  ASSERT_TRUE(DibSmartGetAngle(skew, dib.get(), 1, 1, &around));
  EXPECT_EQ(skew, 51);
  ASSERT_TRUE(DibSmartGetAngle(skew, dib.get(), 1, 1, &beside));
  EXPECT_EQ(skew, 0);
}

TEST(SmartGetAngle, BlankBlackTinyAndRefused) {
  DibPtr blank(DibCreate(300, 200, 3937, 3937, 8)), black(DibCreate(300, 200, 3937, 3937, 8));
  for (int y = 0; y < 200; ++y)
    for (int x = 0; x < 300; ++x) Px(blank.get(), x, y) = 230;
  int skew = 9;
  EXPECT_TRUE(DibSmartGetAngle(skew, blank.get(), 1, 1, nullptr));
  EXPECT_EQ(skew, 0);
  skew = 9;
  EXPECT_TRUE(DibSmartGetAngle(skew, black.get(), 2, 2, nullptr));  // paper level 0: no edges
  EXPECT_EQ(skew, 0);
  DibPtr tiny = RandomDib(3, 3, 8, false, 1);
  skew = 9;
  EXPECT_TRUE(DibSmartGetAngle(skew, tiny.get(), 1, 1, nullptr));
  EXPECT_EQ(skew, 0);
  DibPtr colour = RandomDib(30, 30, 24, false, 2);
  tagRect32 outside{400, 0, 500, 10};
  skew = 9;
  EXPECT_FALSE(DibSmartGetAngle(skew, nullptr, 1, 1, nullptr));
  EXPECT_FALSE(DibSmartGetAngle(skew, colour.get(), 1, 1, nullptr));
  EXPECT_FALSE(DibSmartGetAngle(skew, blank.get(), 0, 1, nullptr));
  EXPECT_FALSE(DibSmartGetAngle(skew, blank.get(), 1, -2, nullptr));
  EXPECT_FALSE(DibSmartGetAngle(skew, blank.get(), 1, 1, &outside));
  EXPECT_EQ(skew, 9);
}

TEST(SmartGetAngle, FindsTheSkewOfMadeTextPagesAtEveryFactor) {
  double const angles[] = {-7.0, -4.1, -1.5, 0.0, 2.2, 5.3, 7.0};
  for (int factor : {1, 2, 4}) {
    double sum = 0, worst = 0;
    int n = 0;
    for (double degrees : angles) {
      DibPtr page = SkewedGreyPage(degrees, uint32_t(40 + n), 1240, 1754, n % 2 == 0);
      int skew = 12345;
      ASSERT_TRUE(DibSmartGetAngle(skew, page.get(), factor, factor, nullptr));
      // The slopes voted are whole rows over 21 to 59 columns, so only some values near the
      // true slope can be voted at all (a pair one row apart votes 1024/dx): the choice lands
      // up to a dozen or so units of 1/1024 away.
      EXPECT_NEAR(skew, TangentUnits(degrees), 16.0) << degrees << " factor " << factor;
      double const err = std::fabs(std::atan(skew / 1024.0) * 180 / M_PI - degrees);
      sum += err;
      worst = std::max(worst, err);
      ++n;
    }
    std::printf("DibSmartGetAngle factor %d on %d pages: mean error %.3f deg, worst %.3f deg\n",
                factor, n, sum / n, worst);
  }
}
