// binarize_ex.h - the keyed-parameter binarization, run in the CDibFlowControl frame.
#pragma once

#include "quilp32.h"

namespace quilp {

// Method codes of DibBinarizeEx.
enum BinarizeMethod : int {
  kBinarizeFixed = 0,          // threshold p1 (low 8 bits); p2 != 0 inverts
  kBinarizeOtsuBand = 1,       // Otsu band: p1 classes, p2 packs from, to and two flags
  kBinarizeOtsu = 2,           // two-class Otsu threshold, black below it; p2 != 0 inverts
  kBinarizeOtsuNoExtremes = 3, // as 2, the counts of levels 0, 1, 254, 255 ignored
  kBinarizeNiblack = 4,        // local statistics: keys window (p1), k (p2), variant, range
  kBinarizeNiGlob = 5,         // Otsu for the clear pixels, the local rule between
  kBinarizeStat = 6,           // paper surface and contrast: keys window (p1), k (p2)
  kBinarizeAuto = 7,           // the recommended adaptive method with its defaults
  kBinarizeMethodsProvided = 8,
};
// Packing of p2 for kBinarizeOtsuBand.
constexpr int kBandFromMask = 0xFF;             // bits 0..7: first class
constexpr int kBandToShift = 8;                 // bits 8..15: last class
constexpr int kBandInvert = 1 << 16;            // the inverted band
constexpr int kBandIgnoreExtremes = 1 << 17;    // drop the counts of levels 0, 1, 254, 255
constexpr int kBandKnownBits = (1 << 18) - 1;

int BinarizeEx(DibInfo*& dest, DibInfo const* src, int method, int p1, int p2, int count,
               char const* const* names, char const* const* values, tagRect32 const* rect,
               tagPoint32 const* origin);

}  // namespace quilp
