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
    if (w < INT32_MIN || w > INT32_MAX || h < INT32_MIN || h > INT32_MAX) return -2;
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
  return Dropout(src, rect, [=](DibView const& dst, DibView const& from) {
    return DibSuppressColorSets(dst, from, keepCount, keep, dropCount, drop);
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

DibView ViewOfPlane(DibPlane const& p) {
  DibView v;
  v.top = p.data;
  v.step = p.stride;
  v.width = p.width;
  v.height = p.height;
  return v;
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
