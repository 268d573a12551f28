// adaptive.h - the adaptive binarizers' shared setup, row sink and entry (DibBinarizeCommon).
//
// Every adaptive method reads an 8-bit grey view and hands each finished 1-bit row (leftmost
// pixel in the most significant bit, bits past the width white) to a sink, which places it in
// a new record or in a keyed-parameter target. The methods:
//   4  local statistics over a w x w window (local_threshold.h): Niblack, Sauvola, Wolf-Jolion;
//   5  global and local together: Otsu settles the clear pixels, the local rule the rest;
//   6  paper surface and contrast (background_threshold.h);
//   7  the recommended method with its defaults (6 with the defaults).
#pragma once

#include <cstdint>

#include "quilp32.h"
#include "record/view.h"

namespace quilp {

enum AdaptiveMethod : int {
  kAdaptiveNiblack = 4,
  kAdaptiveNiGlob = 5,
  kAdaptiveStat = 6,
  kAdaptiveAuto = 7,
};
enum NiblackVariant : int {
  kVariantNiblack = 0,
  kVariantSauvola = 1,
  kVariantWolf = 2,
};

// Windows above this many pixels are refused: column sums of squares then stay within 32 bits
// (4095 * 255^2 < 2^32) and the scratch rows stay small.
inline constexpr int kMaxAdaptiveWindow = 4095;
// Resolution assumed when a record carries none.
inline constexpr int kDefaultDpi = 300;

// The method's parameters as a caller gives them (0: the default) and, once resolved, as the
// kernels use them.
struct AdaptiveSetup {
  int method = kAdaptiveAuto;
  int variant = kVariantNiblack;
  int window = 0;  // pixels (an even window is taken one larger)
  int k = 0;       // hundredths
  int range = 0;   // Sauvola's R, grey levels
};

// Fills the defaults of a setup for an area of width x height at the given resolution and
// checks it: kDibOk, or kDibInvalid for an unknown method or variant, a negative or too large
// window, a window wider or taller than the area, or a negative range.
int ResolveAdaptiveSetup(AdaptiveSetup& setup, int width, int height, int xPelsPerMeter);

// Receives the finished rows of a binarization, in any order, each exactly once.
class BitRowSink {
 public:
  virtual ~BitRowSink() = default;
  // Row y (visual, 0 = top) as (width + 7) / 8 bytes.
  virtual void Put(int y, uint8_t const* bits) = 0;
};

// Runs a resolved setup over a grey view; false when scratch memory runs out.
bool AdaptiveBinarize(DibView const& grey, AdaptiveSetup const& setup, BitRowSink& sink);

// The plain exports' frame: the clamped rectangle of an 8- or 24-bit record (colour projected
// to grey first), a new 1-bit record with the source's resolution. Null on any failure.
DibInfo* AdaptiveBinarizeRecord(DibInfo const* dib, AdaptiveSetup setup, tagRect32 const* rect);

}  // namespace quilp
