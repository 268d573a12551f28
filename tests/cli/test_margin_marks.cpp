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

namespace {

constexpr int kW = 600, kH = 800, kDpi = 150;
constexpr int kPaper = 230, kInk = 20, kShadow = 150;  // dark: below 45 % of the paper
constexpr int kGrow = kDpi / 50;

struct Shape {
  bool marked;
  std::function<bool(int, int)> inside;
};

std::function<bool(int, int)> Disc(double cx, double cy, double r, double hole = 0) {
  return [=](int x, int y) { return std::hypot(x - cx, y - cy) <= r && std::hypot(x - cx, y - cy) >= hole; };
}

// The border shapes first (3), then two holes, then dark shapes that are neither.
std::vector<Shape> const& Shapes() {
  static std::vector<Shape> const shapes = {
      {true, [](int x, int y) { return x < 10 + int(4 * std::sin(y / 20.0)); }},  // wavy, left edge
      {true, [](int x, int y) { return x >= 300 && x < 340 && y >= kH - 20; }},   // on the bottom edge
      {true, [](int x, int y) { return x >= 340 && x < 350 && y >= kH - 30 && y < kH - 20; }},  // touching it at a corner
      {true, Disc(60, 400, 17.5)},                // 6 mm, in the left band
      {true, Disc(135, 600, 17.5)},               // reaching into the band
      {false, Disc(300, 400, 17.5)},              // mid-page
      {false, [](int x, int y) { return x >= 40 && x < 80 && y >= 200 && y < 208; }},  // a bar
      {false, Disc(560, 300, 17.5, 12)},          // a ring
      {false, Disc(540, 600, 38)},                // 13 mm
      {false, [](int x, int y) { return x >= 250 && x < 262 && y >= 40 && y < 56 && (x < 253 || y > 52); }},  // a letter
  };
  return shapes;
}

TEST(MarginMarks, BorderAndHolesAreFoundAndClearedAsDefined) {
  // The page from the top (a light shadow along the top edge is not dark), the marked shapes'
  // dark pixels, how many of them are border, and the pixels within kGrow of them (cover).
  std::size_t const n = std::size_t(kW) * kH;
  std::vector<uint8_t> levels(n, kPaper), marked(n, 0), cover(n, 0);
  int border = 0;
  for (int y = 0; y < kH; ++y)
    for (int x = 0; x < kW; ++x) {
      std::size_t const i = std::size_t(y) * kW + std::size_t(x);
      if (y < 6) levels[i] = kShadow;
      for (std::size_t k = 0; k < Shapes().size(); ++k)
        if (Shapes()[k].inside(x, y)) {
          levels[i] = kInk;
          marked[i] = Shapes()[k].marked;
          border += k < 3;
          break;
        }
    }
  for (int y = 0; y < kH; ++y)
    for (int x = 0; x < kW; ++x)
      for (int j = std::max(0, y - kGrow); j <= std::min(kH - 1, y + kGrow); ++j)
        for (int i = std::max(0, x - kGrow); i <= std::min(kW - 1, x + kGrow); ++i)
          cover[std::size_t(y) * kW + std::size_t(x)] |= marked[std::size_t(j) * kW + std::size_t(i)];
  auto pattern = [](int x, int y, int c) { return uint8_t(7 * x + 13 * y + c); };  // never white
  for (bool topDown : {false, true}) {
    SCOPED_TRACE(topDown ? "top-down" : "bottom-up");
    DibPtr page(DibCreate(kW, topDown ? -kH : kH, kDpi * 3937 / 100, kDpi * 3937 / 100, 8));
    for (int y = 0; y < kH; ++y) std::memcpy(page->GetLine(y), &levels[std::size_t(y) * kW], kW);
    quilp_cli::MarginMarks const marks = quilp_cli::FindMarginMarks(page.get(), kDpi);
    EXPECT_EQ(marks.holes, 2);
    EXPECT_EQ(marks.borderPixels, border);
    // A page of the searched size and one twice as large (blocks cut at the edges): white
    // exactly under the grown marks.
    for (int factor : {1, 2}) {
      int const w = kW * factor - (factor - 1), h = kH * factor - (factor - 1);
      DibPtr image(DibCreate(w, topDown ? -h : h, 0, 0, 32));
      for (int y = 0; y < h; ++y) {
        uint8_t* row = image->GetLine(y);
        for (int x = 0; x < 4 * w; ++x) row[x] = pattern(x / 4, y, x % 4);
      }
      quilp_cli::ClearMarks(image.get(), marks, factor);
      int wrong = 0;
      for (int y = 0; y < h; ++y) {
        uint8_t const* row = image->GetLine(y);
        for (int x = 0; x < 4 * w; ++x)
          if (row[x] != (cover[std::size_t(y / factor) * kW + std::size_t(x / 4 / factor)] ? 255 : pattern(x / 4, y, x % 4)) &&
              ++wrong < 5)
            ADD_FAILURE() << "factor " << factor << " at " << x / 4 << ", " << y;
      }
    }
  }
}

}  // namespace
