// transpose8.h - eight rows of sixteen bytes turned into sixteen columns of eight bytes, and
// eight rows of eight 16-bit words into eight columns.
//
// Three rounds of unpacking each. Bytes: out[i] holds column 2i in its low eight bytes and
// column 2i + 1 in its high eight, each column's bytes in row order. Words: out[i] is column i.
// Include only from files compiled with SSE4.1 or AVX2 enabled.
#pragma once

#include <immintrin.h>

namespace quilp::simd {

// Internal linkage: each instruction-set file keeps its own copy, so the linker can never
// hand one file's wider instructions to another's narrower path.
namespace {

inline void Transpose8x16(__m128i const r[8], __m128i out[8]) {
  __m128i t[8], u[8];
  for (int i = 0; i < 4; ++i) {
    t[2 * i] = _mm_unpacklo_epi8(r[2 * i], r[2 * i + 1]);      // columns 0..7
    t[2 * i + 1] = _mm_unpackhi_epi8(r[2 * i], r[2 * i + 1]);  // columns 8..15
  }
  for (int h = 0; h < 2; ++h) {  // rows 0..3, then rows 4..7
    __m128i const* s = t + 4 * h;
    u[4 * h + 0] = _mm_unpacklo_epi16(s[0], s[2]);  // columns 0..3
    u[4 * h + 1] = _mm_unpackhi_epi16(s[0], s[2]);  // columns 4..7
    u[4 * h + 2] = _mm_unpacklo_epi16(s[1], s[3]);  // columns 8..11
    u[4 * h + 3] = _mm_unpackhi_epi16(s[1], s[3]);  // columns 12..15
  }
  for (int i = 0; i < 4; ++i) {
    out[2 * i] = _mm_unpacklo_epi32(u[i], u[4 + i]);
    out[2 * i + 1] = _mm_unpackhi_epi32(u[i], u[4 + i]);
  }
}

inline void Transpose8x8Words(__m128i const r[8], __m128i out[8]) {
  __m128i t[8], u[8];
  for (int i = 0; i < 4; ++i) {
    t[2 * i] = _mm_unpacklo_epi16(r[2 * i], r[2 * i + 1]);      // words 0..3 of a row pair
    t[2 * i + 1] = _mm_unpackhi_epi16(r[2 * i], r[2 * i + 1]);  // words 4..7
  }
  for (int h = 0; h < 2; ++h) {  // rows 0..3, then rows 4..7
    __m128i const* s = t + 4 * h;
    u[4 * h + 0] = _mm_unpacklo_epi32(s[0], s[2]);  // words 0, 1
    u[4 * h + 1] = _mm_unpackhi_epi32(s[0], s[2]);  // words 2, 3
    u[4 * h + 2] = _mm_unpacklo_epi32(s[1], s[3]);  // words 4, 5
    u[4 * h + 3] = _mm_unpackhi_epi32(s[1], s[3]);  // words 6, 7
  }
  for (int i = 0; i < 4; ++i) {
    out[2 * i] = _mm_unpacklo_epi64(u[i], u[4 + i]);
    out[2 * i + 1] = _mm_unpackhi_epi64(u[i], u[4 + i]);
  }
}

}  // namespace

}  // namespace quilp::simd
