// lane_sums.h - horizontal sums of vector lanes that hold on both word sizes.
//
// The two 64-bit lanes are read through memory: moving a 64-bit lane straight into a general
// register needs a 64-bit register, which a 32-bit build does not have. The store and two
// loads cost a few cycles per row, nothing beside the row itself.
// Include only from files compiled with SSE4.1 or AVX2 enabled.
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace quilp::simd {
// Internal linkage: every instruction-set file keeps its own copy (see dispatch.h).
namespace {

inline uint64_t SumU64Lanes(__m128i v) {
  alignas(16) uint64_t lanes[2];
  _mm_store_si128(reinterpret_cast<__m128i*>(lanes), v);
  return lanes[0] + lanes[1];
}

}  // namespace
}  // namespace quilp::simd
