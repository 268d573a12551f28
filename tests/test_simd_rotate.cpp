// The grey bilinear rotation gives the scalar bytes under every vector tier: slight turns
// (the vector blocks, one or two source rows each), steep ones and near half turns (the
// blocks it hands back to the scalar loop), at awkward widths, in both row orders.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "geometry/resample_run.h"
#include "quilp32.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::simd::Tier;

TEST(SimdRotate, VectorTiersGiveTheScalarBytes) {
  double const degrees[] = {0.3, -1.0, 3.0, -7.5, 25.0, 179.0};
  for (Tier tier : VectorTiers())
    for (int w : kAwkwardWidths)
      for (bool topDown : {false, true}) {
        DibPtr grey = RandomDib(w, 37, 8, topDown, uint32_t(w));
        tagRect32 inner{1, 2, w - 2, 33};
        for (double d : degrees)
          for (tagRect32* rect : {static_cast<tagRect32*>(nullptr), w > 3 ? &inner : nullptr}) {
            SCOPED_TRACE(testing::Message() << "tier " << int(tier) << ", width " << w << ", " << d
                                            << " deg" << (rect ? ", rect" : "") << (topDown ? ", top-down" : ", bottom-up"));
            auto turn = [&](Tier t) {
              ScopedTier scoped(t);
              return DibPtr(DibRotateAccurate(grey.get(), d * 3.14159265358979323846 / 180.0, 0, rect));
            };
            DibPtr const vec = turn(tier), ref = turn(Tier::kScalar);
            ASSERT_TRUE(vec && ref);
            ASSERT_EQ(vec->Width(), ref->Width());
            for (int y = 0; y < ref->Height(); ++y)
              ASSERT_EQ(std::memcmp(vec->GetLine(y), ref->GetLine(y), std::size_t(ref->Width())), 0) << "row " << y;
          }
      }
}

// The run kernel alone, on runs the exports rarely make: steep ones (a block over several row
// pairs), backward ones and shrinking ones (a block whose taps span more than a register, left
// to the scalar loop), every length around a block, both row orders; and the forced tier is the
// one that runs.
TEST(SimdRotate, RunKernelOfEachTierMatchesTheScalarRun) {
  int const w = 300, h = 200;
  std::vector<uint8_t> image(std::size_t(w * h));
  uint32_t state = 99;
  for (uint8_t& p : image) p = uint8_t((state = state * 1664525u + 1013904223u) >> 24);
  struct Step { double dx, dy; } const steps[] = {{0.9986, 0.0523}, {0.9986, -0.0523}, {-0.97, 0.26},
                                                  {0.1, 1.0}, {0.0, -1.0}, {3.7, 0.4}, {1.0, 0.0}};
  auto fixed = [](double v) { return int64_t(std::llround(v * 4294967296.0)); };
  quilp::ResampleRunKernels const& scalar = quilp::ResampleRunKernelsScalar();
  for (Tier tier : VectorTiers()) {
    ScopedTier forced(tier);
    auto const run = quilp::ResampleRunKernelsActive().bilinear8;
    EXPECT_EQ(run, tier == Tier::kAvx512 ? quilp::ResampleRunKernelsAvx512().bilinear8
                   : tier == Tier::kAvx2 ? quilp::ResampleRunKernelsAvx2().bilinear8
                                         : quilp::ResampleRunKernelsSse41().bilinear8);
    for (Step const s : steps)
      for (int n : {1, 15, 16, 17, 33, 40})
        for (bool bottomUp : {false, true}) {
          SCOPED_TRACE(testing::Message() << quilp::simd::TierName(tier) << ", step " << s.dx << ", " << s.dy
                                          << ", " << n << " pixels" << (bottomUp ? ", bottom-up" : ""));
          uint8_t const* origin = bottomUp ? image.data() + std::ptrdiff_t(w) * (h - 1) : image.data();
          std::ptrdiff_t const step = bottomUp ? -w : w;
          int64_t const X = fixed(150.37), Y = fixed(100.81), dx = fixed(s.dx), dy = fixed(s.dy);
          std::vector<uint8_t> want(static_cast<std::size_t>(n)), got(want.size());
          scalar.bilinear8(origin, step, X, Y, dx, dy, n, want.data());
          run(origin, step, X, Y, dx, dy, n, got.data());
          EXPECT_EQ(got, want);
        }
  }
}
