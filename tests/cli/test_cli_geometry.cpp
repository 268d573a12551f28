// "quilp rotate", "turn", "deskew", "orient", "canonize" and "distort" on a made page: what
// they write and print, and one clear line for bad arguments.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "bmp_files.h"
#include "cli_runner.h"
#include "pages/page_maker.h"
#include "quilp32.h"
#include "refusal.h"

using namespace cli_test;

namespace {

std::string Mine(std::string const& name) {
  return std::string("geometry-") +
         testing::UnitTest::GetInstance()->current_test_info()->name() + "-" + name;
}

// A small grey page skewed by 3 degrees, as Mine("page.bmp").
std::string WritePage() {
  return WritePageFile(Mine("page.bmp"), {.width = 620, .height = 877, .dpi = 75, .bitCount = 8,
                                          .skewDegrees = 3.0, .stamp = false, .photo = false});
}

}  // namespace

TEST(CliGeometry, CommandsWriteTheirResults) {
  std::string const page = WritePage();
  Outcome r = Quilp("deskew " + page + " " + Mine("straight.bmp"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NEAR(std::atof(r.out.c_str() + r.out.find("corrected") + 9), 3.0, 0.1) << r.out;
  r = Quilp("turn " + page + " " + Mine("turned.bmp") + " --quarters -1");
  ASSERT_EQ(r.status, 0) << r.err;
  r = Quilp("info " + Mine("turned.bmp"));
  EXPECT_NE(r.out.find("877"), std::string::npos) << r.out;
  r = Quilp("rotate " + page + " " + Mine("rotated.bmp") + " --angle 30 --expand --interp bicubic");
  ASSERT_EQ(r.status, 0) << r.err;
  r = Quilp("orient " + page + " --fix " + Mine("upright.bmp"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("quarters"), std::string::npos) << r.out;
  r = Quilp("canonize " + page + " " + Mine("canonical.bmp"));
  ASSERT_EQ(r.status, 0) << r.err;
  r = Quilp("distort " + page + " " + Mine("flat.bmp") + " --corners 10,10,600,20,610,860,5,850");
  ASSERT_EQ(r.status, 0) << r.err;
}

TEST(CliGeometry, BadArgumentsGiveOneLine) {
  std::string const page = WritePage(), out = Mine("out.bmp");
  ExpectRefusal("rotate " + page + " " + out, "--angle");
  ExpectRefusal("rotate " + page + " " + out + " --angle 5 --interp cubic", "--interp");
  ExpectRefusal("turn " + page + " " + out, "--quarters");
  ExpectRefusal("distort " + page + " " + out + " --corners 1,2,3", "eight numbers");
  ExpectRefusal("distort " + page + " " + out + " --corners 0,0,600,860,600,0,0,860", "convex");
  ExpectRefusal("deskew " + Mine("missing.bmp") + " " + out, "missing");
}
