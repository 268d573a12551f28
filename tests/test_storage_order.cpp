// Operations that walk bottom-up records in storage order give the same pictures and numbers
// as on the same pixels stored top-down: a family that turns its views upside down without
// commuting with that turn (an uncentred window, an order-dependent sum) shows up here. The
// families whose own tests hold them to a literal rule in both row orders (the reference-colour
// grey, the dropouts, the global thresholds, the window filters, the statistics) are not
// repeated here.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

#include "quilp32.h"
#include "support/images.h"

using namespace testing_support;

namespace {

// The same pixels in the other row order.
DibPtr OtherOrder(DibInfo const* dib) {
  DibPtr copy(DibCreate(dib->Width(), -dib->biHeight, dib->XPelsPerMeter(), dib->YPelsPerMeter(),
                        dib->BitsPerPixel()));
  for (int y = 0; y < dib->Height(); ++y)
    std::memcpy(copy->GetLine(y), dib->GetLine(y), std::size_t(dib->ByteWidth()));
  return copy;
}

// Visual rows of a result, for comparison across row orders.
std::vector<uint8_t> Rows(DibInfo const* dib) {
  std::vector<uint8_t> rows;
  for (int y = 0; y < dib->Height(); ++y)
    rows.insert(rows.end(), dib->GetLine(y), dib->GetLine(y) + dib->ByteWidth());
  return rows;
}

}  // namespace

TEST(StorageOrder, ResultsDoNotDependOnTheSourceRowOrder) {
  struct Case {
    char const* name;
    int depth;
    std::function<DibInfo*(DibInfo*, tagRect32*)> run;
  };
  auto filter = [](int oper, int size) {
    return [oper, size](DibInfo* src, tagRect32* rect) {
      DibInfo* out = nullptr;
      DibFilterGreyEx(out, src, oper, 0, size, size, 0, nullptr, nullptr, rect);
      return out;
    };
  };
  Case const cases[] = {
      {"grey, main axis", 24, [](DibInfo* s, tagRect32* r) { return DibRGB2Grey(s, nullptr, r); }},
      {"Wolf-Jolion", 8, [](DibInfo* s, tagRect32* r) { return DibBinarizeNiblack(s, 2, 9, 0, r); }},
      {"paper surface", 8, [](DibInfo* s, tagRect32* r) { return DibBinarizeStat(s, 0, 0, r); }},
      {"levels", 8, filter(256, 0)},
      {"negative", 8, filter(268, 0)},
      {"halved", 8, [](DibInfo* s, tagRect32* r) {
         DibInfo* out = nullptr;
         DibDownscale(out, s, 2, 2, 0, r);
         return out;
       }},
  };
  for (Case const& c : cases)
    for (int height : {24, 25}) {
      SCOPED_TRACE(testing::Message() << c.name << ", height " << height);
      DibPtr bottomUp = RandomDib(77, height, c.depth, false, uint32_t(height + c.depth));
      DibPtr topDown = OtherOrder(bottomUp.get());
      tagRect32 rect{3, 2, 70, height - 1};
      DibPtr a(c.run(bottomUp.get(), &rect)), b(c.run(topDown.get(), &rect));
      ASSERT_TRUE(a && b);
      ASSERT_EQ(Rows(a.get()), Rows(b.get()));
    }
}
