// cmd_dropout.cpp - "quilp dropout": colours vanish into the paper, and its demo step.
#include <cstdio>
#include <string>
#include <vector>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

using Colours = std::vector<std::array<unsigned char, 3>>;

// "RRGGBB,RRGGBB,..." -> colours in pixel byte order (blue first).
Colours ParseColours(std::string const& list, char const* option) {
  Colours colours;
  for (std::string const& part : SplitList(list, ',')) {
    if (part.empty()) throw CliError(std::string("empty colour in --") + option);
    std::array<unsigned char, 3> c;
    ParseColour(part, c.data());
    colours.push_back(c);
  }
  return colours;
}

unsigned char const (*AsArray(Colours const& c))[3] {
  static unsigned char const none[1][3] = {{0, 0, 0}};
  return c.empty() ? none : reinterpret_cast<unsigned char const(*)[3]>(c.data());
}

int RunDropout(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  if (src->BitsPerPixel() != 24) throw CliError("dropout needs a 24-bit colour image");
  Colours keep = ParseColours(args.Get("keep"), "keep");
  Colours const drop = ParseColours(args.Get("drop"), "drop");
  if (keep.empty() && drop.empty()) throw CliError("give colours with --drop (and --keep)");
  tagRect32 rect;
  tagRect32* r = args.GetRectInside("rect", rect, src.get()) ? &rect : nullptr;
  DibInfo* grey = nullptr;
  if (keep.empty() && drop.size() == 1) {  // one colour: the linear projection
    grey = DibSupressColor(src.get(), AsArray(drop), r);
    if (!grey)
      throw CliError("the colour cannot be dropped (white or grey has no hue), or the "
                     "rectangle is outside the image");
  } else {
    if (keep.empty()) keep.push_back({0, 0, 0});  // black ink
    grey = DibSupressColors(src.get(), int(keep.size()), AsArray(keep), int(drop.size()),
                            AsArray(drop), r);
    if (!grey) throw CliError("white cannot be kept or dropped, or the rectangle is outside the image");
  }
  Dib result(grey);
  WriteBmp(out, result.get());
  std::printf("wrote %s (%s)\n", out.c_str(), Describe(result.get()).c_str());
  return 0;
}

void DemoDropout(DemoContext& demo) {
  unsigned char const stamp[1][3] = {{60, 50, 220}};  // the red stamp, blue first
  unsigned char const ink[1][3] = {{40, 30, 30}};     // the blue-black text
  Dib one(DibSupressColor(demo.page, stamp, nullptr));
  if (one) demo.Write("dropout-stamp.bmp", one.get(), "the red stamp dropped by projection");
  Dib sets(DibSupressColors(demo.page, 1, ink, 1, stamp, nullptr));
  if (sets) demo.Write("dropout-keep-ink.bmp", sets.get(), "text ink kept, the stamp's red dropped");
}

Registrar const dropout{Command{
    "dropout", "dropout IN.bmp OUT.bmp --drop RRGGBB,... [--keep RRGGBB,...] [--rect l,t,r,b]",
    "grey image in which the dropped colours turn white (one --drop alone: by projection)",
    {"keep", "drop", "rect"}, {}, RunDropout}};
Registrar const dropoutDemo{DemoStep{50, "dropout", DemoDropout}};

}  // namespace
}  // namespace quilp_cli
