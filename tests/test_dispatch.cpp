// The processor probe and the dispatch: the vector-equality tests elsewhere prove something
// only if the tier they force is the one that runs.
#include <gtest/gtest.h>

#include <cstdlib>

#include "binarize/threshold.h"
#include "simd/cpu_features.h"
#include "support/tiers.h"

using namespace quilp;
using namespace testing_support;

TEST(Dispatch, ProbeFindsWhatTheCompilerSeesAndTheForcedTierRuns) {
#if defined(__x86_64__) || defined(__i386__)
  // The compiler's own feature test is an independent reference for the probe.
  simd::Tier const expected = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2")
                                  ? simd::Tier::kAvx2
                              : __builtin_cpu_supports("sse4.1") ? simd::Tier::kSse41
                                                                 : simd::Tier::kScalar;
  if (!std::getenv("QUILP_SIMD")) {
    EXPECT_GE(int(simd::DetectedTier()), int(expected));
  }
#endif
  {
    ScopedTier scalar(simd::Tier::kScalar);
    EXPECT_EQ(ThresholdKernelsActive().mark, ThresholdKernelsScalar().mark);
  }
  for (simd::Tier tier : VectorTiers()) {
    ScopedTier forced(tier);
    EXPECT_EQ(simd::ActiveTier(), tier);
    auto const mark = tier == simd::Tier::kSse41 ? ThresholdKernelsSse41().mark
                                                 : ThresholdKernelsAvx2().mark;
    EXPECT_EQ(ThresholdKernelsActive().mark, mark) << simd::TierName(tier);
    EXPECT_NE(mark, ThresholdKernelsScalar().mark);
  }
}
