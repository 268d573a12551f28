// The tool's zone copy, conversion, difference and statistics commands, and the canonical
// grade that "info" reports.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "bmp_files.h"
#include "cli_runner.h"
#include "refusal.h"
#include "quilp32.h"

using namespace cli_test;

namespace {

struct Pages {
  std::string colour, grey, other, bits, deep, topDown, inverted;
};

// Small pages with known pixels, written once per process.
Pages const& Files() {
  static Pages const pages = [] {
    Pages p;
    auto make = [](int w, int h, int depth, auto fill) {
      DibInfo* dib = DibCreate(w, h, 3937, 3937, depth);
      for (int y = 0; y < dib->Height(); ++y)
        for (int x = 0; x < dib->ByteWidth(); ++x) dib->GetLine(y)[x] = fill(x, y);
      return dib;
    };
    DibInfo* colour = make(40, 30, 24, [](int x, int y) { return uint8_t(x * 3 + y); });
    DibInfo* grey = make(40, 30, 8, [](int x, int y) { return uint8_t(x * 5 + y * 2); });
    DibInfo* other = make(40, 30, 8, [](int x, int y) { return uint8_t(x * 5 + y * 2 + (x == 7)); });
    DibInfo* bits = make(40, 30, 1, [](int x, int y) { return uint8_t(x * 37 + y); });
    DibInfo* deep = make(8, 8, 32, [](int x, int) { return uint8_t(x); });
    DibInfo* topDown = make(8, -8, 24, [](int x, int) { return uint8_t(x); });
    DibInfo* inverted = make(16, 4, 1, [](int, int) { return uint8_t(0x0F); });
    std::swap(inverted->PalPtr()[0], inverted->PalPtr()[1]);
    p.colour = WriteBmpFile("colour.bmp", colour);
    p.grey = WriteBmpFile("grey.bmp", grey);
    p.other = WriteBmpFile("other.bmp", other);
    p.bits = WriteBmpFile("bits.bmp", bits);
    p.deep = WriteBmpFile("deep.bmp", deep);
    p.topDown = WriteBmpFile("topdown.bmp", topDown);
    p.inverted = WriteBmpFile("inverted.bmp", inverted);
    for (DibInfo* d : {colour, grey, other, bits, deep, topDown, inverted}) DibFree(d);
    return p;
  }();
  return pages;
}

std::string Out(std::string const& name) { return Files().colour.substr(0, Files().colour.find('-') + 1) + name; }

bool Says(Outcome const& r, std::string const& text) { return r.out.find(text) != std::string::npos; }

}  // namespace

TEST(CliZone, CopyAndConvert) {
  Pages const& p = Files();
  Outcome copy = Quilp("copy " + p.colour + " " + Out("zone.bmp") + " --rect 5,5,24,14 --at 3,2");
  ASSERT_EQ(copy.status, 0) << copy.err;
  Outcome info = Quilp("info " + Out("zone.bmp"));
  EXPECT_TRUE(Says(info, "23 x 12")) << info.out;
  Outcome plain = Quilp("copy " + p.bits + " " + Out("bits-zone.bmp") + " --rect 3,0,12,9");
  ASSERT_EQ(plain.status, 0) << plain.err;
  EXPECT_TRUE(Says(Quilp("info " + Out("bits-zone.bmp")), "10 x 10"));
  Outcome onto = Quilp("copy " + p.grey + " " + Out("onto.bmp") + " --rect 0,0,9,9 --at 30,20 --onto " + p.other);
  ASSERT_EQ(onto.status, 0) << onto.err;
  EXPECT_TRUE(Says(Quilp("info " + Out("onto.bmp")), "40 x 30"));
  Outcome convert = Quilp("convert " + p.bits + " " + Out("bits32.bmp") + " --depth 32 --rect 0,0,15,3");
  ASSERT_EQ(convert.status, 0) << convert.err;
  Outcome wide = Quilp("info " + Out("bits32.bmp"));
  EXPECT_TRUE(Says(wide, "16 x 4") && Says(wide, "32 bits")) << wide.out;
}

TEST(CliZone, DiffAndStats) {
  Pages const& p = Files();
  Outcome same = Quilp("diff " + p.grey + " " + p.grey);
  ASSERT_EQ(same.status, 0) << same.err;
  EXPECT_EQ(same.out, "0\n");
  Outcome one = Quilp("diff " + p.other + " " + p.grey);  // column 7 differs by 1 on 30 rows
  EXPECT_EQ(one.out, "30\n");
  Outcome stop = Quilp("diff " + p.other + " " + p.grey + " --stop 0");
  EXPECT_EQ(stop.out, "1\n");
  Outcome offset = Quilp("diff " + p.grey + " " + p.grey + " --offset 2 --test-rect 0,0,9,9 --ref-rect 0,0,9,9");
  EXPECT_EQ(offset.out, "200\n");
  Outcome image = Quilp("diff " + p.colour + " " + p.colour + " " + Out("diff.bmp") + " --method over");
  ASSERT_EQ(image.status, 0) << image.err;
  EXPECT_TRUE(Says(Quilp("info " + Out("diff.bmp")), "24 bits"));
  Outcome stats = Quilp("stats " + p.grey + " " + p.grey + " --rect 0,0,1,0");
  ASSERT_EQ(stats.status, 0) << stats.err;
  EXPECT_TRUE(Says(stats, "variance: 12.5")) << stats.out;  // values 0 and 5
  EXPECT_TRUE(Says(stats, "covariance: 12.5")) << stats.out;
  Outcome colour = Quilp("stats " + p.colour);
  EXPECT_TRUE(Says(colour, "variance: blue ")) << colour.out;
}

TEST(CliZone, InfoGradesTheFileInWords) {
  Pages const& p = Files();
  EXPECT_TRUE(Says(Quilp("info " + p.colour), "canonical:   yes"));
  EXPECT_TRUE(Says(Quilp("info " + p.topDown), "canonical:   yes"));
  EXPECT_TRUE(Says(Quilp("info " + p.deep), "canonical:   no: a kind"));
  EXPECT_TRUE(Says(Quilp("info " + p.inverted), "canonical:   no: well formed"));
}

TEST(CliZone, BadInputGivesOneLine) {
  Pages const& p = Files();
  struct Case {
    std::string args;
    char const* says;
  };
  Case const cases[] = {
      {"copy " + p.colour + " " + Out("x.bmp") + " --rect 50,0,60,5", "outside the image"},
      {"copy " + p.colour + " " + Out("x.bmp") + " --at 1,1 --onto " + p.grey, "not accepted"},
      {"convert " + p.colour + " " + Out("x.bmp"), "--depth"},
      {"convert " + p.colour + " " + Out("x.bmp") + " --depth 16", "not accepted"},
      {"diff " + p.colour + " " + p.grey, "same depth"},
      {"diff " + p.bits + " " + p.bits, "8 or 24 bits"},
      {"diff " + p.grey + " " + p.grey + " --method sideways", "--method"},
      {"diff " + p.grey + " " + p.grey + " --stop 1e3", "--stop"},
      {"diff " + p.grey + " " + p.grey + " --test-rect 0,0,4,4", "larger"},
      {"stats " + p.bits, "8-bit or 24-bit"},
      {"stats " + p.grey + " " + p.colour, "same depth"},
      {"stats " + p.grey + " " + p.grey + " --rect 0,0,9,9 --rect2 0,0,4,4", "same size"},
  };
  for (Case const& c : cases) ExpectRefusal(c.args, c.says);
}
