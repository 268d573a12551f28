// pages.h - the pages every benchmark measures on, made once per process.
#pragma once

#include <benchmark/benchmark.h>

#include "quilp32.h"

namespace bench_support {

// A4 at 300 dpi (2480 x 3508): text, stamp, photo, slight skew and noise.
DibInfo* ColourPage();  // 24-bit
DibInfo* GreyPage();    // 8-bit, the colour page through equal-thirds grey


}  // namespace bench_support

#if defined(QUILP_HAVE_OPENCV)
#include <opencv2/core.hpp>
namespace bench_support {
// A cv::Mat header over a record's pixels (visual row order through a negative step is not
// possible, so pages are made top-down).
cv::Mat AsMat(DibInfo* dib);
}  // namespace bench_support
#endif
