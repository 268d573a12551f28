// cmd_geometry.cpp - "quilp rotate", "turn", "deskew", "orient", "canonize" and "distort", and
// the demo's deskew and orientation steps.
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "pages/page_maker.h"
#include "quilp/cli.h"

namespace quilp_cli {
namespace {

constexpr double kPi = 3.14159265358979323846;

int InterpolationFlags(std::string const& name) {
  if (name == "bilinear") return 0;
  if (name == "bicubic") return 2;
  if (name == "nearest") return 4;
  throw CliError("--interp is bilinear, bicubic or nearest");
}

void NeedDepth(DibInfo const* dib) {
  int const d = dib->BitsPerPixel();
  if (d != 1 && d != 8 && d != 24 && d != 32)
    throw CliError("the image must have 1, 8, 24 or 32 bits per pixel");
}

int RunRotate(Args const& args) {
  Dib image = ReadBmp(args.Positional(0, "input file"));
  std::string const out = args.Positional(1, "output file");
  NeedDepth(image.get());
  if (!args.Has("angle")) throw CliError("rotate needs --angle DEG");
  double const degrees = ParseDouble(args.Get("angle"), "angle");
  if (!std::isfinite(degrees)) throw CliError("--angle must be a number of degrees");
  int const flags = (args.Has("expand") ? 1 : 0) | InterpolationFlags(args.Get("interp", "bilinear"));
  Dib turned(DibRotateAccurate(image.get(), degrees * kPi / 180.0, flags, nullptr));
  if (!turned) throw CliError("the rotated image would be too large, or memory ran out");
  WriteBmp(out, turned.get());
  return 0;
}

int RunTurn(Args const& args) {
  Dib image = ReadBmp(args.Positional(0, "input file"));
  std::string const out = args.Positional(1, "output file");
  NeedDepth(image.get());
  if (!args.Has("quarters")) throw CliError("turn needs --quarters K");
  Dib turned(DibRotateBy90(image.get(), ParseInt(args.Get("quarters"), "quarters"), nullptr));
  if (!turned) throw CliError("memory ran out");
  WriteBmp(out, turned.get());
  return 0;
}

int RunDeskew(Args const& args) {
  Dib image = ReadBmp(args.Positional(0, "input file"));
  std::string const out = args.Positional(1, "output file");
  NeedDepth(image.get());
  double angle = 0.0;
  Dib straight(DibDeskew(image.get(), &angle, nullptr));
  if (!straight) throw CliError("memory ran out");
  WriteBmp(out, straight.get());
  std::printf("corrected %.4f degrees (%.6f rad)\n", angle * 180.0 / kPi, angle);
  if (args.Has("preview")) {  // a quarter-size grey preview, turned and zoomed in one pass
    Dib preview(DibMakeZoomDeskewed(image.get(), 0.25, angle, nullptr));
    if (!preview) throw CliError("no preview: the skew is beyond 45 degrees, or memory ran out");
    WriteBmp(args.Get("preview"), preview.get());
  }
  return 0;
}

int RunOrient(Args const& args) {
  Dib image = ReadBmp(args.Positional(0, "input file"));
  NeedDepth(image.get());
  tagRect32 rect;
  tagRect32* r = args.GetRect("rect", rect) ? &rect : nullptr;
  int confidence = 0;
  int const k = DibDetectDominantOrientation(image.get(), &confidence, r);
  if (k == -2) throw CliError("memory ran out");
  std::printf("quarters %d confidence %d\n", k, confidence);
  if (args.Has("fix")) {
    Dib upright(DibRotateBy90(image.get(), k < 0 ? 0 : k, nullptr));
    if (!upright) throw CliError("memory ran out");
    WriteBmp(args.Get("fix"), upright.get());
  }
  return 0;
}

int RunCanonize(Args const& args) {
  Dib image = ReadBmp(args.Positional(0, "input file"));
  std::string const out = args.Positional(1, "output file");
  DibInfo* result = nullptr;
  int const code = DibCanonize(result, image.get(), 0, 0, nullptr, nullptr);
  if (code < 0) throw CliError("the image cannot be put in canonical form (unsupported kind)");
  Dib owned(result);
  WriteBmp(out, owned.get());
  return 0;
}

int RunDistort(Args const& args) {
  Dib image = ReadBmp(args.Positional(0, "input file"));
  std::string const out = args.Positional(1, "output file");
  NeedDepth(image.get());
  if (!args.Has("corners")) throw CliError("distort needs --corners x,y,x,y,x,y,x,y");
  std::vector<std::string> const parts = SplitList(args.Get("corners"), ',');
  if (parts.size() != 8) throw CliError("--corners takes eight numbers: x,y of four corners");
  double corners[8];
  for (int i = 0; i < 8; ++i) corners[i] = ParseDouble(parts[std::size_t(i)], "corner coordinate");
  Dib flat(DibDistort(image.get(), corners, 0, 0, InterpolationFlags(args.Get("interp", "bilinear"))));
  if (!flat)
    throw CliError("the corners must be top-left, top-right, bottom-right, bottom-left of a convex quadrilateral");
  WriteBmp(out, flat.get());
  return 0;
}

void DemoGeometry(DemoContext& demo) {
  double angle = 0.0;
  Dib straight(DibDeskew(demo.page, &angle, nullptr));
  if (straight) {
    char line[160];
    std::snprintf(line, sizeof line, "deskew: corrected %.3f degrees (drawn %.2f)",
                  angle * 180.0 / kPi, demo.drawnSkewDegrees);
    demo.Say(line);
    demo.Write("deskewed.bmp", straight.get(), "the sample page turned straight");
  }
  // Orientation reads Latin text's ascenders: a text page drawn with Latin shapes, turned
  // upside down and back.
  quilp_pages::PageSpec layout;
  layout.width = 1240;
  layout.height = 1754;
  layout.dpi = 150;
  layout.bitCount = 8;
  layout.photo = false;
  layout.stamp = false;
  layout.latinShapes = true;
  layout.skewDegrees = 2.0;
  Dib text(quilp_pages::MakePage(layout));
  Dib upsideDown(text ? DibRotateBy90(text.get(), 2, nullptr) : nullptr);
  if (!upsideDown) return;
  demo.Write("upside-down.bmp", upsideDown.get(), "a text page turned upside down");
  int confidence = 0;
  int const k = DibDetectDominantOrientation(upsideDown.get(), &confidence, nullptr);
  char line[160];
  std::snprintf(line, sizeof line,
                "orientation of the upside-down page: %d quarter turns make it upright (confidence %d)",
                k, confidence);
  demo.Say(line);
  Dib upright(DibRotateBy90(upsideDown.get(), k < 0 ? 0 : k, nullptr));
  if (upright) demo.Write("upright.bmp", upright.get(), "the upside-down page turned upright");
}

Registrar const rotate{Command{
    "rotate", "rotate IN.bmp OUT.bmp --angle DEG [--expand] [--interp bilinear|bicubic|nearest]",
    "turn by an angle in degrees (positive: clockwise), same size or --expand to hold it all",
    {"angle", "interp"}, {"expand"}, RunRotate}};
Registrar const turn{Command{"turn", "turn IN.bmp OUT.bmp --quarters K",
                             "lossless turn by K clockwise quarter turns (negative: anticlockwise)",
                             {"quarters"}, {}, RunTurn}};
Registrar const deskew{Command{"deskew", "deskew IN.bmp OUT.bmp [--preview PREVIEW.bmp]",
                               "straighten the page; prints the angle corrected; --preview also writes it at a quarter size in grey",
                               {"preview"}, {}, RunDeskew}};
Registrar const orient{Command{"orient", "orient IN.bmp [--fix OUT.bmp] [--rect l,t,r,b]",
                               "quarter turns that make the text upright and the confidence",
                               {"fix", "rect"}, {}, RunOrient}};
Registrar const canonize{Command{"canonize", "canonize IN.bmp OUT.bmp",
                                 "standard palette and colour count (grey or colour as the palette says)",
                                 {}, {}, RunCanonize}};
Registrar const distort{Command{
    "distort", "distort IN.bmp OUT.bmp --corners x,y,x,y,x,y,x,y [--interp bilinear|bicubic|nearest]",
    "flatten a photographed page: corners top-left, top-right, bottom-right, bottom-left",
    {"corners", "interp"}, {}, RunDistort}};
Registrar const geometryDemo{DemoStep{75, "geometry", DemoGeometry}};

}  // namespace
}  // namespace quilp_cli
