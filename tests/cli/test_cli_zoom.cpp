// The quilp tool's zoom and upscale commands and the deskew preview: sizes and depths on disk, one clear line on bad
// input.
#include <gtest/gtest.h>

#include "bmp_files.h"
#include "cli_runner.h"
#include "quilp32.h"
#include "refusal.h"

using namespace cli_test;

TEST(CliZoom, PreviewsAndEnlargementsHaveTheirSizeAndDepth) {
  DibInfo* bits = DibCreate(101, 60, 3937, 3937, 1);
  WriteBmpFile("zoom-bits.bmp", bits);
  DibFree(bits);
  struct Case { char const* args; char const* size; char const* depth; };
  Case const cases[] = {
      {"zoom zoom-bits.bmp zoom-out.bmp --factor 0.25", "25 x 15 pixels", "1 bits"},
      {"zoom zoom-bits.bmp zoom-out.bmp --factor 0.5 --grey", "51 x 30 pixels", "8 bits"},
      {"zoom zoom-bits.bmp zoom-out.bmp --factor 1.5 --rect 0,0,9,9", "15 x 15 pixels", "1 bits"},
      {"upscale zoom-bits.bmp zoom-out.bmp --factor 3", "303 x 180 pixels", "1 bits"},
      {"deskew zoom-bits.bmp zoom-straight.bmp --preview zoom-out.bmp", "25 x 15 pixels", "8 bits"},
  };
  for (Case const& c : cases) {
    Outcome run = Quilp(c.args);
    ASSERT_EQ(run.status, 0) << c.args << ": " << run.err;
    Outcome info = Quilp("info zoom-out.bmp");
    EXPECT_NE(info.out.find(c.size), std::string::npos) << c.args << ": " << info.out;
    EXPECT_NE(info.out.find(c.depth), std::string::npos) << c.args << ": " << info.out;
  }
}

TEST(CliZoom, BadArgumentsAreRefused) {
  DibInfo* grey = DibCreate(8, 8, 0, 0, 8);
  WriteBmpFile("zoom-grey.bmp", grey);
  DibFree(grey);
  DibInfo* bits = DibCreate(8, 8, 0, 0, 1);
  WriteBmpFile("zoom-bits2.bmp", bits);
  DibFree(bits);
  ExpectRefusal("zoom zoom-grey.bmp zoom-bad.bmp", "--factor");
  ExpectRefusal("zoom zoom-grey.bmp zoom-bad.bmp --factor -2", "positive");
  ExpectRefusal("zoom zoom-grey.bmp zoom-bad.bmp --factor 0.5 --rect 50,50,60,60", "rectangle");
  ExpectRefusal("upscale zoom-grey.bmp zoom-bad.bmp --factor 0.5", "1 or more");
  ExpectRefusal("upscale zoom-bits2.bmp zoom-bad.bmp --factor 2.5", "2, 3 or 4");
  ExpectRefusal("zoom missing.bmp zoom-bad.bmp --factor 2", "missing.bmp");
}
