// hough_rows_sse41.cpp - SSE4.1 row kernels of the page transform, 16 columns (or 4 values)
// per step; the same arithmetic as the AVX2 file on 128-bit registers.
#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "geometry/hough_rows.h"
#include "geometry/hough_rows_simd.h"
#include "simd/transpose8.h"

namespace quilp {
namespace {

inline __m128i Load(void const* p) { return _mm_loadu_si128(static_cast<__m128i const*>(p)); }
inline void Store(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }

// Bands made of whole groups of four columns: each row's ink is summed four columns at a time
// (byte pair sums, then pairs of those), sixty-four groups a chunk; the chunk's sixteen rows
// of group sums are turned into sixteen-row columns by word transposes and added up band by
// band as in the byte path.
void BandRows16Quads(uint8_t const* const* rows, int paper, int const* first,
                     uint16_t const* scale, int lanes, uint16_t* const* out) {
  int const width = first[lanes], quads = (width + 3) / 4;
  __m128i const pv = _mm_set1_epi8(static_cast<char>(paper));
  __m128i const ones8 = _mm_set1_epi8(1), ones16 = _mm_set1_epi16(1);
  __m128i acc0 = _mm_setzero_si128(), acc1 = _mm_setzero_si128();
  int x = 0;
  auto emit = [&](int endQuad) {  // lanes whose groups all lie before `endQuad`
    while (x < lanes && (first[x + 1] + 3) / 4 <= endQuad) {
      __m128i const f = _mm_set1_epi16(static_cast<short>(scale[x]));
      Store(out[x], _mm_mulhi_epu16(acc0, f));
      Store(out[x] + 8, _mm_mulhi_epu16(acc1, f));
      acc0 = acc1 = _mm_setzero_si128();
      ++x;
    }
  };
  emit(0);
  alignas(16) uint16_t sums[16][64] = {};
  alignas(16) uint8_t pad[256];
  for (int q0 = 0; q0 < quads; q0 += 64) {
    int const n = std::min(64, quads - q0), columns = std::min(256, width - 4 * q0);
    for (int r = 0; r < 16; ++r) {
      uint8_t const* src = rows[r] + 4 * q0;
      if (columns < 256) {  // columns past the width read as paper: no ink
        std::memset(pad, 255, sizeof pad);
        std::memcpy(pad, src, std::size_t(columns));
        src = pad;
      }
      for (int i = 0; i < 4 * n; i += 32) {
        __m128i const a = _mm_madd_epi16(_mm_maddubs_epi16(_mm_subs_epu8(pv, Load(src + i)), ones8), ones16);
        __m128i const b = _mm_madd_epi16(_mm_maddubs_epi16(_mm_subs_epu8(pv, Load(src + i + 16)), ones8), ones16);
        Store(&sums[r][i / 4], _mm_packus_epi32(a, b));
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
        acc0 = _mm_add_epi16(acc0, tlo[i]);
        acc1 = _mm_add_epi16(acc1, thi[i]);
        emit(q0 + k + i + 1);
      }
    }
  }
}

// Sixteen rows of sixteen columns at a time are turned into sixteen columns of sixteen rows;
// a running 16-row sum (two registers) takes each column in turn and is scaled out when a
// lane's last column has been added.
void BandRows16(uint8_t const* const* rows, int paper, int const* first, uint16_t const* scale,
                int lanes, uint16_t* const* out) {
  if (BandsInGroupsOfFour(first, lanes)) {
    BandRows16Quads(rows, paper, first, scale, lanes, out);
    return;
  }
  int const width = first[lanes];
  __m128i const pv = _mm_set1_epi8(static_cast<char>(paper));
  __m128i acc0 = _mm_setzero_si128(), acc1 = _mm_setzero_si128();
  int x = 0;
  auto emit = [&](int end) {  // lanes whose columns all lie before `end`
    while (x < lanes && first[x + 1] <= end) {
      __m128i const s = _mm_set1_epi16(static_cast<short>(scale[x]));
      Store(out[x], _mm_mulhi_epu16(acc0, s));
      Store(out[x] + 8, _mm_mulhi_epu16(acc1, s));
      acc0 = acc1 = _mm_setzero_si128();
      ++x;
    }
  };
  emit(0);
  for (int c0 = 0; c0 < width; c0 += 16) {
    __m128i columns[16];
    hough_simd::InkColumns16(rows, c0, width, pv, columns);
    int const n = width - c0 < 16 ? width - c0 : 16;
    for (int i = 0; i < n; ++i) {
      acc0 = _mm_add_epi16(acc0, _mm_cvtepu8_epi16(columns[i]));
      acc1 = _mm_add_epi16(acc1, _mm_cvtepu8_epi16(_mm_srli_si128(columns[i], 8)));
      emit(c0 + i + 1);
    }
  }
}

void AddInk(uint8_t const* row, int count, int paper, uint16_t* lane) {
  __m128i const pv = _mm_set1_epi8(static_cast<char>(paper));
  int c = 0;
  for (; c + 16 <= count; c += 16) {
    __m128i const ink = _mm_subs_epu8(pv, Load(row + c));
    Store(lane + c, _mm_add_epi16(Load(lane + c), _mm_cvtepu8_epi16(ink)));
    Store(lane + c + 8, _mm_add_epi16(Load(lane + c + 8), _mm_cvtepu8_epi16(_mm_srli_si128(ink, 8))));
  }
  HoughRowKernelsScalar().addInk(row + c, count - c, paper, lane + c);
}

void Widen(uint16_t const* src, int32_t* dst, int count) {
  int c = 0;
  for (; c + 4 <= count; c += 4)
    Store(dst + c, _mm_cvtepu16_epi32(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(src + c))));
  HoughRowKernelsScalar().widen(src + c, dst + c, count - c);
}

void Accumulate(uint16_t const* src, uint16_t* acc, int count) {
  int c = 0;
  for (; c + 8 <= count; c += 8) Store(acc + c, _mm_add_epi16(Load(acc + c), Load(src + c)));
  HoughRowKernelsScalar().accumulate(src + c, acc + c, count - c);
}

// Four at a time: every byte repeated four times by one byte shuffle.
void Spread(uint8_t const* src, uint8_t* dst, int count, int times) {
  int i = 0;
  if (times == 4) {
    __m128i const lo = _mm_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3);
    __m128i const hi = _mm_setr_epi8(4, 4, 4, 4, 5, 5, 5, 5, 6, 6, 6, 6, 7, 7, 7, 7);
    for (; i + 32 <= count; i += 32) {
      __m128i const v = _mm_loadl_epi64(reinterpret_cast<__m128i const*>(src + i / 4));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), _mm_shuffle_epi8(v, lo));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i + 16), _mm_shuffle_epi8(v, hi));
    }
  }
  HoughRowKernelsScalar().spread(src + i / times, dst + i, count - i, times);  // i: a multiple of 4
}

int64_t RowScore(uint16_t const* row, int count, int& top) {
  __m128i sum = _mm_setzero_si128(), high = _mm_setzero_si128();
  int c = 0;
  for (; c + 9 <= count; c += 8) {
    __m128i const a = Load(row + c), b = Load(row + c + 1);
    high = _mm_max_epu16(high, a);
    __m128i const d = _mm_or_si128(_mm_subs_epu16(a, b), _mm_subs_epu16(b, a));
    __m128i const lo32 = _mm_cvtepu16_epi32(d), hi32 = _mm_cvtepu16_epi32(_mm_srli_si128(d, 8));
    __m128i const sq = _mm_add_epi64(
        _mm_add_epi64(_mm_mul_epu32(lo32, lo32), _mm_mul_epu32(hi32, hi32)),
        _mm_add_epi64(_mm_mul_epu32(_mm_srli_epi64(lo32, 32), _mm_srli_epi64(lo32, 32)),
                      _mm_mul_epu32(_mm_srli_epi64(hi32, 32), _mm_srli_epi64(hi32, 32))));
    sum = _mm_add_epi64(sum, sq);
  }
  alignas(16) int64_t s[2];
  alignas(16) uint16_t h[8];
  _mm_store_si128(reinterpret_cast<__m128i*>(s), sum);
  _mm_store_si128(reinterpret_cast<__m128i*>(h), high);
  int64_t total = s[0] + s[1];
  for (int i = 0; i < 8; ++i) top = h[i] > top ? h[i] : top;
  return total + HoughRowKernelsScalar().rowScore(row + c, count - c, top);
}

void ToBytes(uint16_t const* src, uint8_t* dst, int count, float scale) {
  __m128 const sv = _mm_set1_ps(scale), half = _mm_set1_ps(0.5f);
  int c = 0;
  for (; c + 8 <= count; c += 8) {
    __m128i const raw = Load(src + c);
    __m128i const a = _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(_mm_cvtepi32_ps(_mm_cvtepu16_epi32(raw)), sv), half));
    __m128i const b = _mm_cvttps_epi32(
        _mm_add_ps(_mm_mul_ps(_mm_cvtepi32_ps(_mm_cvtepu16_epi32(_mm_srli_si128(raw, 8))), sv), half));
    __m128i const w = _mm_packus_epi32(a, b);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + c), _mm_packus_epi16(w, w));
  }
  HoughRowKernelsScalar().toBytes(src + c, dst + c, count - c, scale);
}

int64_t ByteSharpness(uint8_t const* row, int count) {
  __m128i const zero = _mm_setzero_si128();
  __m128i sum64 = zero;
  int c = 0;
  while (c + 17 <= count) {
    __m128i sum32 = zero;  // at most 1024 steps of 4 * 65025 per lane before it is emptied
    for (int step = 0; step < 1024 && c + 17 <= count; ++step, c += 16) {
      __m128i const a = Load(row + c), b = Load(row + c + 1);
      __m128i const d = _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a));
      __m128i const lo = _mm_unpacklo_epi8(d, zero), hi = _mm_unpackhi_epi8(d, zero);
      sum32 = _mm_add_epi32(sum32, _mm_add_epi32(_mm_madd_epi16(lo, lo), _mm_madd_epi16(hi, hi)));
    }
    sum64 = _mm_add_epi64(sum64, _mm_add_epi64(_mm_unpacklo_epi32(sum32, zero),
                                               _mm_unpackhi_epi32(sum32, zero)));
  }
  alignas(16) int64_t s[2];
  _mm_store_si128(reinterpret_cast<__m128i*>(s), sum64);
  int64_t total = s[0] + s[1];
  return total + HoughRowKernelsScalar().byteSharpness(row + c, count - c);
}

}  // namespace

HoughRowKernels const& HoughRowKernelsSse41() {
  static HoughRowKernels const table = {BandRows16, AddInk, Widen,        Accumulate,
                                        Spread,     RowScore, ToBytes, ByteSharpness};
  return table;
}

}  // namespace quilp
