// The margin marks of "quilp clean" (tools/quilp/margin_marks.cpp) against the definition,
// computed by brute force: the dark regions that touch the edge or are hole-shaped blots met
// in the outer bands, every pixel within the grow distance of them painted white, and each
// pixel of a page `factor` times larger painted by the reduced pixel it falls in.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "quilp/margin_marks.h"
#include "support/images.h"

using testing_support::DibPtr;
using testing_support::Px;

namespace {

constexpr int kW = 600, kH = 800, kDpi = 150;
constexpr int kPaper = 230, kInk = 20, kShadow = 150;  // dark: below 45 % of the paper
constexpr int kGrow = kDpi / 50;

struct Shape {
  char const* what;
  bool marked;
  std::function<bool(int, int)> inside;
};

std::function<bool(int, int)> Disc(double cx, double cy, double r, double hole = 0) {
  return [=](int x, int y) {
    double const d = std::hypot(x - cx, y - cy);
    return d <= r && d >= hole;
  };
}

std::vector<Shape> const& Shapes() {
  static std::vector<Shape> const shapes = {
      {"wavy border on the left edge", true, [](int x, int y) { return x < 10 + int(4 * std::sin(y / 20.0)); }},
      {"blot on the bottom edge", true, [](int x, int y) { return x >= 300 && x < 340 && y >= kH - 20; }},
      {"square touching it at a corner only", true, [](int x, int y) { return x >= 340 && x < 350 && y >= kH - 30 && y < kH - 20; }},
      {"6 mm hole in the left band", true, Disc(60, 400, 17.5)},
      {"hole reaching into the band", true, Disc(135, 600, 17.5)},
      {"6 mm disc mid-page", false, Disc(300, 400, 17.5)},
      {"bar in the band", false, [](int x, int y) { return x >= 40 && x < 80 && y >= 200 && y < 208; }},
      {"ring in the right band", false, Disc(560, 300, 17.5, 12)},
      {"13 mm disc in the band", false, Disc(540, 600, 38)},
      {"letter-sized blot in the top band", false, [](int x, int y) { return x >= 250 && x < 262 && y >= 40 && y < 56 && (x < 253 || y > 52); }},
  };
  return shapes;
}

// The page's levels, row by row from the top; the marked shapes' dark pixels; how many of
// them are border.
struct Drawing {
  std::vector<uint8_t> levels, marked;
  int border = 0;
};

Drawing const& Drawn() {
  static Drawing const drawing = [] {
    Drawing d;
    d.levels.assign(std::size_t(kW) * kH, kPaper);
    d.marked.assign(std::size_t(kW) * kH, 0);
    for (int y = 0; y < kH; ++y)
      for (int x = 0; x < kW; ++x) {
        std::size_t const i = std::size_t(y) * kW + std::size_t(x);
        if (y < 6) d.levels[i] = kShadow;  // a light shadow along the top
        for (std::size_t k = 0; k < Shapes().size(); ++k)
          if (Shapes()[k].inside(x, y)) {
            d.levels[i] = kInk;
            d.marked[i] = Shapes()[k].marked;
            d.border += k < 3;
            break;
          }
      }
    return d;
  }();
  return drawing;
}

// Whether (x, y) lies within kGrow pixels (either way) of a marked pixel.
bool Covered(std::vector<uint8_t> const& marked, int x, int y) {
  for (int j = std::max(0, y - kGrow); j <= std::min(kH - 1, y + kGrow); ++j)
    for (int i = std::max(0, x - kGrow); i <= std::min(kW - 1, x + kGrow); ++i)
      if (marked[std::size_t(j) * kW + std::size_t(i)]) return true;
  return false;
}

TEST(MarginMarks, BorderAndHolesAreFoundAndClearedAsDefined) {
  for (bool topDown : {false, true}) {
    SCOPED_TRACE(topDown ? "top-down" : "bottom-up");
    Drawing const& d = Drawn();
    std::vector<uint8_t> const& original = d.levels;
    DibPtr page(DibCreate(kW, topDown ? -kH : kH, kDpi * 3937 / 100, kDpi * 3937 / 100, 8));
    for (int y = 0; y < kH; ++y) std::memcpy(page->GetLine(y), &original[std::size_t(y) * kW], kW);
    quilp_cli::MarginMarks const marks = quilp_cli::FindMarginMarks(page.get(), kDpi);
    EXPECT_EQ(marks.holes, 2);
    EXPECT_EQ(marks.borderPixels, d.border);

    // Every pixel of the page itself, and of a colour page twice as large (blocks cut at the
    // edges), white exactly where the grown marks reach.
    quilp_cli::ClearMarks(page.get(), marks, 1);
    int const factor = 2, bigW = kW * factor - 1, bigH = kH * factor - 1;
    // Bytes of a pattern in which no pixel is white.
    auto pattern = [](int x, int y, int c) { return uint8_t(7 * x + 13 * y + c); };
    DibPtr big(DibCreate(bigW, topDown ? -bigH : bigH, 0, 0, 32));
    for (int y = 0; y < bigH; ++y) {
      uint8_t* row = big->GetLine(y);
      for (int x = 0; x < 4 * bigW; ++x) row[x] = pattern(x / 4, y, x % 4);
    }
    quilp_cli::ClearMarks(big.get(), marks, factor);
    std::vector<uint8_t> cover(std::size_t(kW) * kH);
    for (int y = 0; y < kH; ++y)
      for (int x = 0; x < kW; ++x) cover[std::size_t(y) * kW + std::size_t(x)] = Covered(d.marked, x, y);
    int wrong = 0;
    for (int y = 0; y < kH; ++y) {
      uint8_t const* row = page->GetLine(y);
      for (int x = 0; x < kW; ++x) {
        std::size_t const i = std::size_t(y) * kW + std::size_t(x);
        if (row[x] != (cover[i] ? 255 : original[i]) && ++wrong < 5) ADD_FAILURE() << "at " << x << ", " << y;
      }
    }
    uint8_t const white[4] = {255, 255, 255, 255};
    for (int by = 0; by < bigH; ++by) {
      uint8_t const* row = big->GetLine(by);
      for (int bx = 0; bx < bigW; ++bx) {
        bool const c = cover[std::size_t(by / factor) * kW + std::size_t(bx / factor)];
        uint8_t const was[4] = {pattern(bx, by, 0), pattern(bx, by, 1), pattern(bx, by, 2), pattern(bx, by, 3)};
        if (std::memcmp(row + 4 * bx, c ? white : was, 4) && ++wrong < 5)
          ADD_FAILURE() << "large page at " << bx << ", " << by;
      }
    }
    EXPECT_EQ(wrong, 0);
  }
}

// Pages too small for bands: paper alone has no marks; one dark corner pixel is border, grown
// by the default resolution's distance (300 dpi: 6 pixels) and cut at the edges.
TEST(MarginMarks, TinyPages) {
  for (int size : {1, 3, 20}) {
    SCOPED_TRACE(size);
    DibPtr page(DibCreate(size, 2 * size, 0, 0, 8));
    for (int y = 0; y < 2 * size; ++y)
      for (int x = 0; x < size; ++x) Px(page.get(), x, y) = kPaper;
    EXPECT_TRUE(quilp_cli::FindMarginMarks(page.get(), 0).cover.empty());
    Px(page.get(), size - 1, 0) = kInk;
    quilp_cli::MarginMarks const marks = quilp_cli::FindMarginMarks(page.get(), 0);
    EXPECT_EQ(marks.borderPixels, size > 1 ? 1 : 0);  // a page of one pixel is its own paper
    quilp_cli::ClearMarks(page.get(), marks, 1);
    for (int y = 0; y < 2 * size; ++y)
      for (int x = 0; x < size; ++x)
        EXPECT_EQ(Px(page.get(), x, y), size > 1 && y <= 6 && x >= size - 7 ? 255 : x == size - 1 && y == 0 ? kInk : kPaper)
            << x << ", " << y;
  }
}

}  // namespace
