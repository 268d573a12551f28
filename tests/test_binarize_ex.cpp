// DibBinarizeEx: each method against the plain binarizers, placement, and the frame's codes.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "quilp32.h"
#include "support/images.h"

using namespace testing_support;

namespace {

// Equal pixels: `ex` at (x0 + x, y0 + y) and `plain` at (x, y), over plain's size.
void ExpectSamePixels(DibInfo const* ex, int x0, int y0, DibInfo const* plain) {
  for (int y = 0; y < plain->Height(); ++y)
    for (int x = 0; x < plain->Width(); ++x)
      ASSERT_EQ(Bit(ex, x0 + x, y0 + y), Bit(plain, x, y)) << "pixel " << x << "," << y;
}

DibPtr TwoPopulations(int width, int height, int depth, bool topDown, uint32_t seed) {
  DibPtr dib = RandomDib(width, height, depth, topDown, seed);
  int const bytes = depth / 8;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < bytes; ++c) {
        uint8_t& p = Px(dib.get(), x, y, c);
        p = (p % 3 == 0) ? uint8_t(p % 70) : p == 1 ? 255 : p == 4 ? 0 : uint8_t(140 + p % 100);
      }
  return dib;
}

}  // namespace

TEST(BinarizeEx, MethodsEqualThePlainBinarizers) {
  char const* names[] = {"hSize", "type"};
  char const* values[] = {"3", "9"};
  for (int width : {1, 15, 33, 77})
    for (bool topDown : {false, true}) {
      DibPtr grey = TwoPopulations(width + 3, 11, 8, topDown, uint32_t(width + topDown));
      tagRect32 rect{2, 1, width + 1, 9};
      SCOPED_TRACE(testing::Message() << "width " << width << " topDown " << topDown);
      auto check = [&](int method, int p1, int p2, DibInfo* plain) {
        SCOPED_TRACE(testing::Message() << "method " << method << " p1 " << p1 << " p2 " << p2);
        ASSERT_NE(plain, nullptr);
        DibInfo* out = nullptr;
        ASSERT_EQ(DibBinarizeEx(out, grey.get(), method, p1, p2, 2, names, values, &rect, nullptr), 0);
        DibPtr hold(out);
        ASSERT_EQ(out->BitsPerPixel(), 1);
        ASSERT_EQ(out->Width(), width);
        ASSERT_EQ(out->Height(), 9);
        ExpectSamePixels(out, 0, 0, plain);
        DibFree(plain);
      };
      for (int t : {0, 100, 255, 256 + 100})
        for (int inv : {0, 1}) check(0, t, inv, DibBinarizeSimple(grey.get(), t, inv, &rect));
      check(2, 0, 0, DibBinarizeOtsu(grey.get(), 2, 0, 0, false, &rect));
      check(3, 0, 0, DibBinarizeOtsuR(grey.get(), 2, 0, 0, false, &rect));
      // Inverted 2 and 3: black at or above the threshold, the complement of the plain result.
      for (int method : {2, 3}) {
        DibInfo* a = nullptr;
        DibInfo* b = nullptr;
        ASSERT_EQ(DibBinarizeEx(a, grey.get(), method, 0, 0, 0, nullptr, nullptr, &rect, nullptr), 0);
        ASSERT_EQ(DibBinarizeEx(b, grey.get(), method, 0, 1, 0, nullptr, nullptr, &rect, nullptr), 0);
        for (int y = 0; y < 9; ++y)
          for (int x = 0; x < width; ++x) ASSERT_EQ(Bit(a, x, y), 1 - Bit(b, x, y));
        DibFree(a);
        DibFree(b);
      }
      for (int classes : {2, 3})
        for (int from = 0; from < classes; ++from)
          for (int to = 0; to < classes; ++to)
            for (int inv : {0, 1})
              for (int ignore : {0, 1}) {
                int const p2 = from | to << 8 | inv << 16 | ignore << 17;
                check(1, classes, p2,
                      ignore ? DibBinarizeOtsuR(grey.get(), classes, from, to, inv, &rect)
                             : DibBinarizeOtsu(grey.get(), classes, from, to, inv, &rect));
              }
    }
}

TEST(BinarizeEx, ColourSourcesAndTheClampingRule) {
  DibPtr colour = TwoPopulations(40, 12, 24, true, 7);
  tagRect32 rect{-5, 2, 100, 9};  // clamped to 0..39 x 2..9
  tagRect32 inside{0, 2, 39, 9};
  DibInfo* out = nullptr;
  ASSERT_EQ(DibBinarizeEx(out, colour.get(), 2, 0, 0, 0, nullptr, nullptr, &rect, nullptr), 0);
  DibPtr hold(out);
  DibPtr plain(DibBinarizeOtsu(colour.get(), 2, 0, 0, false, &inside));
  ASSERT_EQ(out->Width(), 40);
  ASSERT_EQ(out->Height(), 8);
  ExpectSamePixels(out, 0, 0, plain.get());
  DibPtr black(DibCreate(8, 8, 0, 0, 24));
  DibInfo* none = nullptr;
  EXPECT_EQ(DibBinarizeEx(none, black.get(), 2, 0, 0, 0, nullptr, nullptr, nullptr, nullptr), -2);
}

TEST(BinarizeEx, ResultCodes) {
  DibPtr grey = TwoPopulations(20, 6, 8, true, 9);
  char const* names[] = {"a", "b"};
  struct Case { int method, p1, p2; int count; bool nullNames; int want; };
  Case const cases[] = {
      {-1, 0, 0, 0, false, -1},          {8, 0, 0, 0, false, -4},
      {99, 0, 0, 0, false, -4},          {1, 4, 0, 0, false, -1},
      {1, 2, 2, 0, false, -1},           {1, 2, 2 << 8, 0, false, -1},
      {1, 3, 1 << 18, 0, false, -1},     {1, 3, -1, 0, false, -1},
      {0, 0, 0, 2, true, -1},            {2, 0, 0, 0, false, 0},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(testing::Message() << "method " << c.method << " p1 " << c.p1 << " p2 " << c.p2);
    DibInfo* out = nullptr;
    int const got = DibBinarizeEx(out, grey.get(), c.method, c.p1, c.p2, c.count,
                                  c.nullNames ? nullptr : names, names, nullptr, nullptr);
    EXPECT_EQ(got, c.want);
    if (got >= 0) {
      DibFree(out);
    } else {
      EXPECT_EQ(out, nullptr);  // refused before any target was made
    }
  }
  DibInfo* out = nullptr;
  EXPECT_EQ(DibBinarizeEx(out, nullptr, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr), -1);
  for (int depth : {1, 32}) {
    DibPtr other = RandomDib(9, 9, depth, false, 1);
    EXPECT_EQ(DibBinarizeEx(out, other.get(), 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr), -1);
  }
  tagRect32 outside{30, 0, 40, 5};
  EXPECT_EQ(DibBinarizeEx(out, grey.get(), 0, 0, 0, 0, nullptr, nullptr, &outside, nullptr), -1);
  EXPECT_EQ(out, nullptr);
  // Unsuitable caller targets: wrong depth, too small. Both are left as they were.
  DibPtr wrongDepth = RandomDib(20, 6, 8, false, 2);
  DibPtr small = RandomDib(19, 6, 1, false, 3);
  DibPtr smallCopy = RandomDib(19, 6, 1, false, 3);
  for (DibInfo* t : {wrongDepth.get(), small.get()}) {
    DibInfo* dest = t;
    EXPECT_EQ(DibBinarizeEx(dest, grey.get(), 0, 50, 0, 0, nullptr, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(dest, t);
  }
  EXPECT_EQ(0, std::memcmp(small->BitsPtr(), smallCopy->BitsPtr(), small->biSizeImage));
}

// Depth 1 through DibConvertDepthEx: its three integers become method, p1 and p2.
TEST(BinarizeEx, DepthConversionToOneBitRoutesHere) {
  DibPtr grey = TwoPopulations(37, 9, 8, true, 10);
  DibPtr colour = TwoPopulations(37, 9, 24, false, 11);
  tagRect32 rect{3, 1, 30, 8};
  tagPoint32 at{5, 2};
  struct Route { DibInfo const* src; int method, p1, p2; };
  for (Route r : {Route{grey.get(), 0, 140, 1}, Route{grey.get(), 1, 3, 1 | 1 << 8},
                  Route{colour.get(), 2, 0, 0}, Route{colour.get(), 3, 0, 1}}) {
    SCOPED_TRACE(testing::Message() << "method " << r.method);
    DibInfo* converted = nullptr;
    DibInfo* binarized = nullptr;
    ASSERT_EQ(DibConvertDepthEx(converted, r.src, 1, r.method, r.p1, r.p2, 0, nullptr, nullptr,
                                &rect, &at), 0);
    ASSERT_EQ(DibBinarizeEx(binarized, r.src, r.method, r.p1, r.p2, 0, nullptr, nullptr, &rect, &at), 0);
    ASSERT_EQ(converted->biSizeImage, binarized->biSizeImage);
    EXPECT_EQ(0, std::memcmp(converted->BitsPtr(), binarized->BitsPtr(), converted->biSizeImage));
    DibFree(converted);
    DibFree(binarized);
  }
  DibPtr deep = RandomDib(8, 8, 32, false, 12);
  DibInfo* out = nullptr;
  EXPECT_EQ(DibConvertDepthEx(out, deep.get(), 1, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(DibConvertDepthEx(out, grey.get(), 1, 8, 0, 0, 0, nullptr, nullptr, nullptr, nullptr), -4);
}
