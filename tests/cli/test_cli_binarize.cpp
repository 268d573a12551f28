// quilp otsu and quilp binarize: levels printed, 1-bit files written, bad options refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "cli_runner.h"
#include "quilp32.h"

using namespace cli_test;

namespace {

// A BMP file of a record, as the tool writes them.
void WriteRecord(std::string const& name, DibInfo const* dib) {
  std::string bytes(54 + dib->PaletteSize() + dib->biSizeImage, '\0');
  unsigned char* f = reinterpret_cast<unsigned char*>(&bytes[0]);
  f[0] = 'B';
  f[1] = 'M';
  uint32_t const size = uint32_t(bytes.size()), off = 54 + uint32_t(dib->PaletteSize());
  std::memcpy(f + 2, &size, 4);
  std::memcpy(f + 10, &off, 4);
  std::memcpy(f + 14, static_cast<tagBITMAPINFOHEADER const*>(dib), 40);
  std::memcpy(f + 54, dib->PalPtr(), dib->PaletteSize());
  std::memcpy(f + off, dib->BitsPtr(), dib->biSizeImage);
  WriteFile(name, bytes);
}

// 1,000 pixels at level 40 and 1,000 at 200 (Otsu threshold 121), and a colour copy, under
// names starting with `prefix` (tests may run side by side).
void WritePages(std::string const& prefix) {
  DibInfo* grey = DibCreate(50, 40, 3937, 3937, 8);
  DibInfo* colour = DibCreate(50, 40, 3937, 3937, 24);
  for (int y = 0; y < 40; ++y)
    for (int x = 0; x < 50; ++x) {
      unsigned char const v = y < 20 ? 40 : 200;
      grey->GetLine(y)[x] = v;
      colour->GetLine(y)[3 * x] = colour->GetLine(y)[3 * x + 1] = colour->GetLine(y)[3 * x + 2] = v;
    }
  WriteRecord(prefix + "two-levels.bmp", grey);
  WriteRecord(prefix + "two-levels-colour.bmp", colour);
  DibFree(grey);
  DibFree(colour);
}

}  // namespace

TEST(CliBinarize, OtsuPrintsLevelsAndBinarizeWritesOneBit) {
  WritePages("");
  Outcome two = Quilp("otsu two-levels.bmp");
  ASSERT_EQ(two.status, 0) << two.err;
  EXPECT_NE(two.out.find("threshold 121"), std::string::npos) << two.out;
  Outcome three = Quilp("otsu two-levels.bmp --classes 3 --rect 0,0,49,39");
  ASSERT_EQ(three.status, 0) << three.err;
  EXPECT_NE(three.out.find("levels "), std::string::npos) << three.out;
  for (std::string const& args :
       {std::string("two-levels.bmp bw.bmp --threshold 100"),
        std::string("two-levels.bmp bw.bmp --otsu --classes 3 --band 1:2 --ignore-extremes"),
        std::string("two-levels-colour.bmp bw.bmp --band 0:1 --invert --rect 5,5,44,34")}) {
    SCOPED_TRACE(args);
    Outcome r = Quilp("binarize " + args);
    ASSERT_EQ(r.status, 0) << r.err;
    Outcome info = Quilp("info bw.bmp");
    ASSERT_EQ(info.status, 0) << info.err;
    EXPECT_NE(info.out.find("1 bits per pixel"), std::string::npos) << info.out;
  }
  Outcome info = Quilp("info bw.bmp");
  EXPECT_NE(info.out.find("40 x 30"), std::string::npos) << info.out;
  Outcome convert = Quilp("convert two-levels-colour.bmp bw-converted.bmp --depth 1");
  ASSERT_EQ(convert.status, 0) << convert.err;
  Outcome converted = Quilp("info bw-converted.bmp");
  EXPECT_NE(converted.out.find("1 bits per pixel"), std::string::npos) << converted.out;
}

TEST(CliBinarize, BadOptionsGiveOneLine) {
  WritePages("bad-");
  struct Case { char const* args; char const* says; };
  Case const cases[] = {
      {"otsu bad-two-levels.bmp --classes 4", "2 or 3"},
      {"otsu bad-two-levels-colour.bmp --rect 0,0,60,10", "no levels"},
      {"binarize bad-two-levels.bmp out.bmp --classes 1", "2 or 3"},
      {"binarize bad-two-levels.bmp out.bmp --band 3:0", "--band"},
      {"binarize bad-two-levels.bmp out.bmp --band 1", "from:to"},
      {"binarize bad-two-levels.bmp out.bmp --threshold 9 --band 0:0", "does not combine"},
      {"binarize bad-two-levels-colour.bmp out.bmp --threshold 9", "8-bit"},
      {"binarize bad-two-levels.bmp out.bmp --threshold x", "bad number"},
      {"binarize bad-two-levels.bmp out.bmp --rect 40,0,60,5", "failed"},
      {"binarize bad-two-levels.bmp", "missing output"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.args);
    Outcome r = Quilp(c.args);
    EXPECT_GT(r.status, 0);
    EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
  }
}

TEST(CliBinarize, DemoBinarizesItsPage) {
  Outcome r = Quilp("demo demo-binarize");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("otsu threshold of the page"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("demo-binarize/binarized-otsu.bmp"), std::string::npos) << r.out;
  Outcome info = Quilp("info demo-binarize/binarized-otsu.bmp");
  ASSERT_EQ(info.status, 0) << info.err;
  EXPECT_NE(info.out.find("1 bits per pixel"), std::string::npos) << info.out;
}
