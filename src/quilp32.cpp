// quilp32.cpp - the entry points of every exported operation.
//
// Each export checks its arguments in the documented order, resolves the rectangle by its
// rule, allocates the result with a creator, describes source and result as views and hands
// them to a kernel. Kernels live in the subsystem folders and never see a DibInfo header.
#include "quilp32.h"

#include "colour/grey_projection.h"
#include "params/flow_control.h"
#include "record/create.h"
#include "record/rect.h"
#include "record/view.h"
#include "record/zone_copy.h"

using namespace quilp;

// ---- Records ------------------------------------------------------------------------------

DibInfo* DibCreate(int width, int height, int xPelsPerMeter, int yPelsPerMeter, int bitCount) {
  return DibCreateDepth(width, height, xPelsPerMeter, yPelsPerMeter, bitCount);
}

DibInfo* DibCreate(DibInfo* model, int bitCount) {
  if (!model) return nullptr;
  return DibCreateDepth(model->biWidth, model->biHeight, model->biXPelsPerMeter,
                        model->biYPelsPerMeter, bitCount == 0 ? model->biBitCount : bitCount);
}

bool DibFree(DibInfo*& dib) { return DibRelease(dib); }

// ---- Grey conversion ------------------------------------------------------------------------

namespace {

enum class RectRule { kClamp, kExactFit };

DibInfo* GreyConversion(DibInfo* src, unsigned char const (*colour)[3], tagRect32 const* rect,
                        RectRule rule, bool centred, int colourWeight) {
  if (!src || src->BitsPerPixel() != 24) return nullptr;
  Area area;
  bool const ok = rule == RectRule::kClamp ? ClampRect(src, rect, area)
                                           : ExactFitRect(src, rect, area);
  if (!ok) return nullptr;
  DibHolder result(DibCreateForOverwrite(area.width, area.height, src->XPelsPerMeter(),
                                         src->YPelsPerMeter(), 8));
  if (!result) return nullptr;
  unsigned char reference[3];
  if (colour) for (int i = 0; i < 3; ++i) reference[i] = (*colour)[i];
  if (!DibGreyProjection(MakeView(result.get()), MakeView(src, area),
                         colour ? reference : nullptr, centred, colourWeight))
    return nullptr;
  return result.release();
}

}  // namespace

DibInfo* DibRGB2Grey(DibInfo* src, unsigned char const (*colour)[3], tagRect32* rect) {
  return GreyConversion(src, colour, rect, RectRule::kClamp, false, 0);
}

DibInfo* DibRGB2GreyN(DibInfo* src, unsigned char const (*colour)[3], tagRect32* rect) {
  return GreyConversion(src, colour, rect, RectRule::kExactFit, true, 0);
}

DibInfo* DibRGB2GreyX(DibInfo* src, unsigned char const (*colour)[3], int colourWeight,
                      tagRect32* rect) {
  return GreyConversion(src, colour, rect, RectRule::kExactFit, false, colourWeight);
}

// ---- Keyed-parameter operations ---------------------------------------------------------------

int DibFilterEx(DibInfo*&, DibInfo const*, int, int, int, int, int, char const* const*,
                char const* const*, tagRect32 const*) {
  return kDibNotProvided;
}


// ---- Zone copy, depth conversion, canonical check ---------------------------------

namespace {

// The keyed-parameter copy route, shared by DibCopyZoneEx and the same-depth conversion.
int CopyZoneInFrame(DibInfo*& dest, DibInfo const* src, int depth, tagRect32 const* rect,
                    tagPoint32 const* origin) {
  CDibFlowControl frame;
  DibPlane from, to;
  frame.AddSource(&from, src, depth, rect);
  frame.AddTarget(&to, dest, depth, origin);
  if (frame.GetStatus() == kDibOk) frame.SetResult(DibCopyPlane(&to, &from));
  return frame.GetStatus();
}

}  // namespace

bool DibCopyZone(DibInfo*& dest, DibInfo* src, tagRect32* rect) {
  if (!src) return false;
  int const depth = src->BitsPerPixel();
  if (FormatForDepth(depth) == kDibFormatNone) return false;
  Area area;
  if (!ClampRect(src, rect, area)) return false;
  if (dest) {
    if (dest->Width() < area.width || dest->Height() < area.height ||
        dest->BitsPerPixel() != depth)
      return false;
  } else {
    // Byte formats overwrite every pixel of the new record; a 1-bit one keeps its last
    // byte's bits beyond the zone, so it starts zeroed.
    dest = depth == 1 ? DibCreateDepth(area.width, area.height, src->XPelsPerMeter(),
                                       src->YPelsPerMeter(), depth)
                      : DibCreateForOverwrite(area.width, area.height, src->XPelsPerMeter(),
                                              src->YPelsPerMeter(), depth);
    if (!dest) return false;
  }
  DibPlane const from = MakePlane(src, area);
  DibPlane const to = MakePlane(dest, Area{0, 0, area.width, area.height});
  return DibCopyPlane(&to, &from) == 0;
}

int DibCopyZoneEx(DibInfo*& dest, DibInfo const* src, int, char const* const*,
                  char const* const*, tagRect32 const* rect, tagPoint32 const* origin) {
  if (!src) return kDibInvalid;
  return CopyZoneInFrame(dest, src, src->BitsPerPixel(), rect, origin);
}

// (end of zone copy, depth conversion, canonical check)


// ---- Comparison and statistics ----------------------------------------------------

// (end of comparison and statistics)


// ---- Otsu thresholds and binarization ---------------------------------------------

#include "binarize/binarize_ex.h"
#include "binarize/grey_area.h"
#include "binarize/otsu.h"
#include "binarize/otsu_binarize.h"
#include "binarize/threshold.h"

bool DibGetOtsuLevels(int* levels, DibInfo* dib, int count, tagRect32* rect) {
  if (!dib || !levels || (count != 2 && count != 3)) return false;
  GreyArea grey;
  if (!grey.Open(dib, rect, ClampRect)) return false;
  return DibViewOtsuLevels(levels, grey.view(), count, false) != 0;
}

DibInfo* DibBinarizeSimple(DibInfo* dib, int threshold, bool invert, tagRect32* rect) {
  if (!dib || dib->BitsPerPixel() != 8) return nullptr;
  Area area;
  if (!ExactFitRect(dib, rect, area)) return nullptr;
  DibHolder result(DibCreateForOverwrite(area.width, area.height, dib->XPelsPerMeter(),
                                         dib->YPelsPerMeter(), 1));
  if (!result ||
      !DibThresholdView(MakeView(result.get()), MakeView(dib, area),
                        static_cast<uint8_t>(threshold), invert))
    return nullptr;
  return result.release();
}

namespace {

DibInfo* OtsuBinarization(DibInfo* dib, int classes, int from, int to, bool invert,
                          tagRect32 const* rect, bool ignoreExtremes) {
  if (!dib || !OtsuBandArgsValid(classes, from, to)) return nullptr;
  GreyArea grey;
  if (!grey.Open(dib, rect, ExactFitRect)) return nullptr;
  DibView const& src = grey.view();
  DibHolder result(DibCreateForOverwrite(src.width, src.height, dib->XPelsPerMeter(),
                                         dib->YPelsPerMeter(), 1));
  if (!result ||
      !DibOtsuBinarizeView(MakeView(result.get()), src, classes, from, to, invert,
                           ignoreExtremes))
    return nullptr;
  return result.release();
}

}  // namespace

DibInfo* DibBinarizeOtsu(DibInfo* dib, int classes, int from, int to, bool invert,
                         tagRect32* rect) {
  return OtsuBinarization(dib, classes, from, to, invert, rect, false);
}

DibInfo* DibBinarizeOtsuR(DibInfo* dib, int classes, int from, int to, bool invert,
                          tagRect32* rect) {
  return OtsuBinarization(dib, classes, from, to, invert, rect, true);
}

int DibBinarizeEx(DibInfo*& dest, DibInfo const* src, int method, int p1, int p2, int count,
                  char const* const* names, char const* const* values, tagRect32 const* rect,
                  tagPoint32 const* origin) {
  return BinarizeEx(dest, src, method, p1, p2, count, names, values, rect, origin);
}

// (end of otsu thresholds and binarization)


// ---- Colour suppression and the depth decision ------------------------------------

#include "colour/colour_dropout.h"

namespace {

// The frame of the dropouts: 24-bit source, exact-fit rectangle, a new 8-bit result.
template <class Kernel>
DibInfo* Dropout(DibInfo* src, tagRect32 const* rect, Kernel kernel) {
  if (!src || src->BitsPerPixel() != 24) return nullptr;
  Area area;
  if (!ExactFitRect(src, rect, area)) return nullptr;
  DibHolder result(DibCreateForOverwrite(area.width, area.height, src->XPelsPerMeter(),
                                         src->YPelsPerMeter(), 8));
  if (!result || !kernel(MakeView(result.get()), MakeView(src, area))) return nullptr;
  return result.release();
}

}  // namespace

DibInfo* DibSupressColor(DibInfo* src, unsigned char const (*colour)[3], tagRect32* rect) {
  return Dropout(src, rect, [colour](DibView const& dst, DibView const& from) {
    return DibSuppressOneColor(dst, from, colour ? *colour : nullptr);
  });
}

DibInfo* DibSupressColors(DibInfo* src, int keepCount, unsigned char const (*keep)[3],
                          int dropCount, unsigned char const (*drop)[3], tagRect32* rect) {
  return Dropout(src, rect, [=](DibView const& dst, DibView const& from) {
    return DibSuppressColorSets(dst, from, keepCount, keep, dropCount, drop);
  });
}

// (end of colour suppression and the depth decision)


// ---- Erosion, dilation and grey filters -------------------------------------------

// (end of erosion, dilation and grey filters)


// ---- Skew estimation and downscaling ----------------------------------------------

#include <climits>
#include <cmath>
#include <cstdint>
#include <vector>

#include "geometry/edge_pair_skew.h"
#include "geometry/fade_borders.h"
#include "geometry/hough_block.h"
#include "geometry/hough_transform.h"
#include "scale/downscale.h"

bool DibHoughPrepare(int logSize, bool vertical, bool polarity) {
  return HoughPrepare(logSize, vertical, polarity);
}

bool DibHoughCompute(DibInfo* dib, int& zero, int& slope, int& score, tagRect32* rect) {
  if (!dib) return false;
  tagRect32 const whole = {0, 0, dib->Width() - 1, dib->Height() - 1};
  tagRect32 const& r = rect ? *rect : whole;
  if (dib->BitsPerPixel() != 8) return false;
  DibHoughState const& state = HoughState();
  int64_t const width = int64_t(r.right) - r.left + 1, height = int64_t(r.bottom) - r.top + 1;
  if (width != state.size || height != state.secondSize || !state.live) return false;
  if (r.left < 0 || r.top < 0 || r.right >= dib->Width() || r.bottom >= dib->Height())
    return false;
  int s = 0, sc = 0;
  HoughBlock(MakeView(dib, Area{r.left, r.top, state.size, state.size}), s, sc);
  zero = 0;
  slope = s;
  score = sc;
  return true;
}

bool DibHoughDone() { return HoughDone(); }

DibInfo* DibHoughTransform(DibInfo* dib, int mode, int depth) {
  if (!dib || dib->BitsPerPixel() != 8 || (mode != 1 && mode != 2) || (depth != 8 && depth != 32))
    return nullptr;
  if (dib->Width() < 1 || dib->Height() < 1) return nullptr;
  return HoughTransformImage(RowsOf(MakeView(dib)), mode, depth);
}

bool DibFindHoughPeak(DibInfo* transform, int window, int measure, int& position, int& value) {
  if (!transform || (transform->BitsPerPixel() != 8 && transform->BitsPerPixel() != 32))
    return false;
  if (measure < 0 || measure > 1 || window < 0) return false;
  return HoughPeak(transform, window, measure, position, value);
}

bool DibHoughGetAngle(double& angle, DibInfo* dib, int, tagRect32* rect) {
  if (!dib || dib->BitsPerPixel() != 8) return false;
  // The work image: the zone copied and faded in place, or the page with its margins faded.
  // Without a rectangle the faded copy is not made: its margins are built apart and its
  // middle rows are read from the page, which are the same pixels.
  DibInfo* zone = nullptr;
  if (rect && !DibCopyZone(zone, dib, rect)) return false;
  DibHolder zoneHolder(zone);
  std::vector<uint8_t> margins;
  RowTable work;
  if (zone) {
    DibView const view = MakeView(zone);
    if (!DibFadeBorders(view, view, kFadeRowCap, kFadeFraction, nullptr)) return false;
    work = RowsOf(view);
  } else {
    FadedRows(MakeView(dib), kFadeRowCap, kFadeFraction, margins, work);
  }
  if (work.width < 1 || work.height < 1) return false;
  DibHolder transform(HoughTransformImage(work, kHoughModeHorizontal, 8));
  if (!transform) return false;
  int position = 0, value = 0;
  if (!DibFindHoughPeak(transform.get(), 5, 1, position, value)) return false;
  angle = std::atan2(double(position) / kHoughPeakScale - 0.5 * transform.get()->Height(),
                     double(work.width));
  return true;
}

bool DibSmartGetAngle(int& skew, DibInfo* dib, int hFactor, int vFactor, tagRect32* rect) {
  if (!dib || dib->BitsPerPixel() != 8) return false;
  // The small image. Factors of 1 would copy the rectangle pixel for pixel; the rectangle of
  // the page is read in place instead, which gives the same points.
  DibInfo* small = nullptr;
  Area area;
  if (hFactor == 1 && vFactor == 1) {
    if (!ClampRect(dib, rect, area)) return false;
  } else if (!DibDownscale(small, dib, hFactor, vFactor, 0, rect)) {
    return false;
  }
  DibHolder holder(small);
  int tangent = 0;
  bool const ok = DibEdgePairSkew(small ? MakeView(small) : MakeView(dib, area), tangent);
  // (int)(T * vFactor / hFactor + 0.5), truncating toward zero; huge factors saturate.
  double const scaled = double(tangent) * vFactor / hFactor + 0.5;
  skew = scaled >= double(INT_MAX) ? INT_MAX : scaled <= double(INT_MIN) ? INT_MIN : int(scaled);
  return ok;
}

bool DibDownscale(DibInfo*& result, DibInfo* src, int hFactor, int vFactor, int flags,
                  tagRect32* rect) {
  if (!src) return false;
  int const depth = src->BitsPerPixel();
  if ((depth != 1 && depth != 8 && depth != 24) || hFactor < 1 || vFactor < 1 || flags != 0)
    return false;
  Area area;
  if (!ClampRect(src, rect, area)) return false;
  int const width = ReducedSize(area.width, hFactor), height = ReducedSize(area.height, vFactor);
  int const xRes = int((int64_t(src->XPelsPerMeter()) + hFactor / 2) / hFactor);
  int const yRes = int((int64_t(src->YPelsPerMeter()) + vFactor / 2) / vFactor);
  DibInfo* made = DibCreateForOverwrite(width, src->biHeight > 0 ? height : -height, xRes, yRes,
                                        depth);
  if (!made) return false;
  DibDownscaleArea(MakeView(made), MakeView(src, area), depth, hFactor, vFactor);
  result = made;
  return true;
}

// (end of skew estimation and downscaling)
