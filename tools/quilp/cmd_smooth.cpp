// cmd_smooth.cpp - "quilp smooth", "quilp gradient" and "quilp texture": edge-preserving
// smoothing, Sobel and Scharr gradients, and texture maps.
#include <cstdio>
#include <string>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

tagRect32* RectOption(Args const& args, tagRect32& rect) {
  return args.GetRect("rect", rect) ? &rect : nullptr;
}

void Save(std::string const& out, Dib const& result) {
  WriteBmp(out, result.get());
  std::printf("wrote %s (%s)\n", out.c_str(), Describe(result.get()).c_str());
}

int RunSmooth(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  int const depth = src->BitsPerPixel();
  if (depth != 8 && depth != 24 && depth != 32)
    throw CliError("smooth needs an 8-, 24- or 32-bit image");
  bool const bilateral = args.Has("bilateral");
  if (bilateral == args.Has("median")) throw CliError("smooth needs --median N or --bilateral");
  int const size = bilateral ? args.GetInt("size", 5) : args.GetInt("median", 3);
  int const strength = args.GetInt("strength", 24);
  if (size < 3 || size % 2 == 0 || size > (bilateral ? 31 : 255))
    throw CliError(std::string("the window must be odd, 3..") + (bilateral ? "31" : "255"));
  if (bilateral && (strength < 1 || strength > 255))
    throw CliError("--strength must lie in 1..255 grey levels");
  tagRect32 rect;
  Dib result(DibSmooth(src.get(), bilateral ? 1 : 0, size, strength, RectOption(args, rect)));
  if (!result) throw CliError("smooth failed (rectangle outside the image, or out of memory)");
  Save(out, result);
  return 0;
}

int RunGradient(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  if (src->BitsPerPixel() != 8 && src->BitsPerPixel() != 24)
    throw CliError("gradient needs an 8-bit grey or 24-bit colour image");
  int const directions = args.GetInt("directions", 0), least = args.GetInt("min", 16);
  if (directions != 0 && (directions < 2 || directions > 128))
    throw CliError("--directions must be 0 (magnitude) or lie in 2..128");
  if (least < 0 || least > 255) throw CliError("--min must lie in 0..255");
  tagRect32 rect;
  Dib result(DibGradientMap(src.get(), args.Has("scharr") ? 1 : 0, directions, least,
                            RectOption(args, rect)));
  if (!result) throw CliError("gradient failed (rectangle outside the image, or out of memory)");
  Save(out, result);
  return 0;
}

int RunTexture(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  if (src->BitsPerPixel() != 8 && src->BitsPerPixel() != 24)
    throw CliError("texture needs an 8-bit grey or 24-bit colour image");
  int const block = args.GetInt("block", 32);
  if (block < 2 || block > 256) throw CliError("--block must lie in 2..256");
  std::string const measure = args.Get("measure", "deviation");
  if (measure != "deviation" && measure != "edges")
    throw CliError("--measure is deviation or edges");
  tagRect32 rect;
  Dib result(DibGetTexture(src.get(), block, measure == "edges" ? 1 : 0, RectOption(args, rect)));
  if (!result) throw CliError("texture failed (rectangle outside the image, or out of memory)");
  Save(out, result);
  return 0;
}

Registrar const smooth{Command{
    "smooth", "smooth IN.bmp OUT.bmp --median N | --bilateral [--size N] [--strength S] [--rect ...]",
    "edge-preserving smoothing: median over N x N, or bilateral (S grey levels)",
    {"median", "size", "strength", "rect"}, {"bilateral"}, RunSmooth}};
Registrar const gradient{Command{
    "gradient", "gradient IN.bmp OUT.bmp [--scharr] [--directions N [--min M]] [--rect ...]",
    "Sobel (or Scharr) gradient magnitude, or its direction in N sectors",
    {"directions", "min", "rect"}, {"scharr"}, RunGradient}};
Registrar const texture{Command{
    "texture", "texture IN.bmp OUT.bmp --block N [--measure deviation|edges] [--rect ...]",
    "one pixel per N x N block: standard deviation or edge energy",
    {"block", "measure", "rect"}, {}, RunTexture}};

}  // namespace
}  // namespace quilp_cli
