// cmd_grey.cpp - "quilp grey": colour to grey by projection or with coloured ink dropped, and
// its demo step.
#include <cstdio>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

int RunGrey(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  if (src->BitsPerPixel() != 24) throw CliError("grey needs a 24-bit colour image");
  unsigned char colour[3];
  bool const hasColour = args.Has("colour");
  if (hasColour) ParseColour(args.Get("colour"), colour);
  unsigned char const (*ref)[3] = hasColour ? &colour : nullptr;
  tagRect32 rect;
  tagRect32* r = args.GetRectInside("rect", rect, src.get()) ? &rect : nullptr;
  std::string const mode = args.Get("mode", args.Has("weight") ? "x" : "plain");
  DibInfo* grey = nullptr;
  if (mode == "plain") grey = DibRGB2Grey(src.get(), ref, r);
  else if (mode == "centred") grey = DibRGB2GreyN(src.get(), ref, r);
  else if (mode == "x") grey = DibRGB2GreyX(src.get(), ref, args.GetInt("weight", 0), r);
  else if (mode == "dropout")
    grey = DibDropoutGrey(src.get(), args.GetInt("weight", DibDropoutStrength),
                          args.GetInt("tolerance", DibDropoutTolerance), r);
  else throw CliError("--mode is plain, centred, x or dropout");
  if (!grey)
    throw CliError("the conversion failed (rectangle outside the image, no colour direction, or "
                   "--weight outside 0..256 or --tolerance outside 0..255 for dropout)");
  Dib result(grey);
  WriteBmp(out, result.get());
  std::printf("wrote %s (%s)\n", out.c_str(), Describe(result.get()).c_str());
  return 0;
}

void DemoGrey(DemoContext& demo) {
  Dib automatic(DibRGB2Grey(demo.page, nullptr, nullptr));
  if (automatic) demo.Write("grey-auto.bmp", automatic.get(), "grey along the page's main colour axis");
  unsigned char const luma[3] = {29, 150, 77};  // blue, green, red weights of a luma grey
  Dib weighted(DibRGB2Grey(demo.page, &luma, nullptr));
  if (weighted) demo.Write("grey-luma.bmp", weighted.get(), "grey along a luma-like direction");
  unsigned char const black[3] = {1, 1, 1};
  Dib lifted(DibRGB2GreyX(demo.page, &black, 24, nullptr));
  if (lifted) demo.Write("grey-dropout.bmp", lifted.get(), "grey with colourful pixels lifted toward white");
}

Registrar const grey{Command{
    "grey", "grey IN.bmp OUT.bmp [--colour RRGGBB] [--mode plain|centred|x|dropout] [--weight K] "
    "[--tolerance T] [--rect l,t,r,b]",
    "colour to grey by projection on a colour (or the main axis), or with coloured ink dropped",
    {"colour", "mode", "weight", "tolerance", "rect"}, {}, RunGrey}};
Registrar const greyDemo{DemoStep{10, "grey", DemoGrey}};

}  // namespace
}  // namespace quilp_cli
