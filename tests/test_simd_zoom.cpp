// The quarter-size bit previews and the cubic enlargement give the scalar bytes under every
// vector tier, at awkward widths and in both row orders.
#include <gtest/gtest.h>

#include "quilp32.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;

TEST(SimdZoom, VectorTiersGiveTheScalarBytes) {
  for (int w : kAwkwardWidths)
    for (bool topDown : {false, true}) {
      DibPtr bits = RandomDib(4 * w + 4, 12, 1, topDown, uint32_t(w));
      DibPtr grey = RandomDib(w, 9, 8, topDown, uint32_t(w + 1));
      tagRect32 quarter{0, 0, 4 * w - 1, 11};
      ExpectSameOnEveryTier([&] {
        std::vector<DibPtr> out;
        out.emplace_back(DibMakeZoom8(bits.get(), 0.25, &quarter));
        for (double factor : {2.0, 3.0, 4.0})
          for (DibInfo* src : {grey.get(), bits.get()}) {
            DibInfo* up = nullptr;
            EXPECT_EQ(DibUpscale(up, src, factor, nullptr), 0);
            out.emplace_back(up);
          }
        return out;
      }, WidthAndOrder(w, topDown));
    }
}
