// cpu_features.h - the processor-feature probe and the vector tier every kernel dispatches on.
//
// Each kernel family keeps a scalar reference (the definition) and vector variants compiled with
// their own instruction-set flags. A call asks ActiveTier() once and picks the widest variant
// it has that does not exceed it; the answer is the probe's, lowered by ForceTier() (tests and
// benchmarks) or by the environment variable QUILP_SIMD=scalar|sse41|avx2|avx512 read on first use.
#pragma once

namespace quilp::simd {

enum class Tier : int {
  kScalar = 0,
  kSse41 = 1,  // SSE2 through SSE4.1 (byte shuffles, 32-bit multiplies)
  kAvx2 = 2,   // AVX2 with BMI2 and POPCNT
  kAvx512 = 3, // AVX-512 F, BW, VL, VBMI and VBMI2 with the opmask and ZMM state saved by the OS
};

// What the processor supports (probed once).
Tier DetectedTier();
// The tier kernels use now: min(detected, forced, environment).
Tier ActiveTier();
// Caps the tier for the whole process (tests, benchmarks); returns the previous cap.
Tier ForceTier(Tier cap);
// Name for reports: "scalar", "sse41", "avx2", "avx512".
char const* TierName(Tier tier);

}  // namespace quilp::simd
