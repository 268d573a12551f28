// Otsu thresholds: the kernels against the long-hand criterion, and DibGetOtsuLevels.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "binarize/otsu.h"
#include "quilp32.h"
#include "support/images.h"
#include "support/otsu_reference.h"

using namespace testing_support;

namespace {

// Histograms like pages (two or three humps of random width) or plain random ones.
std::vector<int> RandomHistogram(std::mt19937& rng, int n, int kind) {
  std::vector<int> h(n, 0);
  if (kind == 0) {
    for (int& c : h) c = int(rng() % 1000);
  } else if (kind == 1) {  // sparse: a few levels only, so equal scores and empty classes occur
    for (int i = 0; i < 3; ++i) h[rng() % n] += int(rng() % 50);
  } else {
    for (int hump = 0; hump < kind; ++hump) {
      int const centre = int(rng() % n), spread = 1 + int(rng() % 20);
      int const weight = int(rng() % 100000);
      for (int i = 0; i < 2000; ++i) {
        int const v = centre + int(rng() % (2 * spread + 1)) - spread;
        if (v >= 0 && v < n) h[v] += weight / 2000;
      }
    }
  }
  return h;
}

// An 8-bit image holding the given counts (each level's pixels in scan order).
DibPtr ImageOf(std::vector<int> const& hist, int width, bool topDown) {
  long total = 0;
  for (int c : hist) total += c;
  int const height = int((total + width - 1) / width);
  DibPtr dib(DibCreate(width, topDown ? -height : height, 3937, 3937, 8));
  long i = 0;
  for (int level = 0; level < 256; ++level)
    for (int c = 0; c < hist[level]; ++c, ++i) Px(dib.get(), int(i % width), int(i / width)) = uint8_t(level);
  // The tail of the last row keeps level 0; callers count it in.
  return dib;
}

}  // namespace

TEST(OtsuKernels, TwoClassesMatchTheCriterionOnRandomHistograms) {
  std::mt19937 rng(11);
  for (int round = 0; round < 400; ++round) {
    int const n = round < 300 ? 256 : 2 + int(rng() % 40);
    std::vector<int> const h = RandomHistogram(rng, n, round % 4);
    int lo = 0, hi = n - 1;
    if (round % 5 == 4) lo = int(rng() % n), hi = int(rng() % n);
    std::vector<float> values;
    bool const useValues = round % 7 == 6;
    for (int i = 0; i < n; ++i) values.push_back(float(rng() % 1000) / 7.0f);
    SCOPED_TRACE(testing::Message() << "round " << round << " n " << n << " lo " << lo << " hi " << hi);
    EXPECT_EQ(quilp::DibOtsuThreshold(h.data(), n, lo, hi, useValues ? values.data() : nullptr),
              ReferenceOtsu2(h, lo, hi, useValues ? &values : nullptr));
  }
}

TEST(OtsuKernels, TwoClassPriorWeightAndArguments) {
  // 1,000 pixels at 40 and 1,000 at 200: every t in 41..200 splits the pixels alike; the prior
  // weight of the empty bins picks 121.
  std::vector<int> h(256, 0);
  h[40] = 1000;
  h[200] = 1000;
  EXPECT_EQ(quilp::DibOtsuThreshold(h.data(), 256, 0, 255, nullptr), 121);
  // One level only: the prior weight alone makes the scores positive.
  std::vector<int> one(256, 0);
  one[128] = 5000;
  EXPECT_EQ(quilp::DibOtsuThreshold(one.data(), 256, 0, 255, nullptr), 85);
  // An empty histogram: the uniform prior alone, split at the middle.
  std::vector<int> empty(256, 0);
  EXPECT_EQ(quilp::DibOtsuThreshold(empty.data(), 256, 0, 255, nullptr), ReferenceOtsu2(empty, 0, 255));
  EXPECT_EQ(quilp::DibOtsuThreshold(empty.data(), 256, 0, 255, nullptr), 128);
  // A lower bound above the upper searches nothing and gives 0; a single candidate wins.
  EXPECT_EQ(quilp::DibOtsuThreshold(h.data(), 256, 200, 100, nullptr), 0);
  EXPECT_EQ(quilp::DibOtsuThreshold(h.data(), 256, 150, 150, nullptr), 150);
  // Arguments.
  EXPECT_EQ(quilp::DibOtsuThreshold(nullptr, 256, 0, 255, nullptr), -1);
  EXPECT_EQ(quilp::DibOtsuThreshold(h.data(), 1, 0, 0, nullptr), -1);
  EXPECT_EQ(quilp::DibOtsuThreshold(h.data(), 256, -1, 255, nullptr), -1);
  EXPECT_EQ(quilp::DibOtsuThreshold(h.data(), 256, 0, 256, nullptr), -1);
}

TEST(OtsuKernels, ThreeClassesMatchTheBruteForceOnRandomHistograms) {
  std::mt19937 rng(12);
  for (int round = 0; round < 40; ++round) {
    int const n = round < 30 ? 256 : 1 + int(rng() % 30);
    std::vector<int> const h = RandomHistogram(rng, n, round % 4);
    SCOPED_TRACE(testing::Message() << "round " << round << " n " << n);
    std::vector<double*> rows(n);
    int const built = quilp::DibOtsuClassTable(n, h.data(), rows.data());
    int want[2] = {-7, -7}, got[2] = {-7, -7};
    bool const found = ReferenceOtsu3(h, want);
    if (built) {
      double best = -1;
      EXPECT_EQ(quilp::DibOtsuBestPair(n, rows.data(), &best, got), 1);
      EXPECT_EQ(found, best > 0.0);
    }
    EXPECT_EQ(got[0], want[0]);
    EXPECT_EQ(got[1], want[1]);
    EXPECT_EQ(quilp::DibOtsuFreeTable(n, rows.data()), 1);
  }
}

TEST(OtsuKernels, ThreeClassTableEdges) {
  std::vector<int> empty(256, 0);
  double* rows[256];
  EXPECT_EQ(quilp::DibOtsuClassTable(256, empty.data(), rows), 0);  // empty: not filled
  quilp::DibOtsuFreeTable(256, rows);
  EXPECT_EQ(quilp::DibOtsuClassTable(0, empty.data(), rows), 0);
  // Too few levels for three classes: best stays 0 and the pair is not written.
  std::vector<int> small = {5, 9, 1, 7};
  ASSERT_EQ(quilp::DibOtsuClassTable(4, small.data(), rows), 1);
  double best = 3;
  int pair[2] = {-1, -1};
  EXPECT_EQ(quilp::DibOtsuBestPair(4, rows, &best, pair), 1);
  EXPECT_EQ(best, 0.0);
  EXPECT_EQ(pair[0], -1);
  quilp::DibOtsuFreeTable(4, rows);
  // Ties go to the smallest t2, then the smallest t1: with levels 10, 100 and 200 only, every
  // t1 in 10..99 with t2 in 100..199 makes the same three classes and the same score.
  std::vector<int> three(256, 0);
  three[10] = three[100] = three[200] = 100;
  int got[2] = {-1, -1};
  ASSERT_EQ(quilp::DibOtsuClassTable(256, three.data(), rows), 1);
  quilp::DibOtsuBestPair(256, rows, &best, got);
  quilp::DibOtsuFreeTable(256, rows);
  EXPECT_EQ(got[0], 10);
  EXPECT_EQ(got[1], 100);
}

TEST(OtsuLevels, ViewLevelsOnImagesBothRowOrders) {
  std::mt19937 rng(13);
  for (int width : kAwkwardWidths)
    for (bool topDown : {false, true}) {
      DibPtr dib = RandomDib(width, 23, 8, topDown, rng());
      // Two humps rather than noise, so thresholds move with the data.
      for (int y = 0; y < 23; ++y)
        for (int x = 0; x < width; ++x) {
          uint8_t& p = Px(dib.get(), x, y);
          p = (p & 1) ? uint8_t(30 + p % 40) : uint8_t(150 + p % 90);
        }
      tagRect32 rect{width / 3, 2, width - 1, 20};
      std::vector<int> const h = ReferenceHistogram(dib.get(), width / 3, 2, width - width / 3, 19);
      SCOPED_TRACE(testing::Message() << "width " << width << (topDown ? " top-down" : " bottom-up"));
      int levels[2] = {-9, -9};
      ASSERT_TRUE(DibGetOtsuLevels(levels, dib.get(), 2, &rect));
      EXPECT_EQ(levels[0], ReferenceOtsu2(h, 0, 255));
      EXPECT_EQ(levels[1], -9);
      int want[2] = {-9, -9};
      ReferenceOtsu3(h, want);
      ASSERT_TRUE(DibGetOtsuLevels(levels, dib.get(), 3, &rect));
      EXPECT_EQ(levels[0], want[0]);
      EXPECT_EQ(levels[1], want[1]);
    }
}

TEST(OtsuLevels, CountsDepthsAndRectangles) {
  DibPtr grey = RandomDib(20, 10, 8, false, 3);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 20; ++x) Px(grey.get(), x, y) = 128;
  int levels[2] = {-9, -9};
  ASSERT_TRUE(DibGetOtsuLevels(levels, grey.get(), 2, nullptr));
  EXPECT_EQ(levels[0], 85);
  levels[0] = levels[1] = -9;  // one level: no three-class split scores, levels untouched
  ASSERT_TRUE(DibGetOtsuLevels(levels, grey.get(), 3, nullptr));
  EXPECT_EQ(levels[0], -9);
  EXPECT_EQ(levels[1], -9);
  for (int count : {1, 4, 0, -2}) EXPECT_FALSE(DibGetOtsuLevels(levels, grey.get(), count, nullptr));
  EXPECT_EQ(levels[0], -9);
  EXPECT_FALSE(DibGetOtsuLevels(levels, nullptr, 2, nullptr));
  EXPECT_FALSE(DibGetOtsuLevels(nullptr, grey.get(), 2, nullptr));
  for (int depth : {1, 32}) {
    DibPtr other = RandomDib(20, 10, depth, false, 4);
    EXPECT_FALSE(DibGetOtsuLevels(levels, other.get(), 2, nullptr));
  }
  EXPECT_EQ(levels[0], -9);
  // 8-bit: clamped; 24-bit: exact fit (an edge at Width passes, beyond fails).
  tagRect32 wide{-3, 2, 40, 8};
  EXPECT_TRUE(DibGetOtsuLevels(levels, grey.get(), 2, &wide));
  tagRect32 empty{25, 0, 30, 5};
  EXPECT_FALSE(DibGetOtsuLevels(levels, grey.get(), 2, &empty));
  DibPtr colour = RandomDib(20, 10, 24, true, 5);
  levels[0] = -9;
  EXPECT_FALSE(DibGetOtsuLevels(levels, colour.get(), 2, &wide));
  EXPECT_EQ(levels[0], -9);
  tagRect32 edge{0, 0, 20, 9};
  EXPECT_TRUE(DibGetOtsuLevels(levels, colour.get(), 2, &edge));
  tagRect32 beyond{0, 0, 21, 9};
  EXPECT_FALSE(DibGetOtsuLevels(levels, colour.get(), 2, &beyond));
}

TEST(OtsuLevels, ColourGoesThroughTheGreyProjection) {
  for (bool topDown : {false, true}) {
    DibPtr colour = RandomDib(37, 19, 24, topDown, 6 + topDown);
    tagRect32 rect{3, 2, 30, 17};
    DibPtr grey(DibRGB2Grey(colour.get(), nullptr, &rect));
    ASSERT_NE(grey, nullptr);
    for (int count : {2, 3}) {
      int a[2] = {-1, -1}, b[2] = {-1, -1};
      ASSERT_TRUE(DibGetOtsuLevels(a, colour.get(), count, &rect));
      ASSERT_TRUE(DibGetOtsuLevels(b, grey.get(), count, nullptr));
      EXPECT_EQ(a[0], b[0]);
      EXPECT_EQ(a[1], b[1]);
    }
  }
  DibPtr black(DibCreate(8, 8, 0, 0, 24));  // all black: no colour axis
  int levels[1] = {-9};
  EXPECT_FALSE(DibGetOtsuLevels(levels, black.get(), 2, nullptr));
  EXPECT_EQ(levels[0], -9);
}

// Above 8,421,504 pixels of level 255 the three-class moment 255 * count leaves 32 bits; the
// result follows the wrapped value.
TEST(OtsuLevels, ThreeClassMomentWrapsAboveEightMillionPixelsAtTheTop) {
  std::vector<int> h(256, 0);
  h[255] = 8448157;
  h[19] = 246996;
  h[38] = 246273;
  h[80] = 100254;
  h[238] = 89703;
  int wrapped[2] = {-1, -1}, exact[2] = {-1, -1};
  ASSERT_TRUE(ReferenceOtsu3(h, wrapped, true));
  ASSERT_TRUE(ReferenceOtsu3(h, exact, false));
  ASSERT_TRUE(wrapped[0] != exact[0] || wrapped[1] != exact[1]) << "the case must tell them apart";
  DibPtr dib = ImageOf(h, 3000, false);
  // The last row's tail is level 0 (zeroed pixels): count it in.
  std::vector<int> const actual = ReferenceHistogram(dib.get(), 0, 0, 3000, dib->Height());
  int want[2] = {-1, -1};
  ASSERT_TRUE(ReferenceOtsu3(actual, want, true));
  int levels[2] = {-1, -1};
  ASSERT_TRUE(DibGetOtsuLevels(levels, dib.get(), 3, nullptr));
  EXPECT_EQ(levels[0], want[0]);
  EXPECT_EQ(levels[1], want[1]);
}
