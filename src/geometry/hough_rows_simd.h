// hough_rows_simd.h - a piece shared by the vector row kernels of the page transform (include
// only from files compiled with SSE4.1 or AVX2 enabled).
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "simd/transpose8.h"

namespace quilp::hough_simd {

// Internal linkage: each instruction-set file keeps its own copy, so the linker can never
// hand one file's wider instructions to another's narrower path.
namespace {

// The ink, max(0, paper - value), of sixteen rows at columns c0..c0+15, turned into sixteen
// columns of sixteen rows each (columns[i] holds column c0 + i). Columns at or past `width`
// read as paper, so they hold no ink.
inline void InkColumns16(uint8_t const* const* rows, int c0, int width, __m128i paper,
                         __m128i columns[16]) {
  __m128i r[8], lo[8], hi[8];
  uint8_t pad[16];
  bool const tail = c0 + 16 > width;
  for (int half = 0; half < 2; ++half) {
    for (int j = 0; j < 8; ++j) {
      uint8_t const* src = rows[8 * half + j] + c0;
      if (tail) {
        std::memset(pad, 255, 16);
        std::memcpy(pad, src, std::size_t(width - c0));
        src = pad;
      }
      r[j] = _mm_subs_epu8(paper, _mm_loadu_si128(reinterpret_cast<__m128i const*>(src)));
    }
    simd::Transpose8x16(r, half ? hi : lo);
  }
  for (int i = 0; i < 8; ++i) {
    columns[2 * i] = _mm_unpacklo_epi64(lo[i], hi[i]);
    columns[2 * i + 1] = _mm_unpackhi_epi64(lo[i], hi[i]);
  }
}

}  // namespace

}  // namespace quilp::hough_simd
