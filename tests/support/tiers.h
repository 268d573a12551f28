// tiers.h - runs a check under every vector tier this processor has, against the scalar one.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "simd/cpu_features.h"

namespace testing_support {

// Caps the dispatch at `tier` for the life of the object.
class ScopedTier {
 public:
  explicit ScopedTier(quilp::simd::Tier tier) : previous_(quilp::simd::ForceTier(tier)) {}
  ~ScopedTier() { quilp::simd::ForceTier(previous_); }
  ScopedTier(ScopedTier const&) = delete;
  ScopedTier& operator=(ScopedTier const&) = delete;

 private:
  quilp::simd::Tier previous_;
};

// The vector tiers available here (possibly none): a tier the processor lacks is skipped, so
// the AVX-512 checks pass without running on a machine that has no AVX-512.
inline std::vector<quilp::simd::Tier> VectorTiers() {
  std::vector<quilp::simd::Tier> tiers;
  for (auto t : {quilp::simd::Tier::kSse41, quilp::simd::Tier::kAvx2, quilp::simd::Tier::kAvx512})
    if (static_cast<int>(t) <= static_cast<int>(quilp::simd::DetectedTier())) tiers.push_back(t);
  return tiers;
}

// The scalar tier followed by the vector tiers available here.
inline std::vector<quilp::simd::Tier> ScalarAndVectorTiers() {
  std::vector<quilp::simd::Tier> tiers{quilp::simd::Tier::kScalar};
  for (auto t : VectorTiers()) tiers.push_back(t);
  return tiers;
}

}  // namespace testing_support
