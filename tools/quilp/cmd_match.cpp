// cmd_match.cpp - "quilp match" (where a zone of one image lies in another) and "quilp show"
// (a text picture of an image).
#include <cstdio>
#include <string>
#include <vector>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

int RunMatch(Args const& args) {
  Dib tpl = ReadBmp(args.Positional(0, "template file"));
  Dib image = ReadBmp(args.Positional(1, "input file"));
  for (DibInfo const* d : {tpl.get(), image.get()})
    if (d->BitsPerPixel() != 8 && d->BitsPerPixel() != 24)
      throw CliError("match needs 8-bit grey or 24-bit colour images");
  tagRect32 zone, window;
  tagRect32* z = args.GetRect("rect", zone) ? &zone : nullptr;
  tagRect32* w = args.GetRect("window", window) ? &window : nullptr;
  double x = 0.0, y = 0.0, score = 0.0;
  if (!DibMatchZone(tpl.get(), z, image.get(), w, x, y, score))
    throw CliError("no match: the window is smaller than the zone, a rectangle is outside its "
                   "image, or the zone is flat");
  double const left = z ? (zone.left < zone.right ? zone.left : zone.right) : 0;
  double const top = z ? (zone.top < zone.bottom ? zone.top : zone.bottom) : 0;
  std::printf("at %.3f %.3f offset %.3f %.3f score %.4f\n", x, y, x - left, y - top, score);
  return 0;
}

int RunShow(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  int const depth = src->BitsPerPixel();
  if (depth == 24 || depth == 32) {  // shown through its grey
    DibInfo* grey = nullptr;
    if (DibTransformColorsEx(grey, src.get(), 3, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr) < 0)
      throw CliError("show: cannot make the grey of the image");
    src.reset(grey);
  } else if (depth != 1 && depth != 8) {
    throw CliError("show needs a 1-, 8-, 24- or 32-bit image");
  }
  int const columns = args.GetInt("width", 100);
  if (columns < 0) throw CliError("--width must be 0 (one character per pixel) or more");
  tagRect32 rect;
  tagRect32* r = args.GetRect("rect", rect) ? &rect : nullptr;
  auto sprint = src->BitsPerPixel() == 1 ? DibSprintBW : DibSprintGrey;
  int const needed = sprint(src.get(), r, columns, nullptr, 0);
  if (needed < 0) throw CliError("show: the rectangle is outside the image");
  std::vector<char> text(std::size_t(needed) + 1);
  sprint(src.get(), r, columns, text.data(), int(text.size()));
  std::fputs(text.data(), stdout);
  return 0;
}

Registrar const match{Command{
    "match", "match TEMPLATE.bmp IN.bmp [--rect l,t,r,b] [--window l,t,r,b]",
    "where the zone (--rect of TEMPLATE) lies in IN's window: position, offset and score",
    {"rect", "window"}, {}, RunMatch}};
Registrar const show{Command{
    "show", "show IN.bmp [--rect l,t,r,b] [--width COLS]",
    "prints a text picture of the image (one character per pixel or block)",
    {"rect", "width"}, {}, RunShow}};

}  // namespace
}  // namespace quilp_cli
