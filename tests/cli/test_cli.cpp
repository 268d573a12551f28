// The quilp tool: files round-trip, results are written, bad input gets one clear line.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include <sys/stat.h>

#include "bmp_files.h"
#include "cli_runner.h"
#include "refusal.h"
#include "pages/page_maker.h"
#include "quilp32.h"

using namespace cli_test;

namespace {

// A small colour page on disk.
std::string SmallPage() {
  static std::string const path =
      WritePageFile("page.bmp", {.width = 300, .height = 200, .dpi = 100});
  return path;
}

}  // namespace

TEST(Cli, InfoAndGreyOnAPage) {
  Outcome info = Quilp("info " + SmallPage());
  ASSERT_EQ(info.status, 0) << info.err;
  EXPECT_NE(info.out.find("300 x 200"), std::string::npos);
  EXPECT_NE(info.out.find("24 bits"), std::string::npos);
  EXPECT_NE(info.out.find("100.0 x 100.0 dpi"), std::string::npos);
  Outcome grey = Quilp("grey " + SmallPage() + " grey.bmp --colour 4D961D --rect 10,10,99,49");
  ASSERT_EQ(grey.status, 0) << grey.err;
  Outcome back = Quilp("info grey.bmp");
  ASSERT_EQ(back.status, 0) << back.err;
  EXPECT_NE(back.out.find("90 x 40"), std::string::npos);
  EXPECT_NE(back.out.find("8 bits"), std::string::npos);
}

TEST(Cli, BadInputGivesOneLineAndAFailingExit) {
  WriteFile("text.bmp", "hello, this is not a bitmap at all, but it is long enough to read....");
  std::string header(54, '\0');
  header[0] = 'B';
  header[1] = 'M';
  WriteFile("short.bmp", header.substr(0, 30));
  std::string fourBit = header;
  fourBit[14] = 40;
  fourBit[18] = 4;    // width 4
  fourBit[22] = 4;    // height 4
  fourBit[26] = 1;    // planes
  fourBit[28] = 4;    // 4 bits per pixel
  WriteFile("four.bmp", fourBit);
  std::string truncated = header;
  truncated[10] = 54;
  truncated[14] = 40;
  truncated[18] = 100;
  truncated[22] = 100;
  truncated[26] = 1;
  truncated[28] = 24;
  WriteFile("truncated.bmp", truncated);
  DibInfo* small = DibCreate(4, 4, 0, 0, 8);
  WriteBmpFile("into.bmp", small);
  DibInfo* wide = DibCreate(64, 64, 0, 0, 32);
  WriteBmpFile("wide32.bmp", wide);
  DibFree(small);
  DibFree(wide);
  std::string pixelsInHeader = header;  // a 1 x 1 24-bit file whose pixels start at byte 20
  pixelsInHeader[10] = 20;
  pixelsInHeader[14] = 40;
  pixelsInHeader[18] = pixelsInHeader[22] = pixelsInHeader[26] = 1;
  pixelsInHeader[28] = 24;
  WriteFile("inheader.bmp", pixelsInHeader + std::string(4, '\0'));
  mkdir(WorkPath("folder.bmp").c_str(), 0777);
  struct Case { char const* args; char const* says; };
  Case const cases[] = {
      {"info missing.bmp", "cannot open"},
      {"info text.bmp", "not a BMP"},
      {"info short.bmp", "truncated"},
      {"info four.bmp", "unsupported depth"},
      {"info truncated.bmp", "truncated"},
      {"grey page.bmp out.bmp --rect 5,5,1,1", "bad rectangle"},
      {"grey page.bmp out.bmp --rect 1,2,3", "left,top,right,bottom"},
      {"grey page.bmp out.bmp --rect 400,0,500,10", "must lie inside"},
      {"grey page.bmp out.bmp --rect 0,0,300,200", "must lie inside"},  // one past the edge
      {"grey page.bmp out.bmp --colour red", "bad colour"},
      {"grey page.bmp out.bmp --bogus", "unknown option"},
      {"grey page.bmp", "missing output"},
      {"frobnicate", "unknown command"},
      {"info folder.bmp", "folder.bmp' is a folder"},
      {"info inheader.bmp", "inside its headers"},
      {"filter into.bmp o.bmp --op smooth --sigma 1e308", "--sigma"},
      {"hough into.bmp --rect -2147483648,0,2147483647,0", "block must be"},
      {"copy wide32.bmp o.bmp --at 30000,30000", "larger than the 64 x 64"},
      {"stats into.bmp wide32.bmp", "same depth"},
  };
  SmallPage();
  for (Case const& c : cases) ExpectRefusal(c.args, c.says);
  EXPECT_EQ(Quilp("stats into.bmp wide32.bmp").out, "");  // nothing printed before the refusal
}

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
  std::ifstream in(WorkPath("fields24.bmp"), std::ios::binary);
  std::string const bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
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
