// histogram_sse41.cpp - histogram over eight partial tables, sixteen pixels per load.
#include <immintrin.h>

#include "binarize/histogram.h"
#include "binarize/histogram_tables.h"

namespace quilp {
namespace {

void AddArea(uint8_t const* top, std::ptrdiff_t step, int width, int height,
             uint32_t counts[256]) {
  histogram_detail::AddAreaPartial<16>(
      top, step, width, height, counts, [](uint8_t const* p, uint64_t* words) {
        __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(p));
        words[0] = static_cast<uint64_t>(_mm_cvtsi128_si64(v));
        words[1] = static_cast<uint64_t>(_mm_extract_epi64(v, 1));
      });
}

}  // namespace

HistogramKernels const& HistogramKernelsSse41() {
  static HistogramKernels const table = {AddArea};
  return table;
}

}  // namespace quilp
