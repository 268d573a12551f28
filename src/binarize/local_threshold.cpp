// local_threshold.cpp - Niblack, Sauvola, Wolf-Jolion and NiGlob over window sums.
#include "binarize/local_threshold.h"

#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "binarize/bit_row.h"
#include "binarize/histogram.h"
#include "binarize/otsu.h"
#include "binarize/window_sums.h"

namespace quilp {
namespace {

// The threshold of one window, T = a m + c s + d (each variant fixes a, c, d).
struct Linear {
  double a, c, d;
};

Linear Coefficients(LocalRule const& rule, double darkest, double widest) {
  double const k = rule.k;
  switch (rule.variant) {
    case kVariantSauvola:  // m (1 - k) + (k m / R) s: the s term depends on m, see Threshold
      return {1.0 - k, k / rule.range, 0.0};
    case kVariantWolf:  // (1 - k) m + k M + (k / S) s (m - M)
      return {1.0 - k, widest > 0 ? k / widest : 0.0, k * darkest};
    default:
      return {1.0, k, 0.0};
  }
}

inline double Threshold(int variant, Linear const& f, double darkest, double m, double s) {
  switch (variant) {
    case kVariantSauvola: return f.a * m + f.c * m * s;
    case kVariantWolf: return f.a * m + f.d + f.c * s * (m - darkest);
    default: return m + f.c * s;
  }
}

// The largest window deviation of the area and its darkest level (Wolf-Jolion's S and M).
void WolfExtremes(WindowSweep& sweep, DibView const& grey, double& darkest, double& widest) {
  double top = 0;
  sweep.Run([&](int, uint8_t const*, WindowRow const& w) {
    for (int x = 0; x < w.width; ++x) {
      double m, var;
      w.Stats(x, m, var);
      if (var > top) top = var;
    }
  });
  widest = std::sqrt(top);
  int low = 255;
  for (int y = 0; y < grey.height; ++y) {
    uint8_t const* row = grey.Row(y);
    for (int x = 0; x < grey.width; ++x) low = row[x] < low ? row[x] : low;
  }
  darkest = low;
}

// Runs the local rule; pixels with level below `lo` are black and at or above `hi` white
// without asking it (lo 0 and hi 256: the rule decides everywhere).
bool Sweep(DibView const& grey, int window, LocalRule const& rule, int lo, int hi,
           BitRowSink& sink) {
  WindowSweep sweep;
  std::vector<uint8_t> bits;
  try {
    bits.resize(static_cast<std::size_t>((grey.width + 7) / 8));
  } catch (std::bad_alloc const&) {
    return false;
  }
  if (!sweep.Init(grey, window / 2)) return false;
  double darkest = 0, widest = 0;
  if (rule.variant == kVariantWolf) WolfExtremes(sweep, grey, darkest, widest);
  Linear const f = Coefficients(rule, darkest, widest);
  int const variant = rule.variant;
  sweep.Run([&](int y, uint8_t const* levels, WindowRow const& w) {
    PackRow(bits.data(), w.width, [&](int x) {
      int const v = levels[x];
      if (v < lo) return true;
      if (v >= hi) return false;
      double m, var;
      w.Stats(x, m, var);
      return v < Threshold(variant, f, darkest, m, std::sqrt(var));
    });
    sink.Put(y, bits.data());
  });
  return true;
}

}  // namespace

bool NiblackBinarize(DibView const& grey, int window, LocalRule const& rule, BitRowSink& sink) {
  return Sweep(grey, window, rule, 0, 256, sink);
}

bool NiGlobBinarize(DibView const& grey, int window, LocalRule const& rule, BitRowSink& sink) {
  int hist[256];
  DibHistogram(grey.top, grey.step, grey.width, grey.height, false, hist);
  int const t = DibOtsuThreshold(hist, 256, 0, 255, nullptr);
  if (t < 0) return false;
  double n0 = 0, s0 = 0, n1 = 0, s1 = 0;
  for (int v = 0; v < 256; ++v) {
    if (v < t) {
      n0 += hist[v];
      s0 += double(hist[v]) * v;
    } else {
      n1 += hist[v];
      s1 += double(hist[v]) * v;
    }
  }
  double const dark = n0 > 0 ? s0 / n0 : 0.0, light = n1 > 0 ? s1 / n1 : 255.0;
  int const lo = static_cast<int>(std::ceil((dark + t) / 2));
  int const hi = static_cast<int>(std::ceil((t + light) / 2));
  return Sweep(grey, window, rule, lo, hi, sink);
}

}  // namespace quilp
