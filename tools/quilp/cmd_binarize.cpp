// cmd_binarize.cpp - "quilp otsu" and "quilp binarize": Otsu levels and global binarization,
// and the demo step that binarizes the sample page.
#include <cstdio>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

void NeedGreyOrColour(DibInfo const* dib) {
  if (dib->BitsPerPixel() != 8 && dib->BitsPerPixel() != 24)
    throw CliError("needs an 8-bit grey or a 24-bit colour image");
}

int RunOtsu(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  NeedGreyOrColour(src.get());
  int const classes = args.GetInt("classes", 2);
  if (classes != 2 && classes != 3) throw CliError("--classes is 2 or 3");
  tagRect32 rect;
  tagRect32* r = args.GetRectInside("rect", rect, src.get()) ? &rect : nullptr;
  int levels[2] = {-1, -1};
  if (!DibGetOtsuLevels(levels, src.get(), classes, r))
    throw CliError("no levels (rectangle outside the image, or a colour area without a grey axis)");
  if (classes == 2) {
    std::printf("threshold %d (levels 0..%d dark, %d..255 light)\n", levels[0], levels[0] - 1,
                levels[0]);
  } else if (levels[0] < 0) {
    std::printf("no three-class split (too few distinct levels)\n");
  } else {
    std::printf("levels %d %d (classes 1..%d, %d..%d, %d..255)\n", levels[0], levels[1],
                levels[0], levels[0] + 1, levels[1], levels[1] + 1);
  }
  return 0;
}

// "--band from:to" -> the two class numbers.
void ParseBand(std::string const& text, int& from, int& to) {
  std::vector<std::string> const parts = SplitList(text, ':');
  if (parts.size() != 2) throw CliError("--band wants from:to, e.g. 0:0 or 1:1");
  from = ParseInt(parts[0], "band from");
  to = ParseInt(parts[1], "band to");
}

int RunBinarize(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  NeedGreyOrColour(src.get());
  tagRect32 rect;
  tagRect32* r = args.GetRectInside("rect", rect, src.get()) ? &rect : nullptr;
  bool const invert = args.Has("invert");
  DibInfo* bw = nullptr;
  if (args.Has("threshold")) {
    if (args.Has("otsu") || args.Has("classes") || args.Has("band") || args.Has("ignore-extremes"))
      throw CliError("--threshold does not combine with the Otsu options");
    if (src->BitsPerPixel() != 8)
      throw CliError("--threshold needs an 8-bit grey image (make one with 'quilp grey')");
    bw = DibBinarizeSimple(src.get(), args.GetInt("threshold", 128), invert, r);
    if (!bw) throw CliError("the binarization failed (rectangle outside the image)");
  } else {
    int const classes = args.GetInt("classes", 2);
    int from = 0, to = 0;
    if (args.Has("band")) ParseBand(args.Get("band"), from, to);
    if (classes != 2 && classes != 3) throw CliError("--classes is 2 or 3");
    if (from < 0 || to < 0 || from >= classes || to >= classes)
      throw CliError("--band classes count from 0 and stay below --classes");
    bw = args.Has("ignore-extremes") ? DibBinarizeOtsuR(src.get(), classes, from, to, invert, r)
                                     : DibBinarizeOtsu(src.get(), classes, from, to, invert, r);
    if (!bw)
      throw CliError("the binarization failed (rectangle outside the image, or a colour area "
                     "without a grey axis)");
  }
  Dib result(bw);
  WriteBmp(out, result.get());
  std::printf("wrote %s (%s)\n", out.c_str(), Describe(result.get()).c_str());
  return 0;
}

void DemoBinarize(DemoContext& demo) {
  int levels[2] = {-1, -1};
  if (DibGetOtsuLevels(levels, demo.page, 2, nullptr))
    demo.Say("otsu threshold of the page: " + std::to_string(levels[0]));
  Dib bw(DibBinarizeOtsu(demo.page, 2, 0, 0, false, nullptr));
  if (bw) demo.Write("binarized-otsu.bmp", bw.get(), "black below the page's Otsu threshold");
  Dib middle(DibBinarizeOtsuR(demo.page, 3, 1, 1, false, nullptr));
  if (middle)
    demo.Write("binarized-middle.bmp", middle.get(),
               "the middle of three Otsu classes black, pure black and white ignored");
}

Registrar const otsu{Command{
    "otsu", "otsu IN.bmp [--classes 2|3] [--rect l,t,r,b]",
    "prints the Otsu threshold (2 classes) or the two levels of 3 classes",
    {"classes", "rect"}, {}, RunOtsu}};
Registrar const binarize{Command{
    "binarize",
    "binarize IN.bmp OUT.bmp [--threshold T | --otsu] [--classes 2|3] [--band from:to] "
    "[--invert] [--ignore-extremes] [--rect l,t,r,b]",
    "1-bit image: below a fixed threshold, or a band of Otsu classes, black (default --otsu)",
    {"threshold", "classes", "band", "rect"}, {"otsu", "invert", "ignore-extremes"}, RunBinarize}};
Registrar const binarizeDemo{DemoStep{20, "binarize", DemoBinarize}};

}  // namespace
}  // namespace quilp_cli
