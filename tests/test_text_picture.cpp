// Text pictures of 1-bit and grey areas: exact characters, blocks, truncation and the
// length needed.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "quilp32.h"
#include "support/images.h"

using namespace testing_support;

TEST(Sprint, PixelsAndBlocksBecomeCharacters) {
  // 1-bit, 10 x 3: the leftmost 3 columns black, a black diagonal below.
  DibPtr bw(DibCreate(10, 3, 0, 0, 1));
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 10; ++x) {
      bool const black = x < 3 || x == y + 5;
      uint8_t& byte = bw->GetLine(y)[x / 8];
      byte = uint8_t(black ? byte & ~(0x80 >> (x % 8)) : byte | (0x80 >> (x % 8)));
    }
  char text[64];
  EXPECT_EQ(DibSprintBW(bw.get(), nullptr, 0, text, sizeof text), 33);
  EXPECT_STREQ(text, "###..#....\n###...#...\n###....#..\n");
  tagRect32 r = {2, 1, 7, 2};  // a zone starting inside the first byte
  EXPECT_EQ(DibSprintBW(bw.get(), &r, 0, text, sizeof text), 14);
  EXPECT_STREQ(text, "#...#.\n#....#\n");
  EXPECT_EQ(DibSprintBW(bw.get(), nullptr, 5, text, sizeof text), 12);  // 2 x 2 blocks
  EXPECT_STREQ(text, "#+++.\n#+.+.\n");

  DibPtr grey(DibCreate(10, 1, 0, 0, 8));
  for (int x = 0; x < 10; ++x) Px(grey.get(), x, 0) = uint8_t(x * 28);
  EXPECT_EQ(DibSprintGrey(grey.get(), nullptr, 0, text, sizeof text), 11);
  EXPECT_STREQ(text, "@%#*+=-:. \n");
  // Truncated: at most size - 1 characters and the terminator; the full length is returned.
  std::memset(text, 'x', sizeof text);
  EXPECT_EQ(DibSprintGrey(grey.get(), nullptr, 0, text, 5), 11);
  EXPECT_STREQ(text, "@%#*");
  EXPECT_EQ(text[5], 'x');
  EXPECT_EQ(DibSprintGrey(grey.get(), nullptr, 0, nullptr, 0), 11);
}

TEST(Sprint, MisuseReturnsMinusOne) {
  DibPtr grey(DibCreate(4, 4, 0, 0, 8));
  char text[8] = "keep";
  tagRect32 outside = {10, 10, 12, 12};
  EXPECT_EQ(DibSprintBW(grey.get(), nullptr, 0, text, 8), -1);  // wrong depth
  EXPECT_EQ(DibSprintGrey(grey.get(), &outside, 0, text, 8), -1);
  EXPECT_EQ(DibSprintGrey(grey.get(), nullptr, -1, text, 8), -1);
  EXPECT_EQ(DibSprintGrey(grey.get(), nullptr, 0, nullptr, 8), -1);
  EXPECT_EQ(DibSprintGrey(nullptr, nullptr, 0, text, 8), -1);
  EXPECT_STREQ(text, "keep");
}
