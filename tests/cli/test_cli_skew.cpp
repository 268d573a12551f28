// "quilp skew" and "quilp hough" on made pages: the estimates they print, and one clear line
// for bad input.
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

// Files of the running test, named after it: the tests may run side by side.
std::string Mine(std::string const& name) {
  return std::string("skew-") + testing::UnitTest::GetInstance()->current_test_info()->name() +
         "-" + name;
}

// A grey page at 300 dpi skewed by 2 degrees and a 1-bit image, as Mine("skewed.bmp") and
// Mine("bits.bmp").
void WritePages() {
  WritePageFile(Mine("skewed.bmp"), {.width = 1240, .height = 1754, .bitCount = 8,
                                     .skewDegrees = 2.0, .photo = false, .noise = 8});
  DibInfo* bits = DibCreate(40, 40, 3937, 3937, 1);
  WriteBmpFile(Mine("bits.bmp"), bits);
  DibFree(bits);
}

// The number printed after `label` on its line.
double After(std::string const& text, std::string const& label) {
  std::size_t const at = text.find(label);
  if (at == std::string::npos) return 1e9;
  return std::atof(text.c_str() + at + label.size());
}

}  // namespace

TEST(CliSkew, PrintsBothEstimates) {
  WritePages();
  std::string const page = Mine("skewed.bmp");
  Outcome r = Quilp("skew " + page);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NEAR(After(r.out, "hough image:"), 2.0, 0.02) << r.out;
  EXPECT_NEAR(After(r.out, "edge pairs:"), 2.0, 0.6) << r.out;
  EXPECT_NE(r.out.find("factors 2 x 2"), std::string::npos);
  Outcome part = Quilp("skew " + page + " --rect 0,0,799,1753 --factors 1,1");
  ASSERT_EQ(part.status, 0) << part.err;
  EXPECT_NEAR(After(part.out, "hough image:"), 2.0, 0.05) << part.out;
  EXPECT_NE(part.out.find("factors 1 x 1"), std::string::npos);
  // One 512 block of the page: slope about tan(2 deg) * 512 = 17.9 rows.
  Outcome block = Quilp("hough " + page + " --rect 300,400,811,911");
  ASSERT_EQ(block.status, 0) << block.err;
  EXPECT_NEAR(After(block.out, "slope "), 18, 2) << block.out;
}

TEST(CliSkew, BadInputGivesOneLine) {
  WritePages();
  std::string const page = Mine("skewed.bmp"), bits = Mine("bits.bmp");
  struct Case { std::string args; char const* says; };
  Case const cases[] = {
      {"skew " + page + " --factors 0,2", "must be 1 or more"},
      {"skew " + page + " --factors 2", "H,V"},
      {"skew " + page + " --rect 5000,0,6000,10", "rectangle"},
      {"skew " + bits, "8-bit grey or a 24-bit"},
      {"hough " + bits, "8-bit grey"},
      {"hough " + page + " --log 9 --rect 1000,1500,1511,2011", "inside the image"},
      {"hough " + page + " --log 15", "0 to 14"},
  };
  for (Case const& c : cases) ExpectRefusal(c.args, c.says);
}
