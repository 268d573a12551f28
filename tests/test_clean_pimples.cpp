// DibCleanPimples on drawn cases: what goes (specks, holes, bumps, notches) and what stays
// (a full stop by its letter, an i-dot, a one-pixel stroke end), both row orders.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "morph/clean_pimples.h"
#include "quilp32.h"
#include "support/ink_pages.h"

using namespace testing_support;

namespace {

// A 200-dpi page drawn from text rows ('#' ink), bottom-up or top-down.
DibPtr Drawn(std::vector<std::string> const& rows, bool topDown) {
  int const h = int(rows.size()), w = int(rows[0].size());
  DibPtr dib(DibCreate(w, topDown ? -h : h, 7874, 7874, 1));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) PutInk(dib.get(), x, y, rows[std::size_t(y)][std::size_t(x)] == '#');
  return dib;
}

std::vector<std::string> Read(DibInfo const* dib) {
  std::vector<std::string> rows;
  for (int y = 0; y < dib->Height(); ++y) {
    std::string row;
    for (int x = 0; x < dib->Width(); ++x) row += Ink(dib, x, y) ? '#' : '.';
    rows.push_back(row);
  }
  return rows;
}

TEST(CleanPimples, RemovesNoiseAndKeepsMarks) {
  // 200 dpi: speck size 4, isolation 13, tiny 3. A letter with a bump on each side, a
  // two-pixel step (kept, rows 10-11), a notch (row 9), a white hole (row 12), a full stop
  // beside it, an i with its dot, a one-pixel stem (taller than a speck), a 3 x 3 speck within
  // reach of the i (kept) and single specks.
  std::vector<std::string> const in = {
      "..............................................",
      "..............................................",
      "..............................................",
      "....#.................###.....................",
      "..#######.............###................#....",
      "..#######.............###................#....",
      "..########....................................",
      "..#######.............###.....................",
      "..#######.............###.....#...............",
      "..###.###.............###.....#...............",
      ".#########............###.....#...............",
      "..########............###.....#.........###...",
      "..####.##.............###.....#.........###...",
      "..#######.###.........###...............###...",
      "..#######.###.........###.....................",
      "..#######.###.........###.....................",
      ".....#...................................#....",
      ".....................................#........",
  };
  std::vector<std::string> want = in;
  want[3][4] = want[6][9] = want[10][1] = want[16][5] = '.';  // bumps up, right, left, down
  want[9][5] = '#';                                    // notch
  want[12][6] = '#';                                   // hole
  want[4][41] = want[5][41] = '.';                     // two-pixel speck
  want[16][41] = want[17][37] = '.';                   // single specks
  for (bool topDown : {false, true}) {
    SCOPED_TRACE(topDown ? "top-down" : "bottom-up");
    DibPtr src = Drawn(in, topDown);
    DibPtr out(DibCleanPimples(src.get(), 0, 0, nullptr));
    ASSERT_TRUE(out);
    EXPECT_EQ(out->biHeight > 0, !topDown);
    std::vector<std::string> const got = Read(out.get());
    for (std::size_t y = 0; y < in.size(); ++y) EXPECT_EQ(got[y], want[y]) << "row " << y;
  }
}

TEST(CleanPimples, SizeLimitsAndRefusals) {
  std::vector<std::string> const in = {
      "..........", ".###......", ".###......", ".###......", "..........",
      "..........", "..........", "......##..", "##....##..", "##........"};
  DibPtr src = Drawn(in, false);
  DibPtr keep(DibCleanPimples(src.get(), 2, 2, nullptr));  // 3 x 3 is above size 2
  DibPtr gone(DibCleanPimples(src.get(), 3, 2, nullptr));  // isolated within 2
  ASSERT_TRUE(keep && gone);
  EXPECT_TRUE(Ink(keep.get(), 2, 2));
  EXPECT_FALSE(Ink(keep.get(), 6, 7) || Ink(keep.get(), 0, 9));  // 2 x 2, 4 pixels: isolated
  EXPECT_FALSE(Ink(gone.get(), 2, 2));
  tagRect32 part = {5, 6, 9, 9};  // the area's edge is paper
  DibPtr cut(DibCleanPimples(src.get(), 0, 0, &part));
  ASSERT_TRUE(cut);
  EXPECT_EQ(cut->Width(), 5);
  EXPECT_FALSE(Ink(cut.get(), 1, 1));
  DibPtr grey = RandomDib(8, 8, 8, false, 1);
  EXPECT_EQ(DibCleanPimples(grey.get(), 0, 0, nullptr), nullptr);
  EXPECT_EQ(DibCleanPimples(src.get(), -1, 0, nullptr), nullptr);
  EXPECT_EQ(DibCleanPimples(src.get(), 0, -1, nullptr), nullptr);
  EXPECT_EQ(DibCleanPimples(nullptr, 0, 0, nullptr), nullptr);
}

}  // namespace

// The hole step against a flood fill of the paper (4-connected) on random ink, at awkward
// widths, with and without blank words: limits whose holes have short rows (found from the
// short paper runs) and limits too large for that (all the paper labelled).
TEST(CleanPimples, HoleStepFillsWhatAFloodFillFinds) {
  struct Limits {
    int holeArea, speckSize;
  } const cases[] = {{1, 1}, {2, 6}, {5, 2}, {9, 12}, {40, 70}, {90, 70}};
  uint32_t state = 12345;
  auto next = [&] { return (state = state * 1664525u + 1013904223u) >> 8; };
  for (int w : {7, 33, 64, 77, 150})
    for (int density : {55, 75, 90})
      for (Limits const& l : cases) {
        SCOPED_TRACE(testing::Message() << "width " << w << ", ink " << density << "%, hole area "
                                        << l.holeArea << ", size " << l.speckSize);
        int const h = 23;
        quilp::InkBits ink;
        ASSERT_TRUE(ink.Reset(w, h));
        for (int y = 0; y < h; ++y)
          for (int x = 0; x < w; ++x)
            if (int(next() % 100) < density && (density != 55 || x < 64 || x >= 128)) ink.Set(x, y);
        // The reference: every paper component, filled when it is small and off the border.
        std::vector<int> seen(std::size_t(w * h), 0), want(seen.size(), 0);
        for (int start = 0; start < w * h; ++start) want[std::size_t(start)] = ink.Get(start % w, start / w);
        for (int start = 0; start < w * h; ++start) {
          if (ink.Get(start % w, start / w) || seen[std::size_t(start)]) continue;
          std::vector<int> part{start};
          seen[std::size_t(start)] = 1;
          int left = w, right = -1, top = h, bottom = -1;
          for (std::size_t i = 0; i < part.size(); ++i) {
            int const x = part[i] % w, y = part[i] / w;
            left = std::min(left, x), right = std::max(right, x);
            top = std::min(top, y), bottom = std::max(bottom, y);
            for (auto [nx, ny] : {std::pair{x - 1, y}, {x + 1, y}, {x, y - 1}, {x, y + 1}})
              if (nx >= 0 && nx < w && ny >= 0 && ny < h && !ink.Get(nx, ny) && !seen[std::size_t(ny * w + nx)])
                seen[std::size_t(ny * w + nx)] = 1, part.push_back(ny * w + nx);
          }
          bool const fill = left > 0 && top > 0 && right < w - 1 && bottom < h - 1 && int(part.size()) <= l.holeArea &&
                            right - left < l.speckSize && bottom - top < l.speckSize;
          for (int p : part) want[std::size_t(p)] = fill;
        }
        quilp::CleanLimits limits = quilp::CleanLimitsFor(300, l.speckSize, 3);
        limits.holeArea = l.holeArea;
        ASSERT_TRUE(quilp::FillSmallHoles(ink, limits));
        for (int y = 0; y < h; ++y)
          for (int x = 0; x < w; ++x)
            ASSERT_EQ(int(ink.Get(x, y)), want[std::size_t(y * w + x)]) << "pixel " << x << ", " << y;
      }
}
