// bgr_shuffle.h - splitting packed 24-bit BGR pixels into planes of blue, green and red bytes.
//
// Sixteen pixels (48 bytes, loaded as a, b, c) become three 16-byte planes with nine byte
// shuffles and six ORs. The AVX2 form does the same in each 128-bit lane, so a 256-bit
// register pair holds pixels 0..15 in its low lane and 16..31 in its high lane.
// Include only from files compiled with SSE4.1 or AVX2 enabled.
#pragma once

#include <immintrin.h>

namespace quilp::simd {
// Internal linkage: each instruction-set file keeps its own copy, so the linker can never
// hand one file's wider instructions to another's narrower path.
namespace {

#define QUILP_Z (-1)
// For each plane, the shuffles that pick its bytes out of a, b and c (-1 writes zero).
#define QUILP_BGR_MASKS                                                                       \
  static char const kB[3][16] = {                                                            \
      {0, 3, 6, 9, 12, 15, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z,    \
       QUILP_Z, QUILP_Z, QUILP_Z},                                                           \
      {QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, 2, 5, 8, 11, 14, QUILP_Z,       \
       QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z},                                                  \
      {QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z,      \
       QUILP_Z, QUILP_Z, 1, 4, 7, 10, 13}};                                                  \
  static char const kG[3][16] = {                                                            \
      {1, 4, 7, 10, 13, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z,       \
       QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z},                                                  \
      {QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, 0, 3, 6, 9, 12, 15, QUILP_Z, QUILP_Z,    \
       QUILP_Z, QUILP_Z, QUILP_Z},                                                           \
      {QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z,      \
       QUILP_Z, QUILP_Z, 2, 5, 8, 11, 14}};                                                  \
  static char const kR[3][16] = {                                                            \
      {2, 5, 8, 11, 14, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z,       \
       QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z},                                                  \
      {QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, 1, 4, 7, 10, 13, QUILP_Z, QUILP_Z,       \
       QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z},                                                  \
      {QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z, QUILP_Z,      \
       QUILP_Z, 0, 3, 6, 9, 12, 15}};

inline __m128i Mask128(char const m[16]) {
  return _mm_loadu_si128(reinterpret_cast<__m128i const*>(m));
}

// 16 pixels at p (48 bytes) -> blue, green, red planes.
inline void SplitBgr16(unsigned char const* p, __m128i& B, __m128i& G, __m128i& R) {
  QUILP_BGR_MASKS
  __m128i const a = _mm_loadu_si128(reinterpret_cast<__m128i const*>(p));
  __m128i const b = _mm_loadu_si128(reinterpret_cast<__m128i const*>(p + 16));
  __m128i const c = _mm_loadu_si128(reinterpret_cast<__m128i const*>(p + 32));
  B = _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(a, Mask128(kB[0])),
                                _mm_shuffle_epi8(b, Mask128(kB[1]))),
                   _mm_shuffle_epi8(c, Mask128(kB[2])));
  G = _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(a, Mask128(kG[0])),
                                _mm_shuffle_epi8(b, Mask128(kG[1]))),
                   _mm_shuffle_epi8(c, Mask128(kG[2])));
  R = _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(a, Mask128(kR[0])),
                                _mm_shuffle_epi8(b, Mask128(kR[1]))),
                   _mm_shuffle_epi8(c, Mask128(kR[2])));
}

#if defined(__AVX2__)
inline __m256i Mask256(char const m[16]) { return _mm256_broadcastsi128_si256(Mask128(m)); }

inline __m256i Load2x128(unsigned char const* lo, unsigned char const* hi) {
  return _mm256_inserti128_si256(
      _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<__m128i const*>(lo))),
      _mm_loadu_si128(reinterpret_cast<__m128i const*>(hi)), 1);
}

// 32 pixels at p (96 bytes) -> planes; low lanes hold pixels 0..15, high lanes 16..31.
inline void SplitBgr32(unsigned char const* p, __m256i& B, __m256i& G, __m256i& R) {
  QUILP_BGR_MASKS
  __m256i const a = Load2x128(p, p + 48);
  __m256i const b = Load2x128(p + 16, p + 64);
  __m256i const c = Load2x128(p + 32, p + 80);
  B = _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(a, Mask256(kB[0])),
                                      _mm256_shuffle_epi8(b, Mask256(kB[1]))),
                      _mm256_shuffle_epi8(c, Mask256(kB[2])));
  G = _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(a, Mask256(kG[0])),
                                      _mm256_shuffle_epi8(b, Mask256(kG[1]))),
                      _mm256_shuffle_epi8(c, Mask256(kG[2])));
  R = _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(a, Mask256(kR[0])),
                                      _mm256_shuffle_epi8(b, Mask256(kR[1]))),
                      _mm256_shuffle_epi8(c, Mask256(kR[2])));
}

// Eight pixels at p, read as one 32-byte load from p - 4 (pixels 0..3 at bytes 4..15 of the
// low lane, pixels 4..7 at bytes 0..11 of the high lane); each byte of a pixel goes straight
// into its own 32-bit lane. Reads p - 4 .. p + 27.
inline void SplitBgr8(unsigned char const* p, __m256i& b0, __m256i& b1, __m256i& b2) {
  __m256i const raw = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p - 4));
  b0 = _mm256_shuffle_epi8(raw, _mm256_setr_epi8(4, -1, -1, -1, 7, -1, -1, -1, 10, -1, -1, -1,
                                                 13, -1, -1, -1, 0, -1, -1, -1, 3, -1, -1, -1,
                                                 6, -1, -1, -1, 9, -1, -1, -1));
  b1 = _mm256_shuffle_epi8(raw, _mm256_setr_epi8(5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1,
                                                 14, -1, -1, -1, 1, -1, -1, -1, 4, -1, -1, -1,
                                                 7, -1, -1, -1, 10, -1, -1, -1));
  b2 = _mm256_shuffle_epi8(raw, _mm256_setr_epi8(6, -1, -1, -1, 9, -1, -1, -1, 12, -1, -1, -1,
                                                 15, -1, -1, -1, 2, -1, -1, -1, 5, -1, -1, -1,
                                                 8, -1, -1, -1, 11, -1, -1, -1));
}

// Runs a per-pixel byte kernel over a row of `width` BGR pixels: 32 pixels a step through
// `group8(p)`, which turns the eight pixels at p into eight 32-bit values of 0..255 (pixels
// 0..3 in the low lane, 4..7 in the high one) and may read p - 4 .. p + 27; the first two
// pixels and the tail go to `narrow(src, dst, count)`, so no load starts before the row or
// ends past it.
template <class Group8, class Narrow>
inline void BgrRowBy32(unsigned char const* src, unsigned char* dst, int width, Group8 group8,
                       Narrow narrow) {
  __m256i const order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
  int x = width < 2 ? width : 2;
  narrow(src, dst, x);
  for (; x + 34 <= width; x += 32) {
    unsigned char const* p = src + 3 * x;
    __m256i const g0 = group8(p), g1 = group8(p + 24), g2 = group8(p + 48), g3 = group8(p + 72);
    // Packing works per 128-bit lane; the final permutation restores pixel order.
    __m256i const bytes =
        _mm256_packus_epi16(_mm256_packus_epi32(g0, g1), _mm256_packus_epi32(g2, g3));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + x),
                        _mm256_permutevar8x32_epi32(bytes, order));
  }
  if (x < width) narrow(src + 3 * x, dst + x, width - x);
}
#endif

#undef QUILP_BGR_MASKS
#undef QUILP_Z

}  // namespace
}  // namespace quilp::simd
