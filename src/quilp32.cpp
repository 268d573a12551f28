// quilp32.cpp - the entry points of every exported operation.
//
// Each export checks its arguments in the documented order, resolves the rectangle by its
// rule, allocates the result with a creator, describes source and result as views and hands
// them to a kernel. Kernels live in the subsystem folders and never see a DibInfo header.
#include "quilp32.h"

#include <atomic>
#include <cstdio>
#include <cstring>

#include "colour/grey_projection.h"
#include "compare/differ.h"
#include "compare/statistics.h"
#include "params/flow_control.h"
#include "record/canonical.h"
#include "record/create.h"
#include "record/depth_conversion.h"
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
  DibHolder result(DibCreateForOverwrite(area.width, HeightInOrderOf(src, area.height),
                                         src->XPelsPerMeter(), src->YPelsPerMeter(), 8));
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

// The keyed-parameter route of the copy and the direct conversion: the source at its own
// depth, the target at `depth`, the plane kernel's result as the status.
int PlaneKernelInFrame(int (*kernel)(DibPlane const*, DibPlane const*), DibInfo*& dest,
                       DibInfo const* src, int depth, tagRect32 const* rect,
                       tagPoint32 const* origin) {
  CDibFlowControl frame;
  DibPlane from, to;
  frame.AddSource(&from, src, src->BitsPerPixel(), rect);
  frame.AddTarget(&to, dest, depth, origin);
  if (frame.GetStatus() == kDibOk) frame.SetResult(kernel(&to, &from));
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
  return PlaneKernelInFrame(DibCopyPlane, dest, src, src->BitsPerPixel(), rect, origin);
}

int DibConvertDepthEx(DibInfo*& dest, DibInfo const* src, int depth, int p1, int p2, int p3,
                      int count, char const* const* names, char const* const* values,
                      tagRect32 const* rect, tagPoint32 const* origin) {
  if (!src) return kDibInvalid;
  int const from = src->BitsPerPixel();
  if (depth == from) return PlaneKernelInFrame(DibCopyPlane, dest, src, depth, rect, origin);
  if (depth == 1 && from > 1)
    return ConvertDepthByBinarization(dest, src, p1, p2, p3, count, names, values, rect, origin);
  if (depth == 8 && (from == 24 || from == 32))
    return ConvertDepthBySuppression(dest, src, p1, p2, p3, count, names, values, rect, origin);
  return PlaneKernelInFrame(DibConvertPlane, dest, src, depth, rect, origin);
}

int DibIsCanonical(DibInfo const* dib, DibDirection direction) {
  return CanonicalGrade(dib, static_cast<int>(direction));
}

// (end of zone copy, depth conversion, canonical check)


// ---- Comparison and statistics ----------------------------------------------------

namespace {

std::atomic<FILE*> g_logStream{nullptr};

// The comparison operations' messages name this source file and their own line numbers.
constexpr char kMessageFile[] = "..\\..\\..\\..\\prj\\image\\quilp32\\src\\quilp32";
constexpr int kMessageCode = -1;
constexpr int64_t kMaxSide = 65535;  // the longest side of a record the image form makes

void PrintError(char const* function, int line, char const* description) {
  char buffer[256];
  std::memset(buffer, 0, sizeof buffer);
  std::snprintf(buffer, sizeof buffer, "\nfile=%s line=%d func=%s code=%d descr=%s", kMessageFile,
                line, function, kMessageCode, description);
  if (FILE* stream = g_logStream.load()) std::fputs(buffer, stream);
}

void DifferError(int line, char const* description) { PrintError("DibDiffer", line, description); }

char const kNullImages[] = "!pTstDib||!pEtaDib";
char const kDepthsDiffer[] = "pTstDib->BitsPerPixel()!=pEtaDib->BitsPerPixel()";
char const kWrongMethod[] = "Wrong Method value";
char const kWrongDepth[] = "Wrong pTstDib->BitsPerPixel() value";

// Line numbers of the messages: image form, then sum form.
struct DifferLines {
  int nullImages, depthsDiffer, method8, method24, wrongDepth;
};
constexpr DifferLines kImageFormLines = {2861, 2863, 2902, 2922, 2926};
constexpr DifferLines kSumFormLines = {2944, 2946, 2980, 2999, 3003};

// The checks both forms share, in their order, except the image form's output creation that
// comes between the depth comparison and the method check. Returns false after printing.
bool DifferImagesGiven(DibInfo const* test, DibInfo const* ref, DifferLines const& lines) {
  if (!test || !ref) {
    DifferError(lines.nullImages, kNullImages);
    return false;
  }
  if (test->BitsPerPixel() != ref->BitsPerPixel()) {
    DifferError(lines.depthsDiffer, kDepthsDiffer);
    return false;
  }
  return true;
}

bool DifferDepthAndMethod(int depth, int method, DifferLines const& lines) {
  if (depth != 8 && depth != 24) {
    DifferError(lines.wrongDepth, kWrongDepth);
    return false;
  }
  if (method != kDifferAbsolute && method != kDifferOneSided) {
    DifferError(depth == 8 ? lines.method8 : lines.method24, kWrongMethod);
    return false;
  }
  return true;
}

DifferRule DifferRuleFor(int depth, SDibDifferSetup const& setup) {
  if (depth == 8) {
    int64_t const o = (int64_t(setup.offset0) + setup.offset1 + setup.offset2 + 1) / 3 + setup.offset;
    return MakeDifferRule(o, o, o, setup.method);
  }
  return MakeDifferRule(int64_t(setup.offset0) + setup.offset, int64_t(setup.offset1) + setup.offset,
                        int64_t(setup.offset2) + setup.offset, setup.method);
}

// The rectangle as given, or the whole image.
tagRect32 RectOrWhole(DibInfo const* dib, tagRect32 const* rect) {
  return rect ? *rect : tagRect32{0, 0, dib->Width() - 1, dib->Height() - 1};
}

// The clamped area, or an empty one at the origin.
Area ClampedOrEmpty(DibInfo const* dib, tagRect32 const* rect) {
  Area area;
  if (!ClampRect(dib, rect, area)) area = Area{0, 0, 0, 0};
  return area;
}

// The test area of the reference area's size, at the test region's corner.
DibView TestView(DibInfo const* test, Area const& testArea, Area const& refArea) {
  return MakeView(test, Area{testArea.left, testArea.top, refArea.width, refArea.height});
}

}  // namespace

FILE* DibSetLogStream(FILE* stream) { return g_logStream.exchange(stream); }

int DibDiffer(DibInfo*& out, DibInfo* pTstDib, DibInfo* pEtaDib, tagRect32* tstRect,
              tagRect32* etaRect, SDibDifferSetup const& setup) {
  if (!DifferImagesGiven(pTstDib, pEtaDib, kImageFormLines)) return -1;
  int const depth = pTstDib->BitsPerPixel();
  if (!out) {
    tagRect32 const r = RectOrWhole(pEtaDib, etaRect);
    int64_t const w = int64_t(r.right) - r.left + 1, h = int64_t(r.bottom) - r.top + 1;
    // No page has a side beyond 65535: an inverted or huge rectangle asks for nothing real.
    if (w < -kMaxSide || w > kMaxSide || h < -kMaxSide || h > kMaxSide) return -2;
    out = DibCreateDepth(int(w), int(h), pEtaDib->XPelsPerMeter(), pEtaDib->YPelsPerMeter(), depth);
    if (!out) return -2;
  }
  if (!DifferDepthAndMethod(depth, setup.method, kImageFormLines)) return -1;
  Area const testArea = ClampedOrEmpty(pTstDib, tstRect);
  Area const refArea = ClampedOrEmpty(pEtaDib, etaRect);
  if (refArea.width > testArea.width || refArea.height > testArea.height) return 0;
  if (out->BitsPerPixel() != depth || out->Width() < refArea.width || out->Height() < refArea.height)
    return 0;
  if (refArea.height == 0) return 1;
  DibDifferImage(MakeView(out, Area{0, 0, refArea.width, refArea.height}),
                 TestView(pTstDib, testArea, refArea), MakeView(pEtaDib, refArea), depth / 8,
                 DifferRuleFor(depth, setup));
  return 1;
}

int64_t DibDiffer(DibInfo* pTstDib, DibInfo* pEtaDib, tagRect32* tstRect, tagRect32* etaRect,
                  SDibDifferSetup const& setup) {
  if (!DifferImagesGiven(pTstDib, pEtaDib, kSumFormLines)) return -1;
  int const depth = pTstDib->BitsPerPixel();
  if (!DifferDepthAndMethod(depth, setup.method, kSumFormLines)) return -1;
  Area const testArea = ClampedOrEmpty(pTstDib, tstRect);
  Area const refArea = ClampedOrEmpty(pEtaDib, etaRect);
  if (refArea.width > testArea.width || refArea.height > testArea.height) return -1;
  if (refArea.height == 0) return 0;
  int64_t const limit = static_cast<int64_t>(uint64_t(uint32_t(setup.stopLimitHigh)) << 32 |
                                             uint32_t(setup.stopLimitLow));
  return DibDifferSum(TestView(pTstDib, testArea, refArea), MakeView(pEtaDib, refArea), depth / 8,
                      DifferRuleFor(depth, setup), limit);
}

bool DibComputeVariance(DibInfo* dib, tagRect32* rect, double* const result) {
  if (result) result[0] = result[1] = result[2] = 0.0;
  if (!dib || !result) return false;
  int const depth = dib->BitsPerPixel();
  if (depth != 8 && depth != 24) return false;
  Area const area = ClampedOrEmpty(dib, rect);
  DibVariance(area.height > 0 ? MakeView(dib, area) : DibView{}, depth / 8, result);
  return true;
}

bool DibComputeCovariance(DibInfo* dib1, tagRect32* rect1, DibInfo* dib2, tagRect32* rect2,
                          double* const result) {
  if (result) result[0] = result[1] = result[2] = 0.0;
  if (!dib1 || !dib2 || !result) return false;
  tagRect32 const r1 = RectOrWhole(dib1, rect1), r2 = RectOrWhole(dib2, rect2);
  if (int64_t(r1.right) - r1.left != int64_t(r2.right) - r2.left ||
      int64_t(r1.bottom) - r1.top != int64_t(r2.bottom) - r2.top)
    return false;
  int const depth = dib1->BitsPerPixel();
  if (depth != 8 && depth != 24) return false;
  Area const first = ClampedOrEmpty(dib1, rect1);
  if (first.height == 0) return DibCovariance(DibView{}, DibView{}, depth / 8, result);
  Area const second = ClampedOrEmpty(dib2, rect2);
  if (second.width < first.width || second.height < first.height) return false;
  return DibCovariance(MakeView(dib1, first),
                       MakeView(dib2, Area{second.left, second.top, first.width, first.height}),
                       depth / 8, result);
}

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
#include "colour/dropout_tolerance.h"
#include "colour/grey_mix.h"
#include "scale/compress_bits.h"

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
  // The general dropout with no tolerances and grey output.
  ToleranceSets const sets = {keep, nullptr, keepCount, drop, nullptr, dropCount};
  return Dropout(src, rect, [&](DibView const& dst, DibView const& from) {
    return DibSuppressColorSetsCommon(dst, from, sets, 8);
  });
}

int DibSuppressColorsEx(DibInfo*& dest, DibInfo const* src, int colourCount,
                        unsigned char const (*colours)[3], int hSize, int vSize, int lvl0,
                        int lvl1, int lvl2, int count, char const* const* names,
                        char const* const* values, tagRect32 const* rect,
                        tagPoint32 const* origin) {
  if (!src) return kDibInvalid;
  CDibFlowControl frame;
  frame.SetParams(count, names, values);
  int mulB = 0, mulG = 0, mulR = 0, mulS = 0;
  frame.GetIntParam(&hSize, "hSize", hSize);
  frame.GetIntParam(&vSize, "vSize", vSize);
  frame.GetIntParam(&mulB, "mulB", 85);
  frame.GetIntParam(&mulG, "mulG", 85);
  frame.GetIntParam(&mulR, "mulR", 85);
  int64_t const sum = int64_t(mulB) + mulG + mulR;
  frame.GetIntParam(&mulS, "mulS", sum > 0 && sum <= INT32_MAX ? int(sum) : 0);
  frame.GetIntParam(&lvl0, "lvl0", lvl0);
  frame.GetIntParam(&lvl1, "lvl1", lvl1);
  frame.GetIntParam(&lvl2, "lvl2", lvl2);
  GreyMix mix;
  if (colourCount < 0 || (colourCount > 0 && !colours) || hSize < 0 || vSize < 0 ||
      !SetWeights(mulB, mulG, mulR, mulS, mix) || !MakeLevels(lvl0, lvl1, lvl2, mix))
    frame.Fail(kDibInvalid);
  if (hSize != 0 || vSize != 0) {  // paper flattening over a hSize x vSize window
    mix.paperH = hSize / 2;
    mix.paperV = vSize / 2;
  }
  int const depth = src->BitsPerPixel();
  if (depth != 24 && depth != 32) frame.Fail(kDibInvalid);
  DibPlane in, out;
  frame.AddSource(&in, src, depth, rect);
  frame.AddTarget(&out, dest, 8, origin);
  if (frame.GetStatus() != kDibOk) return frame.GetStatus();
  auto* units = static_cast<double*>(frame.Scratch(sizeof(double) * 3 * std::size_t(colourCount)));
  if (!units) return frame.GetStatus();
  mix.drop = units;
  mix.dropCount = ChromaticUnits(colours, colourCount, units);
  DibPlane paper = out;
  if (mix.paperH >= 0) {
    paper.stride = out.width;
    paper.data = static_cast<uint8_t*>(frame.Scratch(std::size_t(out.width) * out.height));
    if (!paper.data) return frame.GetStatus();
  }
  return frame.SetSuccess(DibGreyMix(out, in, mix, &paper));
}

int DibCompressBits(DibInfo*& result, DibInfo const* src, unsigned char chromaLevel,
                    double colourfulShare, double spreadLimit, tagRect32 const* rect) {
  result = nullptr;
  if (!src) return kDibInvalid;
  Area area;
  if (!ClampRect(src, rect, area)) return kDibInvalid;
  tagRect32 zone = {area.left, area.top, area.right(), area.bottom()};
  // The zone copy and the conversions read the source without changing it.
  DibInfo* const source = const_cast<DibInfo*>(src);
  auto copy = [&]() { return DibCopyZone(result, source, &zone) ? 1 : 0; };
  switch (src->BitsPerPixel()) {
    case 1:
      return copy();
    case 8: {
      if (!DibGreyLevelsTest(MakeView(src, area), spreadLimit)) return copy();
      int const code =
          DibBinarizeEx(result, src, 2, 0, 0, 0, nullptr, nullptr, &zone, nullptr);
      if (code < 0) result = nullptr;  // a failed call released what it made
      return code;
    }
    case 24: {
      if (DibColourTest(MakeView(src, area), chromaLevel, colourfulShare)) return copy();
      unsigned char const references[2][3] = {{85, 85, 85}, {0, 0, 0}};
      DibInfo* grey = nullptr;
      int const code = DibSuppressColorsEx(grey, src, 2, references, 0, 0, 0, 0, 0, 0, nullptr,
                                           nullptr, &zone, nullptr);
      if (code < 0) return code;
      DibHolder holder(grey);
      return DibCompressBits(result, grey, chromaLevel, colourfulShare, spreadLimit, nullptr);
    }
    default:
      return kDibInvalid;
  }
}

// (end of colour suppression and the depth decision)


// ---- Erosion, dilation and grey filters -------------------------------------------

#include "filter/grey_filter.h"
#include "morph/distance_erode.h"

bool DibErodeDilate(DibInfo*& out, DibInfo* src, int amount, tagRect32* rect) {
  return DibDistanceErodeDilate(out, src, amount, rect);
}

int DibFilterGreyEx(DibInfo*& dst, DibInfo const* src, int oper, int p1, int p2, int p3, int count,
                    char const* const* names, char const* const* values, tagRect32 const* rect) {
  return DibFilterGrey(dst, src, oper, p1, p2, p3, count, names, values, rect);
}

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


// ---- Rotation, deskewing, orientation and canonical form ------------------------------

#include <cmath>
#include <new>

#include "geometry/grey_skew.h"
#include "geometry/orientation.h"
#include "geometry/quarter_turn.h"
#include "geometry/resample.h"
#include "geometry/shear.h"

namespace {

constexpr double kQuarterTurn = 1.5707963267948966;
constexpr int kLargestSide = 65535;

bool GeometryDepth(DibInfo const* src) {
  if (!src) return false;
  int const d = src->BitsPerPixel();
  return d == 1 || d == 8 || d == 24 || d == 32;
}

// A result of the source's depth, row order and resolutions (exchanged when `swap`); 1-bit
// results start zeroed, so bits beyond the width stay clear.
DibInfo* GeometryResult(DibInfo const* src, int width, int height, bool swap) {
  if (width < 1 || height < 1 || width > kLargestSide || height > kLargestSide) return nullptr;
  int const xRes = swap ? src->YPelsPerMeter() : src->XPelsPerMeter();
  int const yRes = swap ? src->XPelsPerMeter() : src->YPelsPerMeter();
  int const h = src->biHeight > 0 ? height : -height;
  int const depth = src->BitsPerPixel();
  return depth == 1 ? DibCreateDepth(width, h, xRes, yRes, depth)
                    : DibCreateForOverwrite(width, h, xRes, yRes, depth);
}

ShearFormat ShearFormatOf(DibView const& area, int depth) {
  ShearFormat f;
  f.bitsPerPixel = depth;
  if (depth != 1) MeasurePaper(area, depth / 8, f.paper);
  return f;
}

// The size that holds a W x H area turned by angle.
void TurnedSize(int w, int h, double angle, int& outW, int& outH) {
  double const c = std::fabs(std::cos(angle)), s = std::fabs(std::sin(angle));
  outW = int(std::min(double(kLargestSide + 1), std::ceil(w * c + h * s - 1e-6)));
  outH = int(std::min(double(kLargestSide + 1), std::ceil(w * s + h * c - 1e-6)));
  outW = std::max(outW, 1);
  outH = std::max(outH, 1);
}

DibInfo* QuarterTurned(DibInfo* src, Area const& area, int quarters) {
  quarters &= 3;
  bool const odd = quarters & 1;
  DibHolder result(GeometryResult(src, odd ? area.height : area.width,
                                  odd ? area.width : area.height, odd));
  if (!result) return nullptr;
  QuarterTurn(MakeView(result.get()), MakeView(src, area), src->BitsPerPixel(), quarters);
  return result.release();
}

// Three exact shears after the nearest quarter turn, into a result of outW x outH.
DibInfo* ShearRotated(DibInfo* src, Area const& area, double angle, int outW, int outH,
                      ShearFormat const& format) {
  int const quarters = int(std::lround(angle / kQuarterTurn));
  double const rest = angle - quarters * kQuarterTurn;
  DibHolder turned((quarters & 3) != 0 ? QuarterTurned(src, area, quarters) : nullptr);
  if ((quarters & 3) != 0 && !turned) return nullptr;
  DibView const from = turned ? MakeView(turned.get()) : MakeView(src, area);
  DibHolder result(GeometryResult(src, outW, outH, false));
  if (!result) return nullptr;
  if (!RotateByShears(MakeView(result.get()), from, format, rest)) return nullptr;
  return result.release();
}

// Resampled turn of the area about its centre into a result of outW x outH.
DibInfo* ResampledRotation(DibInfo* src, Area const& area, double angle, int outW, int outH,
                           Interpolation interp, uint8_t const paper[4]) {
  DibHolder result(GeometryResult(src, outW, outH, false));
  if (!result) return nullptr;
  AffineMap const map = RotationMap(angle, (area.width - 1) / 2.0, (area.height - 1) / 2.0,
                                    (outW - 1) / 2.0, (outH - 1) / 2.0);
  if (!ResampleAffine(MakeView(result.get()), MakeView(src, area), src->BitsPerPixel() / 8,
                      map, interp, paper))
    return nullptr;
  return result.release();
}

DibInfo* Rotation(DibInfo* src, double angle, int flags, tagRect32 const* rect, bool shears) {
  if (!GeometryDepth(src) || !std::isfinite(angle) || flags < 0 || flags > 7) return nullptr;
  int const interp = (flags >> 1) & 3;
  if (interp == 3 || (shears && interp != 0)) return nullptr;
  Area area;
  if (!ClampRect(src, rect, area)) return nullptr;
  angle = std::remainder(angle, 4.0 * kQuarterTurn);  // -pi .. pi: the same turn
  bool const expand = flags & 1;
  double const turns = angle / kQuarterTurn;
  if (expand && std::fabs(turns - std::nearbyint(turns)) * kQuarterTurn < 1e-9)
    return QuarterTurned(src, area, int(std::fmod(std::nearbyint(turns), 4.0)));
  int outW = area.width, outH = area.height;
  if (expand) TurnedSize(area.width, area.height, angle, outW, outH);
  int const depth = src->BitsPerPixel();
  ShearFormat const format = ShearFormatOf(MakeView(src, area), depth);
  if (depth == 1 || shears) return ShearRotated(src, area, angle, outW, outH, format);
  return ResampledRotation(src, area, angle, outW, outH, Interpolation(interp), format.paper);
}

}  // namespace

DibInfo* DibRotateBy90(DibInfo* src, int quarterTurns, tagRect32* rect) {
  if (!GeometryDepth(src)) return nullptr;
  Area area;
  if (!ClampRect(src, rect, area)) return nullptr;
  return QuarterTurned(src, area, ((quarterTurns % 4) + 4) % 4);
}

DibInfo* DibRotateAccurate(DibInfo* src, double angle, int flags, tagRect32* rect) {
  return Rotation(src, angle, flags, rect, false);
}

DibInfo* DibRotate3Skew(DibInfo* src, double angle, int flags, tagRect32* rect) {
  return Rotation(src, angle, flags, rect, true);
}

DibInfo* DibSkew(DibInfo* src, double tangent, bool vertical, tagRect32* rect) {
  if (!GeometryDepth(src) || !std::isfinite(tangent)) return nullptr;
  Area area;
  if (!ClampRect(src, rect, area)) return nullptr;
  int const n = vertical ? area.width : area.height;
  int const across = vertical ? area.height : area.width;
  if (std::fabs(tangent) * n + across > kLargestSide) return nullptr;
  std::vector<int> shift;
  int low = 0;
  int span = 0;
  try {
    span = ShearShifts(tangent, n, (n - 1) / 2.0, shift, low);
  } catch (std::bad_alloc const&) {
    return nullptr;
  }
  DibHolder result(GeometryResult(src, vertical ? area.width : area.width + span,
                                  vertical ? area.height + span : area.height, false));
  if (!result) return nullptr;
  DibView const from = MakeView(src, area);
  ShearFormat const format = ShearFormatOf(from, src->BitsPerPixel());
  bool const done = vertical ? ShiftColumns(MakeView(result.get()), from, format, shift.data())
                             : (ShiftRows(MakeView(result.get()), from, format, shift.data(), 0), true);
  return done ? result.release() : nullptr;
}

DibInfo* DibDeskew(DibInfo* src, double* angle, tagRect32* rect) {
  if (!GeometryDepth(src)) return nullptr;
  Area area;
  if (!ClampRect(src, rect, area)) return nullptr;
  GreyImage grey;
  // Full resolution: at half, residuals of 0.03 degrees remain on 300-dpi pages.
  if (!ReducedGrey(MakeView(src, area), src->BitsPerPixel(), 1, grey)) return nullptr;
  double skew = 0.0;
  if (!HoughSkewOf(grey, skew) || !std::isfinite(skew)) skew = 0.0;
  grey = GreyImage();
  if (angle) *angle = skew;
  Area const whole{0, 0, src->Width(), src->Height()};
  // The largest move of a turn about the centre is the angle times the half diagonal.
  double const halfDiagonal = 0.5 * std::hypot(double(whole.width), double(whole.height));
  if (std::fabs(skew) * halfDiagonal < 0.5) return QuarterTurned(src, whole, 0);
  int const depth = src->BitsPerPixel();
  ShearFormat const format = ShearFormatOf(MakeView(src, whole), depth);
  if (depth == 1) return ShearRotated(src, whole, -skew, whole.width, whole.height, format);
  return ResampledRotation(src, whole, -skew, whole.width, whole.height,
                           Interpolation::kBilinear, format.paper);
}

namespace {

// The map from the unit square's corners (0,0), (1,0), (1,1), (0,1) to the quadrilateral.
bool SquareToQuad(double const* q, double m[9]) {
  double const x0 = q[0], y0 = q[1], x1 = q[2], y1 = q[3], x2 = q[4], y2 = q[5], x3 = q[6],
               y3 = q[7];
  double const dx1 = x1 - x2, dx2 = x3 - x2, dx3 = x0 - x1 + x2 - x3;
  double const dy1 = y1 - y2, dy2 = y3 - y2, dy3 = y0 - y1 + y2 - y3;
  double g = 0.0, h = 0.0;
  double const det = dx1 * dy2 - dx2 * dy1;
  if (dx3 != 0.0 || dy3 != 0.0) {
    if (det == 0.0) return false;
    g = (dx3 * dy2 - dx2 * dy3) / det;
    h = (dx1 * dy3 - dx3 * dy1) / det;
  }
  m[0] = x1 - x0 + g * x1; m[1] = x3 - x0 + h * x3; m[2] = x0;
  m[3] = y1 - y0 + g * y1; m[4] = y3 - y0 + h * y3; m[5] = y0;
  m[6] = g; m[7] = h; m[8] = 1.0;
  return true;
}

// Corners in order, clockwise as seen (rows down): every turn bends the same way.
bool ConvexClockwise(double const* q) {
  for (int i = 0; i < 4; ++i) {
    double const* a = q + 2 * i;
    double const* b = q + 2 * ((i + 1) % 4);
    double const* c = q + 2 * ((i + 2) % 4);
    double const cross = (b[0] - a[0]) * (c[1] - b[1]) - (b[1] - a[1]) * (c[0] - b[0]);
    if (!(cross > 0.0)) return false;
  }
  return true;
}

}  // namespace

DibInfo* DibDistort(DibInfo* src, double const* corners, int width, int height, int flags) {
  if (!GeometryDepth(src) || !corners || flags < 0 || flags > 7 || (flags & 1)) return nullptr;
  int const interp = (flags >> 1) & 3;
  if (interp == 3) return nullptr;
  for (int i = 0; i < 8; ++i)
    if (!std::isfinite(corners[i]) || std::fabs(corners[i]) > 1e7) return nullptr;
  if (!ConvexClockwise(corners)) return nullptr;
  auto side = [&](int a, int b) {
    return std::hypot(corners[2 * b] - corners[2 * a], corners[2 * b + 1] - corners[2 * a + 1]);
  };
  if (width <= 0) width = int(std::min(1e6, std::lround(std::max(side(0, 1), side(3, 2))) + 1.0));
  if (height <= 0) height = int(std::min(1e6, std::lround(std::max(side(0, 3), side(1, 2))) + 1.0));
  double square[9];
  if (!SquareToQuad(corners, square)) return nullptr;
  DibHolder result(GeometryResult(src, width, height, false));
  if (!result) return nullptr;
  // Destination (u, v) is the square's (u / (width-1), v / (height-1)).
  double const su = 1.0 / std::max(1, width - 1), sv = 1.0 / std::max(1, height - 1);
  ProjectiveMap map;
  for (int r = 0; r < 3; ++r) {
    map.m[3 * r] = square[3 * r] * su;
    map.m[3 * r + 1] = square[3 * r + 1] * sv;
    map.m[3 * r + 2] = square[3 * r + 2];
  }
  DibView const from = MakeView(src);
  if (src->BitsPerPixel() == 1) {
    ResampleProjectiveBits(MakeView(result.get()), from, map);
  } else {
    uint8_t paper[4];
    MeasurePaper(from, src->BitsPerPixel() / 8, paper);
    ResampleProjective(MakeView(result.get()), from, src->BitsPerPixel() / 8, map,
                       Interpolation(interp), paper);
  }
  return result.release();
}

namespace {

int DpiOf(int pelsPerMeter) { return int(std::lround(pelsPerMeter / 39.37)); }

}  // namespace

int DibDetectDominantOrientation(DibInfo* src, int* confidence, tagRect32* rect) {
  if (confidence) *confidence = 0;
  if (!GeometryDepth(src)) return -1;
  Area area;
  if (!ClampRect(src, rect, area)) return -1;
  int c = 0;
  int const k = DominantOrientation(MakeView(src, area), src->BitsPerPixel(),
                                    DpiOf(src->YPelsPerMeter()), c);
  if (confidence && k >= 0) *confidence = c;
  return k;
}

// (end of rotation, deskewing, orientation and canonical form)


// ---- Canonical form ------------------------------------------------------------------------

#include "record/canonize.h"

int DibCanonize(DibInfo*& dst, DibInfo const* src, int direction, int count,
                char const* const* names, char const* const* values) {
  CDibFlowControl frame;
  if (frame.SetParams(count, names, values) < 0 || !src || dst) return kDibInvalid;
  int upright = 0;
  frame.GetIntParam(&direction, "direction", direction);
  frame.GetIntParam(&upright, "upright", 0);
  int const grade = CanonicalGrade(src, direction);
  if (grade != 0 && grade != 1) return kDibInvalid;
  int const w = src->Width(), h = src->Height(), depth = src->BitsPerPixel();
  bool const bottomUp = direction == DibDirectionBottomUp   ? true
                        : direction == DibDirectionTopDown ? false
                                                           : src->biHeight > 0;
  tagRGBQUAD const* palette = src->PalPtr();
  int const colours = src->NumColors();
  int outDepth = depth;
  if (depth == 8)
    for (int i = 0; i < colours && i < 256; ++i)
      if (palette[i].rgbBlue != palette[i].rgbGreen || palette[i].rgbBlue != palette[i].rgbRed)
        outDepth = 24;
  DibHolder result(DibCreateDepth(w, bottomUp ? h : -h, src->XPelsPerMeter(),
                                  src->YPelsPerMeter(), outDepth));
  if (!result) return kDibNoMemory;
  DibView const from = MakeView(src), to = MakeView(result.get());
  if (depth == 1) {
    // An entry the palette does not hold reads black.
    auto light = [&](int i) {
      return i < colours && palette[i].rgbBlue + palette[i].rgbGreen + palette[i].rgbRed >= 383;
    };
    int const white[2] = {light(0), light(1)};
    MapBitsThroughPalette(to, from, white);
  } else if (depth == 8) {
    MapIndicesThroughPalette(to, from, palette, colours, outDepth / 8);
  } else {
    QuarterTurn(to, from, depth, 0);
  }
  if (upright) {
    int confidence = 0;
    int const k = DominantOrientation(to, outDepth, DpiOf(result.get()->YPelsPerMeter()),
                                      confidence);
    if (k == -2) return kDibNoMemory;
    if (k > 0) {
      DibInfo* turned = QuarterTurned(result.get(), Area{0, 0, w, h}, k);
      if (!turned) return kDibNoMemory;
      dst = turned;
      return k;
    }
  }
  dst = result.release();
  return 0;
}

// (end of canonical form)


// ---- Zoomed previews and upscaling ------------------------------------------------

#include "scale/upscale.h"
#include "scale/upscale_bits.h"
#include "scale/zoom.h"
#include "scale/zoom_axis.h"
#include "scale/zoom_deskewed.h"

namespace {

// A resolution scaled by result / area pixels, rounded; 0 stays 0.
int ScaledResolution(int pelsPerMetre, int result, int area) {
  double const r = std::floor(double(pelsPerMetre) * result / area + 0.5);
  return r >= double(INT_MAX) ? INT_MAX : r <= 0.0 ? 0 : int(r);
}

// The clamped area of a zoom and the result's size; false when either is refused.
struct ZoomGeometry {
  Area area;
  int width = 0, height = 0;
};

bool ZoomGeometryOf(DibInfo const* src, double factor, tagRect32 const* rect, ZoomGeometry& g) {
  if (!ClampRect(src, rect, g.area)) return false;
  g.width = ZoomLength(g.area.width, factor);
  g.height = ZoomLength(g.area.height, factor);
  return g.width > 0 && g.height > 0;
}

// A result record of the zoom's size, the source's row order and the scaled resolutions.
DibInfo* MakeZoomResult(DibInfo const* src, ZoomGeometry const& g, int depth) {
  return DibCreateForOverwrite(g.width, src->biHeight > 0 ? g.height : -g.height,
                               ScaledResolution(src->XPelsPerMeter(), g.width, g.area.width),
                               ScaledResolution(src->YPelsPerMeter(), g.height, g.area.height),
                               depth);
}

DibInfo* Zoom(DibInfo* src, double factor, tagRect32 const* rect, ZoomResult result) {
  if (!src) return nullptr;
  int const depth = src->BitsPerPixel();
  if (depth != 1 && depth != 8 && depth != 24 && depth != 32) return nullptr;
  ZoomGeometry g;
  if (!ZoomGeometryOf(src, factor, rect, g)) return nullptr;
  DibHolder made(MakeZoomResult(src, g, result == ZoomResult::kGrey ? 8 : depth));
  if (!made || !DibZoomView(MakeView(made.get()), MakeView(src, g.area), depth, result))
    return nullptr;
  return made.release();
}

}  // namespace

DibInfo* DibMakeZoom8(DibInfo* src, double factor, tagRect32* rect) {
  return Zoom(src, factor, rect, ZoomResult::kGrey);
}

DibInfo* DibMakeZoom(DibInfo* src, double factor, tagRect32* rect) {
  return Zoom(src, factor, rect, ZoomResult::kSameDepth);
}

DibInfo* DibMakeZoomDeskewed(DibInfo* src, double factor, double angle, tagRect32* rect) {
  if (!src) return nullptr;
  int const depth = src->BitsPerPixel();
  if (depth != 1 && depth != 8 && depth != 24 && depth != 32) return nullptr;
  if (!std::isfinite(angle) || std::fabs(angle) > kMaxDeskewAngle) return nullptr;
  ZoomGeometry g;
  if (!ZoomGeometryOf(src, factor, rect, g)) return nullptr;
  DibHolder made(MakeZoomResult(src, g, 8));
  if (!made || !DibZoomDeskewedView(MakeView(made.get()), MakeView(src, g.area), depth, angle))
    return nullptr;
  return made.release();
}

int DibUpscale(DibInfo*& dst, DibInfo const* src, double factor, tagRect32 const* rect) {
  if (!src) return kDibInvalid;
  CDibFlowControl frame;
  int const depth = src->BitsPerPixel();
  DibPlane from;
  if (frame.AddSource(&from, src, depth, rect) < 0) return frame.GetStatus();
  bool const allowed = depth == 1 ? factor == 2.0 || factor == 3.0 || factor == 4.0
                                  : std::isfinite(factor) && factor >= 1.0;
  ZoomGeometry g;
  if (!allowed || !ZoomGeometryOf(src, factor, rect, g)) return frame.Fail(kDibInvalid);
  if (dst && (dst->BitsPerPixel() != depth || dst->Width() < g.width || dst->Height() < g.height))
    return frame.Fail(kDibInvalid);
  DibHolder made(dst ? nullptr : MakeZoomResult(src, g, depth));
  if (!dst && !made) return frame.Fail(kDibNoMemory);
  DibPlane const to = MakePlane(dst ? dst : made.get(), Area{0, 0, g.width, g.height});
  bool const ok = depth == 1 ? DibUpscaleBitsPlane(to, from, int(factor)) : DibUpscalePlane(to, from);
  if (frame.SetSuccess(ok) < 0) return frame.GetStatus();
  if (made) dst = made.release();
  return frame.GetStatus();
}

// (end of zoomed previews and upscaling)


// ---- Adaptive binarization ----------------------------------------------------------

#include "binarize/adaptive.h"

namespace {

AdaptiveSetup SetupOf(int method, int variant, int window, int k, int range) {
  AdaptiveSetup s;
  s.method = method;
  s.variant = variant;
  s.window = window;
  s.k = k;
  s.range = range;
  return s;
}

}  // namespace

DibInfo* DibBinarizeCommon(DibInfo* dib, SDibBinarizeSetup const& setup, tagRect32* rect) {
  return AdaptiveBinarizeRecord(
      dib, SetupOf(setup.method, setup.variant, setup.window, setup.k, setup.range), rect);
}

DibInfo* DibBinarizeNiblack(DibInfo* dib, int variant, int window, int k, tagRect32* rect) {
  return AdaptiveBinarizeRecord(dib, SetupOf(kAdaptiveNiblack, variant, window, k, 0), rect);
}

DibInfo* DibBinarizeNiGlob(DibInfo* dib, int variant, int window, int k, tagRect32* rect) {
  return AdaptiveBinarizeRecord(dib, SetupOf(kAdaptiveNiGlob, variant, window, k, 0), rect);
}

DibInfo* DibBinarizeStat(DibInfo* dib, int window, int k, tagRect32* rect) {
  return AdaptiveBinarizeRecord(dib, SetupOf(kAdaptiveStat, 0, window, k, 0), rect);
}

// (end of adaptive binarization)


// ---- Morphology: despeckling, reduction, distances, skeletons, structuring elements ------

#include "morph/clean_pimples.h"
#include "morph/distance_transform.h"
#include "morph/grey_gradient.h"
#include "morph/ink_bits.h"
#include "morph/morph_ops.h"
#include "morph/skeleton.h"
#include "morph/squeeze.h"

namespace {

// The 1-bit area of a source under the clamping rule, read as ink; false when refused.
bool LoadInkArea(DibInfo const* src, tagRect32 const* rect, Area& area, InkBits& ink) {
  if (!src || src->BitsPerPixel() != 1 || !ClampRect(src, rect, area)) return false;
  return LoadInk(ink, MakeView(src, area), area.left % 8);
}

// A new record of `depth` for an area of src, in src's row order and resolutions.
DibInfo* CreateLike(DibInfo const* src, int width, int height, int depth) {
  return DibCreateDepth(width, src->biHeight > 0 ? height : -height, src->XPelsPerMeter(),
                        src->YPelsPerMeter(), depth);
}

// A new record of `depth` for the area, each pixel written by put(row, x, y) in storage order.
template <class Put>
DibInfo* RecordOfArea(DibInfo const* src, Area const& area, int depth, Put put) {
  DibInfo* made = CreateLike(src, area.width, area.height, depth);
  if (!made) return nullptr;
  DibView const out = MakeView(made);
  for (int i = 0; i < area.height; ++i) {
    int const y = StorageRow(out.step, i, area.height);
    unsigned char* row = out.Row(y);
    for (int x = 0; x < area.width; ++x) put(row, x, y);
  }
  return made;
}

// The record's vertical resolution in dots per inch (0 when unknown).
int DotsPerInch(DibInfo const* dib) { return int(dib->YPelsPerMeter() / 39.37 + 0.5); }

}  // namespace

DibInfo* DibCleanPimples(DibInfo* src, int speckSize, int isolation, tagRect32* rect) {
  if (speckSize < 0 || isolation < 0) return nullptr;
  Area area;
  InkBits ink;
  if (!LoadInkArea(src, rect, area, ink)) return nullptr;
  if (!CleanPimples(ink, CleanLimitsFor(DotsPerInch(src), speckSize, isolation))) return nullptr;
  DibInfo* made = CreateLike(src, area.width, area.height, 1);
  if (made) StoreInk(ink, MakeView(made));
  return made;
}

DibInfo* DibSqueeze(DibInfo* src, int level, tagRect32* rect) {
  if (level < 1 || level > 4) return nullptr;
  Area area;
  InkBits ink, small;
  if (!LoadInkArea(src, rect, area, ink)) return nullptr;
  int const w = (area.width + 1) / 2, h = (area.height + 1) / 2;
  if (!small.Reset(w, h)) return nullptr;
  SqueezeInk(small, ink, level);
  DibInfo* made = DibCreateDepth(w, src->biHeight > 0 ? h : -h,
                                 int((int64_t(src->XPelsPerMeter()) + 1) / 2),
                                 int((int64_t(src->YPelsPerMeter()) + 1) / 2), 1);
  if (made) StoreInk(small, MakeView(made));
  return made;
}

DibInfo* DibDistanceTransform(DibInfo* src, int metric, int bits, int measure, tagRect32* rect) {
  if (metric < 0 || metric > 2 || (bits != 8 && bits != 32) || (measure != 0 && measure != 1))
    return nullptr;
  Area area;
  InkBits ink;
  if (!LoadInkArea(src, rect, area, ink)) return nullptr;
  std::vector<uint32_t> map;
  DistanceMetric const m = static_cast<DistanceMetric>(metric);
  if (!DistanceMap(map, ink, measure == 0, m)) return nullptr;
  bool const euclid = m == DistanceMetric::kEuclid;
  return RecordOfArea(src, area, bits, [&](unsigned char* row, int x, int y) {
    uint32_t const d = map[std::size_t(y) * std::size_t(area.width) + std::size_t(x)];
    if (bits == 32) {
      int32_t const v = d > 0x7FFFFFFFu ? 0x7FFFFFFF : int32_t(d);
      std::memcpy(row + 4 * std::size_t(x), &v, 4);
    } else {
      uint32_t const v = euclid && d != kDistanceFar ? RoundedRoot(d) : d;
      row[x] = uint8_t(v > 255 ? 255 : v);
    }
  });
}

namespace {

// The request of a setup; the element image, if any, is read into `element`. False when the
// image cannot be read (not 1-bit, no memory).
bool MorphRequestOf(SDibMorphSetup const& setup, InkBits& element, MorphRequest& request) {
  request = {setup.oper, setup.shape, setup.hSize, setup.vSize, setup.angle, nullptr, setup.pattern};
  if (setup.shape != DibShapeImage) return true;
  DibInfo const* e = setup.element;
  if (!e || e->BitsPerPixel() != 1 || e->Width() < 1 || e->Height() < 1) return false;
  if (!LoadInk(element, MakeView(e), 0, false)) return false;
  request.image = &element;
  return true;
}

}  // namespace

DibInfo* DibMorphCommon(DibInfo* src, SDibMorphSetup const* setup, tagRect32* rect) {
  if (!src || !setup || (src->BitsPerPixel() != 1 && src->BitsPerPixel() != 8)) return nullptr;
  Area area;
  if (!ClampRect(src, rect, area)) return nullptr;
  InkBits element;
  MorphRequest request;
  if (!MorphRequestOf(*setup, element, request)) return nullptr;
  DibHolder made(CreateLike(src, area.width, area.height, src->BitsPerPixel()));
  if (!made) return nullptr;
  if (MorphArea(MakeView(made.get()), 0, MakeView(src, area), area.left % 8, src->BitsPerPixel(),
                request) != 0)
    return nullptr;
  return made.release();
}

int DibMorphEx(DibInfo*& dst, DibInfo const* src, SDibMorphSetup const* setup, int count,
               char const* const* names, char const* const* values, tagRect32 const* rect,
               tagPoint32 const* origin) {
  if (!src || !setup) return kDibInvalid;
  CDibFlowControl frame;
  SDibMorphSetup s = *setup;
  frame.SetParams(count, names, values);
  frame.GetIntParam(&s.oper, "oper", setup->oper);
  frame.GetIntParam(&s.shape, "type", setup->shape);
  frame.GetIntParam(&s.hSize, "hSize", setup->hSize);
  frame.GetIntParam(&s.vSize, "vSize", setup->vSize);
  int const depth = src->BitsPerPixel();
  if (depth != 1 && depth != 8) return frame.Fail(kDibInvalid);
  DibPlane from, to;
  frame.AddSource(&from, src, depth, rect);
  frame.AddTarget(&to, dst, depth, origin);
  if (frame.GetStatus() != kDibOk) return frame.GetStatus();
  InkBits element;
  MorphRequest request;
  if (!MorphRequestOf(s, element, request)) return frame.Fail(kDibInvalid);
  int const status = MorphArea(ViewOfPlane(to), to.bitOffset, ViewOfPlane(from), from.bitOffset,
                               depth, request);
  return status < 0 ? frame.Fail(status) : frame.SetResult(status);
}

DibInfo* DibGradientMorpho(DibInfo* src, int kind, int size, tagRect32* rect) {
  if (!src || src->BitsPerPixel() != 8 || kind < 0 || kind > 2) return nullptr;
  if (size == 0) size = 3;
  if (size < 1 || size % 2 == 0 || size > kMaxElementSize) return nullptr;
  Area area;
  if (!ClampRect(src, rect, area)) return nullptr;
  DibHolder made(CreateLike(src, area.width, area.height, 8));
  if (!made) return nullptr;
  if (size == 3) {
    if (!GreyGradient3x3(MakeView(made.get()), MakeView(src, area), kind)) return nullptr;
    return made.release();
  }
  MorphRequest const request = {int(MorphOperation::kGradient) + kind, int(ElementShape::kRect),
                                size, size, 0.0, nullptr, nullptr};
  if (MorphArea(MakeView(made.get()), 0, MakeView(src, area), 0, 8, request) != 0) return nullptr;
  return made.release();
}

namespace {

// The skeleton of the area's ink; `weak` continues the end points.
bool SkeletonOf(DibInfo* src, tagRect32 const* rect, bool weak, Area& area, InkBits& skeleton,
                InkBits& ink) {
  if (!LoadInkArea(src, rect, area, ink) || !skeleton.Reset(area.width, area.height)) return false;
  std::copy(ink.Row(0), ink.Row(0) + std::size_t(ink.Words()) * std::size_t(ink.Height()), skeleton.Row(0));
  if (!ThinInk(skeleton)) return false;
  if (weak) TipExtension(skeleton, ink);
  return true;
}

DibInfo* SkeletonRecord(DibInfo* src, tagRect32 const* rect, bool weak) {
  Area area;
  InkBits skeleton, ink;
  if (!SkeletonOf(src, rect, weak, area, skeleton, ink)) return nullptr;
  DibInfo* made = CreateLike(src, area.width, area.height, 1);
  if (made) StoreInk(skeleton, MakeView(made));
  return made;
}

}  // namespace

DibInfo* DibSkelet(DibInfo* src, tagRect32* rect) { return SkeletonRecord(src, rect, false); }

DibInfo* DibSkeletWeak(DibInfo* src, tagRect32* rect) { return SkeletonRecord(src, rect, true); }

DibInfo* DibSkeletize(DibInfo* src, tagRect32* rect) {
  Area area;
  InkBits skeleton, ink;
  if (!SkeletonOf(src, rect, true, area, skeleton, ink)) return nullptr;
  std::vector<uint32_t> map;
  if (!DistanceMap(map, ink, true, DistanceMetric::kEuclid)) return nullptr;
  return RecordOfArea(src, area, 8, [&](unsigned char* row, int x, int y) {
    uint32_t const r = skeleton.Get(x, y)
                           ? RoundedRoot(map[std::size_t(y) * std::size_t(area.width) + std::size_t(x)])
                           : 0;
    row[x] = uint8_t(r > 255 ? 255 : r);
  });
}

// (end of morphology)


// ---- Colour separation and transforms ---------------------------------------------

#include <cmath>

#include "colour/background_suppress.h"
#include "colour/colour_match.h"
#include "colour/colour_transform.h"
#include "colour/ink_separation.h"
#include "colour/paper_colour.h"

DibInfo* DibSupressColorsCommon(DibInfo* src, int keepCount, unsigned char const (*keep)[3],
                                double const* keepTolerance, int dropCount,
                                unsigned char const (*drop)[3], double const* dropTolerance,
                                int outputBits, tagRect32* rect) {
  if (!src || src->BitsPerPixel() != 24 || (outputBits != 8 && outputBits != 24)) return nullptr;
  Area area;
  if (!ExactFitRect(src, rect, area)) return nullptr;
  DibHolder result(DibCreateForOverwrite(area.width, area.height, src->XPelsPerMeter(),
                                         src->YPelsPerMeter(), outputBits));
  ToleranceSets const sets = {keep, keepTolerance, keepCount, drop, dropTolerance, dropCount};
  if (!result || !DibSuppressColorSetsCommon(MakeView(result.get()), MakeView(src, area), sets,
                                             outputBits))
    return nullptr;
  return result.release();
}

namespace {

// Levels of one byte: the common keys, then the byte's own.
bool ByteLevelCurve(CDibFlowControl& frame, char const* suffix, int black, int white, int gamma,
                    unsigned char table[256]) {
  std::string const b = std::string("black") + suffix, w = std::string("white") + suffix,
                    g = std::string("gamma") + suffix;
  frame.GetIntParam(&black, b.c_str(), black);
  frame.GetIntParam(&white, w.c_str(), white);
  frame.GetIntParam(&gamma, g.c_str(), gamma);
  return MakeLevelCurve(black, white, gamma, table);
}

}  // namespace

int DibTransformColorsEx(DibInfo*& dest, DibInfo const* src, int oper, int p1, int p2, int p3,
                         int count, char const* const* names, char const* const* values,
                         tagRect32 const* rect, tagPoint32 const* origin) {
  if (!src) return kDibInvalid;
  int const depth = src->BitsPerPixel();
  bool const colour = depth == 24 || depth == 32;
  if (depth != 8 && !colour) return kDibInvalid;
  if (oper < kTransformLevels || oper > kTransformInvert) return kDibInvalid;
  if ((oper == kTransformWhiteBalance || oper == kTransformGrey) && !colour) return kDibInvalid;
  CDibFlowControl frame;
  if (frame.SetParams(count, names, values) != kDibOk) return frame.GetStatus();
  ByteCurves curves;
  int weights[3] = {p1, p2, p3};
  if (oper == kTransformLevels) {
    int black = p1, white = p2 == 0 ? 255 : p2, gamma = p3 == 0 ? 100 : p3;
    frame.GetIntParam(&black, "black", black);
    frame.GetIntParam(&white, "white", white);
    frame.GetIntParam(&gamma, "gamma", gamma);
    char const* const suffixes[3] = {"B", "G", "R"};
    for (int c = 0; c < (colour ? 3 : 1); ++c)
      if (!ByteLevelCurve(frame, suffixes[c], black, white, gamma, curves.table[c]))
        return kDibInvalid;
  } else if (oper == kTransformInvert) {
    for (int c = 0; c < 3; ++c)
      for (int v = 0; v < 256; ++v) curves.table[c][v] = static_cast<unsigned char>(255 - v);
  } else if (oper == kTransformGrey) {
    frame.GetIntParam(&weights[0], "mulB", p1);
    frame.GetIntParam(&weights[1], "mulG", p2);
    frame.GetIntParam(&weights[2], "mulR", p3);
    if (weights[0] == 0 && weights[1] == 0 && weights[2] == 0)
      weights[0] = 29, weights[1] = 150, weights[2] = 77;
    if (weights[0] < 0 || weights[1] < 0 || weights[2] < 0) return kDibInvalid;
  }
  DibPlane in, out;
  frame.AddSource(&in, src, depth, rect);
  frame.AddTarget(&out, dest, oper == kTransformGrey ? 8 : depth, origin);
  if (frame.GetStatus() != kDibOk) return frame.GetStatus();
  if (oper == kTransformWhiteBalance) {
    int paper[3] = {0, 0, 0};
    frame.GetIntParam(&paper[0], "paperB", 0);
    frame.GetIntParam(&paper[1], "paperG", 0);
    frame.GetIntParam(&paper[2], "paperR", 0);
    if (paper[0] == 0 && paper[1] == 0 && paper[2] == 0) {
      unsigned char measured[3];
      if (!MeasurePaper(in, measured)) return frame.Fail(kDibKernelFailed);
      for (int c = 0; c < 3; ++c) paper[c] = measured[c] > 0 ? measured[c] : 1;
    }
    for (int c = 0; c < 3; ++c)
      if (!MakeBalanceCurve(paper[c], curves.table[c])) return frame.Fail(kDibInvalid);
  }
  if (oper == kTransformGrey) {
    WeightedGrey(out, in, weights);
  } else {
    ApplyCurves(out, in, curves);
  }
  return frame.SetSuccess(true);
}

namespace {

// Pixels per metre to dots per inch, 0 when unknown.
int DotsPerInch(int pelsPerMeter) { return int(pelsPerMeter / 39.37 + 0.5); }

}  // namespace

DibInfo* DibSuppress(DibInfo* src, int window, int whiteLevel, tagRect32* rect) {
  if (!src || window < 0 || whiteLevel < 0 || whiteLevel > 255) return nullptr;
  int const depth = src->BitsPerPixel();
  if (depth != 8 && depth != 24 && depth != 32) return nullptr;
  Area area;
  if (!ClampRect(src, rect, area)) return nullptr;
  if (window == 0) {
    int const dpi = DotsPerInch(src->XPelsPerMeter());
    window = dpi > 0 ? (dpi + 3) / 6 : 50;
  }
  if (window < 4) window = 4;
  DibHolder result(DibCreateForOverwrite(area.width, area.height, src->XPelsPerMeter(),
                                         src->YPelsPerMeter(), depth));
  if (!result || !DibSuppressBackground(MakeView(result.get()), MakeView(src, area), depth / 8,
                                        window, whiteLevel == 0 ? 230 : whiteLevel))
    return nullptr;
  return result.release();
}

DibInfo* DibMatchColor(DibInfo* src, unsigned char const (*colour)[3], double tolerance,
                       bool ignoreLightness, tagRect32* rect) {
  if (!src || src->BitsPerPixel() != 24 || !colour || !(tolerance >= 0.0)) return nullptr;
  Area area;
  if (!ClampRect(src, rect, area)) return nullptr;
  DibHolder result(DibCreateForOverwrite(area.width, area.height, src->XPelsPerMeter(),
                                         src->YPelsPerMeter(), 1));
  if (!result || !DibColourMatchMask(MakeView(result.get()), MakeView(src, area), *colour,
                                     tolerance, ignoreLightness))
    return nullptr;
  return result.release();
}

int DibSeparate(DibInfo* src, int inkCount, int maxLayers, DibInfo** masks,
                unsigned char (*inks)[3], DibInfo** labels, tagRect32* rect) {
  bool const validCount = maxLayers >= 1 && maxLayers <= kDibMaxInks;
  auto clear = [&] {
    if (masks && validCount)
      for (int i = 0; i < maxLayers; ++i) masks[i] = nullptr;
    if (labels) *labels = nullptr;
  };
  clear();
  if (!src || src->BitsPerPixel() != 24 || inkCount < 0 || inkCount > kDibMaxInks ||
      !validCount || maxLayers < inkCount)
    return -1;
  Area area;
  if (!ClampRect(src, rect, area)) return -1;
  DibHolder map(DibCreateForOverwrite(area.width, area.height, src->XPelsPerMeter(),
                                      src->YPelsPerMeter(), 8));
  InkLayers layers;
  if (!map || !DibSeparateInks(MakeView(map.get()), MakeView(src, area), inkCount, maxLayers,
                               layers))
    return -1;
  if (masks) {
    for (int i = 0; i < layers.count; ++i) {
      masks[i] = DibCreateForOverwrite(area.width, area.height, src->XPelsPerMeter(),
                                       src->YPelsPerMeter(), 1);
      if (!masks[i]) {
        for (int j = 0; j < i; ++j) DibRelease(masks[j]);
        clear();
        return -1;
      }
      LabelMask(MakeView(masks[i]), MakeView(map.get()), i + 1);
    }
  }
  if (inks)
    for (int i = 0; i < layers.count; ++i)
      for (int c = 0; c < 3; ++c) inks[i][c] = layers.colour[i][c];
  if (labels) *labels = map.release();
  return layers.count;
}

// (end of colour separation and transforms)


// ---- Edge-preserving smoothing, gradients and texture ------------------------------

#include "filter/bilateral.h"
#include "filter/gradient.h"
#include "filter/median.h"
#include "filter/texture.h"

namespace {

// For a 24-bit source, a new 8-bit record of the area's grey (b + g + r + 1) / 3.
DibInfo* MeanGreyRecord(DibInfo* src, Area const& area) {
  if (src->BitsPerPixel() != 24) return nullptr;
  DibInfo* grey = DibCreateForOverwrite(area.width, area.height, 0, 0, 8);
  if (grey) DibMeanGrey(MakeView(grey), MakeView(src, area));
  return grey;
}

}  // namespace

DibInfo* DibSmooth(DibInfo* src, int method, int size, int strength, tagRect32* rect) {
  if (!src) return nullptr;
  int const depth = src->BitsPerPixel();
  if (depth != 8 && depth != 24 && depth != 32) return nullptr;
  bool const valid = method == 0   ? size >= 3 && size <= 255 && size % 2 == 1
                     : method == 1 ? size >= 3 && size <= 31 && size % 2 == 1 &&
                                         strength >= 1 && strength <= 255
                                   : false;
  if (!valid) return nullptr;
  Area area;
  if (!ClampRect(src, rect, area)) return nullptr;
  DibHolder result(DibCreateForOverwrite(area.width, area.height, src->XPelsPerMeter(),
                                         src->YPelsPerMeter(), depth));
  if (!result) return nullptr;
  DibView const to = MakeView(result.get()), from = MakeView(src, area);
  bool const ok = method == 0 ? DibMedian(to, from, depth / 8, size)
                              : DibBilateral(to, from, depth / 8, size, strength);
  return ok ? result.release() : nullptr;
}

DibInfo* DibGradientMap(DibInfo* src, int kernel, int directions, int minMagnitude,
                        tagRect32* rect) {
  if (!src || (src->BitsPerPixel() != 8 && src->BitsPerPixel() != 24)) return nullptr;
  if ((kernel != 0 && kernel != 1) || (directions != 0 && (directions < 2 || directions > 128)) ||
      minMagnitude < 0 || minMagnitude > 255)
    return nullptr;
  Area area;
  if (!ClampRect(src, rect, area)) return nullptr;
  DibHolder result(DibCreateForOverwrite(area.width, area.height, src->XPelsPerMeter(),
                                         src->YPelsPerMeter(), 8));
  DibHolder grey(MeanGreyRecord(src, area));
  if (!result || (src->BitsPerPixel() == 24 && !grey)) return nullptr;
  DibGradient(MakeView(result.get()), grey ? MakeView(grey.get()) : MakeView(src, area), static_cast<GradientKernel>(kernel), directions,
              minMagnitude);
  return result.release();
}

DibInfo* DibGetTexture(DibInfo* src, int block, int measure, tagRect32* rect) {
  if (!src || (src->BitsPerPixel() != 8 && src->BitsPerPixel() != 24)) return nullptr;
  if (block < 2 || block > 256 || (measure != 0 && measure != 1)) return nullptr;
  Area area;
  if (!ClampRect(src, rect, area)) return nullptr;
  int const xRes = int((int64_t(src->XPelsPerMeter()) + block / 2) / block);
  int const yRes = int((int64_t(src->YPelsPerMeter()) + block / 2) / block);
  DibHolder result(DibCreateForOverwrite(TextureCells(area.width, block),
                                         TextureCells(area.height, block), xRes, yRes, 8));
  DibHolder grey(MeanGreyRecord(src, area));
  if (!result || (src->BitsPerPixel() == 24 && !grey) ||
      !DibTextureMap(MakeView(result.get()), grey ? MakeView(grey.get()) : MakeView(src, area), block, static_cast<TextureMeasure>(measure)))
    return nullptr;
  return result.release();
}

// (end of edge-preserving smoothing, gradients and texture)


// ---- Zone matching ----------------------------------------------------------------

#include "compare/zone_match.h"

namespace {

// The grey of an 8- or 24-bit area, rows top to bottom, in `pixels`.
bool ContiguousGrey(DibInfo* dib, tagRect32 const* rect, std::vector<uint8_t>& pixels,
                    GreyZone& grey, Area& area) {
  if (!dib || (dib->BitsPerPixel() != 8 && dib->BitsPerPixel() != 24)) return false;
  if (!ClampRect(dib, rect, area)) return false;
  pixels.resize(std::size_t(area.width) * area.height);
  DibView const v = MakeView(dib, area);
  for (int y = 0; y < area.height; ++y) {
    uint8_t const* s = v.Row(y);
    uint8_t* d = pixels.data() + std::size_t(y) * area.width;
    if (dib->BitsPerPixel() == 8) {
      std::memcpy(d, s, std::size_t(area.width));
    } else {
      for (int x = 0; x < area.width; ++x, s += 3)
        d[x] = static_cast<uint8_t>((s[0] + s[1] + s[2] + 1) / 3);
    }
  }
  grey = GreyZone{pixels.data(), area.width, area.height};
  return true;
}

}  // namespace

bool DibMatchZone(DibInfo* tpl, tagRect32* tplRect, DibInfo* image, tagRect32* window, double& x,
                  double& y, double& score) {
  std::vector<uint8_t> zonePixels, windowPixels;
  GreyZone zone, area;
  Area zoneArea, windowArea;
  ZoneMatch match;
  try {
    if (!ContiguousGrey(tpl, tplRect, zonePixels, zone, zoneArea) ||
        !ContiguousGrey(image, window, windowPixels, area, windowArea) ||
        !DibMatchGrey(zone, area, match))
      return false;
  } catch (std::bad_alloc const&) {
    return false;
  }
  x = windowArea.left + match.x;
  y = windowArea.top + match.y;
  score = match.score;
  return true;
}

// (end of zone matching)


// ---- Debug text -------------------------------------------------------------------

#include "debug/text_picture.h"

namespace {

int TextPicture(DibInfo* dib, int bits, tagRect32* rect, int columns, char* buffer, int size) {
  if (!dib || dib->BitsPerPixel() != bits || columns < 0 || size < 0 || (!buffer && size > 0))
    return -1;
  Area area;
  if (!ClampRect(dib, rect, area)) return -1;
  return DibTextPicture(MakeView(dib, area), bits, bits == 1 ? area.left % 8 : 0, columns,
                        buffer, size);
}

}  // namespace

int DibSprintBW(DibInfo* dib, tagRect32* rect, int columns, char* buffer, int size) {
  return TextPicture(dib, 1, rect, columns, buffer, size);
}

int DibSprintGrey(DibInfo* dib, tagRect32* rect, int columns, char* buffer, int size) {
  return TextPicture(dib, 8, rect, columns, buffer, size);
}

// (end of debug text)


// ---- Segmentation: blocks, lines and words, kinds and reading order ---------------------

#include "segment/flow_map.h"
#include "segment/page_layout.h"
#include "segment/watershed.h"

namespace {

// The page and area of a segmentation call; false for a refused source or rectangle.
bool SegmentationArea(DibInfo const* src, tagRect32 const* rect, Area& area) {
  if (!src) return false;
  int const depth = src->BitsPerPixel();
  return (depth == 1 || depth == 8 || depth == 24) && ClampRect(src, rect, area);
}

// Copies at most `capacity` zones out, in source coordinates; returns their number.
int WriteZones(std::vector<LayoutZone> const& found, Area const& area, SDibZone* zones,
               int capacity) {
  if (found.size() > std::size_t(INT32_MAX)) return -1;
  int const count = int(found.size());
  for (int i = 0; i < count && i < capacity; ++i) {
    LayoutZone const& z = found[std::size_t(i)];
    zones[i].rect = tagRect32{area.left + z.box.l, area.top + z.box.t, area.left + z.box.r,
                              area.top + z.box.b};
    zones[i].kind = z.kind;
    zones[i].parent = z.parent;
    zones[i].level = z.level;
    zones[i].order = z.order;
    zones[i].confidence = z.confidence;
  }
  return count;
}

int Segment(DibInfo* src, SDibZone* zones, int capacity, tagRect32 const* rect, bool full,
            bool hierarchy) {
  Area area;
  if (capacity < 0 || (!zones && capacity > 0) || !SegmentationArea(src, rect, area)) return -1;
  PageAnalysis page;
  std::vector<LayoutZone> found;
  if (!AnalysePage(src, area, full, page) ||
      !LayoutZones(page, page.regions, hierarchy, found))
    return -1;
  return WriteZones(found, area, zones, capacity);
}

}  // namespace

int DibSegmentLev1(DibInfo* src, SDibZone* zones, int capacity, tagRect32* rect) {
  return Segment(src, zones, capacity, rect, true, false);
}

int DibSegmentLev1Hier(DibInfo* src, SDibZone* zones, int capacity, tagRect32* rect) {
  return Segment(src, zones, capacity, rect, true, true);
}

int DibPreSegment(DibInfo* src, SDibZone* zones, int capacity, tagRect32* rect) {
  return Segment(src, zones, capacity, rect, false, false);
}

int DibRePresegment(DibInfo* src, SDibZone* zones, int count, int capacity, tagRect32* rect) {
  Area area;
  if (count < 0 || capacity < 0 || count > capacity || (!zones && capacity > 0) ||
      !SegmentationArea(src, rect, area))
    return -1;
  PageAnalysis page;
  std::vector<LayoutZone> found;
  try {
    if (!AnalysePage(src, area, true, page)) return -1;
    std::vector<Region> blocks;
    for (int i = 0; i < count; ++i) {
      SDibZone const& z = zones[i];
      if (z.level != 0) continue;
      // The zone in area coordinates, clamped to the area.
      int64_t const l = std::max<int64_t>(std::min<int64_t>(z.rect.left, z.rect.right), area.left);
      int64_t const t = std::max<int64_t>(std::min<int64_t>(z.rect.top, z.rect.bottom), area.top);
      int64_t const r = std::min<int64_t>(std::max<int64_t>(z.rect.left, z.rect.right), area.right());
      int64_t const b = std::min<int64_t>(std::max<int64_t>(z.rect.top, z.rect.bottom), area.bottom());
      if (l > r || t > b) continue;
      Box const box{int(l - area.left), int(t - area.top), int(r - area.left), int(b - area.top)};
      blocks.push_back(Reclassify(page, box));
    }
    SortReadingOrder(blocks, page.scale);
    if (!LayoutZones(page, blocks, true, found)) return -1;
  } catch (std::bad_alloc const&) {
    return -1;
  }
  return WriteZones(found, area, zones, capacity);
}

DibInfo* DibCalcFlowMap(DibInfo* src, tagRect32* rect) {
  Area area;
  if (!SegmentationArea(src, rect, area)) return nullptr;
  PageAnalysis page;
  std::vector<uint8_t> map;
  if (!LoadAnalysisInk(src, area, page) || !FlowMap(page.small, map)) return nullptr;
  int const f = page.scale.factor, w = page.small.Width();
  DibInfo* made = DibCreateDepth(w, HeightInOrderOf(src, page.small.Height()),
                                 int((int64_t(src->XPelsPerMeter()) + f / 2) / f),
                                 int((int64_t(src->YPelsPerMeter()) + f / 2) / f), 8);
  if (!made) return nullptr;
  DibView const out = MakeView(made);
  for (int i = 0; i < out.height; ++i) {
    int const y = StorageRow(out.step, i, out.height);
    std::memcpy(out.Row(y), map.data() + std::size_t(y) * std::size_t(w), std::size_t(w));
  }
  return made;
}

DibInfo* DibWaterSegment(DibInfo* map, int seedLevel, int* count, tagRect32* rect) {
  if (!map || map->BitsPerPixel() != 8 || seedLevel < -1 || seedLevel > 255) return nullptr;
  Area area;
  if (!ClampRect(map, rect, area)) return nullptr;
  DibView const in = MakeView(map, area);
  std::vector<int32_t> labels;
  int const regions = Watershed(in.top, in.step, area.width, area.height, seedLevel, labels);
  if (regions < 0) return nullptr;
  DibInfo* made = CreateLike(map, area.width, area.height, 32);
  if (!made) return nullptr;
  DibView const out = MakeView(made);
  for (int i = 0; i < area.height; ++i) {
    int const y = StorageRow(out.step, i, area.height);
    std::memcpy(out.Row(y), labels.data() + std::size_t(y) * std::size_t(area.width),
                std::size_t(area.width) * 4);
  }
  if (count) *count = regions;
  return made;
}

// (end of segmentation)
// ---- Dropout grey -------------------------------------------------------------------

#include "colour/dropout_grey.h"

DibInfo* DibDropoutGrey(DibInfo const* src, int strength, int tolerance, tagRect32 const* rect) {
  if (!src || (src->BitsPerPixel() != 24 && src->BitsPerPixel() != 32)) return nullptr;
  if (strength < 0 || strength > 256 || tolerance < 0 || tolerance > 255) return nullptr;
  Area area;
  if (!ClampRect(src, rect, area)) return nullptr;
  DibHolder result(DibCreateForOverwrite(area.width, HeightInOrderOf(src, area.height),
                                         src->XPelsPerMeter(), src->YPelsPerMeter(), 8));
  if (!result) return nullptr;
  DibDropoutGreyPlane(MakeView(result.get()), MakeView(src, area), src->BitsPerPixel() / 8,
                      DropoutGreyRule{strength, tolerance});
  return result.release();
}

// (end of dropout grey)
