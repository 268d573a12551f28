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

// (end of zone copy, depth conversion, canonical check)


// ---- Comparison and statistics ----------------------------------------------------

// (end of comparison and statistics)


// ---- Otsu thresholds and binarization ---------------------------------------------

// (end of otsu thresholds and binarization)


// ---- Colour suppression and the depth decision ------------------------------------

// (end of colour suppression and the depth decision)


// ---- Erosion, dilation and grey filters -------------------------------------------

#include "filter/grey_filter.h"

int DibFilterGreyEx(DibInfo*& dst, DibInfo const* src, int oper, int p1, int p2, int p3, int count,
                    char const* const* names, char const* const* values, tagRect32 const* rect) {
  return DibFilterGrey(dst, src, oper, p1, p2, p3, count, names, values, rect);
}

// (end of erosion, dilation and grey filters)


// ---- Skew estimation and downscaling ----------------------------------------------

// (end of skew estimation and downscaling)
