// binarize_ex.cpp - DibBinarizeEx: global binarization through the keyed-parameter frame.
//
// The frame registers the source (clamping rule) and the 1-bit target at the placement point.
// A colour source is projected to grey first (main colour axis, no reference colour). The
// global methods fix a band of black levels; the adaptive ones (4-7, adaptive.h) decide pixel
// by pixel. Each row is marked into a scratch row and merged into the target at its bit
// offset, so no pixel of a caller's target outside the area changes.
#include "binarize/binarize_ex.h"

#include <cstring>

#include "binarize/adaptive.h"
#include "binarize/grey_area.h"
#include "binarize/histogram.h"
#include "binarize/otsu.h"
#include "binarize/otsu_binarize.h"
#include "binarize/threshold.h"
#include "params/flow_control.h"

namespace quilp {
namespace {

int CheckMethod(int method, int p1, int p2) {
  if (method < 0) return kDibInvalid;
  if (method >= kBinarizeMethodsProvided) return kDibNotProvided;
  if (method == kBinarizeOtsuBand &&
      ((p2 & ~kBandKnownBits) != 0 ||
       !OtsuBandArgsValid(p1, p2 & kBandFromMask, (p2 >> kBandToShift) & 0xFF)))
    return kDibInvalid;
  return kDibOk;
}

// The black levels the method asks for; false when memory runs out.
bool MethodBand(DibView const& grey, int method, int p1, int p2, LevelBand& band) {
  if (method == kBinarizeFixed) {
    band = ThresholdBand(static_cast<uint8_t>(p1), p2 != 0);
    return true;
  }
  bool const ignoreExtremes = method == kBinarizeOtsuNoExtremes ||
                              (method == kBinarizeOtsuBand && (p2 & kBandIgnoreExtremes) != 0);
  int hist[256];
  DibHistogram(grey.top, grey.step, grey.width, grey.height, ignoreExtremes, hist);
  if (method == kBinarizeOtsuBand)
    return OtsuBand(hist, p1, p2 & kBandFromMask, (p2 >> kBandToShift) & 0xFF,
                    (p2 & kBandInvert) != 0, band);
  int const t = DibOtsuThreshold(hist, 256, 0, 255, nullptr);
  if (t < 0) return false;
  band = ThresholdBand(static_cast<uint8_t>(t), p2 != 0);
  return true;
}

// Merges each adaptive row into the target plane at its bit offset.
class PlaneSink : public BitRowSink {
 public:
  PlaneSink(DibPlane const& plane, uint8_t* padded) : plane_(plane), padded_(padded) {}
  void Put(int y, uint8_t const* bits) override {
    int const bytes = (plane_.width + 7) / 8;
    if (plane_.bitOffset == 0) {  // whole bytes, and the last one's bits past the width kept
      uint8_t* const row = plane_.Row(y);
      int const whole = plane_.width / 8, spare = 8 * bytes - plane_.width;
      std::memcpy(row, bits, std::size_t(whole));
      if (spare) {
        unsigned const keep = (1u << spare) - 1;
        row[whole] = static_cast<uint8_t>((row[whole] & keep) | (bits[whole] & ~keep));
      }
      return;
    }
    padded_[0] = 0;
    for (int i = 0; i < bytes; ++i) padded_[i + 1] = bits[i];
    padded_[bytes + 1] = 0;
    PlaceBitRow(padded_, plane_.Row(y), plane_.bitOffset, plane_.width);
  }

 private:
  DibPlane plane_;
  uint8_t* padded_;
};

// The adaptive setup of methods 4-7 from the arguments and keys.
int AdaptiveKeys(CDibFlowControl& frame, int method, int p1, int p2, AdaptiveSetup& setup) {
  setup.method = method;
  frame.GetIntParam(&setup.window, "window", p1);
  frame.GetIntParam(&setup.k, "k", p2);
  frame.GetIntParam(&setup.variant, "variant", kVariantNiblack);
  frame.GetIntParam(&setup.range, "range", 0);
  return frame.GetStatus();
}

}  // namespace

int BinarizeEx(DibInfo*& dest, DibInfo const* src, int method, int p1, int p2, int count,
               char const* const* names, char const* const* values, tagRect32 const* rect,
               tagPoint32 const* origin) {
  if (!src) return kDibInvalid;
  CDibFlowControl frame;
  frame.SetParams(count, names, values);  // read by the adaptive methods only
  if (int const code = CheckMethod(method, p1, p2); code != kDibOk) frame.Fail(code);
  int const depth = src->BitsPerPixel();
  if (depth != 8 && depth != 24) frame.Fail(kDibInvalid);
  DibPlane source, target;
  frame.AddSource(&source, src, depth, rect);
  AdaptiveSetup setup;
  bool const adaptive = method >= kBinarizeNiblack && method < kBinarizeMethodsProvided;
  if (adaptive && AdaptiveKeys(frame, method, p1, p2, setup) == kDibOk &&
      ResolveAdaptiveSetup(setup, source.width, source.height, src->XPelsPerMeter()) != kDibOk)
    frame.Fail(kDibInvalid);
  frame.AddTarget(&target, dest, 1, origin);
  if (frame.GetStatus() != kDibOk) return frame.GetStatus();

  DibView grey = ViewOfPlane(source);
  if (depth == 24) {
    bool noMemory;
    DibInfo* const temporary = frame.AddTemporary(
        GreyOfColour(grey, src->XPelsPerMeter(), src->YPelsPerMeter(), &noMemory));
    if (!temporary) return frame.Fail(noMemory ? kDibNoMemory : kDibKernelFailed);
    grey = MakeView(temporary);
  }
  auto* const scratch =
      static_cast<uint8_t*>(frame.Scratch(static_cast<std::size_t>((grey.width + 7) / 8 + 2)));
  if (!scratch) return frame.GetStatus();
  if (adaptive) {
    PlaneSink sink(target, scratch);
    if (!AdaptiveBinarize(grey, setup, sink)) return frame.Fail(kDibKernelFailed);
    return frame.SetSuccess(true);
  }
  LevelBand band;
  if (!MethodBand(grey, method, p1, p2, band)) return frame.Fail(kDibKernelFailed);
  for (int y = 0; y < grey.height; ++y)
    PlaceBandRow(grey.Row(y), target.Row(y), target.bitOffset, grey.width, band, scratch);
  return frame.SetSuccess(true);
}

}  // namespace quilp
