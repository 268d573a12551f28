// The quilp tool's morphology commands: results on disk, one clear line on bad input.
#include <gtest/gtest.h>

#include <string>

#include "bmp_files.h"
#include "cli_runner.h"
#include "pages/page_maker.h"
#include "quilp32.h"
#include "refusal.h"

using namespace cli_test;

namespace {

// A small grey page and its 1-bit threshold, under names of their own.
void Pages(std::string const& prefix) {
  WritePageFile(prefix + "-grey.bmp", {.width = 240, .height = 160, .dpi = 100, .bitCount = 8},
                prefix + "-bits.bmp");
}

TEST(CliMorph, EveryCommandWritesAResult) {
  Pages("mo");
  WriteFile("mo-se.txt", "010\n111\n010\n");
  struct Case { std::string args; char const* size; char const* depth; };
  Case const cases[] = {
      {"morph mo-bits.bmp mo-out.bmp --op erode --se rect:15,15", "240 x 160", "1 bits per pixel"},
      {"morph mo-bits.bmp mo-out.bmp --op open --se disc:3", "240 x 160", "1 bits per pixel"},
      {"morph mo-bits.bmp mo-out.bmp --op hitmiss --se mo-se.txt", "240 x 160", "1 bits per pixel"},
      {"morph mo-grey.bmp mo-out.bmp --op tophat --se line:9,30", "240 x 160", "8 bits per pixel"},
      {"morph mo-grey.bmp mo-out.bmp --op gradient --se cross:1 --rect 0,0,99,49", "100 x 50", "8 bits per pixel"},
      {"distance mo-bits.bmp mo-out.bmp --metric city --bits 32 --paper", "240 x 160", "32 bits per pixel"},
      {"skeleton mo-bits.bmp mo-out.bmp --medial", "240 x 160", "8 bits per pixel"},
      {"despeckle mo-bits.bmp mo-out.bmp --size 3", "240 x 160", "1 bits per pixel"},
      {"squeeze mo-bits.bmp mo-out.bmp --level 2", "120 x 80", "1 bits per pixel"},
  };
  for (Case const& c : cases) {
    Outcome run = Quilp(c.args);
    ASSERT_EQ(run.status, 0) << c.args << ": " << run.err;
    Outcome info = Quilp("info mo-out.bmp");
    EXPECT_NE(info.out.find(c.size), std::string::npos) << c.args << ": " << info.out;
    EXPECT_NE(info.out.find(c.depth), std::string::npos) << c.args << ": " << info.out;
  }
}

TEST(CliMorph, BadInputGivesOneLineAndAFailingExit) {
  Pages("mb");
  WriteFile("mb-se.txt", "01\n1\n");
  ExpectRefusal("morph mb-bits.bmp mb-out.bmp --op thicken --se rect:3,3", "--op is");
  ExpectRefusal("morph mb-bits.bmp mb-out.bmp --op erode", "needs --se");
  ExpectRefusal("morph mb-bits.bmp mb-out.bmp --op erode --se rect:3", "two sizes");
  ExpectRefusal("morph mb-bits.bmp mb-out.bmp --op erode --se disc:-2", "refused");
  ExpectRefusal("morph mb-bits.bmp mb-out.bmp --op erode --se mb-se.txt", "refused");
  ExpectRefusal("morph mb-grey.bmp mb-out.bmp --op hitmiss --se rect:3,3", "needs a 1-bit");
  ExpectRefusal("distance mb-grey.bmp mb-out.bmp", "needs a 1-bit");
  ExpectRefusal("distance mb-bits.bmp mb-out.bmp --metric manhattan", "--metric is");
  ExpectRefusal("distance mb-bits.bmp mb-out.bmp --bits 16", "--bits is");
  ExpectRefusal("skeleton mb-bits.bmp mb-out.bmp --weak --medial", "choose one");
  ExpectRefusal("despeckle mb-bits.bmp mb-out.bmp --size -1", "--size");
  ExpectRefusal("squeeze mb-bits.bmp mb-out.bmp --level 0", "--level");
}

}  // namespace
