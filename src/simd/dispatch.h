// dispatch.h - picks a kernel family's table for the active vector tier.
//
// A family declares one table type (a struct of function pointers) and defines a scalar
// table plus, on x86, the tables of its vector files. Pick() returns the widest table that
// exists and that the active tier allows; a null table means "this family has no such tier".
//
// A header included by files compiled for different instruction sets must give its inline
// functions internal linkage (static, or an unnamed namespace): otherwise the linker keeps one
// copy for all of them, possibly the AVX2 one, and the scalar path would run AVX2 code.
#pragma once

#include "simd/cpu_features.h"

namespace quilp::simd {

template <class Table>
Table const& Pick(Table const& scalar, Table const* sse41, Table const* avx2,
                  Table const* avx512 = nullptr) {
  Tier const tier = ActiveTier();
  if (tier >= Tier::kAvx512 && avx512) return *avx512;
  if (tier >= Tier::kAvx2 && avx2) return *avx2;
  if (tier >= Tier::kSse41 && sse41) return *sse41;
  return scalar;
}

}  // namespace quilp::simd

// Vector tables exist only where their files are compiled.
#if defined(QUILP_X86)
#define QUILP_VECTOR_TABLE(name) (&(name))
#else
#define QUILP_VECTOR_TABLE(name) (static_cast<decltype(&(name))>(nullptr))
#endif
