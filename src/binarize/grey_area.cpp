// grey_area.cpp - grey sources for the binarizers: in place, or projected from colour.
#include "binarize/grey_area.h"

#include "colour/grey_projection.h"

namespace quilp {

DibInfo* GreyOfColour(DibView const& colour, int xPels, int yPels, bool* noMemory) {
  DibHolder grey(DibCreateForOverwrite(colour.width, colour.height, xPels, yPels, 8));
  *noMemory = !grey;
  if (!grey) return nullptr;
  if (!DibGreyProjection(MakeView(grey.get()), colour, nullptr, false, 0)) return nullptr;
  return grey.release();
}

bool GreyArea::Open(DibInfo const* dib, tagRect32 const* rect, RectRuleFn greyRule) {
  if (!dib) return false;
  Area area;
  if (dib->BitsPerPixel() == 8) {
    if (!greyRule(dib, rect, area)) return false;
    view_ = MakeView(dib, area);
    return true;
  }
  if (dib->BitsPerPixel() != 24 || !ExactFitRect(dib, rect, area)) return false;
  bool noMemory;
  temporary_.reset(GreyOfColour(MakeView(dib, area), dib->XPelsPerMeter(),
                                dib->YPelsPerMeter(), &noMemory));
  if (!temporary_) return false;
  view_ = MakeView(temporary_.get());
  return true;
}

}  // namespace quilp
