// DibCleanPimples on drawn cases: what goes (specks, holes, bumps, notches) and what stays
// (a full stop by its letter, an i-dot, a one-pixel stroke end), both row orders.
#include <gtest/gtest.h>

#include <string>
#include <vector>

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
