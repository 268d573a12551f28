// grey_mix.cpp - weighted grey, dropout of chromatic colours, levels map.
//
// The weighted grey is exact integer arithmetic: round(N / S) with N = sum of weight * byte is
// floor((2N + S) / 2S); the quotient is estimated with one double multiply and corrected by at
// most one step, so no integer division is done per pixel.
//
// Dropout (only when chromatic colours are given): with p the pixel's darkness, sinKeep the
// sine of its angle to the grey axis and sinDrop the smallest sine of its angle to a dropout
// colour, a pixel closer in angle to the grey axis than to every dropout colour keeps its
// darkness, and a closer one keeps the share sinDrop / sinKeep of it: along a dropout colour
// it turns white, halfway in angle it keeps all. Cost: one dot product per dropout colour and
// two square roots per pixel, in double.
//
// Flattening divides each grey by the paper level around it, the maximum over a window taken
// with the rectangle dilation (a constant cost per pixel whatever the window), so an unevenly
// lit or yellowed page comes out with white paper; text keeps its contrast to the paper.
//
// The levels map is a 256-entry table built once per call.
#include "colour/grey_mix.h"

#include <cmath>

#include "colour/colour_dropout.h"
#include "morph/rect_morph.h"

namespace quilp {
namespace {

// floor(num / den) for den > 0, limited to -1..256 (the caller clamps to 0..255).
int FloorDivSmall(int64_t num, int64_t den, double inverse) {
  if (num < 0) return -1;
  if (num >= 256 * den) return 256;
  int64_t q = static_cast<int64_t>(double(num) * inverse);  // off by at most one
  if (q * den > num) --q;
  else if ((q + 1) * den <= num) ++q;
  return static_cast<int>(q);
}

// The darkness share a pixel keeps against the dropout colours (1 when it keeps all).
double KeptShare(GreyMix const& mix, double const grey[3], int b0, int b1, int b2) {
  double const p0 = 255 - b0, p1 = 255 - b1, p2 = 255 - b2;
  double const L = p0 * p0 + p1 * p1 + p2 * p2;
  if (!(L > 0.0)) return 1.0;
  double const sinKeep = Sine(p0 * grey[0] + p1 * grey[1] + p2 * grey[2], L);
  double const sinDrop = Sine(MaxDot(p0, p1, p2, mix.drop, mix.dropCount), L);
  return sinDrop >= sinKeep ? 1.0 : sinDrop / sinKeep;
}

}  // namespace

bool SetWeights(int mulB, int mulG, int mulR, int mulS, GreyMix& mix) {
  if (mulS <= 0) return false;
  mix.mul[0] = mulB;
  mix.mul[1] = mulG;
  mix.mul[2] = mulR;
  mix.divisor = mulS;
  mix.inverse = 1.0 / double(2 * int64_t(mulS));
  return true;
}

int WeightedGrey(GreyMix const& mix, int b0, int b1, int b2) {
  int64_t const n = mix.mul[0] * b0 + mix.mul[1] * b1 + mix.mul[2] * b2;
  int const g = FloorDivSmall(2 * n + mix.divisor, 2 * mix.divisor, mix.inverse);
  return g < 0 ? 0 : g > 255 ? 255 : g;
}

bool MakeLevels(int lvl0, int lvl1, int lvl2, GreyMix& mix) {
  if (lvl1 == 0) lvl1 = 255;
  if (lvl0 < 0 || lvl1 > 255 || lvl0 >= lvl1) return false;
  if (lvl2 != 0 && (lvl2 <= lvl0 || lvl2 >= lvl1)) return false;
  int const span = lvl1 - lvl0;
  double const gamma =
      lvl2 == 0 ? 1.0 : std::log(0.5) / std::log(double(lvl2 - lvl0) / double(span));
  for (int g = 0; g < 256; ++g) {
    int out;
    if (g <= lvl0) {
      out = 0;
    } else if (g >= lvl1) {
      out = 255;
    } else if (lvl2 == 0) {
      out = (2 * 255 * (g - lvl0) + span) / (2 * span);
    } else {
      out = static_cast<int>(255.0 * std::pow(double(g - lvl0) / double(span), gamma) + 0.5);
    }
    mix.levels[g] = static_cast<uint8_t>(out);
  }
  return true;
}

int ChromaticUnits(unsigned char const (*colours)[3], int count, double* u) {
  int n = 0;
  for (int i = 0; i < count; ++i) {
    unsigned char const* c = colours[i];
    if (c[0] == c[1] && c[1] == c[2]) continue;  // neutral: no hue to drop
    UnitDarkness(&colours[i], 1, u + 3 * n);        // never white: white is neutral
    ++n;
  }
  return n;
}

bool DibGreyMix(DibPlane const& dst, DibPlane const& src, GreyMix const& mix,
                DibPlane const* paper) {
  bool const flatten = mix.paperH >= 0 && paper;
  int const step = BytesPerPixel(src.format);
  double grey[3];
  unsigned char const black[1][3] = {{0, 0, 0}};
  UnitDarkness(black, 1, grey);
  for (int y = 0; y < src.height; ++y) {
    uint8_t const* s = src.Row(y);
    uint8_t* d = dst.Row(y);
    for (int x = 0; x < src.width; ++x, s += step) {
      int g = WeightedGrey(mix, s[0], s[1], s[2]);
      if (mix.dropCount > 0) {
        double const kept = KeptShare(mix, grey, s[0], s[1], s[2]);
        g = 255 - static_cast<int>((255 - g) * kept + 0.5);
      }
      d[x] = flatten ? static_cast<uint8_t>(g) : mix.levels[g];
    }
  }
  if (!flatten) return true;
  if (!MorphRect(*paper, dst, mix.paperH, mix.paperV, MorphOp::kDilate)) return false;
  for (int y = 0; y < dst.height; ++y) {
    uint8_t* d = dst.Row(y);
    uint8_t const* m = paper->Row(y);
    for (int x = 0; x < dst.width; ++x) {
      int const level = m[x];  // at least d[x]: the window holds the pixel itself
      int const g = level == 0 ? 0 : (2 * 255 * d[x] + level) / (2 * level);
      d[x] = mix.levels[g];
    }
  }
  return true;
}

}  // namespace quilp
