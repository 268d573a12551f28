// cmd_colour_layers.cpp - "quilp separate", "quilp match-colour" and "quilp suppress": ink
// layers, colour masks and background suppression, with the demo step that separates the
// sample page's stamp from its text.
#include <cstdio>
#include <filesystem>
#include <string>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

tagRect32* RectOption(Args const& args, tagRect32& rect) {
  return args.GetRect("rect", rect) ? &rect : nullptr;
}

std::string Hex(unsigned char const bgr[3]) {
  char text[8];
  std::snprintf(text, sizeof text, "%02X%02X%02X", bgr[2], bgr[1], bgr[0]);
  return text;
}

// Black pixels of a 1-bit record.
long CountBlack(DibInfo const* mask) {
  long n = 0;
  for (int y = 0; y < mask->Height(); ++y)
    for (int x = 0; x < mask->Width(); ++x)
      n += (mask->GetLine(y)[x / 8] >> (7 - x % 8) & 1) ? 0 : 1;
  return n;
}

int RunSeparate(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const folder = args.Positional(1, "output folder");
  if (src->BitsPerPixel() != 24) throw CliError("separate needs a 24-bit colour image");
  int const colours = args.GetInt("colours", 0);
  if (colours < 0 || colours > kDibMaxInks)
    throw CliError("--colours must lie in 0.." + std::to_string(int(kDibMaxInks)) + " (0 chooses)");
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  if (ec) throw CliError("cannot make the folder " + folder + ": " + ec.message());
  tagRect32 rect;
  DibInfo* masks[kDibMaxInks];
  unsigned char inks[kDibMaxInks][3];
  DibInfo* labels = nullptr;
  int const k = DibSeparate(src.get(), colours, kDibMaxInks, masks, inks, &labels,
                            RectOption(args, rect));
  if (k < 0) throw CliError("separation failed (rectangle outside the image, or out of memory)");
  Dib map(labels);
  std::vector<Dib> owned;
  for (int i = 0; i < k; ++i) owned.emplace_back(masks[i]);
  for (int i = 0; i < k; ++i) {
    std::string const path = folder + "/layer-" + std::to_string(i + 1) + ".bmp";
    WriteBmp(path, owned[i].get());
    std::printf("layer %d: ink %s, %ld pixels -> %s\n", i + 1, Hex(inks[i]).c_str(),
                CountBlack(owned[i].get()), path.c_str());
  }
  WriteBmp(folder + "/labels.bmp", map.get());
  if (k == 0) std::printf("no ink found\n");
  return 0;
}

int RunMatchColour(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  if (src->BitsPerPixel() != 24) throw CliError("match-colour needs a 24-bit colour image");
  if (!args.Has("colour")) throw CliError("match-colour needs --colour RRGGBB");
  unsigned char colour[3];
  ParseColour(args.Get("colour"), colour);
  double const tolerance = args.GetDouble("tolerance", 10.0);
  if (!(tolerance >= 0.0)) throw CliError("--tolerance must be 0 or more (Delta E 2000)");
  tagRect32 rect;
  Dib mask(DibMatchColor(src.get(), &colour, tolerance, args.Has("ignore-lightness"),
                         RectOption(args, rect)));
  if (!mask) throw CliError("match-colour failed (rectangle outside the image, or out of memory)");
  WriteBmp(out, mask.get());
  std::printf("wrote %s (%s), %ld matching pixels\n", out.c_str(), Describe(mask.get()).c_str(),
              CountBlack(mask.get()));
  return 0;
}

int RunSuppress(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  int const depth = src->BitsPerPixel();
  if (depth != 8 && depth != 24 && depth != 32)
    throw CliError("suppress needs an 8-, 24- or 32-bit image");
  int const window = args.GetInt("window", 0), white = args.GetInt("white", 0);
  if (window < 0) throw CliError("--window must be 0 (automatic) or more");
  if (white < 0 || white > 255) throw CliError("--white must lie in 0..255 (0: 230)");
  tagRect32 rect;
  Dib result(DibSuppress(src.get(), window, white, RectOption(args, rect)));
  if (!result) throw CliError("suppress failed (rectangle outside the image, or out of memory)");
  WriteBmp(out, result.get());
  std::printf("wrote %s (%s)\n", out.c_str(), Describe(result.get()).c_str());
  return 0;
}

void DemoSeparate(DemoContext& demo) {
  DibInfo* masks[kDibMaxInks];
  unsigned char inks[kDibMaxInks][3];
  int const k = DibSeparate(demo.page, 0, 4, masks, inks, nullptr, nullptr);
  if (k < 0) return;
  for (int i = 0; i < k; ++i) {
    Dib mask(masks[i]);
    demo.Write("layer-" + std::to_string(i + 1) + ".bmp", mask.get(),
               "ink layer " + std::to_string(i + 1) + " (ink " + Hex(inks[i]) + ")");
  }
  Dib clean(DibSuppress(demo.page, 0, 0, nullptr));
  if (clean) demo.Write("suppressed.bmp", clean.get(), "paper made white, inks keep their hue");
}

Registrar const separate{Command{
    "separate", "separate IN.bmp OUTDIR [--colours N] [--rect l,t,r,b]",
    "splits a colour page into ink layers: OUTDIR/layer-N.bmp (1-bit) and labels.bmp",
    {"colours", "rect"}, {}, RunSeparate}};
Registrar const matchColour{Command{
    "match-colour",
    "match-colour IN.bmp OUT.bmp --colour RRGGBB --tolerance T [--ignore-lightness] [--rect ...]",
    "1-bit mask, black where Delta E 2000 to the colour is at most T",
    {"colour", "tolerance", "rect"}, {"ignore-lightness"}, RunMatchColour}};
Registrar const suppress{Command{
    "suppress", "suppress IN.bmp OUT.bmp [--window N] [--white L] [--rect l,t,r,b]",
    "paper (tint, texture, uneven light) to white; ink keeps its hue",
    {"window", "white", "rect"}, {}, RunSuppress}};
Registrar const separateDemo{DemoStep{55, "separate", DemoSeparate}};

}  // namespace
}  // namespace quilp_cli
