// upscale_avx2.cpp - the cubic enlargement's row loops compiled for AVX2 (eight 32-bit
// multiplies, zero-extending loads).
#include "scale/upscale_rows.h"

namespace quilp {

UpscaleRows const& UpscaleRowsAvx2() {
  static UpscaleRows const table = MakeUpscaleRows();
  return table;
}

}  // namespace quilp
