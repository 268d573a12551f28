// rect_morph_avx2.cpp - AVX2 rectangle erosion: 32 byte lanes per register.
//
// The drivers are the shared ones of lane_passes.h. A horizontal band is 32 rows: register k
// of a tile holds row k in its low half and row k + 16 in its high half, so the per-lane
// 16 x 16 transposition leaves column j of all 32 rows in register j. Columns left over by
// the vector strips go to the SSE4.1 kernel.
#include <immintrin.h>

#include "morph/lane_passes.h"

namespace quilp {
namespace {

struct Avx {
  using Reg = __m256i;
  static constexpr int kBytes = 32;
  static Reg Load(uint8_t const* p) { return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p)); }
  static void Store(uint8_t* p, Reg v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
  static Reg Min(Reg a, Reg b) { return _mm256_min_epu8(a, b); }
  static Reg Max(Reg a, Reg b) { return _mm256_max_epu8(a, b); }
  static Reg And(Reg a, Reg b) { return _mm256_and_si256(a, b); }
  static Reg Or(Reg a, Reg b) { return _mm256_or_si256(a, b); }
  static Reg UnpackLo8(Reg a, Reg b) { return _mm256_unpacklo_epi8(a, b); }
  static Reg UnpackHi8(Reg a, Reg b) { return _mm256_unpackhi_epi8(a, b); }
  static Reg UnpackLo16(Reg a, Reg b) { return _mm256_unpacklo_epi16(a, b); }
  static Reg UnpackHi16(Reg a, Reg b) { return _mm256_unpackhi_epi16(a, b); }
  static Reg UnpackLo32(Reg a, Reg b) { return _mm256_unpacklo_epi32(a, b); }
  static Reg UnpackHi32(Reg a, Reg b) { return _mm256_unpackhi_epi32(a, b); }
  static Reg UnpackLo64(Reg a, Reg b) { return _mm256_unpacklo_epi64(a, b); }
  static Reg UnpackHi64(Reg a, Reg b) { return _mm256_unpackhi_epi64(a, b); }
  static __m128i Load16(uint8_t const* p) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p)); }
  static void Store16(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
  // Register k <- 16 pixels from x of band rows k (low half) and k + 16 (high half).
  static void LoadTile(uint8_t const* const* rows, int x, Reg t[16]) {
    for (int k = 0; k < 16; ++k)
      t[k] = _mm256_inserti128_si256(_mm256_castsi128_si256(Load16(rows[k] + x)),
                                     Load16(rows[k + 16] + x), 1);
  }
  static void StoreTile(uint8_t* const* rows, int x, Reg const t[16], int n) {
    for (int k = 0; k < 16 && k < n; ++k) Store16(rows[k] + x, _mm256_castsi256_si128(t[k]));
    for (int k = 16; k < n; ++k) Store16(rows[k] + x, _mm256_extracti128_si256(t[k - 16], 1));
  }
};

bool Vertical(ByteOp op, uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
              std::ptrdiff_t srcStep, int bytes, int n, int r) {
  return lanes::Vertical<Avx>(op, dst, dstStep, src, srcStep, bytes, n, r, MorphKernelsSse41());
}

}  // namespace

MorphKernels const& MorphKernelsAvx2() {
  static MorphKernels const table = {Vertical, lanes::Horizontal8<Avx>};
  return table;
}

}  // namespace quilp
