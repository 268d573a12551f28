// grey_filter.cpp - DibFilterGreyEx: the call frame, the checks of each operation code and
// the dispatch to the kernels (rectangle erosion, level maps, smoothing, reduction).
//
// Route: codes below 256 fail at once; the name/value lists are loaded; every code but the
// reduction (262, whose result has another size) and the composite flattening (267, made of
// four calls of this function) attaches the 8-bit source under the clamping rule and the
// result (the caller's 8-bit target, or a new record of the area's size); codes above 268
// then return 0; otherwise the operation runs and its outcome becomes the result code.
#include "filter/grey_filter.h"

#include <cmath>

#include "filter/level_map.h"
#include "filter/reduce.h"
#include "filter/smooth.h"
#include "morph/rect_morph.h"
#include "params/flow_control.h"
#include "record/create.h"
#include "record/view.h"

namespace quilp {
namespace {

constexpr int kLastOper = kFilterNegative;
constexpr double kPelsPerMetrePerDpi = 39.37;
constexpr int kDefaultNoise = 24;  // levels of paper noise 266 ignores unless told otherwise

// The result of the common route. Operations that write every pixel get a record whose pixels
// are not cleared first; the frame registers it as the caller's, so this guard releases it
// (and clears the caller's variable) when the call fails.
class Result {
 public:
  explicit Result(DibInfo*& var) : var_(var) {}
  ~Result() {
    if (made_ && !keep_) {
      DibRelease(made_);
      var_ = nullptr;
    }
  }
  Result(Result const&) = delete;
  Result& operator=(Result const&) = delete;

  int Attach(CDibFlowControl& frame, DibPlane& s, DibPlane& d, DibInfo const* src,
             tagRect32 const* rect, bool overwrite) {
    if (frame.AddSource(&s, src, 8, rect) < 0) return frame.GetStatus();
    if (overwrite && !var_) {
      made_ = DibCreateForOverwrite(s.width, HeightInOrderOf(src, s.height), src->XPelsPerMeter(),
                                    src->YPelsPerMeter(), 8);
      if (!made_) return frame.Fail(kDibNoMemory);
      var_ = made_;
    }
    return frame.AddTarget(&d, var_, 8, nullptr);
  }
  int Finish(CDibFlowControl const& frame) {
    keep_ = frame.GetStatus() >= 0;
    return frame.GetStatus();
  }

 private:
  DibInfo*& var_;
  DibInfo* made_ = nullptr;
  bool keep_ = false;
};

// Window rules of 258 to 261; on success the half sizes.
int WindowSizes(CDibFlowControl& frame, int p1, int p2, int p3, int& h, int& v) {
  int type = 0, hSize = 0, vSize = 0;
  frame.GetIntParam(&type, "type", p1);
  frame.GetIntParam(&hSize, "hSize", p2);
  frame.GetIntParam(&vSize, "vSize", p3);
  if (frame.GetStatus() < 0) return frame.GetStatus();
  if (type != 0 || hSize < 0 || vSize < 0) return frame.Fail(kDibInvalid);
  if ((hSize != 0 && hSize % 2 == 0) || (vSize != 0 && vSize % 2 == 0))
    return frame.Fail(kDibNotProvided);
  h = hSize / 2;
  v = vSize / 2;
  return 0;
}

int Window(CDibFlowControl& frame, int oper, DibPlane const& d, DibPlane const& s, int p1,
           int p2, int p3) {
  int h = 0, v = 0;
  if (WindowSizes(frame, p1, p2, p3, h, v) < 0) return frame.GetStatus();
  MorphOp const first = oper == kFilterMinimum || oper == kFilterOpening ? MorphOp::kErode
                                                                         : MorphOp::kDilate;
  bool ok = MorphRect(d, s, h, v, first);
  if (ok && (oper == kFilterOpening || oper == kFilterClosing))
    ok = MorphRect(d, d, h, v, first == MorphOp::kErode ? MorphOp::kDilate : MorphOp::kErode);
  return frame.SetSuccess(ok);
}

// Resolution rule of 262 for one axis: the factor and the new resolution, or false.
bool ReductionAxis(int dpi, int percent, int srcRes, double& factor, int& newRes) {
  if (dpi >= 1 && srcRes >= 1) {
    double const wanted = std::trunc(dpi * kPelsPerMetrePerDpi + 0.5);
    factor = srcRes / wanted;
    newRes = factor >= 1.0 ? int(wanted) : 0;
  } else if (percent >= 1 && srcRes >= 1) {
    factor = percent / 100.0;
    newRes = factor >= 1.0 ? int(srcRes / factor) : 0;
  } else {
    return false;
  }
  return factor >= 1.0;
}

int Reduce(CDibFlowControl& frame, DibInfo*& dst, DibInfo const* src, int p1, int p2, int p3,
           tagRect32 const* rect) {
  int xDpi = 0, yDpi = 0;
  frame.GetIntParam(&xDpi, "xDPI", p1);
  frame.GetIntParam(&yDpi, "yDPI", p2);
  DibPlane s;
  int const depth = src->BitsPerPixel();
  if (frame.AddSource(&s, src, depth, rect) < 0) return frame.GetStatus();
  double fx = 0, fy = 0;
  int resX = 0, resY = 0;
  if (!ReductionAxis(xDpi, p3, src->XPelsPerMeter(), fx, resX) ||
      !ReductionAxis(yDpi, p3, src->YPelsPerMeter(), fy, resY))
    return frame.Fail(kDibInvalid);
  int const w = int(s.width / fx), h = int(s.height / fy);
  if (w < 1 || h < 1) return frame.Fail(kDibInvalid);
  if (dst && (dst->BitsPerPixel() != depth || dst->Width() < w || dst->Height() < h))
    return frame.Fail(kDibInvalid);
  DibHolder made(dst ? nullptr : DibCreateDepth(w, h, resX, resY, depth));
  if (!dst && !made) return frame.Fail(kDibNoMemory);
  DibInfo* target = dst ? dst : made.get();
  DibView const v = MakeView(target, Area{0, 0, w, h});
  DibPlane d;
  d.width = w;
  d.height = h;
  d.stride = v.step;
  d.format = s.format;
  d.data = v.top;
  if (frame.SetSuccess(DibReduceArea(d, s, fx, fy)) < 0) return frame.GetStatus();
  if (made) dst = made.release();
  return frame.GetStatus();
}

// 267: the page's background (maximum then minimum filter over a window wider than strokes,
// then smoothed) divides the source, so uneven illumination flattens to white paper.
int Flatten(CDibFlowControl& frame, DibInfo*& dst, DibInfo const* src, int p1, int p2,
            tagRect32 const* rect) {
  if (p1 < 0 || p2 < 0) return frame.Fail(kDibInvalid);
  int window = p1;
  if (window == 0) {  // a sixth of an inch, 21 pixels when the resolution is unknown
    int const res = src->XPelsPerMeter();
    window = res >= 1 ? int(res / kPelsPerMetrePerDpi / 6.0 + 0.5) : 21;
    if (window < 3) window = 3;
  }
  if (window % 2 == 0) ++window;
  // Deviation: a quarter of the window unless given.
  int const sigma256 = p2 != 0 ? p2 : window > kMaxSigma256 / 64 ? kMaxSigma256 : window * 64;
  DibInfo* background = nullptr;
  int code = DibFilterGrey(background, src, kFilterMaximum, 0, window, window, 0, nullptr, nullptr, rect);
  DibHolder held(code >= 0 ? background : nullptr);
  if (code < 0) return frame.Fail(code);
  code = DibFilterGrey(background, background, kFilterMinimum, 0, window, window, 0, nullptr, nullptr, nullptr);
  if (code < 0) return frame.Fail(code);
  bool const madeHere = dst == nullptr;
  code = DibFilterGrey(dst, background, kFilterGauss, sigma256, sigma256, 0, 0, nullptr, nullptr, nullptr);
  if (code < 0) {
    if (madeHere) dst = nullptr;
    return frame.Fail(code);
  }
  code = DibFilterGrey(dst, src, kFilterPixelOp, int(PixelOp::kDivide), 0, 0, 0, nullptr, nullptr, rect);
  if (code < 0) {
    if (madeHere) DibRelease(dst);
    return frame.Fail(code);
  }
  return frame.SetSuccess(true);
}

int Run(CDibFlowControl& frame, int oper, DibPlane d, DibPlane s, int p1, int p2, int p3) {
  uint8_t table[256];
  // Level maps and the odd windows give the same picture upside down: walk memory forwards.
  if (oper != kFilterGauss && oper != kFilterLocalContrast) InStorageOrder(s, d);
  switch (oper) {
    case kFilterAutoLevels:
      AutoLevelsTable(s, table);
      DibApplyTable(d, s, table);
      return frame.SetSuccess(true);
    case kFilterPixelOp: {
      int sub = 0;
      if (frame.GetIntParam(&sub, "oper", p1) < 0) return frame.GetStatus();
      if (sub < 0 || sub >= 6) return frame.Fail(kDibInvalid);
      DibPixelOp(d, s, PixelOp(sub));
      return frame.SetSuccess(true);
    }
    case kFilterMinimum:
    case kFilterMaximum:
    case kFilterOpening:
    case kFilterClosing:
      return Window(frame, oper, d, s, p1, p2, p3);
    case kFilterLinear:
      if (p3 == 0) return frame.SetSuccess(DibLinearMapFixed(d, s, p1, p2) == 1);
      if (p3 == 1) LinearTable(p1, p2, table);
      else PowerTable(p3, table);
      DibApplyTable(d, s, table);
      return frame.SetSuccess(true);
    case kFilterPower:
      PowerTable(p3, table);
      DibApplyTable(d, s, table);
      return frame.SetSuccess(true);
    case kFilterGauss:
      if (p1 < 0 || p2 < 0) return frame.Fail(kDibInvalid);
      return frame.SetSuccess(DibGaussSmooth(d, s, p1, p2));
    case kFilterLocalContrast:
      if (p1 < 0 || p2 < 0 || p3 < 0) return frame.Fail(kDibInvalid);
      return frame.SetSuccess(DibLocalContrast(d, s, p1, p2, p3 > 0 ? p3 : kDefaultNoise));
    case kFilterNegative:
      NegativeTable(table);
      DibApplyTable(d, s, table);
      return frame.SetSuccess(true);
    default:
      return frame.Fail(kDibNotProvided);
  }
}

}  // namespace

int DibFilterGrey(DibInfo*& dst, DibInfo const* src, int oper, int p1, int p2, int p3, int count,
                  char const* const* names, char const* const* values, tagRect32 const* rect) {
  if (oper < 256 || !src) return kDibInvalid;
  CDibFlowControl frame;
  if (frame.SetParams(count, names, values) < 0) return frame.GetStatus();
  if (oper == kFilterReduce) return Reduce(frame, dst, src, p1, p2, p3, rect);
  if (oper == kFilterFlatten) return Flatten(frame, dst, src, p1, p2, rect);
  // Pixel operations of two images read the target's present pixels: those get a cleared one.
  Result result(dst);
  DibPlane s, d;
  if (result.Attach(frame, s, d, src, rect, oper != kFilterPixelOp && oper <= kLastOper) < 0)
    return result.Finish(frame);
  if (oper > kLastOper) return result.Finish(frame);  // nothing to do: 0
  Run(frame, oper, d, s, p1, p2, p3);
  return result.Finish(frame);
}

}  // namespace quilp
