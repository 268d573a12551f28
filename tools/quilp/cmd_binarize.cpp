// cmd_binarize.cpp - "quilp otsu" and "quilp binarize": Otsu levels, global and adaptive
// binarization, and the demo steps that binarize the sample page and a shadowed, faded one.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "pages/page_maker.h"

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

// --method NAME -> the adaptive method code and Niblack-family variant.
void ParseMethod(std::string const& name, int& method, int& variant) {
  struct Known { char const* name; int method, variant; };
  static Known const known[] = {{"niblack", 4, 0}, {"sauvola", 4, 1}, {"wolf", 4, 2},
                                {"niglob", 5, 0},  {"stat", 6, 0},    {"auto", 7, 0}};
  for (Known const& k : known)
    if (name == k.name) {
      method = k.method;
      variant = k.variant;
      return;
    }
  throw CliError("--method is niblack, sauvola, wolf, niglob, stat or auto");
}

DibInfo* Adaptive(Args const& args, DibInfo* src, tagRect32* r) {
  for (char const* other : {"threshold", "otsu", "classes", "band", "invert", "ignore-extremes"})
    if (args.Has(other))
      throw CliError(std::string("--method does not combine with --") + other);
  SDibBinarizeSetup setup{};
  ParseMethod(args.Get("method"), setup.method, setup.variant);
  if (setup.method == 7 && (args.Has("window") || args.Has("k")))
    throw CliError("--method auto takes no --window or --k (use stat to tune)");
  setup.window = args.GetInt("window", 0);
  if (setup.window < 0 || setup.window > 4095) throw CliError("--window is 1..4095 pixels");
  double const k = args.GetDouble("k", 0.0);
  if (!(std::fabs(k) <= 10.0)) throw CliError("--k lies between -10 and 10");
  setup.k = static_cast<int>(std::lround(k * 100));
  DibInfo* bw = DibBinarizeCommon(src, setup, r);
  if (!bw)
    throw CliError("the binarization failed (window larger than the area, rectangle outside "
                   "the image, or a colour area without a grey axis)");
  return bw;
}

int RunBinarize(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  NeedGreyOrColour(src.get());
  tagRect32 rect;
  tagRect32* r = args.GetRectInside("rect", rect, src.get()) ? &rect : nullptr;
  bool const invert = args.Has("invert");
  DibInfo* bw = nullptr;
  if (!args.Has("method") && (args.Has("window") || args.Has("k")))
    throw CliError("--window and --k go with --method");
  if (args.Has("method")) {
    bw = Adaptive(args, src.get(), r);
  } else if (args.Has("threshold")) {
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

// A page as a phone or a book scanner sees it: faded ink, light falling off toward the gutter.
void DemoAdaptive(DemoContext& demo) {
  quilp_pages::PageSpec layout;
  layout.width = 1654;  // A4 at 200 dpi
  layout.height = 2339;
  layout.dpi = 200;
  layout.bitCount = 8;
  layout.noise = 6;
  layout.fade = 0.75;
  layout.stamp = false;
  layout.photo = false;
  layout.seed = 12;
  Dib page(quilp_pages::MakePage(layout));
  if (!page) return;
  int const w = page->Width(), h = page->Height();
  for (int y = 0; y < h; ++y) {
    unsigned char* row = page->GetLine(y);
    for (int x = 0; x < w; ++x) {
      double const d = x / (0.12 * w);
      double const light = 1.0 - 0.65 * std::exp(-d * d) - 0.15 * y / h;
      row[x] = static_cast<unsigned char>(row[x] * light + 0.5);
    }
  }
  demo.Write("shadow-faded.bmp", page.get(), "a page with faded ink and a gutter shadow");
  Dib otsu(DibBinarizeOtsu(page.get(), 2, 0, 0, false, nullptr));
  SDibBinarizeSetup const recommended{7, 0, 0, 0, 0};
  Dib adaptive(DibBinarizeCommon(page.get(), recommended, nullptr));
  if (!otsu || !adaptive) return;
  // Side by side: Otsu on the left, the recommended adaptive method on the right.
  Dib both(DibCreate(2 * w, h, page->XPelsPerMeter(), page->YPelsPerMeter(), 1));
  DibInfo* target = both.get();
  tagPoint32 const right{w, 0};
  if (!both || DibCopyZoneEx(target, otsu.get(), 0, nullptr, nullptr, nullptr, nullptr) != 0 ||
      DibCopyZoneEx(target, adaptive.get(), 0, nullptr, nullptr, nullptr, &right) != 0)
    return;
  demo.Write("shadow-faded-otsu-auto.bmp", both.get(),
             "that page binarized by Otsu (left) and by the adaptive method 7 (right)");
}

Registrar const otsu{Command{
    "otsu", "otsu IN.bmp [--classes 2|3] [--rect l,t,r,b]",
    "prints the Otsu threshold (2 classes) or the two levels of 3 classes",
    {"classes", "rect"}, {}, RunOtsu}};
Registrar const binarize{Command{
    "binarize",
    "binarize IN.bmp OUT.bmp [--threshold T | --otsu] [--classes 2|3] [--band from:to] "
    "[--invert] [--ignore-extremes] [--rect l,t,r,b] | [--method niblack|sauvola|wolf|niglob|"
    "stat|auto [--window N] [--k K]]",
    "1-bit image: below a fixed threshold, a band of Otsu classes (default --otsu), or an "
    "adaptive threshold (--method; auto is best without tuning)",
    {"threshold", "classes", "band", "rect", "method", "window", "k"},
    {"otsu", "invert", "ignore-extremes"}, RunBinarize}};
Registrar const binarizeDemo{DemoStep{20, "binarize", DemoBinarize}};
Registrar const adaptiveDemo{DemoStep{21, "adaptive binarization", DemoAdaptive}};

}  // namespace
}  // namespace quilp_cli
