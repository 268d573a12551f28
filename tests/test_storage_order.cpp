// Operations that walk bottom-up records in storage order give the same pictures and numbers
// as on the same pixels stored top-down: a family that turns its views upside down without
// commuting with that turn (an uncentred window, an order-dependent sum) shows up here. The
// statistics are held to their top-to-bottom formula in both row orders by their own tests.
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
  unsigned char const colour[3] = {40, 200, 90};
  unsigned char const keep[1][3] = {{40, 30, 30}};
  unsigned char const drop[2][3] = {{50, 60, 200}, {40, 180, 60}};
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
      {"grey, colour", 24, [&](DibInfo* s, tagRect32* r) { return DibRGB2Grey(s, &colour, r); }},
      {"one-colour dropout", 24, [&](DibInfo* s, tagRect32* r) { return DibSupressColor(s, &colour, r); }},
      {"colour sets", 24, [&](DibInfo* s, tagRect32* r) { return DibSupressColors(s, 1, keep, 2, drop, r); }},
      {"Otsu", 8, [](DibInfo* s, tagRect32* r) { return DibBinarizeOtsu(s, 3, 1, 2, false, r); }},
      {"threshold", 8, [](DibInfo* s, tagRect32* r) { return DibBinarizeSimple(s, 100, false, r); }},
      {"Wolf-Jolion", 8, [](DibInfo* s, tagRect32* r) { return DibBinarizeNiblack(s, 2, 9, 0, r); }},
      {"paper surface", 8, [](DibInfo* s, tagRect32* r) { return DibBinarizeStat(s, 0, 0, r); }},
      {"levels", 8, filter(256, 0)},
      {"minimum 3", 8, filter(258, 3)},
      {"opening 7", 8, filter(260, 7)},
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
