// view.h - DibView, the pixel area handed to kernels.
//
// A view resolves the storage order once: `top` points at the first byte of the area's top
// visual row and `step` moves one visual row down (minus the stride for bottom-up records).
// Kernels walk views only; they never see the record's header.
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

inline DibView MakeView(DibInfo const* dib) {
  return MakeView(dib, Area{0, 0, dib->Width(), dib->Height()});
}

}  // namespace quilp
