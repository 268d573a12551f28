// cmd_segment.cpp - "quilp segment": the zones of a page (blocks, or blocks, lines and words),
// printed, written as JSON, and drawn over the page for a person to check. The demo draws its
// sample page's zones.
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

char const* const kKindNames[] = {"unknown", "text",  "picture", "graphics",
                                  "table",   "hrule", "vrule",   "noise"};

char const* KindName(int kind) { return kind >= 0 && kind <= 7 ? kKindNames[kind] : "unknown"; }

// The zones of a page, asked for twice: once for the count, once with room for them.
std::vector<SDibZone> Zones(DibInfo* page, bool hierarchy, tagRect32* rect) {
  auto segment = hierarchy ? DibSegmentLev1Hier : DibSegmentLev1;
  int const count = segment(page, nullptr, 0, rect);
  if (count < 0) throw CliError("segment refused the page (1-, 8- or 24-bit) or the rectangle");
  std::vector<SDibZone> zones(static_cast<std::size_t>(count));
  if (count > 0 && segment(page, zones.data(), count, rect) != count)
    throw CliError("segment: out of memory");
  return zones;
}

std::string FileName(std::string const& path) {
  std::size_t const slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string JsonText(std::string const& text) {
  std::string out;
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    if (static_cast<unsigned char>(c) >= 0x20) out += c;
  }
  return out;
}

void WriteJson(std::string const& path, std::string const& input, DibInfo const* page,
               std::vector<SDibZone> const& zones) {
  std::ofstream out(path);
  if (!out) throw CliError("cannot write " + path);
  int const dpi = static_cast<int>(page->YPelsPerMeter() / 39.37 + 0.5);
  out << "{\"file\": \"" << JsonText(FileName(input)) << "\", \"width\": " << page->Width()
      << ", \"height\": " << page->Height() << ", \"dpi\": " << (dpi > 0 ? dpi : 300)
      << ",\n \"zones\": [";
  for (std::size_t i = 0; i < zones.size(); ++i) {
    SDibZone const& z = zones[i];
    out << (i ? ",\n  " : "\n  ") << "{\"rect\": [" << z.rect.left << ", " << z.rect.top << ", "
        << z.rect.right << ", " << z.rect.bottom << "], \"kind\": \"" << KindName(z.kind)
        << "\", \"parent\": " << z.parent << ", \"level\": " << z.level
        << ", \"order\": " << z.order << ", \"confidence\": " << z.confidence << "}";
  }
  out << "]}\n";
  if (!out) throw CliError("cannot write " + path);
}

// ---- Drawing ---------------------------------------------------------------------------

struct Colour {
  unsigned char b, g, r;
};
Colour KindColour(int kind, int level) {
  if (level == 1) return {230, 160, 60};   // lines: light blue
  if (level == 2) return {200, 200, 40};   // words: teal
  static Colour const colours[] = {{0, 0, 0},     {200, 60, 0},  {40, 170, 40}, {170, 40, 170},
                                   {0, 140, 255}, {0, 0, 220},   {0, 0, 220},   {128, 128, 128}};
  return kind >= 0 && kind <= 7 ? colours[kind] : colours[0];
}

void Plot(DibInfo* canvas, int x, int y, Colour c) {
  if (x < 0 || y < 0 || x >= canvas->Width() || y >= canvas->Height()) return;
  unsigned char* p = canvas->GetLine(y) + 3 * static_cast<std::size_t>(x);
  p[0] = c.b;
  p[1] = c.g;
  p[2] = c.r;
}

void Outline(DibInfo* canvas, tagRect32 const& r, int thickness, Colour c) {
  for (int k = 0; k < thickness; ++k) {
    for (int x = r.left - k; x <= r.right + k; ++x) {
      Plot(canvas, x, r.top - k, c);
      Plot(canvas, x, r.bottom + k, c);
    }
    for (int y = r.top - k; y <= r.bottom + k; ++y) {
      Plot(canvas, r.left - k, y, c);
      Plot(canvas, r.right + k, y, c);
    }
  }
}

// Digits 0-9 in a 3 x 5 grid, one row per 3 bits (top row first, leftmost pixel highest).
constexpr unsigned short kDigits[10] = {0x7B6F, 0x2C97, 0x73E7, 0x73CF, 0x5BC9,
                                        0x79CF, 0x79EF, 0x7249, 0x7BEF, 0x7BCF};

// The number drawn with its top-left at (x, y), `scale` pixels per font pixel, on white.
void Number(DibInfo* canvas, int x, int y, int number, int scale, Colour c) {
  std::string const text = std::to_string(number);
  int const width = static_cast<int>(text.size()) * 4 * scale + scale;
  for (int yy = -scale; yy < 6 * scale; ++yy)
    for (int xx = -scale; xx < width; ++xx) Plot(canvas, x + xx, y + yy, {255, 255, 255});
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned const glyph = kDigits[text[i] - '0'];
    for (int row = 0; row < 5; ++row)
      for (int col = 0; col < 3; ++col)
        if (glyph >> (14 - (row * 3 + col)) & 1)
          for (int sy = 0; sy < scale; ++sy)
            for (int sx = 0; sx < scale; ++sx)
              Plot(canvas, x + static_cast<int>(i) * 4 * scale + col * scale + sx,
                   y + row * scale + sy, c);
  }
}

// The page as 24-bit with the zones outlined by kind and every block numbered in reading
// order (words first, so lines and blocks stay on top).
Dib DrawZones(DibInfo const* page, std::vector<SDibZone> const& zones) {
  DibInfo* canvas = nullptr;
  if (DibConvertDepthEx(canvas, page, 24, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr) < 0)
    throw CliError("segment: out of memory drawing the zones");
  Dib owned(canvas);
  int dpi = static_cast<int>(page->YPelsPerMeter() / 39.37 + 0.5);
  if (dpi <= 0) dpi = 300;
  int const scale = dpi >= 100 ? dpi / 75 : 1;
  for (int level = 2; level >= 0; --level)
    for (SDibZone const& z : zones)
      if (z.level == level) Outline(canvas, z.rect, level == 0 ? scale : 1, KindColour(z.kind, level));
  for (SDibZone const& z : zones)
    if (z.level == 0)
      Number(canvas, z.rect.left + scale, z.rect.top + 2 * scale, z.order, scale,
             KindColour(z.kind, 0));
  return owned;
}

int RunSegment(Args const& args) {
  std::string const input = args.Positional(0, "input file");
  Dib page = ReadBmp(input);
  tagRect32 rect;
  tagRect32* r = args.GetRect("rect", rect) ? &rect : nullptr;
  std::vector<SDibZone> const zones = Zones(page.get(), args.Has("hier"), r);
  if (args.Has("json")) {
    WriteJson(args.Get("json"), input, page.get(), zones);
  } else {
    for (std::size_t i = 0; i < zones.size(); ++i) {
      SDibZone const& z = zones[i];
      std::printf("%zu: %s level %d rect %d,%d,%d,%d parent %d order %d confidence %d\n", i,
                  KindName(z.kind), z.level, z.rect.left, z.rect.top, z.rect.right,
                  z.rect.bottom, z.parent, z.order, z.confidence);
    }
  }
  if (args.Has("draw")) WriteBmp(args.Get("draw"), DrawZones(page.get(), zones).get());
  return 0;
}

void DemoSegment(DemoContext& demo) {
  std::vector<SDibZone> const zones = Zones(demo.page, true, nullptr);
  int blocks = 0;
  for (SDibZone const& z : zones) blocks += z.level == 0;
  demo.Say("segment: " + std::to_string(blocks) + " blocks, " +
           std::to_string(zones.size() - static_cast<std::size_t>(blocks)) + " lines and words");
  demo.Write("segment.png", DrawZones(demo.page, zones).get(),
             "zones by kind (text blue, picture green, table orange, rules red), blocks numbered in reading order");
}

Registrar const segment{Command{
    "segment", "segment IN [--hier] [--json OUT.json] [--draw OUT.png] [--rect l,t,r,b]",
    "page segmentation: blocks with their kinds and reading order (--hier: lines and words too)",
    {"json", "draw", "rect"}, {"hier"}, RunSegment}};
Registrar const segmentDemo{DemoStep{85, "segment", DemoSegment}};

}  // namespace
}  // namespace quilp_cli
