// adaptive.cpp - defaults and checks of the adaptive setups, the method switch, and the frame
// of the plain exports (a new 1-bit record of the clamped rectangle).
//
// Defaults scale with the resolution (an unknown one counts as 300 dpi): the local-statistics
// window is a tenth of an inch (31 pixels at 300 dpi), about three text lines' x-height; the
// paper surface's window a sixth of an inch (51 pixels), wider than any body-text stroke.
#include "binarize/adaptive.h"

#include <algorithm>
#include <cstring>

#include "binarize/background_threshold.h"
#include "binarize/grey_area.h"
#include "binarize/local_threshold.h"
#include "params/flow_control.h"
#include "record/create.h"

namespace quilp {
namespace {

constexpr double kPelsPerMetrePerDpi = 39.37;
constexpr int kLocalWindowPerInch = 10;    // window = dpi / 10
constexpr int kSurfaceWindowPerInch = 6;   // window = dpi / 6
constexpr int kDefaultRange = 128;

int DefaultK(int method, int variant) {
  if (method == kAdaptiveStat || method == kAdaptiveAuto) return 50;
  switch (variant) {
    case kVariantSauvola: return 34;
    case kVariantWolf: return 50;
    default: return -20;
  }
}

// The odd window of dpi / perInch pixels, at least 3.
int WindowForDpi(int dpi, int perInch) { return std::max(3, dpi / perInch) | 1; }

// Copies each row into a 1-bit view starting at a byte.
class ViewSink : public BitRowSink {
 public:
  explicit ViewSink(DibView const& v) : view_(v) {}
  void Put(int y, uint8_t const* bits) override {
    std::memcpy(view_.Row(y), bits, std::size_t((view_.width + 7) / 8));
  }

 private:
  DibView view_;
};

}  // namespace

int ResolveAdaptiveSetup(AdaptiveSetup& s, int width, int height, int xPelsPerMeter) {
  if (s.method < kAdaptiveNiblack || s.method > kAdaptiveAuto) return kDibInvalid;
  if (s.variant < kVariantNiblack || s.variant > kVariantWolf) return kDibInvalid;
  if (s.window < 0 || s.window > kMaxAdaptiveWindow || s.range < 0) return kDibInvalid;
  if (s.method == kAdaptiveAuto) {  // the recommended method takes no parameters
    s = AdaptiveSetup{};
    s.method = kAdaptiveStat;
  }
  if (s.window > 0) {
    s.window |= 1;
    if (s.window > width || s.window > height) return kDibInvalid;
  } else {
    int dpi = static_cast<int>(xPelsPerMeter / kPelsPerMetrePerDpi + 0.5);
    if (dpi < 1) dpi = kDefaultDpi;
    int const perInch = s.method == kAdaptiveStat ? kSurfaceWindowPerInch : kLocalWindowPerInch;
    s.window = std::min(WindowForDpi(dpi, perInch), kMaxAdaptiveWindow);
  }
  if (s.k == 0) s.k = DefaultK(s.method, s.variant);
  if (s.range == 0) s.range = kDefaultRange;
  return kDibOk;
}

bool AdaptiveBinarize(DibView const& grey, AdaptiveSetup const& s, BitRowSink& sink) {
  if (grey.width <= 0 || grey.height <= 0) return true;
  LocalRule rule;
  rule.variant = s.variant;
  rule.k = s.k / 100.0;
  rule.range = s.range;
  switch (s.method) {
    case kAdaptiveNiblack: return NiblackBinarize(grey, s.window, rule, sink);
    case kAdaptiveNiGlob: return NiGlobBinarize(grey, s.window, rule, sink);
    default: return BackgroundBinarize(grey, s.window, s.k / 100.0, sink);
  }
}

DibInfo* AdaptiveBinarizeRecord(DibInfo const* dib, AdaptiveSetup setup, tagRect32 const* rect) {
  if (!dib) return nullptr;
  int const depth = dib->BitsPerPixel();
  if (depth != 8 && depth != 24) return nullptr;
  Area area;
  if (!ClampRect(dib, rect, area) ||
      ResolveAdaptiveSetup(setup, area.width, area.height, dib->XPelsPerMeter()) != kDibOk)
    return nullptr;
  int const xPels = dib->XPelsPerMeter(), yPels = dib->YPelsPerMeter();
  bool noMemory = false;
  DibHolder colour(depth == 24 ? GreyOfColour(MakeView(dib, area), xPels, yPels, &noMemory)
                               : nullptr);
  if (depth == 24 && !colour) return nullptr;
  DibView const grey = depth == 24 ? MakeView(colour.get()) : MakeView(dib, area);
  DibHolder result(DibCreateForOverwrite(area.width, area.height, xPels, yPels, 1));
  if (!result) return nullptr;
  ViewSink sink(MakeView(result.get()));
  if (!AdaptiveBinarize(grey, setup, sink)) return nullptr;
  return result.release();
}

}  // namespace quilp
