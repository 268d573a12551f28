// Depth conversion: every direct pair against its pixel rule, the same-depth route, the codes.
#include <gtest/gtest.h>

#include <cstring>

#include "params/plane.h"
#include "quilp32.h"
#include "record/depth_conversion.h"
#include "support/images.h"

using namespace testing_support;

namespace {

struct Bgr4 {
  int b, g, r, x;  // x: the fourth byte of a 32-bit pixel, -1 for none
  bool operator==(Bgr4 const& o) const { return b == o.b && g == o.g && r == o.r && x == o.x; }
};

// What a pixel of `dib` at (x, y) holds, as blue, green, red and a fourth byte.
Bgr4 Read(DibInfo const* dib, int x, int y) {
  switch (dib->BitsPerPixel()) {
    case 1: { int const v = Bit(dib, x, y) * 255; return {v, v, v, -1}; }
    case 8: { int const v = Px(dib, x, y); return {v, v, v, -1}; }
    case 24: return {Px(dib, x, y, 0), Px(dib, x, y, 1), Px(dib, x, y, 2), -1};
    default: return {Px(dib, x, y, 0), Px(dib, x, y, 1), Px(dib, x, y, 2), Px(dib, x, y, 3)};
  }
}

// The conversion's rule, written out: white or black from bits, grey replicated, colour
// copied, a fourth byte of 0.
Bgr4 Expected(Bgr4 in, int toDepth) {
  Bgr4 out = in;
  out.x = toDepth == 32 ? 0 : -1;
  return out;
}

}  // namespace

TEST(DepthConversion, EveryDirectPairFollowsItsPixelRule) {
  struct Pair { int from, to; };
  uint32_t seed = 1;
  for (Pair p : {Pair{1, 8}, Pair{1, 24}, Pair{1, 32}, Pair{8, 24}, Pair{8, 32}, Pair{24, 32},
                 Pair{32, 24}})
    for (bool topDown : {false, true})
      for (int width : {1, 7, 17, 33}) {
        SCOPED_TRACE(testing::Message() << p.from << " -> " << p.to << " width " << width
                                        << " top-down " << topDown);
        DibPtr src = RandomDib(width + 5, 6, p.from, topDown, seed++);
        tagRect32 rect{3, 1, width + 2, 4};
        tagPoint32 at{2, 1};
        // Into a caller's target one pixel larger all round, filled with a sentinel: a write
        // past the zone (a row too many, a fourth byte of the next pixel) shows.
        DibPtr target(DibCreate(width + 4, topDown ? -6 : 6, 0, 0, p.to));
        std::memset(target->BitsPtr(), 0xA5, target->biSizeImage);
        DibInfo* out = target.get();
        ASSERT_EQ(DibConvertDepthEx(out, src.get(), p.to, 0, 0, 0, 0, nullptr, nullptr, &rect, &at), 0);
        Bgr4 const sentinel{0xA5, 0xA5, 0xA5, p.to == 32 ? 0xA5 : -1};
        for (int y = 0; y < 6; ++y)
          for (int x = 0; x < width + 4; ++x) {
            bool const inZone = x >= 2 && x < 2 + width && y >= 1 && y < 5;
            ASSERT_EQ(Read(out, x, y),
                      inZone ? Expected(Read(src.get(), x + 1, y), p.to) : sentinel)
                << x << "," << y;
          }
      }
}

TEST(DepthConversion, SameDepthIsTheZoneCopy) {
  for (int depth : {1, 8, 24, 32}) {
    DibPtr src = RandomDib(29, 7, depth, depth == 8, uint32_t(depth));
    tagRect32 rect{5, 2, 27, 6};
    tagPoint32 at{3, 0};
    DibInfo* converted = nullptr;
    DibInfo* copied = nullptr;
    ASSERT_EQ(DibConvertDepthEx(converted, src.get(), depth, 9, 9, 9, 0, nullptr, nullptr, &rect, &at), 0);
    ASSERT_EQ(DibCopyZoneEx(copied, src.get(), 0, nullptr, nullptr, &rect, &at), 0);
    DibPtr a(converted), b(copied);
    ASSERT_EQ(a->biSizeImage, b->biSizeImage);
    EXPECT_EQ(std::memcmp(a->BitsPtr(), b->BitsPtr(), a->biSizeImage), 0) << depth;
  }
}

TEST(DepthConversion, Codes) {
  DibPtr colour = RandomDib(8, 8, 24, false, 3);
  DibPtr grey = RandomDib(8, 8, 8, false, 4);
  DibInfo* out = nullptr;
  EXPECT_EQ(DibConvertDepthEx(out, nullptr, 8, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr), -1);
  for (int bad : {0, 2, 4, 16, 64})
    EXPECT_EQ(DibConvertDepthEx(out, grey.get(), bad, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr), -1) << bad;
  EXPECT_EQ(out, nullptr);
  DibPtr wrong = RandomDib(8, 8, 32, false, 5);  // a 24-bit result is asked for
  DibInfo* w = wrong.get();
  EXPECT_EQ(DibConvertDepthEx(w, grey.get(), 24, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(w, wrong.get());
  tagRect32 outside{9, 0, 12, 3};
  EXPECT_EQ(DibConvertDepthEx(out, grey.get(), 24, 0, 0, 0, 0, nullptr, nullptr, &outside, nullptr), -1);
  // The binarization and colour-weighted grey routes are tested with their own exports.
  EXPECT_EQ(out, nullptr);
}

TEST(DepthConversion, KernelRefusesUnknownPairsAndSmallTargets) {
  uint8_t a[64] = {}, b[256] = {};
  quilp::DibPlane src, dst;
  src.width = dst.width = 4;
  src.height = dst.height = 2;
  src.stride = 16;
  dst.stride = 64;
  src.format = quilp::kDibFormat8;
  dst.format = quilp::kDibFormat24;
  src.data = a;
  dst.data = b;
  EXPECT_EQ(quilp::DibConvertPlane(&dst, &src), 0);
  EXPECT_EQ(quilp::DibConvertPlane(nullptr, &src), -1);
  dst.format = quilp::kDibFormat1;  // 8 -> 1 is not a direct pair
  EXPECT_EQ(quilp::DibConvertPlane(&dst, &src), -1);
  dst.format = quilp::kDibFormat24;
  dst.height = 1;
  EXPECT_EQ(quilp::DibConvertPlane(&dst, &src), -1);
}
