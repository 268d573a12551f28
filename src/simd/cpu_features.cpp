// cpu_features.cpp - processor probe (CPUID/XGETBV on x86, scalar elsewhere) and the tier cap.
#include "simd/cpu_features.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#if defined(QUILP_X86)
#include <cpuid.h>
#endif

namespace quilp::simd {
namespace {

Tier Probe() {
#if defined(QUILP_X86)
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (!__get_cpuid(1, &a, &b, &c, &d)) return Tier::kScalar;
  bool const sse2 = (d >> 26) & 1, ssse3 = (c >> 9) & 1, sse41 = (c >> 19) & 1;
  bool const osxsave = (c >> 27) & 1, avx = (c >> 28) & 1, popcnt = (c >> 23) & 1;
  if (!(sse2 && ssse3 && sse41)) return Tier::kScalar;
  if (!(osxsave && avx && popcnt)) return Tier::kSse41;
  unsigned xlo = 0, xhi = 0;
  __asm__("xgetbv" : "=a"(xlo), "=d"(xhi) : "c"(0));
  if ((xlo & 6) != 6) return Tier::kSse41;  // the OS must save the YMM state
  if (!__get_cpuid_count(7, 0, &a, &b, &c, &d)) return Tier::kSse41;
  bool const avx2 = (b >> 5) & 1, bmi2 = (b >> 8) & 1;
  if (!(avx2 && bmi2)) return Tier::kSse41;
  // AVX-512: F (b16), BW (b30), VL (b31) and VBMI (c1), VBMI2 (c6) from leaf 7; the OS must save
  // the opmask registers and both halves of the ZMM state (XCR0 bits 5, 6 and 7).
  bool const f = (b >> 16) & 1, bw = (b >> 30) & 1, vl = (b >> 31) & 1;
  bool const vbmi = (c >> 1) & 1, vbmi2 = (c >> 6) & 1;
  if (!(f && bw && vl && vbmi && vbmi2)) return Tier::kAvx2;
  return (xlo & 0xE6) == 0xE6 ? Tier::kAvx512 : Tier::kAvx2;
#else
  return Tier::kScalar;
#endif
}

Tier FromEnvironment() {
  char const* env = std::getenv("QUILP_SIMD");
  if (!env) return Tier::kAvx512;
  if (!std::strcmp(env, "scalar")) return Tier::kScalar;
  if (!std::strcmp(env, "sse41")) return Tier::kSse41;
  if (!std::strcmp(env, "avx2")) return Tier::kAvx2;
  return Tier::kAvx512;
}

std::atomic<int> g_cap{static_cast<int>(Tier::kAvx512)};

Tier Min(Tier a, Tier b) { return static_cast<int>(a) < static_cast<int>(b) ? a : b; }

}  // namespace

Tier DetectedTier() {
  static Tier const detected = Min(Probe(), FromEnvironment());
  return detected;
}

Tier ActiveTier() {
  return Min(DetectedTier(), static_cast<Tier>(g_cap.load(std::memory_order_relaxed)));
}

Tier ForceTier(Tier cap) {
  return static_cast<Tier>(g_cap.exchange(static_cast<int>(cap)));
}

char const* TierName(Tier tier) {
  switch (tier) {
    case Tier::kScalar: return "scalar";
    case Tier::kSse41: return "sse41";
    case Tier::kAvx2: return "avx2";
    case Tier::kAvx512: return "avx512";
  }
  return "?";
}

}  // namespace quilp::simd
