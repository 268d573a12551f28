// "quilp separate", "match-colour", "suppress", "smooth", "gradient", "texture", "match" and
// "show": files written, figures printed, bad input refused in one line.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "bmp_files.h"
#include "cli_runner.h"
#include "pages/page_maker.h"
#include "quilp32.h"
#include "refusal.h"

using namespace cli_test;

namespace {

// A small colour page with its red stamp, and its grey.
void Pages() {
  static bool const made = [] {
    WritePageFile("layers.bmp", {.width = 800, .height = 600, .dpi = 100});
    WritePageFile("layers-grey.bmp", {.width = 800, .height = 600, .dpi = 100, .bitCount = 8});
    return true;
  }();
  (void)made;
}

}  // namespace

TEST(CliColourLayers, SeparatesTheStampFromTheText) {
  Pages();
  Outcome r = Quilp("separate layers.bmp sep --colours 0");
  ASSERT_EQ(r.status, 0) << r.err;
  // One layer's ink is red: its red byte well above green and blue.
  bool red = false, dark = false;
  for (std::size_t at = r.out.find("ink "); at != std::string::npos; at = r.out.find("ink ", at + 1)) {
    int const R = std::stoi(r.out.substr(at + 4, 2), nullptr, 16);
    int const G = std::stoi(r.out.substr(at + 6, 2), nullptr, 16);
    red = red || R > G + 80;
    dark = dark || (R < 100 && G < 100);
  }
  EXPECT_TRUE(red) << r.out;
  EXPECT_TRUE(dark) << r.out;
  Outcome info = Quilp("info sep/layer-1.bmp");
  EXPECT_NE(info.out.find("800 x 600"), std::string::npos) << info.out;
}

TEST(CliColourLayers, EveryCommandWritesItsResult) {
  Pages();
  struct Case {
    char const* args;
    char const* file;
    char const* says;  // in `quilp info` of the file
  } const cases[] = {
      {"match-colour layers.bmp m.bmp --colour DC323C --tolerance 12", "m.bmp", "1 bit"},
      {"suppress layers.bmp s.bmp", "s.bmp", "24 bit"},
      {"smooth layers-grey.bmp md.bmp --median 5 --rect 0,0,99,49", "md.bmp", "100 x 50"},
      {"smooth layers.bmp b.bmp --bilateral --size 5 --strength 20", "b.bmp", "24 bit"},
      {"gradient layers-grey.bmp g.bmp --scharr", "g.bmp", "8 bit"},
      {"gradient layers.bmp d.bmp --directions 8", "d.bmp", "8 bit"},
      {"texture layers-grey.bmp t.bmp --block 16 --measure edges", "t.bmp", "50 x 38"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.args);
    Outcome r = Quilp(c.args);
    ASSERT_EQ(r.status, 0) << r.err;
    Outcome info = Quilp(std::string("info ") + c.file);
    EXPECT_NE(info.out.find(c.says), std::string::npos) << info.out;
  }
}

TEST(CliColourLayers, MatchFindsAZoneAndShowDrawsIt) {
  Pages();
  ASSERT_EQ(Quilp("copy layers-grey.bmp zone.bmp --rect 300,200,363,263").status, 0);
  Outcome r = Quilp("match zone.bmp layers-grey.bmp --window 250,150,450,350");
  ASSERT_EQ(r.status, 0) << r.err;
  double x = 0, y = 0;
  ASSERT_EQ(std::sscanf(r.out.c_str(), "at %lf %lf", &x, &y), 2) << r.out;
  EXPECT_NEAR(x, 300, 0.05);
  EXPECT_NEAR(y, 200, 0.05);
  Outcome show = Quilp("show layers.bmp --width 40");
  ASSERT_EQ(show.status, 0) << show.err;
  EXPECT_EQ(std::count(show.out.begin(), show.out.end(), '\n'), 30);  // 600 / 20
  EXPECT_EQ(show.out.find('\n'), 40u);
}

TEST(CliColourLayers, BadInputGivesOneLine) {
  Pages();
  struct Case {
    char const* args;
    char const* says;
  } const cases[] = {
      {"separate layers-grey.bmp sep2", "24-bit"},
      {"separate layers.bmp sep2 --colours 9", "0..8"},
      {"match-colour layers.bmp m.bmp", "--colour"},
      {"match-colour layers.bmp m.bmp --colour FF0000 --tolerance -1", "tolerance"},
      {"suppress layers.bmp s.bmp --white 300", "--white"},
      {"smooth layers.bmp o.bmp", "--median N or --bilateral"},
      {"smooth layers.bmp o.bmp --median 4", "odd"},
      {"gradient layers.bmp o.bmp --directions 1", "--directions"},
      {"texture layers.bmp o.bmp --block 1", "--block"},
      {"match layers.bmp zone.bmp", "no match"},
      {"show layers.bmp --rect 900,900,950,950", "outside"},
  };
  ASSERT_EQ(Quilp("copy layers-grey.bmp zone.bmp --rect 300,200,363,263").status, 0);
  for (Case const& c : cases) ExpectRefusal(c.args, c.says);
}
