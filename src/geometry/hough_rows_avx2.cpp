// hough_rows_avx2.cpp - AVX2 row kernels of the page transform, 32 columns (or 8 values) per
// step. Ink is a saturating byte subtraction; unit sums come from byte pair sums (1, 2, 4
// columns) or sums of absolute differences against zero (8 columns). Integer results are exact;
// the byte scaling repeats the scalar float operations in the same order.
#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "geometry/hough_rows.h"
#include "geometry/hough_rows_simd.h"
#include "simd/transpose8.h"

namespace quilp {
namespace {

inline __m256i Load(void const* p) { return _mm256_loadu_si256(static_cast<__m256i const*>(p)); }
inline void Store(void* p, __m256i v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }

// Bands made of whole groups of four columns: each row's ink is summed four columns at a time
// (byte pair sums, then pairs of those), sixty-four groups a chunk; the chunk's sixteen rows
// of group sums are turned into sixteen-row columns by word transposes and added up band by
// band as in the byte path.
void BandRows16Quads(uint8_t const* const* rows, int paper, int const* first,
                     uint16_t const* scale, int lanes, uint16_t* const* out) {
  int const width = first[lanes], quads = (width + 3) / 4;
  __m256i const pv = _mm256_set1_epi8(static_cast<char>(paper));
  __m256i const ones8 = _mm256_set1_epi8(1), ones16 = _mm256_set1_epi16(1);
  __m256i acc = _mm256_setzero_si256();
  int x = 0;
  auto emit = [&](int endQuad) {  // lanes whose groups all lie before `endQuad`
    while (x < lanes && (first[x + 1] + 3) / 4 <= endQuad) {
      Store(out[x], _mm256_mulhi_epu16(acc, _mm256_set1_epi16(static_cast<short>(scale[x]))));
      acc = _mm256_setzero_si256();
      ++x;
    }
  };
  emit(0);
  alignas(32) uint16_t sums[16][64] = {};
  alignas(32) uint8_t pad[256];
  for (int q0 = 0; q0 < quads; q0 += 64) {
    int const n = std::min(64, quads - q0), columns = std::min(256, width - 4 * q0);
    for (int r = 0; r < 16; ++r) {
      uint8_t const* src = rows[r] + 4 * q0;
      if (columns < 256) {  // columns past the width read as paper: no ink
        std::memset(pad, 255, sizeof pad);
        std::memcpy(pad, src, std::size_t(columns));
        src = pad;
      }
      for (int i = 0; i < 4 * n; i += 64) {
        __m256i const a = _mm256_madd_epi16(_mm256_maddubs_epi16(_mm256_subs_epu8(pv, Load(src + i)), ones8), ones16);
        __m256i const b = _mm256_madd_epi16(_mm256_maddubs_epi16(_mm256_subs_epu8(pv, Load(src + i + 32)), ones8), ones16);
        Store(&sums[r][i / 4], _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), 0xD8));
      }
    }
    for (int k = 0; k < n; k += 8) {
      __m128i lo[8], hi[8], tlo[8], thi[8];
      for (int j = 0; j < 8; ++j) {
        lo[j] = _mm_load_si128(reinterpret_cast<__m128i const*>(&sums[j][k]));
        hi[j] = _mm_load_si128(reinterpret_cast<__m128i const*>(&sums[8 + j][k]));
      }
      simd::Transpose8x8Words(lo, tlo);
      simd::Transpose8x8Words(hi, thi);
      for (int i = 0; i < 8 && k + i < n; ++i) {
        acc = _mm256_add_epi16(acc, _mm256_set_m128i(thi[i], tlo[i]));
        emit(q0 + k + i + 1);
      }
    }
  }
}

// Sixteen rows of sixteen columns at a time are turned into sixteen columns of sixteen rows;
// a running 16-row sum takes each column in turn and is scaled out when a lane's last column
// has been added.
void BandRows16(uint8_t const* const* rows, int paper, int const* first, uint16_t const* scale,
                int lanes, uint16_t* const* out) {
  if (BandsInGroupsOfFour(first, lanes)) {
    BandRows16Quads(rows, paper, first, scale, lanes, out);
    return;
  }
  int const width = first[lanes];
  __m128i const pv = _mm_set1_epi8(static_cast<char>(paper));
  __m256i acc = _mm256_setzero_si256();
  int x = 0;
  auto emit = [&](int end) {  // lanes whose columns all lie before `end`
    while (x < lanes && first[x + 1] <= end) {
      Store(out[x], _mm256_mulhi_epu16(acc, _mm256_set1_epi16(static_cast<short>(scale[x]))));
      acc = _mm256_setzero_si256();
      ++x;
    }
  };
  emit(0);
  for (int c0 = 0; c0 < width; c0 += 16) {
    __m128i columns[16];
    hough_simd::InkColumns16(rows, c0, width, pv, columns);
    int const n = width - c0 < 16 ? width - c0 : 16;
    for (int i = 0; i < n; ++i) {
      acc = _mm256_add_epi16(acc, _mm256_cvtepu8_epi16(columns[i]));
      emit(c0 + i + 1);
    }
  }
}

void AddInk(uint8_t const* row, int count, int paper, uint16_t* lane) {
  __m256i const pv = _mm256_set1_epi8(static_cast<char>(paper));
  int c = 0;
  for (; c + 32 <= count; c += 32) {
    __m256i const ink = _mm256_subs_epu8(pv, Load(row + c));
    Store(lane + c, _mm256_add_epi16(Load(lane + c), _mm256_cvtepu8_epi16(_mm256_castsi256_si128(ink))));
    Store(lane + c + 16, _mm256_add_epi16(Load(lane + c + 16),
                                          _mm256_cvtepu8_epi16(_mm256_extracti128_si256(ink, 1))));
  }
  HoughRowKernelsScalar().addInk(row + c, count - c, paper, lane + c);
}

void Widen(uint16_t const* src, int32_t* dst, int count) {
  int c = 0;
  for (; c + 8 <= count; c += 8)
    Store(dst + c, _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<__m128i const*>(src + c))));
  HoughRowKernelsScalar().widen(src + c, dst + c, count - c);
}

void Accumulate(uint16_t const* src, uint16_t* acc, int count) {
  int c = 0;
  for (; c + 16 <= count; c += 16) Store(acc + c, _mm256_add_epi16(Load(acc + c), Load(src + c)));
  HoughRowKernelsScalar().accumulate(src + c, acc + c, count - c);
}

int64_t RowScore(uint16_t const* row, int count, int& top) {
  __m256i sum = _mm256_setzero_si256(), high = _mm256_setzero_si256();
  int c = 0;
  for (; c + 17 <= count; c += 16) {
    __m256i const a = Load(row + c), b = Load(row + c + 1);
    high = _mm256_max_epu16(high, a);
    // |b - a| as 16-bit magnitudes, widened and squared in 64 bits.
    __m256i const d = _mm256_or_si256(_mm256_subs_epu16(a, b), _mm256_subs_epu16(b, a));
    __m256i const lo32 = _mm256_cvtepu16_epi32(_mm256_castsi256_si128(d));
    __m256i const hi32 = _mm256_cvtepu16_epi32(_mm256_extracti128_si256(d, 1));
    __m256i const sq = _mm256_add_epi64(
        _mm256_add_epi64(_mm256_mul_epu32(lo32, lo32), _mm256_mul_epu32(hi32, hi32)),
        _mm256_add_epi64(_mm256_mul_epu32(_mm256_srli_epi64(lo32, 32), _mm256_srli_epi64(lo32, 32)),
                         _mm256_mul_epu32(_mm256_srli_epi64(hi32, 32), _mm256_srli_epi64(hi32, 32))));
    sum = _mm256_add_epi64(sum, sq);
  }
  alignas(32) int64_t s[4];
  alignas(32) uint16_t h[16];
  _mm256_store_si256(reinterpret_cast<__m256i*>(s), sum);
  _mm256_store_si256(reinterpret_cast<__m256i*>(h), high);
  int64_t total = (s[0] + s[1]) + (s[2] + s[3]);
  for (int i = 0; i < 16; ++i) top = h[i] > top ? h[i] : top;
  return total + HoughRowKernelsScalar().rowScore(row + c, count - c, top);
}

void ToBytes(uint16_t const* src, uint8_t* dst, int count, float scale) {
  __m256 const sv = _mm256_set1_ps(scale), half = _mm256_set1_ps(0.5f);
  int c = 0;
  for (; c + 8 <= count; c += 8) {
    __m256i const wide = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<__m128i const*>(src + c)));
    __m256 const f = _mm256_add_ps(_mm256_mul_ps(_mm256_cvtepi32_ps(wide), sv), half);
    __m256i const v = _mm256_cvttps_epi32(f);
    __m128i const w = _mm_packus_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + c), _mm_packus_epi16(w, w));
  }
  HoughRowKernelsScalar().toBytes(src + c, dst + c, count - c, scale);
}

int64_t ByteSharpness(uint8_t const* row, int count) {
  __m256i const zero = _mm256_setzero_si256();
  __m256i sum64 = zero;
  int c = 0;
  while (c + 33 <= count) {
    __m256i sum32 = zero;  // at most 1024 steps of 4 * 65025 per lane before it is emptied
    for (int step = 0; step < 1024 && c + 33 <= count; ++step, c += 32) {
      __m256i const a = Load(row + c), b = Load(row + c + 1);
      __m256i const d = _mm256_or_si256(_mm256_subs_epu8(a, b), _mm256_subs_epu8(b, a));
      __m256i const lo = _mm256_unpacklo_epi8(d, zero), hi = _mm256_unpackhi_epi8(d, zero);
      sum32 = _mm256_add_epi32(sum32, _mm256_add_epi32(_mm256_madd_epi16(lo, lo), _mm256_madd_epi16(hi, hi)));
    }
    sum64 = _mm256_add_epi64(sum64, _mm256_add_epi64(_mm256_unpacklo_epi32(sum32, zero),
                                                     _mm256_unpackhi_epi32(sum32, zero)));
  }
  alignas(32) int64_t s[4];
  _mm256_store_si256(reinterpret_cast<__m256i*>(s), sum64);
  int64_t total = (s[0] + s[1]) + (s[2] + s[3]);
  return total + HoughRowKernelsScalar().byteSharpness(row + c, count - c);
}

}  // namespace

HoughRowKernels const& HoughRowKernelsAvx2() {
  static HoughRowKernels const table = {BandRows16, AddInk, Widen,        Accumulate,
                                        HoughRowKernelsSse41().spread,  // store-bound: 16 bytes do
                                        RowScore,   ToBytes,  ByteSharpness};
  return table;
}

}  // namespace quilp
