// view.h - DibView, the pixel area handed to kernels.
//
// A view resolves the storage order once: `top` points at the first byte of the area's top
// visual row and `step` moves one visual row down (minus the stride for bottom-up records).
// Kernels walk views only; they never see the record's header.
//
// Memory order. Most records are bottom-up, so walking visual rows 0, 1, 2 ... walks memory
// backwards, and the hardware prefetchers lose a row's worth of lead at every row. An operation
// whose result does not change when its source and result are turned upside down together
// (point operations, histograms and exact sums, windows symmetric top to bottom) calls
// InStorageOrder on its views first and then walks rows 0, 1, 2 ... as always.
#pragma once

#include <cstddef>

#include "quilp32.h"
#include "record/rect.h"

namespace quilp {

struct DibView {
  DibInfo const* dib = nullptr;
  unsigned char* base = nullptr;  // the record's first stored row
  unsigned char* top = nullptr;   // first byte of the area's top visual row
  std::ptrdiff_t step = 0;        // bytes from one visual row to the next one down
  int left = 0, topRow = 0, width = 0, height = 0;

  unsigned char* Row(int y) const { return top + step * y; }
};

// View of `area` of `dib`; for 1-bit records `top` points at the byte holding column left.
inline DibView MakeView(DibInfo const* dib, Area const& area) {
  DibView v;
  v.dib = dib;
  v.base = dib->BitsPtr();
  std::ptrdiff_t const stride = dib->ByteWidth();
  std::ptrdiff_t const xBytes =
      dib->BitsPerPixel() == 1 ? area.left / 8
                               : std::ptrdiff_t(area.left) * (dib->BitsPerPixel() / 8);
  if (dib->biHeight > 0) {
    v.step = -stride;
    v.top = v.base + xBytes + (std::ptrdiff_t(dib->Height()) - area.top - 1) * stride;
  } else {
    v.step = stride;
    v.top = v.base + xBytes + std::ptrdiff_t(area.top) * stride;
  }
  v.left = area.left;
  v.topRow = area.top;
  v.width = area.width;
  v.height = area.height;
  return v;
}

// The same area upside down: its last visual row becomes row 0.
inline DibView UpsideDown(DibView v) {
  if (v.height > 0) v.top = v.Row(v.height - 1);
  v.step = -v.step;
  return v;
}

// When `lead` (the view the operation reads most) is stored bottom-up, turns it and every other
// view upside down, so rows 0, 1, 2 ... of `lead` lie at ascending addresses. Only for
// operations that commute with turning all their views upside down together.
template <class... Views>
inline void InStorageOrder(DibView& lead, Views&... others) {
  if (lead.step >= 0) return;
  lead = UpsideDown(lead);
  ((others = UpsideDown(others)), ...);
}

inline DibView MakeView(DibInfo const* dib) {
  return MakeView(dib, Area{0, 0, dib->Width(), dib->Height()});
}

}  // namespace quilp
