// The Hough-image angle: the border fade against its formula, the transform image and its
// peak search on drawn lines, and DibHoughGetAngle on made pages of known skew.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "geometry/fade_borders.h"
#include "quilp32.h"
#include "record/view.h"
#include "support/images.h"
#include "support/skew_pages.h"
#include "support/tiers.h"

using namespace testing_support;

namespace {

// The fade, straight from its definition: the margins never pass the middle.
std::vector<std::vector<int>> FadeReference(DibInfo const* src, double fraction) {
  int const w = src->Width(), h = src->Height();
  int const k = std::min({200, static_cast<int>(h * fraction + 0.5), h / 2});
  std::vector<std::vector<int>> out(static_cast<std::size_t>(h),
                                    std::vector<int>(static_cast<std::size_t>(w)));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) out[std::size_t(y)][std::size_t(x)] = Px(src, x, y);
  if (k == 0) return out;
  int64_t a = 0, q = 0;
  for (int i = 0; i < k; ++i) {
    int64_t sum = 0;
    for (int x = 0; x < w; ++x) sum += Px(src, x, i) + Px(src, x, h - 1 - i);
    int64_t const m = (sum + w / 2) / w;
    a += i * m;
    q += int64_t(i) * i * m;
  }
  int64_t b = ((q / (int64_t(k) * k) - ((a / k + 1) / 2)) * 6) / k;
  b = std::min<int64_t>(std::max<int64_t>(b, 0), 255);
  for (int i = 0; i < k; ++i) {
    int const wt = static_cast<int>(double(i) / k * 256 + 0.5);
    for (int y : {i, h - 1 - i})
      for (int x = 0; x < w; ++x)
        out[std::size_t(y)][std::size_t(x)] =
            int((b * 256 - b * wt + 128 + Px(src, x, y) * wt) >> 8);
  }
  return out;
}

// A white 8-bit image with a dark band three rows thick whose top row drifts `drift` rows from
// the first column to the last.
DibPtr LineImage(int width, int height, int y0, int drift) {
  DibPtr dib(DibCreate(width, height, 3937, 3937, 8));
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) Px(dib.get(), x, y) = 250;
  for (int x = 0; x < width; ++x) {
    int const y = y0 + int(std::lround(double(drift) * x / (width - 1)));
    Px(dib.get(), x, y) = Px(dib.get(), x, y + 1) = Px(dib.get(), x, y + 2) = 10;
  }
  return dib;
}

DibPtr Transpose(DibInfo const* src) {
  DibPtr t(DibCreate(src->Height(), src->Width(), 3937, 3937, 8));
  for (int y = 0; y < src->Height(); ++y)
    for (int x = 0; x < src->Width(); ++x) Px(t.get(), y, x) = Px(src, x, y);
  return t;
}

double PeakRow(DibInfo* transform) {
  int position = -1, value = -1;
  EXPECT_TRUE(DibFindHoughPeak(transform, 5, 1, position, value));
  return position / 256.0;
}

int32_t At32(DibInfo const* dib, int x, int y) {
  int32_t v;
  std::memcpy(&v, dib->GetLine(y) + 4 * x, 4);
  return v;
}

}  // namespace

TEST(FadeBorders, MatchesTheFormulaAndTheUncopiedForm) {
  struct Case { int w, h; double fraction = 0.1; };
  for (Case c : {Case{7, 10}, Case{9, 30}, Case{5, 4}, Case{13, 77}, Case{3, 2100}, Case{5, 13, 0.7}}) {
    SCOPED_TRACE(testing::Message() << c.w << " x " << c.h);
    DibPtr src = RandomDib(c.w, c.h, 8, c.h == 30, uint32_t(c.w * 1000 + c.h));
    auto const want = FadeReference(src.get(), c.fraction);
    DibPtr dst(DibCreate(c.w, -c.h, 3937, 3937, 8));
    ASSERT_TRUE(quilp::DibFadeBorders(quilp::MakeView(src.get()), quilp::MakeView(dst.get()),
                                      200, c.fraction, nullptr));
    std::vector<uint8_t> margins;
    quilp::RowTable rows;
    quilp::FadedRows(quilp::MakeView(src.get()), 200, c.fraction, margins, rows);
    ASSERT_EQ(rows.height, c.h);
    for (int y = 0; y < c.h; ++y)
      for (int x = 0; x < c.w; ++x) {
        ASSERT_EQ(Px(dst.get(), x, y), want[std::size_t(y)][std::size_t(x)]) << x << "," << y;
        ASSERT_EQ(rows.Row(y)[x], want[std::size_t(y)][std::size_t(x)]) << x << "," << y;
      }
    // In place gives the same.
    ASSERT_TRUE(quilp::DibFadeBorders(quilp::MakeView(src.get()), quilp::MakeView(src.get()),
                                      200, c.fraction, nullptr));
    for (int y = 0; y < c.h; ++y)
      for (int x = 0; x < c.w; ++x) ASSERT_EQ(Px(src.get(), x, y), want[std::size_t(y)][std::size_t(x)]);
  }
  // A given background; a destination too small.
  DibPtr src = RandomDib(8, 40, 8, false, 10), dst = RandomDib(8, 40, 8, false, 11);
  int const level = 77;
  ASSERT_TRUE(quilp::DibFadeBorders(quilp::MakeView(src.get()), quilp::MakeView(dst.get()), 200, 0.1, &level));
  for (int x = 0; x < 8; ++x) EXPECT_EQ(Px(dst.get(), x, 0), 77);
  DibPtr low = RandomDib(8, 39, 8, false, 12);
  EXPECT_FALSE(quilp::DibFadeBorders(quilp::MakeView(src.get()), quilp::MakeView(low.get()), 200, 0.1, nullptr));
}

TEST(HoughTransform, RowsAreDriftsAndColumnsAreLeftEdgeRows) {
  int const w = 400, h = 160, reach = 72;  // reach = ceil(0.18 * 400): drifts -72..71
  for (int drift : {-66, -7, 0, 13, 64}) {
    SCOPED_TRACE(drift);
    DibPtr page = LineImage(w, h, 80, drift);
    DibPtr t8(DibHoughTransform(page.get(), 2, 8));
    DibPtr t32(DibHoughTransform(page.get(), 2, 32));
    ASSERT_TRUE(t8 && t32);
    EXPECT_EQ(t8->Height(), 2 * reach);
    EXPECT_EQ(t8->Width(), h + reach);
    EXPECT_EQ(t8->BitsPerPixel(), 8);
    EXPECT_EQ(t32->BitsPerPixel(), 32);
    // The peak lies on the row of the line's drift (its top row drifts `drift` over 399
    // columns, a hair more over the width).
    EXPECT_NEAR(PeakRow(t8.get()) - reach, drift, 0.6);
    EXPECT_NEAR(PeakRow(t32.get()) - reach, drift, 0.6);
    // On that row the line's sum sits at the columns of its left-edge rows, 80 to 82, and
    // comes within a few lanes of the largest sum (lines a row off may pick up the band's
    // other rows in the lanes where the drawn and the summed line round apart).
    int const row = reach + drift;
    int32_t top = 0;
    for (int y = 0; y < t32->Height(); ++y)
      for (int x = 0; x < t32->Width(); ++x) top = std::max(top, At32(t32.get(), x, y));
    EXPECT_GT(At32(t32.get(), 81, row), top * 9 / 10);
    EXPECT_GT(Px(t8.get(), 81, row), 229);
    EXPECT_LT(At32(t32.get(), 86, row), top / 20);
    // Mode 1 on the transposed image sees the same lines.
    DibPtr across = Transpose(page.get());
    DibPtr t1(DibHoughTransform(across.get(), 1, 8));
    ASSERT_TRUE(t1);
    EXPECT_EQ(t1->Height(), 2 * reach);
    EXPECT_NEAR(PeakRow(t1.get()) - reach, drift, 0.6);
  }
}

TEST(HoughTransform, RefusesWhatItCannotRead) {
  DibPtr grey = RandomDib(20, 20, 8, false, 1), colour = RandomDib(20, 20, 24, false, 2);
  DibPtr empty(DibCreate(0, 5, 3937, 3937, 8));
  EXPECT_EQ(DibHoughTransform(nullptr, 2, 8), nullptr);
  EXPECT_EQ(DibHoughTransform(colour.get(), 2, 8), nullptr);
  EXPECT_EQ(DibHoughTransform(grey.get(), 3, 8), nullptr);
  EXPECT_EQ(DibHoughTransform(grey.get(), 2, 16), nullptr);
  EXPECT_EQ(DibHoughTransform(empty.get(), 2, 8), nullptr);
  // The smallest images still give a transform.
  DibPtr dot = RandomDib(1, 1, 8, false, 3);
  DibPtr t(DibHoughTransform(dot.get(), 2, 8));
  ASSERT_TRUE(t);
  EXPECT_EQ(t->Height(), 2);  // reach 1: the drifts -1 and 0
}

TEST(HoughPeak, ParabolaThroughTheScoresAroundTheBestRow) {
  // Two columns (0, v): both measures score v^2. Scores on a parabola peaking at row 10.3.
  DibPtr t(DibCreate(2, -24, 0, 0, 32));
  for (int y = 0; y < 24; ++y) {
    double const s = std::max(0.0, 400.0 - 9.0 * (y - 10.3) * (y - 10.3));
    int32_t const v = int32_t(std::lround(1000.0 * std::sqrt(s))), zero = 0;
    std::memcpy(t->GetLine(y), &zero, 4);
    std::memcpy(t->GetLine(y) + 4, &v, 4);
  }
  for (int measure : {0, 1}) {
    int position = 0, value = 0;
    ASSERT_TRUE(DibFindHoughPeak(t.get(), 5, measure, position, value));
    EXPECT_NEAR(position / 256.0, 10.3, 0.02) << measure;
  }
  // One sharp row: its own position, value = score / width.
  DibPtr sharp(DibCreate(9, 15, 0, 0, 8));
  for (int x = 0; x < 9; x += 2) Px(sharp.get(), x, 7) = 100;
  int position = 0, value = 0;
  ASSERT_TRUE(DibFindHoughPeak(sharp.get(), 5, 1, position, value));
  EXPECT_EQ(position, 7 * 256);
  EXPECT_EQ(value, 8 * 100 * 100 / 9);
  // A row whose only ink is in column 0 counts under both measures.
  DibPtr edge(DibCreate(9, 15, 0, 0, 8));
  Px(edge.get(), 0, 4) = 100;
  for (int measure : {0, 1}) {
    ASSERT_TRUE(DibFindHoughPeak(edge.get(), 5, measure, position, value));
    EXPECT_EQ(position, 4 * 256) << measure;
  }
  // Refusals leave the outputs alone.
  position = value = -7;
  DibPtr colour = RandomDib(4, 4, 24, false, 1);
  EXPECT_FALSE(DibFindHoughPeak(nullptr, 5, 1, position, value));
  EXPECT_FALSE(DibFindHoughPeak(colour.get(), 5, 1, position, value));
  EXPECT_FALSE(DibFindHoughPeak(sharp.get(), 5, 2, position, value));
  EXPECT_FALSE(DibFindHoughPeak(sharp.get(), -1, 1, position, value));
  DibPtr noColumns(DibCreate(0, 5, 0, 0, 8));
  EXPECT_FALSE(DibFindHoughPeak(noColumns.get(), 5, 1, position, value));
  EXPECT_TRUE(position == -7 && value == -7);
}

TEST(HoughGetAngle, FindsTheSkewOfMadeTextPages) {
  double sum = 0, worst = 0;
  int n = 0;
  for (double degrees : {-7.0, -3.3, -0.6, 0.0, 1.2, 4.4, 7.0}) {
    DibPtr page = SkewedGreyPage(degrees, uint32_t(n + 1), 1240, 1754, n % 2 == 1);
    double angle = 99;
    ASSERT_TRUE(DibHoughGetAngle(angle, page.get(), 0, nullptr));
    double const err = std::fabs(angle * 180 / M_PI - degrees);
    EXPECT_LT(err, 0.02) << degrees;
    sum += err;
    worst = std::max(worst, err);
    ++n;
  }
  std::printf("DibHoughGetAngle on %d pages: mean error %.4f deg, worst %.4f deg\n", n, sum / n, worst);
}

TEST(HoughGetAngle, RectanglesRowOrdersAndRefusals) {
  DibPtr page = SkewedGreyPage(2.5, 7);
  double whole = 0, left = 0;
  ASSERT_TRUE(DibHoughGetAngle(whole, page.get(), 123, nullptr));
  tagRect32 half{0, 0, page->Width() / 2 - 1, page->Height() - 1};
  ASSERT_TRUE(DibHoughGetAngle(left, page.get(), 0, &half));
  EXPECT_NEAR(left * 180 / M_PI, 2.5, 0.05);
  // Vector tiers and the scalar one agree to the bit.
  for (auto tier : VectorTiers()) {
    double a = 0, b = 0;
    {
      ScopedTier scalar(quilp::simd::Tier::kScalar);
      ASSERT_TRUE(DibHoughGetAngle(a, page.get(), 0, nullptr));
    }
    ScopedTier scoped(tier);
    ASSERT_TRUE(DibHoughGetAngle(b, page.get(), 0, nullptr));
    EXPECT_EQ(a, b) << quilp::simd::TierName(tier);
    EXPECT_EQ(a, whole);
  }
  double angle = 42;
  DibPtr bits = RandomDib(64, 64, 1, false, 1), colour = RandomDib(64, 64, 24, false, 2);
  tagRect32 outside{5000, 0, 6000, 10};
  EXPECT_FALSE(DibHoughGetAngle(angle, nullptr, 0, nullptr));
  EXPECT_FALSE(DibHoughGetAngle(angle, bits.get(), 0, nullptr));
  EXPECT_FALSE(DibHoughGetAngle(angle, colour.get(), 0, nullptr));
  EXPECT_FALSE(DibHoughGetAngle(angle, page.get(), 0, &outside));
  EXPECT_EQ(angle, 42);
  // Tiny and short images still give an angle.
  DibPtr ten = RandomDib(40, 10, 8, true, 3), one = RandomDib(1, 1, 8, false, 4);
  EXPECT_TRUE(DibHoughGetAngle(angle, ten.get(), 0, nullptr));
  EXPECT_TRUE(std::isfinite(angle));
  EXPECT_TRUE(DibHoughGetAngle(angle, one.get(), 0, nullptr));
}
