// cmd_compress.cpp - "quilp compress": the depth decision, the zone written at the chosen depth
// and the measurements behind the choice; and its demo step.
//
// The library returns only the image. The tool explains it: the mean chroma of the most
// colourful pixels is recounted here (max - min per pixel, the walk from chroma 255 down), and
// the normalised spread of a grey zone is found by bisection on the spread limit with the
// library's own decision, so the figure shown is the one the library compared.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

struct Settings {
  unsigned char chroma = 24;  // colour kept above this mean chroma
  double share = 0.001;       // the most colourful 0.1 % of the pixels
  double spread = 0.02;       // grey becomes 1-bit below this normalised spread
};

// The zone of the clamping rule; false when nothing is left.
bool Zone(DibInfo const* dib, tagRect32 const* rect, tagRect32& zone) {
  zone = {0, 0, dib->Width() - 1, dib->Height() - 1};
  if (rect) {
    zone.left = std::max(zone.left, rect->left);
    zone.top = std::max(zone.top, rect->top);
    zone.right = std::min(zone.right, rect->right);
    zone.bottom = std::min(zone.bottom, rect->bottom);
  }
  return zone.left <= zone.right && zone.top <= zone.bottom;
}

// Mean chroma of the most colourful pixels of a 24-bit zone, as the decision counts it;
// -1 when the share counts no pixel at all.
long long ChromaMean(DibInfo const* dib, tagRect32 const& z, double share) {
  long long hist[256] = {};
  for (int y = z.top; y <= z.bottom; ++y) {
    unsigned char const* p = dib->GetLine(y) + 3 * z.left;
    for (int x = z.left; x <= z.right; ++x, p += 3)
      ++hist[std::max({p[0], p[1], p[2]}) - std::min({p[0], p[1], p[2]})];
  }
  double const k = double(z.right - z.left + 1) * (z.bottom - z.top + 1) * share + 0.5;
  if (!(k > -1.0)) return -1;
  long long const limit = k > 1e18 ? (1LL << 62) : (long long)k;
  long long n = 0, s = 0;
  for (int c = 255; c >= 0; --c) {
    n += hist[c];
    s += c * hist[c];
    if (n > limit) break;
  }
  return n > 0 ? s / n : -1;
}

// The smallest limit (to 0.1 %) under which the library makes a grey image 1-bit, which is the
// zone's normalised spread; NaN when no limit does (a class of extrema is empty).
double Spread(DibInfo const* grey) {
  auto oneBit = [&](double limit) {
    DibInfo* out = nullptr;
    DibCompressBits(out, grey, 0, 0.0, limit, nullptr);
    bool const bits1 = out && out->BitsPerPixel() == 1;
    DibFree(out);
    return bits1;
  };
  double lo = 1e-9, hi = 1.0;  // the spread of two classes of levels is at most 0.5
  if (!oneBit(hi)) return std::nan("");
  if (oneBit(lo)) return 0.0;
  while (hi / lo > 1.001) {
    double const mid = std::sqrt(lo * hi);
    (oneBit(mid) ? hi : lo) = mid;
  }
  return hi;
}

// One line telling the chosen depth and the measurements that chose it.
std::string Explain(DibInfo const* src, tagRect32 const& zone, Settings const& s, int bits) {
  char line[256];
  if (src->BitsPerPixel() == 1) return "kept 1 bit: the source is bi-level";
  std::string why;
  Dib grey;
  DibInfo const* greyZone = src;
  if (src->BitsPerPixel() == 24) {
    long long const mean = ChromaMean(src, zone, s.share);
    std::snprintf(line, sizeof line, "mean chroma of the most colourful %g%% of pixels %lld %s %d",
                  s.share * 100, mean, mean > s.chroma ? ">" : "<=", s.chroma);
    why = line;
    if (bits == 24) return "kept 24 bits: " + why;
    DibInfo* g = nullptr;
    if (DibSuppressColorsEx(g, src, 0, nullptr, 0, 0, 0, 0, 0, 0, nullptr, nullptr, &zone, nullptr) < 0)
      return "chose " + std::to_string(bits) + " bits: " + why;
    grey.reset(g);
    greyZone = g;
    why += "; ";
  }
  double const spread = Spread(greyZone);
  if (std::isnan(spread))
    std::snprintf(line, sizeof line, "the extremum levels do not split in two classes");
  else
    std::snprintf(line, sizeof line, "normalised spread of the extremum levels %.4g %s %g", spread,
                  spread < s.spread ? "<" : ">=", s.spread);
  return "chose " + std::to_string(bits) + (bits == 1 ? " bit: " : " bits: ") + why + line;
}

int RunCompress(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  int const depth = src->BitsPerPixel();
  if (depth != 1 && depth != 8 && depth != 24) throw CliError("compress takes 1-, 8- or 24-bit images");
  Settings s;
  int const chroma = args.GetInt("chroma", s.chroma);
  if (chroma < 0 || chroma > 255) throw CliError("--chroma is a level 0..255");
  s.chroma = static_cast<unsigned char>(chroma);
  s.share = args.GetDouble("share", s.share);
  s.spread = args.GetDouble("spread", s.spread);
  tagRect32 rect, zone;
  tagRect32* r = args.GetRect("rect", rect) ? &rect : nullptr;
  if (!Zone(src.get(), r, zone)) throw CliError("the rectangle is outside the image");
  DibInfo* made = nullptr;
  int const code = DibCompressBits(made, src.get(), s.chroma, s.share, s.spread, r);
  if (!made) throw CliError("the depth decision failed (code " + std::to_string(code) + ")");
  Dib result(made);
  WriteBmp(out, result.get());
  std::printf("wrote %s (%s)\n%s\n", out.c_str(), Describe(result.get()).c_str(),
              Explain(src.get(), zone, s, result->BitsPerPixel()).c_str());
  return 0;
}

void DemoCompress(DemoContext& demo) {
  Settings const s;
  int const w = demo.page->Width(), h = demo.page->Height();
  struct Zone {
    char const* file;
    char const* what;
    tagRect32 rect;
  };
  Zone const zones[] = {
      {"compress-page.bmp", "the whole page", {0, 0, w - 1, h - 1}},
      {"compress-text.bmp", "a text block without the stamp", {w / 10, h / 4, w * 9 / 20, h * 9 / 20}},
      {"compress-photo.bmp", "the photo", {w * 11 / 20, h * 11 / 20, w * 8 / 10, h * 13 / 20}},
  };
  for (Zone const& z : zones) {
    DibInfo* made = nullptr;
    DibCompressBits(made, demo.page, s.chroma, s.share, s.spread, &z.rect);
    if (!made) continue;
    Dib result(made);
    demo.Write(z.file, result.get(), std::string(z.what) + ", at the depth it needs");
    demo.Say("  " + Explain(demo.page, z.rect, s, result->BitsPerPixel()));
  }
}

Registrar const compress{Command{
    "compress",
    "compress IN.bmp OUT.bmp [--chroma N] [--share F] [--spread F] [--rect l,t,r,b]",
    "writes the zone at the smallest depth that keeps it (24, 8 or 1 bits) and says why",
    {"chroma", "share", "spread", "rect"}, {}, RunCompress}};
Registrar const compressDemo{DemoStep{55, "compress", DemoCompress}};

}  // namespace
}  // namespace quilp_cli
