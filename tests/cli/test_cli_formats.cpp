// The tool's image files: every format round-trips pixels and resolution through "copy", and
// damaged files or forged sizes get one clear line, never a crash.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "bmp_files.h"
#include "cli_runner.h"
#include "pages/page_maker.h"
#include "quilp32.h"

using namespace cli_test;

namespace {

// Colour, grey and 1-bit sources of an odd width at 150 dpi.
std::string Source(int bits) {
  std::string const name = "fmt-src" + std::to_string(bits) + ".bmp";
  DibPtr page(quilp_pages::MakePage(
      {.width = 203, .height = 101, .dpi = 150, .bitCount = bits == 24 ? 24 : 8}));
  if (bits == 1) page.reset(DibBinarizeSimple(page.get(), 160, false, nullptr));
  return WriteBmpFile(name, page.get());
}

// Largest difference of any pixel byte of two records of one size and depth (1 bit: 1 when
// any pixel differs; the padding bits of a row's last byte do not count).
int MaxDifference(DibInfo const* a, DibInfo const* b) {
  int worst = 0;
  int const bits = a->Width() * a->BitsPerPixel(), bytes = (bits + 7) / 8;
  for (int y = 0; y < a->Height(); ++y)
    for (int k = 0; k < bytes; ++k) {
      int const mask = k == bytes - 1 && bits % 8 ? 0xFF00 >> (bits % 8) & 0xFF : 0xFF;
      int const d = std::abs((a->GetLine(y)[k] & mask) - (b->GetLine(y)[k] & mask));
      worst = std::max(worst, a->BitsPerPixel() == 1 ? int(d != 0) : d);
    }
  return worst;
}

}  // namespace

TEST(CliFormats, EveryFormatRoundTripsPixelsAndResolution) {
  struct Case { char const* ext; int bits; int tolerance; bool keepsDpi; };
  Case const cases[] = {
      {"png", 24, 0, true}, {"png", 8, 0, true}, {"png", 1, 0, true},
      {"tif", 24, 0, true}, {"tif", 8, 0, true}, {"tif", 1, 0, true},
      {"pnm", 24, 0, false}, {"pnm", 8, 0, false}, {"pnm", 1, 0, false},
      {"jpg", 24, 60, true}, {"jpg", 8, 40, true},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.ext) + " " + std::to_string(c.bits));
    std::string const src = Source(c.bits), file = std::string("fmt-x.") + c.ext;
    ASSERT_EQ(Quilp("copy " + src + " " + file).status, 0);
    Outcome back = Quilp("copy " + file + " fmt-back.bmp");
    ASSERT_EQ(back.status, 0) << back.err;
    DibPtr a(ReadBmpFile(src)), b(ReadBmpFile("fmt-back.bmp"));
    ASSERT_TRUE(a && b);
    ASSERT_EQ(b->Width(), a->Width());
    ASSERT_EQ(b->Height(), a->Height());
    ASSERT_EQ(b->BitsPerPixel(), a->BitsPerPixel());
    EXPECT_EQ(b->XPelsPerMeter(), c.keepsDpi ? a->XPelsPerMeter() : 11811);
    EXPECT_LE(MaxDifference(a.get(), b.get()), c.tolerance);
  }
}

TEST(CliFormats, DamagedFilesAndForgedSizesGetOneLine) {
  std::string const src = Source(24);
  for (char const* ext : {"png", "tif", "jpg", "pnm"}) {
    std::string const good = std::string("fmt-good.") + ext;
    ASSERT_EQ(Quilp("copy " + src + " " + good).status, 0);
    std::string const bytes = ReadFile(good);
    std::string junk = bytes.substr(0, 16);
    for (std::size_t i = 16; i < 400; ++i) junk += char(i * 37 + 11);
    struct Damage { std::string name, bytes; char const* says; };
    Damage const damages[] = {
        {"half", bytes.substr(0, bytes.size() / 2), ""},
        {"head", bytes.substr(0, 20), ""},
        {"junk", junk, ""},
    };
    for (Damage const& d : damages) {
      std::string const name = "fmt-" + d.name + "." + ext;
      WriteFile(name, d.bytes);
      ExpectRefusal("info " + name, name.c_str());
    }
    setenv("QUILP_MAX_PIXELS", "1000", 1);  // the tool runs with this process's environment
    ExpectRefusal("info " + good, "more than the cap");
    unsetenv("QUILP_MAX_PIXELS");
  }
  WriteFile("fmt-huge.pgm", "P5\n60000 60000\n255\n\x01\x02");
  ExpectRefusal("info fmt-huge.pgm", "more than the cap");
  WriteFile("fmt-empty.png", "");
  ExpectRefusal("info fmt-empty.png", "empty file");
}
