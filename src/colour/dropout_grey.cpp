// dropout_grey.cpp - the dropout grey: equal-thirds grey, lifted toward white by chroma.
//
// Stamps, coloured pen and highlighter sit far from the grey axis; black and dark-grey text
// sits on it. Each pixel's equal-thirds grey is raised by its chroma (largest byte minus
// smallest) beyond a tolerance that absorbs scanner noise and tinted paper, at `strength`
// sixteenths of a level per chroma level, and capped at white. Neutral pixels keep exactly
// the equal-thirds grey, so a page without colour gives the plain conversion; a saturated red
// stamp (200, 30, 40) with the defaults of the export turns white; where black text crosses a
// stamp the overlap is black in every channel and stays black.
// Cost: one read of the area and one write, a handful of byte operations per pixel; rows are
// visited in storage order.
#include "colour/dropout_grey.h"

#include <algorithm>

#include "simd/dispatch.h"

namespace quilp {
namespace {

template <int kBytes>
void DropoutRow(uint8_t const* src, uint8_t* dst, int width, DropoutGreyRule const& rule) {
  for (int x = 0; x < width; ++x, src += kBytes) {
    int const b0 = src[0], b1 = src[1], b2 = src[2];
    int const mean = (b0 + b1 + b2 + 1) / 3;
    int const chroma = std::max({b0, b1, b2}) - std::min({b0, b1, b2});
    int const excess = std::max(0, chroma - rule.tolerance);
    dst[x] = static_cast<uint8_t>(std::min(255, mean + (excess * rule.strength + 8) / 16));
  }
}

}  // namespace

DropoutGreyKernels const& DropoutGreyKernelsScalar() {
  static DropoutGreyKernels const table = {DropoutRow<3>, DropoutRow<4>};
  return table;
}

DropoutGreyKernels const& DropoutGreyKernelsActive() {
  return simd::Pick(DropoutGreyKernelsScalar(), QUILP_VECTOR_TABLE(DropoutGreyKernelsSse41()),
                    QUILP_VECTOR_TABLE(DropoutGreyKernelsAvx2()));
}

void DibDropoutGreyPlane(DibView dst, DibView src, int bytesPerPixel, DropoutGreyRule const& rule) {
  InStorageOrder(src, dst);
  DropoutGreyKernels const& k = DropoutGreyKernelsActive();
  auto const row = bytesPerPixel == 4 ? k.bgra : k.bgr;
  for (int y = 0; y < src.height; ++y) row(src.Row(y), dst.Row(y), src.width, rule);
}

}  // namespace quilp
