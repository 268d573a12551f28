// The quilp tool: files round-trip, results are written, bad input gets one clear line.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "bmp_files.h"
#include "cli_runner.h"
#include "refusal.h"
#include "pages/page_maker.h"
#include "quilp32.h"

using namespace cli_test;

namespace {

// A small colour page on disk.
std::string SmallPage() {
  static std::string const path = [] {
    quilp_pages::PageSpec layout;
    layout.width = 300;
    layout.height = 200;
    layout.dpi = 100;
    DibInfo* page = quilp_pages::MakePage(layout);
    std::string const name = WriteBmpFile("page.bmp", page);
    DibFree(page);
    return name;
  }();
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
  struct Case { char const* args; char const* says; };
  Case const cases[] = {
      {"info missing.bmp", "cannot open"},
      {"info text.bmp", "not a BMP"},
      {"info short.bmp", "truncated"},
      {"info four.bmp", "unsupported depth"},
      {"info truncated.bmp", "truncated"},
      {"grey page.bmp out.bmp --rect 5,5,1,1", "bad rectangle"},
      {"grey page.bmp out.bmp --rect 1,2,3", "left,top,right,bottom"},
      {"grey page.bmp out.bmp --rect 400,0,500,10", "failed"},
      {"grey page.bmp out.bmp --colour red", "bad colour"},
      {"grey page.bmp out.bmp --bogus", "unknown option"},
      {"grey page.bmp", "missing output"},
      {"frobnicate", "unknown command"},
  };
  SmallPage();
  for (Case const& c : cases) ExpectRefusal(c.args, c.says);
}

TEST(Cli, DemoWritesItsFolder) {
  Outcome r = Quilp("demo demo-out");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("demo-out/page.bmp"), std::string::npos);
  EXPECT_NE(r.out.find("demo-out/grey-auto.bmp"), std::string::npos);
  Outcome info = Quilp("info demo-out/grey-auto.bmp");
  EXPECT_EQ(info.status, 0) << info.err;
}
