// "quilp dropout" and "quilp compress": files written, colours read the web way, the depth
// decision explained with the figures the library compared, bad input refused in one line.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "bmp_files.h"
#include "cli_runner.h"
#include "refusal.h"
#include "pages/page_maker.h"
#include "quilp32.h"

using namespace cli_test;

namespace {

// A small page with a red stamp; and one pixel row of known colours.
void Pages() {
  static bool const made = [] {
    WritePageFile("stamped.bmp", {.width = 800, .height = 600, .dpi = 100});
    DibInfo* row = DibCreate(3, 1, 0, 0, 24);
    unsigned char const px[3][3] = {{0, 0, 255}, {0, 0, 128}, {255, 0, 0}};  // blue first
    for (int i = 0; i < 3; ++i) std::memcpy(row->GetLine(0) + 3 * i, px[i], 3);
    WriteBmpFile("row.bmp", row);
    DibFree(row);
    return true;
  }();
  (void)made;
}

// Byte at (x, y) of an 8-bit BMP file written by the tool (bottom-up rows).
int GreyAt(std::string const& name, int x, int y) {
  FILE* f = std::fopen(WorkPath(name).c_str(), "rb");
  if (!f) return -1;
  unsigned char h[54];
  int v = -1;
  if (std::fread(h, 1, 54, f) == 54) {
    uint32_t off;
    int32_t w, height;
    std::memcpy(&off, h + 10, 4);
    std::memcpy(&w, h + 18, 4);
    std::memcpy(&height, h + 22, 4);
    long const stride = (w + 3) & ~3;
    long const row = height > 0 ? height - 1 - y : y;
    unsigned char b;
    if (std::fseek(f, long(off) + row * stride + x, SEEK_SET) == 0 && std::fread(&b, 1, 1, f) == 1) v = b;
  }
  std::fclose(f);
  return v;
}

}  // namespace

TEST(CliDropout, ColoursAreReadRedFirst) {
  Pages();
  // FF0000 is pure red: by projection it vanishes and a red byte of 128 gives 129.
  Outcome one = Quilp("dropout row.bmp red.bmp --drop FF0000");
  ASSERT_EQ(one.status, 0) << one.err;
  EXPECT_EQ(GreyAt("red.bmp", 0, 0), 255);
  EXPECT_EQ(GreyAt("red.bmp", 1, 0), 129);
  EXPECT_EQ(GreyAt("red.bmp", 2, 0), 1);  // blue stays dark
  // Kept and dropped sets: red dropped, blue kept at its full darkness (capped).
  Outcome sets = Quilp("dropout row.bmp sets.bmp --keep 0000FF --drop FF0000");
  ASSERT_EQ(sets.status, 0) << sets.err;
  EXPECT_EQ(GreyAt("sets.bmp", 0, 0), 255);
  EXPECT_EQ(GreyAt("sets.bmp", 2, 0), 0);
  Outcome page = Quilp("dropout stamped.bmp page-out.bmp --drop DC323C,3C32DC --rect 10,10,209,109");
  ASSERT_EQ(page.status, 0) << page.err;
  Outcome info = Quilp("info page-out.bmp");
  EXPECT_NE(info.out.find("200 x 100"), std::string::npos) << info.out;
  // The depth conversion's grey route is the equal-thirds grey of DibSuppressColorsEx.
  Outcome grey = Quilp("convert row.bmp thirds.bmp --depth 8");
  ASSERT_EQ(grey.status, 0) << grey.err;
  EXPECT_EQ(GreyAt("thirds.bmp", 0, 0), 85);   // (0, 0, 255)
  EXPECT_EQ(GreyAt("thirds.bmp", 1, 0), 43);   // (0, 0, 128): 42.67
}

TEST(CliCompress, SaysWhichDepthAndWhy) {
  Pages();
  Outcome colour = Quilp("compress stamped.bmp whole.bmp");
  ASSERT_EQ(colour.status, 0) << colour.err;
  EXPECT_NE(colour.out.find("kept 24 bits"), std::string::npos) << colour.out;
  // The mean it reports is the one compared: one level below keeps colour, at it goes grey.
  std::size_t const at = colour.out.find("pixels ");
  ASSERT_NE(at, std::string::npos);
  int const mean = std::stoi(colour.out.substr(at + 7));
  Outcome below = Quilp("compress stamped.bmp b.bmp --chroma " + std::to_string(mean - 1));
  EXPECT_NE(below.out.find("kept 24 bits"), std::string::npos) << below.out;
  Outcome level = Quilp("compress stamped.bmp c.bmp --chroma " + std::to_string(mean));
  EXPECT_NE(level.out.find("<= " + std::to_string(mean)), std::string::npos) << level.out;
  EXPECT_NE(level.out.find("spread"), std::string::npos) << level.out;
  // A text zone away from the stamp and the photo: grey, then 1 bit.
  Outcome text = Quilp("compress stamped.bmp text.bmp --rect 80,130,379,279");
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_NE(text.out.find("chose 1 bit"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("(300 x 150, 1 bits)"), std::string::npos) << text.out;
  // The spread shown is the one compared: a limit just under it keeps 8 bits.
  std::size_t const s = text.out.find("levels ");
  ASSERT_NE(s, std::string::npos);
  double const spread = std::stod(text.out.substr(s + 7));
  Outcome tight = Quilp("compress stamped.bmp t.bmp --rect 80,130,379,279 --spread " +
                        std::to_string(spread * 0.99));
  EXPECT_NE(tight.out.find("chose 8 bits"), std::string::npos) << tight.out;
  Outcome again = Quilp("compress text.bmp again.bmp");
  EXPECT_NE(again.out.find("kept 1 bit"), std::string::npos) << again.out;
}

TEST(CliDropoutCompress, BadInputGivesOneLine) {
  Pages();
  struct Case {
    char const* args;
    char const* says;
  };
  Case const cases[] = {
      {"dropout row.bmp o.bmp", "--drop"},
      {"dropout row.bmp o.bmp --drop FFFFFF", "cannot be dropped"},
      {"dropout row.bmp o.bmp --keep FFFFFF --drop FF0000", "white"},
      {"dropout row.bmp o.bmp --drop FF0000,", "empty colour"},
      {"dropout row.bmp o.bmp --drop red", "bad colour"},
      {"dropout row.bmp o.bmp --drop FF0000 --rect 0,0,9,0", "must lie inside"},
      {"dropout text.bmp o.bmp --drop FF0000", "24-bit"},
      {"compress row.bmp o.bmp --chroma 300", "0..255"},
      {"compress row.bmp o.bmp --share lots", "bad number"},
      {"compress row.bmp o.bmp --rect 5,5,9,9", "outside"},
      {"compress missing.bmp o.bmp", "cannot open"},
  };
  Quilp("compress stamped.bmp text.bmp --rect 80,130,379,279");  // a 1-bit file for the cases
  for (Case const& c : cases) ExpectRefusal(c.args, c.says);
}
