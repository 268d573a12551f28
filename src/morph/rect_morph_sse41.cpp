// rect_morph_sse41.cpp - SSE4.1 rectangle erosion: 16 byte lanes per register.
//
// The drivers are the shared ones of lane_passes.h; columns left over by the vector strips go
// to the scalar kernel.
#include <smmintrin.h>

#include "morph/lane_passes.h"

namespace quilp {
namespace {

struct Sse {
  using Reg = __m128i;
  static constexpr int kBytes = 16;
  static Reg Load(uint8_t const* p) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p)); }
  static void Store(uint8_t* p, Reg v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
  static Reg Min(Reg a, Reg b) { return _mm_min_epu8(a, b); }
  static Reg Max(Reg a, Reg b) { return _mm_max_epu8(a, b); }
  static Reg And(Reg a, Reg b) { return _mm_and_si128(a, b); }
  static Reg Or(Reg a, Reg b) { return _mm_or_si128(a, b); }
  static Reg UnpackLo8(Reg a, Reg b) { return _mm_unpacklo_epi8(a, b); }
  static Reg UnpackHi8(Reg a, Reg b) { return _mm_unpackhi_epi8(a, b); }
  static Reg UnpackLo16(Reg a, Reg b) { return _mm_unpacklo_epi16(a, b); }
  static Reg UnpackHi16(Reg a, Reg b) { return _mm_unpackhi_epi16(a, b); }
  static Reg UnpackLo32(Reg a, Reg b) { return _mm_unpacklo_epi32(a, b); }
  static Reg UnpackHi32(Reg a, Reg b) { return _mm_unpackhi_epi32(a, b); }
  static Reg UnpackLo64(Reg a, Reg b) { return _mm_unpacklo_epi64(a, b); }
  static Reg UnpackHi64(Reg a, Reg b) { return _mm_unpackhi_epi64(a, b); }
  // Register k <- 16 pixels from x of band row k.
  static void LoadTile(uint8_t const* const* rows, int x, Reg t[16]) {
    for (int k = 0; k < 16; ++k) t[k] = Load(rows[k] + x);
  }
  static void StoreTile(uint8_t* const* rows, int x, Reg const t[16], int n) {
    for (int k = 0; k < n; ++k) Store(rows[k] + x, t[k]);
  }
};

bool Vertical(ByteOp op, uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
              std::ptrdiff_t srcStep, int bytes, int n, int r) {
  return lanes::Vertical<Sse>(op, dst, dstStep, src, srcStep, bytes, n, r, MorphKernelsScalar());
}

}  // namespace

MorphKernels const& MorphKernelsSse41() {
  static MorphKernels const table = {Vertical, lanes::Horizontal8<Sse>};
  return table;
}

}  // namespace quilp
