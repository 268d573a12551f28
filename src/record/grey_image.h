// grey_image.h - an 8-bit grey image of the library's own: rows of `width` bytes, top-down,
// for kernels that need a working copy (skew, orientation, morphology by elements).
#pragma once

#include <cstdint>
#include <vector>

#include "record/view.h"

namespace quilp {

struct GreyImage {
  int width = 0, height = 0;
  std::vector<uint8_t> pixels;
  uint8_t* Row(int y) { return pixels.data() + std::size_t(y) * std::size_t(width); }
  uint8_t const* Row(int y) const { return pixels.data() + std::size_t(y) * std::size_t(width); }
  // The whole image as a view (top-down).
  DibView View() {
    DibView v;
    v.base = v.top = pixels.data();
    v.step = width;
    v.width = width;
    v.height = height;
    return v;
  }
};

}  // namespace quilp
