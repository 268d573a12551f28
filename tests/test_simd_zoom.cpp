// The quarter-size bit previews and the cubic enlargement give the scalar bytes under every
// vector tier, at awkward widths and in both row orders.
#include <gtest/gtest.h>

#include <cstring>

#include "quilp32.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::simd::Tier;

namespace {

// The result of `make` under `tier`, or null.
template <class Make>
DibPtr Under(Tier tier, Make make) {
  ScopedTier scoped(tier);
  return DibPtr(make());
}

void ExpectSamePixels(DibInfo const* a, DibInfo const* b) {
  ASSERT_TRUE(a && b);
  ASSERT_EQ(a->Width(), b->Width());
  ASSERT_EQ(a->Height(), b->Height());
  std::size_t const bytes = (std::size_t(a->Width()) * a->BitsPerPixel() + 7) / 8;
  for (int y = 0; y < a->Height(); ++y)
    ASSERT_EQ(std::memcmp(a->GetLine(y), b->GetLine(y), bytes), 0) << "row " << y;
}

}  // namespace

TEST(SimdZoom, VectorTiersGiveTheScalarBytes) {
  for (Tier tier : VectorTiers())
    for (int w : kAwkwardWidths)
      for (bool topDown : {false, true}) {
        SCOPED_TRACE(testing::Message() << "tier " << int(tier) << ", width " << w << (topDown ? " top-down" : " bottom-up"));
        DibPtr bits = RandomDib(4 * w + 4, 12, 1, topDown, uint32_t(w));
        DibPtr grey = RandomDib(w, 9, 8, topDown, uint32_t(w + 1));
        tagRect32 quarter{0, 0, 4 * w - 1, 11};
        auto preview = [&] { return DibMakeZoom8(bits.get(), 0.25, &quarter); };
        ExpectSamePixels(Under(tier, preview).get(), Under(Tier::kScalar, preview).get());
        for (double factor : {2.0, 3.0, 4.0})
          for (DibInfo* src : {grey.get(), bits.get()}) {
            auto up = [&] {
              DibInfo* out = nullptr;
              return DibUpscale(out, src, factor, nullptr) == 0 ? out : nullptr;
            };
            ExpectSamePixels(Under(tier, up).get(), Under(Tier::kScalar, up).get());
          }
      }
}
