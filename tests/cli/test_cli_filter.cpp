// The quilp tool's filter and erode-dilate commands: results on disk, one clear line on bad input.
#include <gtest/gtest.h>

#include "bmp_files.h"
#include "cli_runner.h"
#include "pages/page_maker.h"
#include "quilp32.h"
#include "refusal.h"

using namespace cli_test;

namespace {

// A grey page and its 1-bit threshold, written under names of their own for each test (ctest
// runs tests in parallel processes sharing the work folder).
std::string GreyPage(std::string const& prefix) {
  return WritePageFile(prefix + "-page.bmp",
                       {.width = 240, .height = 160, .dpi = 100, .bitCount = 8, .unevenness = 0.4},
                       prefix + "-bits.bmp");
}

}  // namespace

TEST(CliFilter, EveryOperationWritesAResult) {
  std::string const page = GreyPage("every");
  struct Case { char const* args; char const* size; };
  Case const cases[] = {
      {"--op min --size 5", "240 x 160"},       {"--op max --hsize 3 --vsize 7", "240 x 160"},
      {"--op open --size 9", "240 x 160"},      {"--op close --size 3", "240 x 160"},
      {"--op gain --gain 1.5 --offset -20", "240 x 160"}, {"--op gamma --gamma 0.5", "240 x 160"},
      {"--op smooth --sigma 1.5", "240 x 160"}, {"--op local --window 21", "240 x 160"},
      {"--op flatten", "240 x 160"},            {"--op negative", "240 x 160"},
      {"--op reduce --dpi 50", "119 x 79"},  // 50 dpi is 1968 per metre: a hair over half     {"--op reduce --percent 400", "60 x 40"},
      {"--op min --size 3 --rect 10,10,109,59", "100 x 50"},
  };
  for (Case const& c : cases) {
    Outcome run = Quilp("filter " + page + " every-out.bmp " + c.args);
    ASSERT_EQ(run.status, 0) << c.args << ": " << run.err;
    Outcome info = Quilp("info every-out.bmp");
    EXPECT_NE(info.out.find(c.size), std::string::npos) << c.args << ": " << info.out;
  }
  Outcome grow = Quilp("erode-dilate every-bits.bmp every-grown.bmp --amount -3");
  ASSERT_EQ(grow.status, 0) << grow.err;
  Outcome info = Quilp("info every-grown.bmp");
  EXPECT_NE(info.out.find("1 bits"), std::string::npos) << info.out;
}

TEST(CliFilter, BadInputGivesOneLineAndAFailingExit) {
  std::string const page = GreyPage("bad");
  struct Case { std::string args; char const* says; };
  Case const cases[] = {
      {"filter " + page + " bad-out.bmp --op blur", "--op is"},
      {"filter " + page + " bad-out.bmp --op min --size 4", "window sizes must be odd"},
      {"filter " + page + " bad-out.bmp --op reduce", "reduce needs"},
      {"filter " + page + " bad-out.bmp --op reduce --dpi 400", "invalid argument"},
      {"filter bad-bits.bmp bad-out.bmp --op min", "needs an 8-bit"},
      {"erode-dilate " + page + " bad-out.bmp --amount 2", "needs a 1-bit"},
      {"erode-dilate bad-bits.bmp bad-out.bmp", "needs --amount"},
      {"erode-dilate bad-bits.bmp bad-out.bmp --amount 40", "-127..32"},
      {"erode-dilate bad-bits.bmp bad-out.bmp --amount x", "bad number"},
  };
  for (Case const& c : cases) ExpectRefusal(c.args, c.says);
}
