// Skeletons checked for their properties: inside the source, one pixel wide, the same ink
// components and paper holes; weak skeletons keep the strokes' length; the medial values are
// the distances to the paper.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "quilp32.h"
#include "support/ink_pages.h"

using namespace testing_support;

namespace {

// Components of ink (8-connected) or of paper (4-connected, with a paper frame around the
// image, so all paper touching the border is one component), by flood fill.
int CountComponents(DibInfo const* dib, bool ink) {
  int const w = dib->Width() + 2, h = dib->Height() + 2;
  auto is = [&](int x, int y) {
    bool const inside = x > 0 && y > 0 && x < w - 1 && y < h - 1;
    return (inside && Ink(dib, x - 1, y - 1)) == ink;
  };
  std::vector<char> seen(std::size_t(w) * std::size_t(h), 0);
  int count = 0;
  std::vector<std::pair<int, int>> stack;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      if (seen[std::size_t(y * w + x)] || !is(x, y)) continue;
      ++count;
      stack.push_back({x, y});
      seen[std::size_t(y * w + x)] = 1;
      while (!stack.empty()) {
        auto [cx, cy] = stack.back();
        stack.pop_back();
        for (int dy = -1; dy <= 1; ++dy)
          for (int dx = -1; dx <= 1; ++dx) {
            if (!ink && dx && dy) continue;
            int const nx = cx + dx, ny = cy + dy;
            if (nx < 0 || ny < 0 || nx >= w || ny >= h || seen[std::size_t(ny * w + nx)] || !is(nx, ny)) continue;
            seen[std::size_t(ny * w + nx)] = 1;
            stack.push_back({nx, ny});
          }
      }
    }
  return count;
}

TEST(Skeleton, ThinInsideAndOfTheSameTopology) {
  int const kH = 24;
  for (int width : {1, 9, 33, 64})
    for (bool topDown : {false, true})
      for (double share : {0.4, 0.9}) {
        SCOPED_TRACE(::testing::Message() << "width " << width << " topDown " << topDown << " share " << share);
        DibPtr src = BlobPage(width, kH, topDown, uint32_t(width * 7 + int(share * 10)), share);
        for (auto skeleton : {&DibSkelet, &DibSkeletWeak}) {
          DibPtr out(skeleton(src.get(), nullptr));
          ASSERT_TRUE(out);
          EXPECT_EQ(out->biHeight > 0, !topDown);
          int const inkParts = CountComponents(out.get(), true), paperParts = CountComponents(out.get(), false);
          for (int y = 0; y < kH; ++y)
            for (int x = 0; x < width; ++x) {
              if (!Ink(out.get(), x, y)) continue;
              ASSERT_TRUE(Ink(src.get(), x, y)) << "outside at " << x << "," << y;
              int neighbours = 0;
              for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx)
                  neighbours += (dx || dy) && x + dx >= 0 && y + dy >= 0 && x + dx < width && y + dy < kH &&
                                Ink(out.get(), x + dx, y + dy);
              if (neighbours < 2) continue;  // end points stay
              // One pixel wide: no pixel can go without changing the topology.
              PutInk(out.get(), x, y, false);
              EXPECT_FALSE(CountComponents(out.get(), true) == inkParts &&
                           CountComponents(out.get(), false) == paperParts) << "removable at " << x << "," << y;
              PutInk(out.get(), x, y, true);
            }
          EXPECT_EQ(CountComponents(out.get(), true), CountComponents(src.get(), true));
          EXPECT_EQ(CountComponents(out.get(), false), CountComponents(src.get(), false));
        }
      }
  DibPtr grey = RandomDib(8, 8, 8, false, 1);
  EXPECT_EQ(DibSkelet(grey.get(), nullptr), nullptr);
  EXPECT_EQ(DibSkeletWeak(nullptr, nullptr), nullptr);
  EXPECT_EQ(DibSkeletize(grey.get(), nullptr), nullptr);
}

TEST(Skeleton, WeakKeepsStrokeLengthAndMedialValuesAreDistances) {
  // A 7-pixel-thick bar from column 4 to 55 and a ring.
  DibPtr src(DibCreate(60, 30, 11811, 11811, 1));
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 60; ++x) {
      double const r = std::hypot(x - 45.0, y - 20.0);
      PutInk(src.get(), x, y, (y >= 3 && y <= 9 && x >= 4 && x <= 55) || (r >= 4 && r <= 7));
    }
  DibPtr strong(DibSkelet(src.get(), nullptr)), weak(DibSkeletWeak(src.get(), nullptr));
  DibPtr medial(DibSkeletize(src.get(), nullptr));
  ASSERT_TRUE(strong && weak && medial);
  auto extent = [](DibInfo const* d, int& lo, int& hi) {
    lo = 1000, hi = -1;
    for (int y = 0; y <= 11; ++y)
      for (int x = 0; x < 60; ++x)
        if (Ink(d, x, y)) lo = std::min(lo, x), hi = std::max(hi, x);
  };
  int slo, shi, wlo, whi;
  extent(strong.get(), slo, shi);
  extent(weak.get(), wlo, whi);
  EXPECT_GT(slo, 5);  // thinning peels the ends
  EXPECT_LE(wlo, 5);
  EXPECT_GE(whi, 54);
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 60; ++x) {
      if (x + 1 < 60 && y + 1 < 30) {
        EXPECT_FALSE(Ink(weak.get(), x, y) && Ink(weak.get(), x + 1, y) && Ink(weak.get(), x, y + 1) &&
                     Ink(weak.get(), x + 1, y + 1)) << "2 x 2 ink at " << x << "," << y;
      }
      ASSERT_EQ(Px(medial.get(), x, y) != 0, Ink(weak.get(), x, y)) << x << "," << y;
      if (y == 6 && x >= 10 && x <= 50) {
        EXPECT_EQ(Px(medial.get(), x, y), 4);  // the bar's middle row
      }
    }
}

}  // namespace
