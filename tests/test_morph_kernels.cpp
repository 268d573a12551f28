// The rectangle erosion kernels against brute-force window extremes, on every path.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "morph/rect_morph.h"
#include "morph/tpl_erode.h"
#include "support/images.h"
#include "support/planes.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::Area;
using quilp::MorphOp;
using quilp::PackedBits;
using quilp::Rgb;
using quilp::simd::Tier;

namespace {

template <class T>
T RandomElement(std::mt19937& rng);
template <>
unsigned char RandomElement<unsigned char>(std::mt19937& rng) { return uint8_t(rng()); }
template <>
PackedBits RandomElement<PackedBits>(std::mt19937& rng) { return PackedBits{uint8_t(rng())}; }
template <>
Rgb<unsigned char> RandomElement<Rgb<unsigned char>>(std::mt19937& rng) {
  return {uint8_t(rng()), uint8_t(rng()), uint8_t(rng())};
}

// The bytes of an element (its lanes), for a per-lane brute force.
template <class T>
uint8_t const* LanesOf(T const& v) { return reinterpret_cast<uint8_t const*>(&v); }

// Every lane of out[i] is the extreme of that lane over in[max(0, i-r) .. min(n-1, i+r)]
// (AND / OR for packed bits, min / max otherwise).
template <class T, class Kernel>
void CheckPass(bool dilate, bool bitwise) {
  std::mt19937 rng(17);
  for (int n = 0; n <= 70; ++n)
    for (int r = 1; r <= 40; r += (r < 8 ? 1 : 5)) {
      std::vector<T> in(std::size_t(n + 1)), out(std::size_t(n + 1)), g(std::size_t(n + 1)),
          h(std::size_t(n + 1));
      for (auto& v : in) v = RandomElement<T>(rng);
      ASSERT_EQ(Kernel::Pass(out.data(), in.data(), g.data(), h.data(), n, r), 1);
      for (int i = 0; i < n; ++i)
        for (std::size_t lane = 0; lane < sizeof(T); ++lane) {
          unsigned want = dilate ? 0u : 255u;
          for (int j = (i - r < 0 ? 0 : i - r); j <= i + r && j < n; ++j) {
            unsigned const s = LanesOf(in[std::size_t(j)])[lane];
            want = bitwise ? (dilate ? want | s : want & s) : (dilate ? std::max(want, s) : std::min(want, s));
          }
          ASSERT_EQ(LanesOf(out[std::size_t(i)])[lane], want) << "n " << n << " r " << r << " i " << i;
        }
      // In place gives the same line.
      std::vector<T> same = in;
      ASSERT_EQ(Kernel::Pass(same.data(), same.data(), g.data(), h.data(), n, r), 1);
      ASSERT_EQ(std::memcmp(same.data(), out.data(), sizeof(T) * std::size_t(n)), 0);
    }
}

}  // namespace

TEST(MorphKernels, PassIsTheWindowExtremeCutAtTheLineEnds) {
  CheckPass<unsigned char, quilp::TplErode<unsigned char>>(false, false);
  CheckPass<unsigned char, quilp::TplDilate<unsigned char>>(true, false);
  CheckPass<PackedBits, quilp::TplErode<PackedBits>>(false, true);
  CheckPass<PackedBits, quilp::TplDilate<PackedBits>>(true, true);
  CheckPass<Rgb<unsigned char>, quilp::TplErode<Rgb<unsigned char>>>(false, false);
  CheckPass<Rgb<unsigned char>, quilp::TplDilate<Rgb<unsigned char>>>(true, false);
}

TEST(MorphKernels, PassRefusesBadArguments) {
  unsigned char a[4] = {}, b[4] = {}, g[4] = {}, h[4] = {};
  using E = quilp::TplErode<unsigned char>;
  EXPECT_EQ(E::Pass(nullptr, b, g, h, 4, 1), 0);
  EXPECT_EQ(E::Pass(a, nullptr, g, h, 4, 1), 0);
  EXPECT_EQ(E::Pass(a, b, nullptr, h, 4, 1), 0);
  EXPECT_EQ(E::Pass(a, b, g, nullptr, 4, 1), 0);
  EXPECT_EQ(E::Pass(a, b, g, h, -1, 1), 0);
  EXPECT_EQ(E::Pass(a, b, g, h, 4, 0), 0);
  EXPECT_EQ(E::Pass(a, b, g, h, 0, 1), 1);
  // The largest half size is the whole line.
  unsigned char in[4] = {9, 3, 7, 5}, out[4] = {};
  EXPECT_EQ(E::Pass(out, in, g, h, 4, INT32_MAX), 1);
  for (unsigned char v : out) EXPECT_EQ(v, 3);
}

namespace {

int Sample(DibInfo const* dib, Area const& a, int x, int y, int channel) {
  if (dib->BitsPerPixel() == 1) return Bit(dib, a.left + x, a.top + y) ? 255 : 0;
  return Px(dib, a.left + x, a.top + y, channel);
}

// Runs MorphRect from an area of src into a new record of the area's size and compares every
// sample with the brute-force extreme (1-bit: a set bit is 255).
void CheckRect(int depth, int width, int height, bool topDown, int hSize, int vSize,
               MorphOp op, uint32_t seed, int leftBits) {
  DibPtr src = RandomDib(width + leftBits + 2, height + 1, depth, topDown, seed);
  Area const area{leftBits, 1, width, height};
  DibPtr dst(DibCreate(width, topDown ? -height : height, 0, 0, depth));
  ASSERT_TRUE(quilp::MorphRect(PlaneOf(dst.get()), PlaneOf(src.get(), area), hSize, vSize, op));
  int const channels = depth == 24 ? 3 : 1;
  bool const dilate = op == MorphOp::kDilate;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < channels; ++c) {
        int const want = WindowExtreme(
            [&](int xx, int yy) { return Sample(src.get(), area, xx, yy, c); }, x, y, width,
            height, hSize, vSize, dilate);
        int const got = depth == 1 ? (Bit(dst.get(), x, y) ? 255 : 0) : Px(dst.get(), x, y, c);
        ASSERT_EQ(got, want) << "depth " << depth << " w " << width << " h " << height << " sizes "
                             << hSize << "," << vSize << " at " << x << "," << y;
      }
}

}  // namespace

TEST(MorphKernels, RectangleEqualsBruteForceOnEveryDepthAndPath) {
  std::vector<Tier> const tiers = ScalarAndVectorTiers();
  int const sizes[][2] = {{1, 1}, {0, 2}, {3, 0}, {2, 5}, {7, 3}, {0, 0}, {20, 1}};
  for (Tier tier : tiers) {
    ScopedTier cap(tier);
    SCOPED_TRACE(quilp::simd::TierName(tier));
    uint32_t seed = 1;
    for (int depth : {8, 24, 1})
      for (int width : kAwkwardWidths)
        for (auto const& s : sizes)
          for (MorphOp op : {MorphOp::kErode, MorphOp::kDilate}) {
            ++seed;
            bool const topDown = (seed & 1) != 0;
            int const height = 3 + int(seed % 37);
            CheckRect(depth, width, height, topDown, s[0], s[1], op, seed, depth == 1 ? int(seed % 8) : 1);
          }
  }
}

// Wide areas reach every vector strip width and the band transposition's overlapping tail.
TEST(MorphKernels, WideAreasAndTallBandsOnEveryPath) {
  std::vector<Tier> const tiers = ScalarAndVectorTiers();
  for (Tier tier : tiers) {
    ScopedTier cap(tier);
    SCOPED_TRACE(quilp::simd::TierName(tier));
    CheckRect(8, 203, 71, false, 4, 5, MorphOp::kErode, 5, 1);
    CheckRect(8, 130, 33, true, 31, 2, MorphOp::kDilate, 6, 1);
    CheckRect(24, 70, 40, false, 3, 6, MorphOp::kErode, 7, 1);
    CheckRect(1, 700, 25, true, 40, 2, MorphOp::kErode, 8, 5);
    CheckRect(1, 333, 20, false, 65, 1, MorphOp::kDilate, 9, 3);
    CheckRect(1, 70, 20, false, 1, 30, MorphOp::kDilate, 10, 3);
  }
}

TEST(MorphKernels, InPlaceAndTheBitsBeyondA1BitArea) {
  // In place: the same area as source and destination, small and large windows, every path.
  std::vector<Tier> const tiers = ScalarAndVectorTiers();
  int const sizes[][2] = {{3, 4}, {2, 0}, {1, 1}, {0, 2}, {2, 9}};
  for (Tier tier : tiers)
    for (auto const& s : sizes) {
      ScopedTier cap(tier);
      DibPtr grey = RandomDib(157, 40, 8, false, 3);
      DibPtr copy(DibCreate(157, 40, 0, 0, 8));
      std::memcpy(copy->BitsPtr(), grey->BitsPtr(), grey->biSizeImage);
      DibPtr want(DibCreate(157, 40, 0, 0, 8));
      ASSERT_TRUE(quilp::MorphRect(PlaneOf(want.get()), PlaneOf(copy.get()), s[0], s[1], MorphOp::kDilate));
      ASSERT_TRUE(quilp::MorphRect(PlaneOf(grey.get()), PlaneOf(grey.get()), s[0], s[1], MorphOp::kDilate));
      for (int y = 0; y < 40; ++y)
        ASSERT_EQ(std::memcmp(want->GetLine(y), grey->GetLine(y), 157), 0)
            << quilp::simd::TierName(tier) << " sizes " << s[0] << "," << s[1];
    }
  DibPtr grey = RandomDib(57, 40, 8, false, 3);

  // A 1-bit destination area 13 pixels wide inside a wider record: pixels 13.. stay.
  DibPtr src = RandomDib(13, 9, 1, false, 4);
  DibPtr dst = RandomDib(40, 9, 1, true, 5);
  DibPtr before = RandomDib(40, 9, 1, true, 5);
  quilp::DibPlane const d = PlaneOf(dst.get(), Area{0, 0, 13, 9});
  ASSERT_TRUE(quilp::MorphRect(d, PlaneOf(src.get()), 2, 2, MorphOp::kErode));
  for (int y = 0; y < 9; ++y)
    for (int x = 13; x < 40; ++x) ASSERT_EQ(Bit(dst.get(), x, y), Bit(before.get(), x, y));

  // Refusals: size or format mismatch, negative sizes, a 1-bit destination off its byte.
  DibPtr other(DibCreate(56, 40, 0, 0, 8));
  EXPECT_FALSE(quilp::MorphRect(PlaneOf(other.get()), PlaneOf(grey.get()), 1, 1, MorphOp::kErode));
  EXPECT_FALSE(quilp::MorphRect(PlaneOf(grey.get()), PlaneOf(grey.get()), -1, 1, MorphOp::kErode));
  EXPECT_FALSE(quilp::MorphRect(PlaneOf(dst.get(), Area{3, 0, 13, 9}), PlaneOf(src.get()), 1, 1,
                                MorphOp::kErode));
}
