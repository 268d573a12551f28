// Zone copy: the 1-bit run at every bit offset against a bit-by-bit copy, and the two exports
// against pixel-by-pixel expectations on both row orders.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <tuple>
#include <random>
#include <vector>

#include "params/plane.h"
#include "quilp32.h"
#include "record/zone_copy.h"
#include "support/images.h"

using namespace testing_support;

namespace {

int GetBit(uint8_t const* bytes, int i) { return (bytes[i >> 3] >> (7 - (i & 7))) & 1; }
void SetBit(uint8_t* bytes, int i, int v) {
  uint8_t const m = uint8_t(0x80 >> (i & 7));
  bytes[i >> 3] = uint8_t(v ? bytes[i >> 3] | m : bytes[i >> 3] & ~m);
}

// Pixel bytes of (x, y) as one integer (or the bit of a 1-bit record).
uint32_t Pixel(DibInfo const* dib, int x, int y) {
  if (dib->BitsPerPixel() == 1) return uint32_t(Bit(dib, x, y));
  int const n = dib->BitsPerPixel() / 8;
  uint32_t v = 0;
  for (int c = 0; c < n; ++c) v = v << 8 | Px(dib, x, y, c);
  return v;
}

// A copy of a record's pixels and header, for "untouched" checks.
std::vector<uint8_t> Snapshot(DibInfo const* dib) {
  auto const* p = reinterpret_cast<uint8_t const*>(dib);
  return std::vector<uint8_t>(p, p + 40 + dib->PaletteSize() + dib->biSizeImage);
}

}  // namespace

// Exact-size buffers: any read or write outside the bytes holding zone bits is an overflow
// under the address sanitizer.
TEST(ZoneCopy, BitRunEqualsABitByBitCopyAtEveryOffset) {
  std::mt19937 rng(11);
  for (int srcBit = 0; srcBit < 8; ++srcBit)
    for (int dstBit = 0; dstBit < 8; ++dstBit)
      for (int width = 1; width <= 70; ++width) {
        std::vector<uint8_t> src((srcBit + width + 7) / 8), dst((dstBit + width + 7) / 8);
        for (auto& b : src) b = uint8_t(rng());
        for (auto& b : dst) b = uint8_t(rng());
        std::vector<uint8_t> want = dst;
        for (int i = 0; i < width; ++i) SetBit(want.data(), dstBit + i, GetBit(src.data(), srcBit + i));
        quilp::CopyBitRun(dst.data(), dstBit, src.data(), srcBit, width);
        ASSERT_EQ(dst, want) << "source bit " << srcBit << " destination bit " << dstBit
                             << " width " << width;
      }
}

TEST(ZoneCopy, PlaneCopyRefusesMismatchedPlanes) {
  uint8_t a[64] = {}, b[64] = {};
  quilp::DibPlane src, dst;
  src.width = dst.width = 4;
  src.height = dst.height = 2;
  src.stride = dst.stride = 32;
  src.format = dst.format = quilp::kDibFormat8;
  src.data = a;
  dst.data = b;
  EXPECT_EQ(quilp::DibCopyPlane(nullptr, &src), -1);
  EXPECT_EQ(quilp::DibCopyPlane(&dst, nullptr), -1);
  dst.format = quilp::kDibFormat24;
  EXPECT_EQ(quilp::DibCopyPlane(&dst, &src), -1);
  dst.format = quilp::kDibFormat8;
  dst.width = 3;
  EXPECT_EQ(quilp::DibCopyPlane(&dst, &src), -1);
  dst.width = 4;
  dst.height = 1;
  EXPECT_EQ(quilp::DibCopyPlane(&dst, &src), -1);
  src.height = 0;  // empty: nothing to do
  EXPECT_EQ(quilp::DibCopyPlane(&dst, &src), 0);
}

// Every depth, both row orders of source and destination, zones cut by the image edges.
TEST(ZoneCopy, CopyZoneCopiesThePixelsOfTheClampedZone) {
  uint32_t seed = 1;
  for (int depth : {1, 8, 24, 32})
    for (bool srcTopDown : {false, true})
      for (bool dstTopDown : {false, true})
        for (tagRect32 rect : {tagRect32{3, 2, 40, 9}, tagRect32{-4, -1, 100, 3},
                               tagRect32{0, 0, 0, 0}, tagRect32{44, 10, 44, 10}}) {
          SCOPED_TRACE(testing::Message() << "depth " << depth << " rect " << rect.left << ","
                                          << rect.top << "," << rect.right << ","
                                          << rect.bottom << " src top-down " << srcTopDown);
          DibPtr src = RandomDib(45, 11, depth, srcTopDown, seed++);
          int const l = std::max(rect.left, 0), t = std::max(rect.top, 0);
          int const w = std::min(rect.right, 44) - l + 1, h = std::min(rect.bottom, 10) - t + 1;
          // A new destination.
          DibInfo* made = nullptr;
          ASSERT_TRUE(DibCopyZone(made, src.get(), &rect));
          DibPtr owned(made);
          ASSERT_EQ(made->Width(), w);
          ASSERT_EQ(made->Height(), h);
          EXPECT_EQ(made->BitsPerPixel(), depth);
          EXPECT_EQ(made->XPelsPerMeter(), src->XPelsPerMeter());
          for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
              ASSERT_EQ(Pixel(made, x, y), Pixel(src.get(), l + x, t + y)) << x << "," << y;
          if (depth == 1) {  // the bits after the zone in the last byte stay clear
            for (int y = 0; y < h; ++y)
              for (int x = w; x < (w + 7) / 8 * 8; ++x) ASSERT_EQ(Bit(made, x, y), 0);
          }
          // A given, larger destination: only the zone's pixels change.
          DibPtr dest = RandomDib(w + 5, h + 2, depth, dstTopDown, seed++);
          DibPtr before = RandomDib(w + 5, h + 2, depth, dstTopDown, seed - 1);
          DibInfo* d = dest.get();
          ASSERT_TRUE(DibCopyZone(d, src.get(), &rect));
          EXPECT_EQ(d, dest.get());
          for (int y = 0; y < h + 2; ++y)
            for (int x = 0; x < w + 5; ++x)
              ASSERT_EQ(Pixel(dest.get(), x, y),
                        x < w && y < h ? Pixel(src.get(), l + x, t + y)
                                       : Pixel(before.get(), x, y))
                  << x << "," << y;
        }
}

TEST(ZoneCopy, CopyZoneRefusals) {
  DibPtr src = RandomDib(20, 10, 8, false, 3);
  DibInfo* out = nullptr;
  tagRect32 leftOf{-10, 0, -1, 5};
  EXPECT_FALSE(DibCopyZone(out, src.get(), &leftOf));
  EXPECT_FALSE(DibCopyZone(out, nullptr, nullptr));
  tagRect32 reversed{5, 0, 4, 5};
  EXPECT_FALSE(DibCopyZone(out, src.get(), &reversed));
  EXPECT_EQ(out, nullptr);

  tagRect32 zone{2, 3, 9, 6};  // 8 x 4
  DibPtr exact = RandomDib(8, 4, 8, true, 4);
  DibInfo* d = exact.get();
  EXPECT_TRUE(DibCopyZone(d, src.get(), &zone));
  for (auto [w, h, depth] : {std::tuple{7, 4, 8}, std::tuple{8, 3, 8}, std::tuple{8, 4, 24}}) {
    DibPtr small = RandomDib(w, h, depth, false, 5);
    std::vector<uint8_t> const snap = Snapshot(small.get());
    DibInfo* s = small.get();
    EXPECT_FALSE(DibCopyZone(s, src.get(), &zone)) << w << "x" << h << " depth " << depth;
    EXPECT_EQ(s, small.get());
    EXPECT_EQ(Snapshot(small.get()), snap);
  }
}

TEST(ZoneCopy, CopyZoneExPlacesTheZone) {
  uint32_t seed = 7;
  for (int depth : {1, 8, 24, 32})
    for (bool topDown : {false, true}) {
      SCOPED_TRACE(testing::Message() << "depth " << depth << " top-down " << topDown);
      DibPtr src = RandomDib(30, 12, depth, topDown, seed++);
      tagRect32 rect{5, 3, 17, 9};  // 13 x 7
      tagPoint32 at{4, 2};
      DibInfo* out = nullptr;
      ASSERT_EQ(DibCopyZoneEx(out, src.get(), 0, nullptr, nullptr, &rect, &at), 0);
      DibPtr owned(out);
      ASSERT_EQ(out->Width(), 4 + 13);
      ASSERT_EQ(out->Height(), 2 + 7);
      for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 17; ++x) {
          bool const inside = x >= 4 && y >= 2;
          ASSERT_EQ(Pixel(out, x, y), inside ? Pixel(src.get(), 5 + x - 4, 3 + y - 2) : 0u)
              << x << "," << y;
        }
      // Negative placement means (0, 0); the lists are not read.
      tagPoint32 negative{-1, 5};
      char const* names[] = {"hSize"};
      DibInfo* at0 = nullptr;
      ASSERT_EQ(DibCopyZoneEx(at0, src.get(), 1, names, nullptr, &rect, &negative), 0);
      DibPtr owned0(at0);
      EXPECT_EQ(at0->Width(), 13);
      EXPECT_EQ(at0->Height(), 7);
      EXPECT_EQ(Pixel(at0, 0, 0), Pixel(src.get(), 5, 3));
    }
}

// Every source and destination bit offset, widths 1..70, both row orders.
TEST(ZoneCopy, CopyZoneExOneBitAtEverySourceAndDestinationOffset) {
  uint32_t seed = 500;
  for (bool srcTopDown : {false, true})
    for (bool dstTopDown : {false, true}) {
      DibPtr src = RandomDib(80, 2, 1, srcTopDown, seed++);
      for (int left = 0; left < 8; ++left)
        for (int x0 = 0; x0 < 8; ++x0)
          for (int width = 1; width <= 70; ++width) {
            DibPtr dest = RandomDib(80, 3, 1, dstTopDown, seed);
            DibPtr before = RandomDib(80, 3, 1, dstTopDown, seed++);
            tagRect32 rect{left, 0, left + width - 1, 1};
            tagPoint32 at{x0, 1};
            DibInfo* d = dest.get();
            ASSERT_EQ(DibCopyZoneEx(d, src.get(), 0, nullptr, nullptr, &rect, &at), 0);
            for (int y = 0; y < 3; ++y)
              for (int x = 0; x < 80; ++x) {
                bool const inside = y >= 1 && x >= x0 && x < x0 + width;
                ASSERT_EQ(Bit(d, x, y), inside ? Bit(src.get(), left + x - x0, y - 1)
                                               : Bit(before.get(), x, y))
                    << "left " << left << " at " << x0 << " width " << width << " pixel " << x
                    << "," << y;
              }
          }
    }
}

TEST(ZoneCopy, CopyZoneExCodes) {
  DibPtr src = RandomDib(10, 10, 24, false, 9);
  DibInfo* out = nullptr;
  EXPECT_EQ(DibCopyZoneEx(out, nullptr, 0, nullptr, nullptr, nullptr, nullptr), -1);
  tagRect32 outside{20, 0, 30, 5};
  EXPECT_EQ(DibCopyZoneEx(out, src.get(), 0, nullptr, nullptr, &outside, nullptr), -1);
  EXPECT_EQ(out, nullptr);
  DibPtr grey = RandomDib(10, 10, 8, false, 10);
  DibInfo* g = grey.get();
  EXPECT_EQ(DibCopyZoneEx(g, src.get(), 0, nullptr, nullptr, nullptr, nullptr), -1);
  DibPtr small = RandomDib(11, 10, 24, false, 11);
  std::vector<uint8_t> const snap = Snapshot(small.get());
  DibInfo* s = small.get();
  tagPoint32 at{2, 0};
  EXPECT_EQ(DibCopyZoneEx(s, src.get(), 0, nullptr, nullptr, nullptr, &at), -1);
  EXPECT_EQ(Snapshot(small.get()), snap);
}
