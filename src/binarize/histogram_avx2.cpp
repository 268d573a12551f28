// histogram_avx2.cpp - histogram over eight partial tables, thirty-two pixels per load.
#include <immintrin.h>

#include "binarize/histogram.h"
#include "binarize/histogram_tables.h"

namespace quilp {
namespace {

void AddArea(uint8_t const* top, std::ptrdiff_t step, int width, int height,
             uint32_t counts[256]) {
  histogram_detail::AddAreaPartial<32>(
      top, step, width, height, counts, [](uint8_t const* p, uint64_t* words) {
        __m256i const v = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p));
        __m128i const lo = _mm256_castsi256_si128(v), hi = _mm256_extracti128_si256(v, 1);
        words[0] = static_cast<uint64_t>(_mm_cvtsi128_si64(lo));
        words[1] = static_cast<uint64_t>(_mm_extract_epi64(lo, 1));
        words[2] = static_cast<uint64_t>(_mm_cvtsi128_si64(hi));
        words[3] = static_cast<uint64_t>(_mm_extract_epi64(hi, 1));
      });
}

}  // namespace

HistogramKernels const& HistogramKernelsAvx2() {
  static HistogramKernels const table = {AddArea};
  return table;
}

}  // namespace quilp
