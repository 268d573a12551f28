// "quilp segment" on a made two-column page: the printed zones, the JSON the quality check
// reads, the drawing, and one clear line for bad input.
#include <gtest/gtest.h>

#include <string>

#include "bmp_files.h"
#include "cli_runner.h"
#include "pages/page_maker.h"
#include "quilp32.h"

using namespace cli_test;

namespace {

std::string TwoColumnPage() {
  quilp_pages::PageSpec layout;
  layout.width = 1240;
  layout.height = 1754;
  layout.bitCount = 8;
  layout.columns = 2;
  layout.stamp = false;
  DibPtr page(quilp_pages::MakePage(layout));
  return WriteBmpFile("segment-page.bmp", page.get());
}

}  // namespace

TEST(CliSegment, PrintsWritesAndDrawsTheZones) {
  std::string const page = TwoColumnPage();
  Outcome const blocks = Quilp("segment " + page);
  ASSERT_EQ(blocks.status, 0) << blocks.err;
  EXPECT_GT(Count(blocks.out, "text level 0"), 1) << blocks.out;
  EXPECT_EQ(Count(blocks.out, "picture level 0"), 1) << blocks.out;
  EXPECT_EQ(Count(blocks.out, " level 1 "), 0);

  Outcome const hier = Quilp("segment " + page + " --hier --json zones.json --draw zones.png");
  ASSERT_EQ(hier.status, 0) << hier.err;
  std::string const json = ReadFile("zones.json");
  EXPECT_EQ(json.rfind("{\"file\": \"segment-page.bmp\", \"width\": 1240, \"height\": 1754, \"dpi\": 300", 0), 0u) << json.substr(0, 200);
  EXPECT_GT(Count(json, "\"level\": 2"), Count(json, "\"level\": 1"));
  EXPECT_GT(Count(json, "\"level\": 1"), Count(json, "\"level\": 0"));
  EXPECT_EQ(ReadFile("zones.png").rfind("\x89PNG", 0), 0u);
}

TEST(CliSegment, RefusesBadInput) {
  ExpectRefusal("segment no-such-page.bmp", "no-such-page.bmp");
  ExpectRefusal("segment", "input file");
  ExpectRefusal("segment " + TwoColumnPage() + " --depth 3", "--depth");
}
