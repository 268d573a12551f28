// binarize_ex.cpp - DibBinarizeEx: global binarization through the keyed-parameter frame.
//
// The frame registers the source (clamping rule) and the 1-bit target at the placement point.
// A colour source is projected to grey first (main colour axis, no reference colour). The
// method fixes a band of black levels; each row is marked into a scratch row and merged into
// the target at its bit offset, so no pixel of a caller's target outside the area changes.
#include "binarize/binarize_ex.h"

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

DibView ViewOfPlane(DibPlane const& plane) {
  DibView v;
  v.top = plane.data;
  v.step = plane.stride;
  v.width = plane.width;
  v.height = plane.height;
  return v;
}

}  // namespace

int BinarizeEx(DibInfo*& dest, DibInfo const* src, int method, int p1, int p2, int count,
               char const* const* names, char const* const* values, tagRect32 const* rect,
               tagPoint32 const* origin) {
  if (!src) return kDibInvalid;
  CDibFlowControl frame;
  frame.SetParams(count, names, values);  // accepted; no key is read
  if (int const code = CheckMethod(method, p1, p2); code != kDibOk) frame.Fail(code);
  int const depth = src->BitsPerPixel();
  if (depth != 8 && depth != 24) frame.Fail(kDibInvalid);
  DibPlane source, target;
  frame.AddSource(&source, src, depth, rect);
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
  LevelBand band;
  if (!MethodBand(grey, method, p1, p2, band)) return frame.Fail(kDibKernelFailed);
  auto* const scratch =
      static_cast<uint8_t*>(frame.Scratch(static_cast<std::size_t>((grey.width + 7) / 8 + 2)));
  if (!scratch) return frame.GetStatus();
  for (int y = 0; y < grey.height; ++y)
    PlaceBandRow(grey.Row(y), target.Row(y), target.bitOffset, grey.width, band, scratch);
  return frame.SetSuccess(true);
}

}  // namespace quilp
