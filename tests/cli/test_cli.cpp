// The quilp tool: bit-field pixels read, the demo run.
#include <gtest/gtest.h>

#include <cstring>

#include "bmp_files.h"
#include "cli_runner.h"
#include "quilp32.h"

using namespace cli_test;

// 32-bit files with bit-field masks: each channel is read through its own mask, whatever
// order the masks give (here red in the second byte, green in the third, blue in the fourth).
TEST(Cli, ReadsBitFieldPixels) {
  unsigned char f[14 + 40 + 12 + 8] = {'B', 'M'};
  auto put = [&f](int at, uint32_t v) { std::memcpy(f + at, &v, 4); };
  put(2, sizeof f);
  put(10, 14 + 40 + 12);
  put(14, 40);
  put(18, 2);                 // 2 x 1
  put(22, 1);
  f[26] = 1;                  // planes
  f[28] = 32;                 // bits
  put(30, 3);                 // bit fields
  put(54, 0x0000FF00);        // red
  put(58, 0x00FF0000);        // green
  put(62, 0xFF000000);        // blue
  put(66, 0x11223344);        // red 0x33, green 0x22, blue 0x11
  put(70, 0xA0B0C0D0);        // red 0xC0, green 0xB0, blue 0xA0
  WriteFile("fields.bmp", std::string(reinterpret_cast<char*>(f), sizeof f));
  ASSERT_EQ(Quilp("convert fields.bmp fields24.bmp --depth 24").status, 0);
  std::string const bytes = ReadFile("fields24.bmp");
  ASSERT_EQ(bytes.size(), 14u + 40u + 8u);
  EXPECT_EQ(bytes.substr(54, 6), "\x11\x22\x33\xA0\xB0\xC0");
}

// One demo run: every step reports what it wrote and what it found.
TEST(Cli, DemoWritesEveryStep) {
  Outcome r = Quilp("demo demo-out");
  ASSERT_EQ(r.status, 0) << r.err;
  for (char const* says :
       {"demo-out/page.bmp", "demo-out/grey-auto.bmp", "demo-out/binarized-otsu.bmp",
        "otsu threshold of the page", "zone-copy.bmp", "zone-32bit.bmp", "difference.bmp",
        "sum of differences", "variance of a text zone", "page record is canonical",
        "demo-out/dropout-stamp.bmp", "demo-out/compress-page.bmp (1654 x 2339, 24 bits)",
        "kept 24 bits", "demo-out/shadow-faded-otsu-auto.bmp"})
    EXPECT_NE(r.out.find(says), std::string::npos) << says;
  EXPECT_NE(Quilp("info demo-out/binarized-otsu.bmp").out.find("1 bits per pixel"), std::string::npos);
}
