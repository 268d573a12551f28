// The grey bilinear rotation gives the scalar bytes under every vector tier: slight turns
// (the vector blocks, one or two source rows each), steep ones and near half turns (the
// blocks it hands back to the scalar loop), at awkward widths, in both row orders.
#include <gtest/gtest.h>

#include <cstring>

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
