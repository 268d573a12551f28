// DibSqueeze and DibDistanceTransform against literal definitions, awkward widths, both row
// orders, areas that start inside a byte.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "quilp32.h"
#include "support/ink_pages.h"

using namespace testing_support;

namespace {

TEST(Squeeze, CountsInkOfEachBlockAgainstTheLevel) {
  for (int width : kAwkwardWidths)
    for (bool topDown : {false, true})
      for (int level = 1; level <= 4; ++level) {
        SCOPED_TRACE(::testing::Message() << "width " << width << " topDown " << topDown << " level " << level);
        DibPtr src = RandomDib(width + 3, 9, 1, topDown, uint32_t(width * 8 + level));
        tagRect32 rect = {3, 1, width + 2, 8};  // starts at bit 3, odd height 8
        DibPtr out(DibSqueeze(src.get(), level, &rect));
        ASSERT_TRUE(out);
        ASSERT_EQ(out->Width(), (width + 1) / 2);
        ASSERT_EQ(out->Height(), 4);
        EXPECT_EQ(out->biHeight > 0, !topDown);
        EXPECT_EQ(out->XPelsPerMeter(), 1969);
        for (int y = 0; y < 4; ++y)
          for (int x = 0; x < out->Width(); ++x) {
            int n = 0;
            for (int dy = 0; dy < 2; ++dy)
              for (int dx = 0; dx < 2; ++dx) {
                int const sx = 2 * x + dx, sy = 2 * y + dy;
                if (sx < width && sy < 8) n += Ink(src.get(), 3 + sx, 1 + sy);
              }
            ASSERT_EQ(Ink(out.get(), x, y), n >= level) << x << "," << y;
          }
      }
  DibPtr grey = RandomDib(8, 8, 8, false, 1);
  DibPtr bits = RandomDib(8, 8, 1, false, 1);
  EXPECT_EQ(DibSqueeze(grey.get(), 1, nullptr), nullptr);
  EXPECT_EQ(DibSqueeze(bits.get(), 0, nullptr), nullptr);
  EXPECT_EQ(DibSqueeze(bits.get(), 5, nullptr), nullptr);
  EXPECT_EQ(DibSqueeze(nullptr, 1, nullptr), nullptr);
}

// Brute force: the smallest distance (squared for Euclid) to a pixel of the other class,
// with a one-pixel frame of paper around the area.
int64_t BruteDistance(DibInfo const* src, int left, int top, int w, int h, int x, int y,
                      int metric, bool measureInk) {
  auto ink = [&](int qx, int qy) {
    return qx >= 0 && qy >= 0 && qx < w && qy < h && Ink(src, left + qx, top + qy);
  };
  if (ink(x, y) != measureInk) return 0;
  int64_t best = std::numeric_limits<int64_t>::max();
  for (int qy = -1; qy <= h; ++qy)
    for (int qx = -1; qx <= w; ++qx) {
      if (ink(qx, qy) == measureInk) continue;
      if (!measureInk && (qx < 0 || qy < 0 || qx >= w || qy >= h)) continue;  // no ink outside
      int64_t const dx = std::abs(qx - x), dy = std::abs(qy - y);
      int64_t const d = metric == 0 ? dx * dx + dy * dy : metric == 1 ? dx + dy : std::max(dx, dy);
      best = std::min(best, d);
    }
  return best;
}

TEST(DistanceTransform, EveryMetricMatchesBruteForce) {
  for (int width : {1, 7, 17, 33, 45})
    for (bool topDown : {false, true})
      for (int metric = 0; metric <= 2; ++metric)
        for (int measure = 0; measure <= 1; ++measure) {
          SCOPED_TRACE(::testing::Message() << "width " << width << " topDown " << topDown
                                            << " metric " << metric << " measure " << measure);
          DibPtr src = BlobPage(width + 5, 23, topDown, uint32_t(width + 7 * metric), 0.15);
          tagRect32 rect = {5, 2, width + 4, 21};
          int const h = 20;
          DibPtr d32(DibDistanceTransform(src.get(), metric, 32, measure, &rect));
          DibPtr d8(DibDistanceTransform(src.get(), metric, 8, measure, &rect));
          ASSERT_TRUE(d32 && d8);
          ASSERT_EQ(d32->BitsPerPixel(), 32);
          ASSERT_EQ(d8->Width(), width);
          for (int y = 0; y < h; ++y)
            for (int x = 0; x < width; ++x) {
              int64_t const want = BruteDistance(src.get(), 5, 2, width, h, x, y, metric, measure == 0);
              int32_t got;
              std::memcpy(&got, d32->GetLine(y) + 4 * x, 4);
              int64_t const far = std::numeric_limits<int64_t>::max();
              ASSERT_EQ(got, want == far ? 2147483647 : want) << x << "," << y;
              int64_t const len = want == far ? 255 : metric == 0 ? std::llround(std::sqrt(double(want))) : want;
              ASSERT_EQ(Px(d8.get(), x, y), std::min<int64_t>(255, len)) << x << "," << y;
            }
        }
}

TEST(DistanceTransform, RefusesWhatItDoesNotMeasure) {
  DibPtr bits = BlobPage(10, 10, false, 3);
  DibPtr grey = RandomDib(10, 10, 8, false, 3);
  EXPECT_EQ(DibDistanceTransform(grey.get(), 0, 8, 0, nullptr), nullptr);
  EXPECT_EQ(DibDistanceTransform(bits.get(), 3, 8, 0, nullptr), nullptr);
  EXPECT_EQ(DibDistanceTransform(bits.get(), 0, 16, 0, nullptr), nullptr);
  EXPECT_EQ(DibDistanceTransform(bits.get(), 0, 8, 2, nullptr), nullptr);
  tagRect32 outside = {20, 20, 30, 30};
  EXPECT_EQ(DibDistanceTransform(bits.get(), 0, 8, 0, &outside), nullptr);
}

}  // namespace
