// tiers.h - runs a check under every vector tier this processor has, against the scalar one.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "simd/cpu_features.h"
#include "support/images.h"

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

// The records `make()` returns (a std::vector<DibPtr>) under each vector tier must hold the
// bytes they hold under the scalar tier, row padding included. `what` names the case.
template <class Make>
void ExpectSameOnEveryTier(Make make, std::string const& what) {
  std::vector<DibPtr> want;
  {
    ScopedTier scalar(quilp::simd::Tier::kScalar);
    want = make();
  }
  for (auto tier : VectorTiers()) {
    ScopedTier cap(tier);
    std::vector<DibPtr> const got = make();
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i) {
      ASSERT_TRUE(want[i] && got[i]) << what << ", result " << i;
      ASSERT_EQ(want[i]->biSizeImage, got[i]->biSizeImage) << what << ", result " << i;
      ASSERT_EQ(std::memcmp(want[i]->BitsPtr(), got[i]->BitsPtr(), want[i]->biSizeImage), 0)
          << quilp::simd::TierName(tier) << ", " << what << ", result " << i;
    }
  }
}

// "width W, bottom-up" or "width W, top-down", for the cases of the loops above.
inline std::string WidthAndOrder(int width, bool topDown) {
  return "width " + std::to_string(width) + (topDown ? ", top-down" : ", bottom-up");
}

}  // namespace testing_support
