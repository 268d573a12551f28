// Zone matching: the score is the normalised cross-correlation of the definition, zones cut
// from a page are found where they were cut, and pages moved by known fractional offsets are
// registered to within a quarter of a pixel.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "compare/zone_match.h"
#include "pages/page_maker.h"
#include "quilp32.h"
#include "support/images.h"

using namespace testing_support;

namespace {

// A grey page of text-like strokes, small enough for quick tests.
DibPtr GreyPage(bool topDown) {
  quilp_pages::PageSpec layout;
  layout.width = 600;
  layout.height = 500;
  layout.dpi = 150;
  layout.bitCount = 8;
  layout.topDown = topDown;
  layout.stamp = false;
  return DibPtr(quilp_pages::MakePage(layout));
}

// The page moved by (dx, dy) (bilinear), with noise of +-amplitude levels.
DibPtr Moved(DibInfo const* src, double dx, double dy, int amplitude, uint32_t seed) {
  int const w = src->Width(), h = src->Height();
  DibPtr out(DibCreate(w, h, 0, 0, 8));
  std::mt19937 rng(seed);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      double const sx = x - dx, sy = y - dy;
      int const x0 = int(std::floor(sx)), y0 = int(std::floor(sy));
      double const fx = sx - x0, fy = sy - y0;
      auto at = [&](int xx, int yy) {
        return double(Px(src, std::clamp(xx, 0, w - 1), std::clamp(yy, 0, h - 1)));
      };
      double const v = (1 - fy) * ((1 - fx) * at(x0, y0) + fx * at(x0 + 1, y0)) +
                       fy * ((1 - fx) * at(x0, y0 + 1) + fx * at(x0 + 1, y0 + 1));
      int const noise = amplitude ? int(rng() % (2 * amplitude + 1)) - amplitude : 0;
      Px(out.get(), x, y) = uint8_t(std::clamp(int(v + 0.5) + noise, 0, 255));
    }
  return out;
}

}  // namespace

TEST(MatchZone, ScoreIsTheNormalisedCrossCorrelation) {
  std::mt19937 rng(8);
  std::vector<uint8_t> zone(7 * 5), window(20 * 11);
  for (auto& v : zone) v = uint8_t(rng());
  for (auto& v : window) v = uint8_t(rng());
  quilp::GreyZone const z{zone.data(), 7, 5}, w{window.data(), 20, 11};
  for (auto [u, v] : {std::pair{0, 0}, {13, 6}, {5, 3}}) {
    double st = 0, si = 0;
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 7; ++x) st += zone[y * 7 + x], si += window[(v + y) * 20 + u + x];
    double const mt = st / 35, mi = si / 35;
    double num = 0, dt = 0, di = 0;
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 7; ++x) {
        double const a = zone[y * 7 + x] - mt, b = window[(v + y) * 20 + u + x] - mi;
        num += a * b, dt += a * a, di += b * b;
      }
    EXPECT_NEAR(quilp::ZoneScore(z, w, u, v), num / std::sqrt(dt * di), 1e-9);
  }
}

TEST(MatchZone, FindsZonesWhereTheyWereCut) {
  for (bool topDown : {false, true}) {
    DibPtr page = GreyPage(topDown);
    // A 64 x 64 zone in a tight window, a large one over the whole page, a small one.
    struct Case {
      tagRect32 zone;
      tagRect32 window;
    } const cases[] = {{{200, 150, 263, 213}, {150, 100, 469, 419}},
                       {{100, 60, 355, 315}, {0, 0, 599, 499}},
                       {{250, 190, 279, 208}, {150, 120, 400, 300}}};
    for (Case c : cases) {
      SCOPED_TRACE(testing::Message() << c.zone.left << "," << c.zone.top << " " << topDown);
      double x = -1, y = -1, score = 0;
      ASSERT_TRUE(DibMatchZone(page.get(), &c.zone, page.get(), &c.window, x, y, score));
      // The integer best is exact; the parabolas through uneven neighbours move it a little.
      EXPECT_NEAR(x, c.zone.left, 0.05);
      EXPECT_NEAR(y, c.zone.top, 0.05);
      EXPECT_NEAR(score, 1.0, 1e-9);
    }
  }
  DibPtr page = GreyPage(false);
  tagRect32 big = {0, 0, 99, 99}, small = {0, 0, 50, 50}, flat = {0, 0, 5, 5};
  double x, y, s;
  EXPECT_FALSE(DibMatchZone(page.get(), &big, page.get(), &small, x, y, s));  // window too small
  EXPECT_FALSE(DibMatchZone(page.get(), &flat, page.get(), nullptr, x, y, s));  // blank paper
  EXPECT_FALSE(DibMatchZone(nullptr, nullptr, page.get(), nullptr, x, y, s));
}

TEST(MatchZone, RegistersFractionalShiftsWithinAQuarterPixel) {
  DibPtr page = GreyPage(false);
  double worst = 0.0;
  for (auto [dx, dy] : {std::pair{0.25, -0.5}, {3.4, 1.75}, {-2.6, 0.1}, {0.5, 0.5}, {-7.3, 4.8}}) {
    DibPtr moved = Moved(page.get(), dx, dy, 3, uint32_t(dx * 100 + dy * 10 + 1000));
    // The window starts one pixel and a fraction before the true place: the peak is at (1, 1).
    int const left = 119 + int(std::floor(dx)), top = 99 + int(std::floor(dy));
    tagRect32 zone = {120, 100, 375, 355}, window = {left, top, 395, 375};
    double x, y, score;
    ASSERT_TRUE(DibMatchZone(page.get(), &zone, moved.get(), &window, x, y, score));
    worst = std::max({worst, std::fabs(x - 120 - dx), std::fabs(y - 100 - dy)});
    EXPECT_NEAR(x - 120, dx, 0.25) << dx << "," << dy;
    EXPECT_NEAR(y - 100, dy, 0.25) << dx << "," << dy;
    EXPECT_GT(score, 0.9);
  }
  RecordProperty("worst_error_px", std::to_string(worst));
  std::printf("registration: worst error %.3f pixel\n", worst);
}
