// upscale_sse41.cpp - the cubic enlargement's row loops compiled for SSE4.1 (32-bit
// multiplies, zero-extending loads).
#include "scale/upscale_rows.h"

namespace quilp {

UpscaleRows const& UpscaleRowsSse41() {
  static UpscaleRows const table = MakeUpscaleRows();
  return table;
}

}  // namespace quilp
