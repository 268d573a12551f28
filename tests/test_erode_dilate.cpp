// DibErodeDilate against the half-pixel distance it promises, on random images, every path.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "quilp32.h"
#include "record/global_block.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::simd::Tier;

namespace {

constexpr int kFar = std::numeric_limits<int>::max();

// Pixel (x, y) of the region at (left, top) of src: set outside the source image, and all
// around the region (x or y outside 0..w-1, 0..h-1).
int RegionBit(DibInfo const* src, int left, int top, int x, int y, int w, int h) {
  if (x < 0 || y < 0 || x >= w || y >= h) return 1;
  int const sx = left + x, sy = top + y;
  if (sx < 0 || sy < 0 || sx >= src->Width() || sy >= src->Height()) return 1;
  return Bit(src, sx, sy);
}

// Half-pixel city-block distance from the centre of pixel p to the square of pixel q.
int SquareDistance(int px, int py, int qx, int qy) {
  return std::max(0, 2 * std::abs(px - qx) - 1) + std::max(0, 2 * std::abs(py - qy) - 1);
}

// The level the contract gives each pixel: 127 + s for set pixels, 127 - d for clear ones.
std::vector<int> Levels(DibInfo const* src, int left, int top, int w, int h) {
  std::vector<int> levels(std::size_t(w) * std::size_t(h));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int const set = RegionBit(src, left, top, x, y, w, h);
      int best = kFar;
      for (int qy = -1; qy <= h; ++qy)  // the frame is the nearest of the surroundings
        for (int qx = -1; qx <= w; ++qx)
          if (RegionBit(src, left, top, qx, qy, w, h) != set)
            best = std::min(best, SquareDistance(x, y, qx, qy));
      levels[std::size_t(y) * std::size_t(w) + std::size_t(x)] =
          set ? (best == kFar ? 255 : std::min(255, 127 + best)) : std::max(0, 127 - best);
    }
  return levels;
}

int Threshold(int amount) { return amount > 0 ? 127 + 4 * amount : 127 + amount; }

// Random shapes: blobs of set pixels of a given density.
DibPtr RandomShapes(int w, int h, bool topDown, uint32_t seed, int percentSet) {
  DibPtr dib(DibCreate(w, topDown ? -h : h, 3937, 3937, 1));
  std::mt19937 rng(seed);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      if (int(rng() % 100) < percentSet) dib->GetLine(y)[x / 8] |= uint8_t(0x80 >> (x % 8));
  return dib;
}

}  // namespace

TEST(ErodeDilate, EqualsTheHalfPixelDistanceOnEveryPath) {
  std::vector<Tier> const tiers = ScalarAndVectorTiers();
  int const amounts[] = {-127, -12, -5, -3, -2, -1, 0, 1, 2, 3, 5, 32};
  struct Shape { int w, h, left, top, right, bottom, density; };
  Shape const shapes[] = {
      {1, 1, 0, 0, 0, 0, 50},      {17, 9, 0, 0, 16, 8, 70},   {40, 23, 3, 2, 37, 20, 85},
      {33, 30, -4, -3, 35, 27, 60}, {20, 12, 5, 1, 5, 11, 30},  {64, 5, 0, 0, 63, 4, 95},
      {45, 31, 0, 0, 44, 30, 97},
  };
  uint32_t seed = 3;
  for (Shape const& s : shapes)
    for (bool topDown : {false, true}) {
      DibPtr src = RandomShapes(s.w, s.h, topDown, ++seed, s.density);
      tagRect32 rect{s.left, s.top, s.right, s.bottom};
      int const w = s.right - s.left + 1, h = s.bottom - s.top + 1;
      std::vector<int> const levels = Levels(src.get(), s.left, s.top, w, h);
      for (Tier tier : tiers) {
        ScopedTier cap(tier);
        for (int amount : amounts) {
          DibInfo* out = nullptr;
          ASSERT_TRUE(DibErodeDilate(out, src.get(), amount, &rect));
          DibPtr result(out);
          ASSERT_EQ(result->Width(), w);
          ASSERT_EQ(result->Height(), h);
          for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
              int const level = levels[std::size_t(y) * std::size_t(w) + std::size_t(x)];
              ASSERT_EQ(Bit(result.get(), x, y), level >= Threshold(amount) ? 1 : 0)
                  << quilp::simd::TierName(tier) << " shape " << s.w << "x" << s.h << " amount "
                  << amount << " at " << x << "," << y << " level " << level;
            }
        }
      }
    }
}

// Wide pages reach every vector width of the passes; all paths agree with the scalar one.
TEST(ErodeDilate, VectorPathsEqualScalarOnWideImages) {
  for (int w : {100, 257, 333})
    for (bool topDown : {false, true}) {
      DibPtr src = RandomShapes(w, 37, topDown, uint32_t(w), 80);
      ExpectSameOnEveryTier([&] {
        std::vector<DibPtr> out;
        for (int amount : {-9, 4}) {
          DibInfo* made = nullptr;
          EXPECT_TRUE(DibErodeDilate(made, src.get(), amount, nullptr));
          out.emplace_back(made);
        }
        return out;
      }, WidthAndOrder(w, topDown));
    }
}

TEST(ErodeDilate, WritesIntoAnExistingImageFromTheLeftEdgesByte) {
  DibPtr src = RandomShapes(30, 10, false, 9, 50);
  DibPtr target = RandomShapes(40, 12, true, 10, 50);
  DibPtr before = RandomShapes(40, 12, true, 10, 50);
  tagRect32 rect{3, 1, 22, 8};  // 20 x 8, left edge in byte 0 at bit 3
  DibInfo* out = target.get();
  ASSERT_TRUE(DibErodeDilate(out, src.get(), -127, &rect));  // T = 0: every pixel set
  EXPECT_EQ(out, target.get());
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 40; ++x) {
      bool const written = y >= 1 && y <= 8 && x < 20;  // shifted to bit 0 of byte 0
      ASSERT_EQ(Bit(target.get(), x, y), written ? 1 : Bit(before.get(), x, y)) << x << "," << y;
    }
  // With amount 0 the written region is the source's region, again from bit 0.
  ASSERT_TRUE(DibErodeDilate(out, src.get(), 0, &rect));
  for (int y = 1; y <= 8; ++y)
    for (int x = 0; x < 20; ++x) ASSERT_EQ(Bit(target.get(), x, y), Bit(src.get(), 3 + x, y));
  // A rectangle ending one past the image fits the exact-fit rule; nothing beyond is written.
  DibPtr edge(DibCreate(32, 4, 0, 0, 1));
  tagRect32 wide{0, 0, 32, 3};
  out = edge.get();
  ASSERT_TRUE(DibErodeDilate(out, src.get(), -127, &wide));
  for (int x = 0; x < 32; ++x) EXPECT_EQ(Bit(edge.get(), x, 0), 1);
}

TEST(ErodeDilate, RefusalsLeaveTheResultAlone) {
  std::size_t const live = quilp::block::LiveCount();
  {
    DibPtr src = RandomShapes(20, 10, false, 11, 50);
    DibPtr grey(DibCreate(20, 10, 0, 0, 8));
    DibPtr small(DibCreate(10, 10, 0, 0, 1));
    DibInfo* out = nullptr;
    EXPECT_FALSE(DibErodeDilate(out, nullptr, 1, nullptr));
    EXPECT_FALSE(DibErodeDilate(out, src.get(), 33, nullptr));
    EXPECT_FALSE(DibErodeDilate(out, src.get(), -128, nullptr));
    EXPECT_FALSE(DibErodeDilate(out, src.get(), INT32_MIN, nullptr));
    EXPECT_FALSE(DibErodeDilate(out, src.get(), INT32_MAX, nullptr));
    EXPECT_FALSE(DibErodeDilate(out, grey.get(), 1, nullptr));
    tagRect32 empty{5, 5, 4, 9};
    EXPECT_FALSE(DibErodeDilate(out, src.get(), 1, &empty));
    EXPECT_EQ(out, nullptr);
    out = small.get();
    EXPECT_FALSE(DibErodeDilate(out, src.get(), 1, nullptr));  // 20 x 10 does not fit
    EXPECT_EQ(out, small.get());
    out = grey.get();  // fits, but a target of another depth is refused
    EXPECT_FALSE(DibErodeDilate(out, src.get(), 1, nullptr));
    tagRect32 huge{0, 0, 65535, 0};  // a side no page has
    out = nullptr;
    EXPECT_FALSE(DibErodeDilate(out, src.get(), 1, &huge));
    out = nullptr;
    EXPECT_TRUE(DibErodeDilate(out, src.get(), 32, nullptr));  // T = 255 accepted
    EXPECT_TRUE(DibFree(out));
  }
  EXPECT_EQ(quilp::block::LiveCount(), live);
}
