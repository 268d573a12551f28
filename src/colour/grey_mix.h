// grey_mix.h - the keyed colour-to-grey conversion: a weighted grey of the three bytes, dropout
// of chromatic reference colours, paper flattening, and a levels map (black point, white
// point, mid-tone).
#pragma once

#include <cstdint>

#include "params/plane.h"

namespace quilp {

struct GreyMix {
  int64_t mul[3] = {85, 85, 85};  // weights of the blue, green and red bytes
  int64_t divisor = 255;          // > 0
  double inverse = 1.0 / 510;     // 1 / (2 divisor)
  double const* drop = nullptr;   // unit darkness vectors of the colours to drop, three each
  int dropCount = 0;
  int paperH = -1, paperV = -1;   // half sizes of the paper window; -1: no flattening
  uint8_t levels[256];            // the levels map, applied last
};

// Weights of the blue, green and red bytes and their divisor; false unless mulS > 0.
bool SetWeights(int mulB, int mulG, int mulR, int mulS, GreyMix& mix);

// The weighted grey: round(sum of mul * byte / divisor), halves upward, clamped to 0..255.
int WeightedGrey(GreyMix const& mix, int b0, int b1, int b2);

// The levels map of black point lvl0, white point lvl1 (0 stands for 255) and mid-tone lvl2
// (0: linear; else the input level mapped to 128): t = (g - lvl0) / (lvl1 - lvl0) clamped to
// 0..1, out = round(255 t) or round(255 t^gamma) with gamma = ln 0.5 / ln((lvl2 - lvl0) /
// (lvl1 - lvl0)). False unless 0 <= lvl0 < lvl1 <= 255 and lvl2 is 0 or strictly between.
bool MakeLevels(int lvl0, int lvl1, int lvl2, GreyMix& mix);

// Unit darkness vectors of the chromatic colours among `count` (neutral colours, equal bytes,
// have no hue and are skipped) into u (room for 3 * count); returns how many were written.
int ChromaticUnits(unsigned char const (*colours)[3], int count, double* u);

// Converts a 24- or 32-bit plane (blue, green, red first) into an 8-bit plane of the same size.
// With flattening, `paper` is an 8-bit scratch plane of that size that receives the local
// maximum of the grey (the paper level), and each grey g becomes round(255 g / paper), or 0
// where the paper is 0. False only when the local maximum cannot be taken (no memory).
bool DibGreyMix(DibPlane const& dst, DibPlane const& src, GreyMix const& mix,
                DibPlane const* paper);

}  // namespace quilp
