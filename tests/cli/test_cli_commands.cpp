// Every image subcommand of the tool, as a user meets it: its options are read, it writes a file
// of the right size and depth or prints its figures, and bad arguments get one clear line. The
// pixel results themselves are proved by the library's tests; here one call per option form.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/stat.h>

#include "bmp_files.h"
#include "cli_runner.h"
#include "pages/page_maker.h"
#include "quilp32.h"

using namespace cli_test;

namespace {

// Made pages (colour c.bmp, grey g.bmp and its threshold b.bmp, 240 x 160 at 100 dpi) and small
// records of known pixels, written once per test process.
void Files() {
  static bool const made = [] {
    WritePageFile("c.bmp", {.width = 240, .height = 160, .dpi = 100});
    WritePageFile("g.bmp", {.width = 240, .height = 160, .dpi = 100, .bitCount = 8, .unevenness = 0.4},
                  "b.bmp");
    auto write = [](char const* name, int w, int h, int depth, auto fill) {
      DibPtr dib(DibCreate(w, h, 3937, 3937, depth));
      for (int y = 0; y < dib->Height(); ++y)
        for (int x = 0; x < dib->ByteWidth(); ++x) dib->GetLine(y)[x] = fill(x, y);
      WriteBmpFile(name, dib.get());
      return dib;
    };
    // 1,000 pixels at level 40 and 1,000 at 200: Otsu threshold 121.
    write("two.bmp", 50, 40, 8, [](int, int y) { return uint8_t(y < 20 ? 40 : 200); });
    write("k24.bmp", 40, 30, 24, [](int x, int y) { return uint8_t(x * 3 + y); });
    write("k8.bmp", 40, 30, 8, [](int x, int y) { return uint8_t(x * 5 + y * 2); });
    write("k8b.bmp", 40, 30, 8, [](int x, int y) { return uint8_t(x * 5 + y * 2 + (x == 7)); });
    write("k1.bmp", 40, 30, 1, [](int x, int y) { return uint8_t(x * 37 + y); });
    write("z1.bmp", 101, 60, 1, [](int, int) { return uint8_t(0); });
    write("deep.bmp", 8, 8, 32, [](int x, int) { return uint8_t(x); });
    write("topdown.bmp", 8, -8, 24, [](int x, int) { return uint8_t(x); });
    DibPtr inverted = write("inverted.bmp", 16, 4, 1, [](int, int) { return uint8_t(0x0F); });
    std::swap(inverted->PalPtr()[0], inverted->PalPtr()[1]);
    WriteBmpFile("inverted.bmp", inverted.get());
    // Blue, half blue, red: colour arguments are read red first.
    write("row.bmp", 3, 1, 24, [](int x, int) { return uint8_t(x == 2 || x == 6 ? 255 : x == 5 ? 128 : 0); });
    WriteFile("se.txt", "010\n111\n010\n");
    WriteFile("bad-se.txt", "01\n1\n");
    // Files the reader must refuse: not a bitmap, cut short, an unread depth, pixels missing,
    // pixels said to start inside the headers, a folder.
    WriteFile("notbmp.bmp", "hello, this is not a bitmap at all, but it is long enough to read....");
    std::string header(54, '\0');
    header[0] = 'B', header[1] = 'M', header[14] = 40, header[26] = 1;
    WriteFile("short.bmp", header.substr(0, 30));
    auto forged = [&header](int offset, int w, int h, int bits) {
      std::string f = header;
      f[10] = char(offset), f[18] = char(w), f[22] = char(h), f[28] = char(bits);
      return f;
    };
    WriteFile("four.bmp", forged(0, 4, 4, 4));
    WriteFile("truncated.bmp", forged(54, 100, 100, 24));
    WriteFile("inheader.bmp", forged(20, 1, 1, 24) + std::string(4, '\0'));
    mkdir(WorkPath("folder.bmp").c_str(), 0777);
    return true;
  }();
  (void)made;
}

bool Says(Outcome const& r, std::string const& text) { return r.out.find(text) != std::string::npos; }

}  // namespace

TEST(CliCommands, EachWritesItsFileOrPrintsItsFigures) {
  Files();
  // `file` (when given) must hold w x h (w 0: any size) at `bits`; stdout must contain `says`.
  struct Case { char const* args; char const* file; int w, h, bits; char const* says; };
  Case const cases[] = {
      {"filter g.bmp o.bmp --op min --size 5", "o.bmp", 240, 160, 8, ""},
      {"filter g.bmp o.bmp --op max --hsize 3 --vsize 7", "o.bmp", 240, 160, 8, ""},
      {"filter g.bmp o.bmp --op open --size 9", "o.bmp", 240, 160, 8, ""},
      {"filter g.bmp o.bmp --op close --size 3", "o.bmp", 240, 160, 8, ""},
      {"filter g.bmp o.bmp --op gain --gain 1.5 --offset -20", "o.bmp", 240, 160, 8, ""},
      {"filter g.bmp o.bmp --op gamma --gamma 0.5", "o.bmp", 240, 160, 8, ""},
      {"filter g.bmp o.bmp --op smooth --sigma 1.5", "o.bmp", 240, 160, 8, ""},
      {"filter g.bmp o.bmp --op local --window 21", "o.bmp", 240, 160, 8, ""},
      {"filter g.bmp o.bmp --op flatten", "o.bmp", 240, 160, 8, ""},
      {"filter g.bmp o.bmp --op negative", "o.bmp", 240, 160, 8, ""},
      {"filter g.bmp o.bmp --op reduce --dpi 50", "o.bmp", 119, 79, 8, ""},  // 1968 per metre: a hair over half
      {"filter g.bmp o.bmp --op reduce --percent 400", "o.bmp", 60, 40, 8, ""},
      {"filter g.bmp o.bmp --op min --size 3 --rect 10,10,109,59", "o.bmp", 100, 50, 8, ""},
      {"erode-dilate b.bmp o.bmp --amount -3", "o.bmp", 240, 160, 1, ""},
      {"morph b.bmp o.bmp --op erode --se rect:15,15", "o.bmp", 240, 160, 1, ""},
      {"morph b.bmp o.bmp --op open --se disc:3", "o.bmp", 240, 160, 1, ""},
      {"morph b.bmp o.bmp --op hitmiss --se se.txt", "o.bmp", 240, 160, 1, ""},
      {"morph g.bmp o.bmp --op tophat --se line:9,30", "o.bmp", 240, 160, 8, ""},
      {"morph g.bmp o.bmp --op gradient --se cross:1 --rect 0,0,99,49", "o.bmp", 100, 50, 8, ""},
      {"distance b.bmp o.bmp --metric city --bits 32 --paper", "o.bmp", 240, 160, 32, ""},
      {"skeleton b.bmp o.bmp --medial", "o.bmp", 240, 160, 8, ""},
      {"despeckle b.bmp o.bmp --size 3", "o.bmp", 240, 160, 1, ""},
      {"squeeze b.bmp o.bmp --level 2", "o.bmp", 120, 80, 1, ""},
      {"zoom z1.bmp o.bmp --factor 0.25", "o.bmp", 25, 15, 1, ""},
      {"zoom z1.bmp o.bmp --factor 0.5 --grey", "o.bmp", 51, 30, 8, ""},
      {"zoom z1.bmp o.bmp --factor 1.5 --rect 0,0,9,9", "o.bmp", 15, 15, 1, ""},
      {"upscale z1.bmp o.bmp --factor 3", "o.bmp", 303, 180, 1, ""},
      {"deskew z1.bmp o2.bmp --preview o.bmp", "o.bmp", 25, 15, 8, ""},
      {"turn g.bmp o.bmp --quarters -1", "o.bmp", 160, 240, 8, ""},
      {"rotate g.bmp o.bmp --angle 30 --expand --interp bicubic", "o.bmp", 0, 0, 8, ""},
      {"orient g.bmp --fix o.bmp", "o.bmp", 0, 0, 8, "quarters"},
      {"canonize g.bmp o.bmp", "o.bmp", 240, 160, 8, ""},
      {"distort g.bmp o.bmp --corners 10,10,230,12,232,150,5,148", "o.bmp", 0, 0, 8, ""},
      {"separate c.bmp sep --colours 0", "sep/layer-1.bmp", 240, 160, 0, "ink "},
      {"match-colour c.bmp o.bmp --colour DC323C --tolerance 12", "o.bmp", 240, 160, 1, ""},
      {"suppress c.bmp o.bmp", "o.bmp", 240, 160, 24, ""},
      {"smooth g.bmp o.bmp --median 5 --rect 0,0,99,49", "o.bmp", 100, 50, 8, ""},
      {"smooth c.bmp o.bmp --bilateral --size 5 --strength 20", "o.bmp", 240, 160, 24, ""},
      {"gradient g.bmp o.bmp --scharr", "o.bmp", 240, 160, 8, ""},
      {"gradient c.bmp o.bmp --directions 8", "o.bmp", 240, 160, 8, ""},
      {"texture g.bmp o.bmp --block 16 --measure edges", "o.bmp", 15, 10, 8, ""},
      {"dropout c.bmp o.bmp --drop DC323C,3C32DC --rect 10,10,209,109", "o.bmp", 200, 100, 8, ""},
      {"otsu two.bmp", "", 0, 0, 0, "threshold 121"},
      {"otsu two.bmp --classes 3 --rect 0,0,49,39", "", 0, 0, 0, "levels "},
      {"binarize two.bmp o.bmp --threshold 100", "o.bmp", 50, 40, 1, ""},
      {"binarize two.bmp o.bmp --otsu --classes 3 --band 1:2 --ignore-extremes", "o.bmp", 50, 40, 1, ""},
      {"binarize c.bmp o.bmp --band 0:1 --invert --rect 5,5,44,34", "o.bmp", 40, 30, 1, ""},
      {"binarize g.bmp o.bmp --method sauvola --window 15 --k 0.3", "o.bmp", 240, 160, 1, ""},
      {"binarize c.bmp o.bmp --method wolf --rect 0,0,29,29", "o.bmp", 30, 30, 1, ""},
      {"binarize g.bmp o.bmp --method auto", "o.bmp", 240, 160, 1, ""},
      {"convert c.bmp o.bmp --depth 1", "o.bmp", 240, 160, 1, ""},
      {"convert k1.bmp o.bmp --depth 32 --rect 0,0,15,3", "o.bmp", 16, 4, 32, ""},
      {"copy k24.bmp o.bmp --rect 5,5,24,14 --at 3,2", "o.bmp", 23, 12, 24, ""},
      {"copy k1.bmp o.bmp --rect 3,0,12,9", "o.bmp", 10, 10, 1, ""},
      {"copy k8.bmp o.bmp --rect 0,0,9,9 --at 30,20 --onto k8b.bmp", "o.bmp", 40, 30, 8, ""},
      {"diff k24.bmp k24.bmp o.bmp --method over", "o.bmp", 40, 30, 24, ""},
      {"diff k8.bmp k8.bmp", "", 0, 0, 0, "0\n"},
      {"diff k8b.bmp k8.bmp", "", 0, 0, 0, "30\n"},  // column 7 differs by 1 on 30 rows
      {"diff k8b.bmp k8.bmp --stop 0", "", 0, 0, 0, "1\n"},
      {"diff k8.bmp k8.bmp --offset 2 --test-rect 0,0,9,9 --ref-rect 0,0,9,9", "", 0, 0, 0, "200\n"},
      {"stats k8.bmp k8.bmp --rect 0,0,1,0", "", 0, 0, 0, "covariance: 12.5"},  // values 0 and 5
      {"stats k24.bmp", "", 0, 0, 0, "variance: blue "},
      {"info c.bmp", "", 0, 0, 0, "100.0 x 100.0 dpi"},
      {"grey c.bmp o.bmp --colour 4D961D --rect 10,10,99,49", "o.bmp", 90, 40, 8, ""},
      {"info k24.bmp", "", 0, 0, 0, "canonical:   yes"},
      {"info topdown.bmp", "", 0, 0, 0, "canonical:   yes"},
      {"info deep.bmp", "", 0, 0, 0, "canonical:   no: a kind"},
      {"info inverted.bmp", "", 0, 0, 0, "canonical:   no: well formed"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.args);
    std::remove(WorkPath(c.file).c_str());
    Outcome const r = Quilp(c.args);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(Says(r, c.says)) << r.out;
    if (!*c.file) continue;
    DibPtr out(ReadBmpFile(c.file));
    ASSERT_TRUE(out);
    EXPECT_EQ(out->Width(), c.w ? c.w : out->Width());
    EXPECT_EQ(out->Height(), c.h ? c.h : out->Height());
    EXPECT_EQ(out->BitsPerPixel(), c.bits ? c.bits : out->BitsPerPixel());
  }
}

// What the tool adds to the library: colour arguments read red first, angles printed in degrees,
// the match position in page pixels, the text preview's size.
TEST(CliCommands, ArgumentsAndPrintedFiguresMeanWhatTheySay) {
  Files();
  // FF0000 is pure red: by projection it vanishes and a red byte of 128 gives 129; blue stays.
  ASSERT_EQ(Quilp("dropout row.bmp red.bmp --drop FF0000").status, 0);
  DibPtr red(ReadBmpFile("red.bmp"));
  ASSERT_TRUE(red);
  EXPECT_EQ(red->GetLine(0)[0], 255);
  EXPECT_EQ(red->GetLine(0)[1], 129);
  EXPECT_EQ(red->GetLine(0)[2], 1);
  ASSERT_EQ(Quilp("dropout row.bmp sets.bmp --keep 0000FF --drop FF0000").status, 0);
  DibPtr sets(ReadBmpFile("sets.bmp"));
  ASSERT_TRUE(sets);
  EXPECT_EQ(sets->GetLine(0)[0], 255);
  EXPECT_EQ(sets->GetLine(0)[2], 0);
  // The depth conversion's grey is the equal-thirds grey: (0, 0, 255) gives 85, (0, 0, 128) 43.
  ASSERT_EQ(Quilp("convert row.bmp thirds.bmp --depth 8").status, 0);
  DibPtr thirds(ReadBmpFile("thirds.bmp"));
  ASSERT_TRUE(thirds);
  EXPECT_EQ(thirds->GetLine(0)[0], 85);
  EXPECT_EQ(thirds->GetLine(0)[1], 43);

  WritePageFile("skewed.bmp", {.width = 620, .height = 877, .dpi = 75, .bitCount = 8,
                               .skewDegrees = 3.0, .stamp = false, .photo = false});
  auto after = [](std::string const& text, std::string const& label) {
    std::size_t const at = text.find(label);
    return at == std::string::npos ? 1e9 : std::atof(text.c_str() + at + label.size());
  };
  Outcome r = Quilp("deskew skewed.bmp straight.bmp");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NEAR(after(r.out, "corrected"), 3.0, 0.1) << r.out;
  r = Quilp("skew skewed.bmp --rect 0,0,499,876 --factors 1,1");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NEAR(after(r.out, "hough image:"), 3.0, 0.1) << r.out;
  EXPECT_LT(std::abs(after(r.out, "edge pairs:") - 3.0), 1.0) << r.out;
  EXPECT_TRUE(Says(r, "factors 1 x 1")) << r.out;
  r = Quilp("hough skewed.bmp --rect 50,200,305,455");  // a 256 block: tan(3 deg) * 256 = 13.4 rows
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NEAR(after(r.out, "slope "), 13.4, 2) << r.out;

  ASSERT_EQ(Quilp("copy g.bmp zone.bmp --rect 100,60,163,123").status, 0);
  r = Quilp("match zone.bmp g.bmp --window 50,20,220,150");
  ASSERT_EQ(r.status, 0) << r.err;
  double x = 0, y = 0;
  ASSERT_EQ(std::sscanf(r.out.c_str(), "at %lf %lf", &x, &y), 2) << r.out;
  EXPECT_NEAR(x, 100, 0.05);
  EXPECT_NEAR(y, 60, 0.05);
  r = Quilp("show c.bmp --width 40");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 27);  // 160 / 6, rounded up
  EXPECT_EQ(r.out.find('\n'), 40u);
}

// The tool explains its depth decision with the figures the library compared: a limit one step
// either side of a printed figure turns the decision.
TEST(CliCommands, CompressSaysWhichDepthAndWhy) {
  WritePageFile("stamped.bmp", {.width = 800, .height = 600, .dpi = 100});
  Outcome colour = Quilp("compress stamped.bmp whole.bmp");
  ASSERT_EQ(colour.status, 0) << colour.err;
  EXPECT_TRUE(Says(colour, "kept 24 bits")) << colour.out;
  std::size_t const at = colour.out.find("pixels ");
  ASSERT_NE(at, std::string::npos);
  int const mean = std::stoi(colour.out.substr(at + 7));
  EXPECT_TRUE(Says(Quilp("compress stamped.bmp below.bmp --chroma " + std::to_string(mean - 1)), "kept 24 bits"));
  Outcome level = Quilp("compress stamped.bmp level.bmp --chroma " + std::to_string(mean));
  EXPECT_TRUE(Says(level, "<= " + std::to_string(mean)) && Says(level, "spread")) << level.out;
  Outcome text = Quilp("compress stamped.bmp text.bmp --rect 80,130,379,279");  // away from stamp and photo
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_TRUE(Says(text, "chose 1 bit") && Says(text, "(300 x 150, 1 bits)")) << text.out;
  std::size_t const s = text.out.find("levels ");
  ASSERT_NE(s, std::string::npos);
  double const spread = std::stod(text.out.substr(s + 7));
  Outcome tight = Quilp("compress stamped.bmp t.bmp --rect 80,130,379,279 --spread " +
                        std::to_string(spread * 0.99));
  EXPECT_TRUE(Says(tight, "chose 8 bits")) << tight.out;
  EXPECT_TRUE(Says(Quilp("compress text.bmp again.bmp"), "kept 1 bit"));
}

TEST(CliCommands, BadArgumentsGiveOneLine) {
  Files();
  struct Case { char const* args; char const* says; };
  Case const cases[] = {
      {"info missing.bmp", "cannot open"},
      {"info notbmp.bmp", "not a BMP"},
      {"info short.bmp", "truncated"},
      {"info four.bmp", "unsupported depth"},
      {"info truncated.bmp", "truncated"},
      {"info folder.bmp", "folder.bmp' is a folder"},
      {"info inheader.bmp", "inside its headers"},
      {"frobnicate", "unknown command"},
      {"grey c.bmp", "missing output"},
      {"grey c.bmp o.bmp --bogus", "unknown option"},
      {"grey c.bmp o.bmp --colour red", "bad colour"},
      {"grey c.bmp o.bmp --mode dropout --weight 257", "--weight outside 0..256"},
      {"grey c.bmp o.bmp --rect 5,5,1,1", "bad rectangle"},
      {"grey c.bmp o.bmp --rect 1,2,3", "left,top,right,bottom"},
      {"grey c.bmp o.bmp --rect 400,0,500,10", "must lie inside"},
      {"grey c.bmp o.bmp --rect 0,0,240,160", "must lie inside"},  // one past the edge
      {"clean g.bmp", "missing output"},
      {"clean -o o.png", "missing input"},
      {"clean g.bmp -o o.png --format gif", "unknown --format"},
      {"clean g.bmp -o o.png --grey --keep-colour", "choose one"},
      {"clean g.bmp -o o.png --jobs 0", "--jobs"},
      {"clean g.bmp -o o.png --multipage", "TIFF"},
      {"filter g.bmp o.bmp --op smooth --sigma 1e308", "--sigma"},
      {"filter g.bmp o.bmp --op blur", "--op is"},
      {"filter g.bmp o.bmp --op min --size 4", "window sizes must be odd"},
      {"filter g.bmp o.bmp --op reduce", "reduce needs"},
      {"filter g.bmp o.bmp --op reduce --dpi 400", "invalid argument"},
      {"filter b.bmp o.bmp --op min", "needs an 8-bit"},
      {"erode-dilate g.bmp o.bmp --amount 2", "needs a 1-bit"},
      {"erode-dilate b.bmp o.bmp", "needs --amount"},
      {"erode-dilate b.bmp o.bmp --amount 40", "-127..32"},
      {"erode-dilate b.bmp o.bmp --amount x", "bad number"},
      {"morph b.bmp o.bmp --op thicken --se rect:3,3", "--op is"},
      {"morph b.bmp o.bmp --op erode", "needs --se"},
      {"morph b.bmp o.bmp --op erode --se rect:3", "two sizes"},
      {"morph b.bmp o.bmp --op erode --se disc:-2", "refused"},
      {"morph b.bmp o.bmp --op erode --se bad-se.txt", "refused"},
      {"morph g.bmp o.bmp --op hitmiss --se rect:3,3", "needs a 1-bit"},
      {"distance b.bmp o.bmp --metric manhattan", "--metric is"},
      {"distance b.bmp o.bmp --bits 16", "--bits is"},
      {"skeleton b.bmp o.bmp --weak --medial", "choose one"},
      {"despeckle b.bmp o.bmp --size -1", "--size"},
      {"squeeze b.bmp o.bmp --level 0", "--level"},
      {"zoom g.bmp o.bmp", "--factor"},
      {"zoom g.bmp o.bmp --factor -2", "positive"},
      {"zoom g.bmp o.bmp --factor 0.5 --rect 500,50,560,60", "rectangle"},
      {"upscale g.bmp o.bmp --factor 0.5", "1 or more"},
      {"upscale b.bmp o.bmp --factor 2.5", "2, 3 or 4"},
      {"rotate g.bmp o.bmp", "--angle"},
      {"rotate g.bmp o.bmp --angle 5 --interp cubic", "--interp"},
      {"turn g.bmp o.bmp", "--quarters"},
      {"distort g.bmp o.bmp --corners 1,2,3", "eight numbers"},
      {"distort g.bmp o.bmp --corners 0,0,230,150,230,0,0,150", "convex"},
      {"skew g.bmp --factors 0,2", "must be 1 or more"},
      {"skew g.bmp --factors 2", "H,V"},
      {"skew b.bmp", "8-bit grey or a 24-bit"},
      {"hough b.bmp", "8-bit grey"},
      {"hough g.bmp --rect -2147483648,0,2147483647,0", "block must be"},
      {"hough g.bmp --log 9 --rect 0,0,511,511", "inside the image"},
      {"hough g.bmp --log 15", "0 to 14"},
      {"separate g.bmp sep2", "24-bit"},
      {"separate c.bmp sep2 --colours 9", "0..8"},
      {"match-colour c.bmp o.bmp", "--colour"},
      {"match-colour c.bmp o.bmp --colour FF0000 --tolerance -1", "tolerance"},
      {"suppress c.bmp o.bmp --white 300", "--white"},
      {"smooth c.bmp o.bmp", "--median N or --bilateral"},
      {"smooth c.bmp o.bmp --median 4", "odd"},
      {"gradient c.bmp o.bmp --directions 1", "--directions"},
      {"texture c.bmp o.bmp --block 1", "--block"},
      {"match c.bmp k8.bmp", "no match"},
      {"show c.bmp --rect 900,900,950,950", "outside"},
      {"dropout row.bmp o.bmp", "--drop"},
      {"dropout row.bmp o.bmp --drop FFFFFF", "cannot be dropped"},
      {"dropout row.bmp o.bmp --keep FFFFFF --drop FF0000", "white"},
      {"dropout row.bmp o.bmp --drop FF0000,", "empty colour"},
      {"dropout row.bmp o.bmp --drop red", "bad colour"},
      {"dropout b.bmp o.bmp --drop FF0000", "24-bit"},
      {"compress row.bmp o.bmp --chroma 300", "0..255"},
      {"compress row.bmp o.bmp --share lots", "bad number"},
      {"otsu g.bmp --classes 4", "2 or 3"},
      {"otsu c.bmp --rect 0,0,260,10", "must lie inside"},
      {"binarize g.bmp o.bmp --band 3:0", "--band"},
      {"binarize g.bmp o.bmp --band 1", "from:to"},
      {"binarize g.bmp o.bmp --threshold 9 --band 0:0", "does not combine"},
      {"binarize c.bmp o.bmp --threshold 9", "8-bit"},
      {"binarize g.bmp o.bmp --method otsu", "--method is"},
      {"binarize g.bmp o.bmp --method auto --k 0.5", "takes no"},
      {"binarize g.bmp o.bmp --method sauvola --invert", "does not combine"},
      {"binarize g.bmp o.bmp --window 15", "go with --method"},
      {"binarize two.bmp o.bmp --method niblack --window 45", "window larger"},
      {"copy k24.bmp o.bmp --at 1,1 --onto k8.bmp", "not accepted"},
      {"copy deep.bmp o.bmp --at 30000,30000", "larger than the 8 x 8"},
      {"convert k24.bmp o.bmp", "--depth"},
      {"convert k24.bmp o.bmp --depth 16", "not accepted"},
      {"diff k24.bmp k8.bmp", "same depth"},
      {"diff k1.bmp k1.bmp", "8 or 24 bits"},
      {"diff k8.bmp k8.bmp --method sideways", "--method"},
      {"diff k8.bmp k8.bmp --stop 1e3", "--stop"},
      {"diff k8.bmp k8.bmp --test-rect 0,0,4,4", "larger"},
      {"stats k1.bmp", "8-bit or 24-bit"},
      {"stats k8.bmp k24.bmp", "same depth"},
      {"stats k8.bmp k8.bmp --rect 0,0,9,9 --rect2 0,0,4,4", "same size"},
  };
  for (Case const& c : cases) ExpectRefusal(c.args, c.says);
  EXPECT_EQ(Quilp("stats k8.bmp k24.bmp").out, "");  // nothing printed before the refusal
}
