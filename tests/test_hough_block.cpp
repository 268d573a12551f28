// The fast Hough transform of square blocks (DibHoughPrepare / Compute / Done) against the
// brute-force line sums of the dyadic lines, and its misuse rules.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

#include "quilp32.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;

namespace {

// Rows drifted at lane x by the dyadic line of slope t over n lanes: over 2w lanes the line of
// slope t/2 over the first w lanes, then the same line started t - t/2 further.
int Drift(int n, int t, int x) {
  if (n == 1) return 0;
  int const half = n / 2, k = t / 2;
  return x < half ? Drift(half, k, x) : (t - k) + Drift(half, k, x - half);
}

struct Result {
  int slope = 0, score = 0;
};

// The documented outcome, computed the long way: for every slope of each pass, the N cyclic
// line sums, their statistics and score; the first best slope; the mirror pass (lanes in
// reverse order) wins only when its integer score is strictly greater.
Result BruteForce(DibInfo const* dib, int left, int top, int n, bool vertical, bool polarity) {
  auto vote = [&](int row, int col) {
    int const v = Px(dib, left + col, top + row);
    return polarity ? v : 255 - v;
  };
  Result pass[2];
  for (int mirror = 0; mirror < 2; ++mirror) {
    double best = -1.0;
    for (int t = 0; t < n; ++t) {
      double s1 = 0, s2 = 0, s3 = 0;
      for (int i = 0; i < n; ++i) {
        double h = 0;
        for (int x = 0; x < n; ++x) {
          int const lane = mirror ? n - 1 - x : x;
          int const p = (i + Drift(n, t, x)) % n;
          h += vertical ? vote(lane, p) : vote(p, lane);
        }
        s1 += std::sqrt(h);
        s2 += h;
        s3 += h * h;
      }
      double const mean = s1 / n;
      double const variance = std::max(0.0, (s3 - s2 * s2 / n) / n);
      double const score = std::sqrt(variance) / (mean * mean + 0.01);
      if (score > best) {
        best = score;
        pass[mirror] = {t, static_cast<int>(score * 65536.0)};
      }
    }
  }
  if (pass[1].score > pass[0].score) return {-pass[1].slope, pass[1].score};
  return pass[0];
}

DibPtr WhiteBlock(int width, int height, bool topDown) {
  DibPtr dib(DibCreate(width, topDown ? -height : height, 3937, 3937, 8));
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) Px(dib.get(), x, y) = 255;
  return dib;
}

// A one-pixel dark dyadic line of slope t through a white block: mode 2 rows drift with the
// column (descending, or rising when `back`), mode 1 columns drift with the row.
DibPtr LineBlock(int n, int t, int start, bool vertical, bool back, bool topDown) {
  DibPtr dib = WhiteBlock(n, n, topDown);
  for (int lane = 0; lane < n; ++lane) {
    int const p = (start + Drift(n, t, back ? n - 1 - lane : lane)) % n;
    if (vertical) Px(dib.get(), p, lane) = 0;
    else Px(dib.get(), lane, p) = 0;
  }
  return dib;
}

struct Session {  // prepares on construction, releases on destruction
  Session(int logSize, bool vertical, bool polarity) {
    ok = DibHoughPrepare(logSize, vertical, polarity);
  }
  ~Session() { DibHoughDone(); }
  bool ok;
};

}  // namespace

TEST(HoughBlock, DigitalLinesOfKnownSlopeInBothDirectionsAndModes) {
  for (bool vertical : {false, true})
    for (int t : {0, 1, 5, 12, 31}) {
      Session session(5, vertical, false);
      ASSERT_TRUE(session.ok);
      for (bool back : {false, true}) {
        SCOPED_TRACE(testing::Message() << "vertical " << vertical << " slope " << t << " back " << back);
        DibPtr dib = LineBlock(32, t, 9, vertical, back, back);
        int zero = 7, slope = 99, score = -1;
        ASSERT_TRUE(DibHoughCompute(dib.get(), zero, slope, score, nullptr));
        EXPECT_EQ(zero, 0);
        EXPECT_EQ(slope, back && t > 0 ? -t : t);
        Result const want = BruteForce(dib.get(), 0, 0, 32, vertical, false);
        EXPECT_EQ(slope, want.slope);
        EXPECT_NEAR(score, want.score, 1);
        EXPECT_GT(score, 0);
      }
    }
}

TEST(HoughBlock, RandomBlocksMatchTheLongWayInEveryModeAndPolarity) {
  std::mt19937 rng(11);
  for (bool vertical : {false, true})
    for (bool polarity : {false, true}) {
      Session session(4, vertical, polarity);
      ASSERT_TRUE(session.ok);
      for (int k = 0; k < 3; ++k) {
        // A rectangle inside a larger image, either row order.
        DibPtr dib = RandomDib(23, 21, 8, k == 1, uint32_t(rng()));
        tagRect32 rect{3 + k, 2, 3 + k + 15, 17};
        int zero, slope, score;
        ASSERT_TRUE(DibHoughCompute(dib.get(), zero, slope, score, &rect));
        Result const want = BruteForce(dib.get(), rect.left, rect.top, 16, vertical, polarity);
        EXPECT_EQ(slope, want.slope) << vertical << polarity << k;
        EXPECT_NEAR(score, want.score, 1);
      }
    }
}

TEST(HoughBlock, BlankBlocksAndMirrorTiesKeepTheFirstPass) {
  Session session(5, false, false);
  ASSERT_TRUE(session.ok);
  DibPtr white = WhiteBlock(32, 32, false);
  int zero = 1, slope = 1, score = 1;
  ASSERT_TRUE(DibHoughCompute(white.get(), zero, slope, score, nullptr));
  EXPECT_EQ(slope, 0);
  EXPECT_EQ(score, 0);
  // A block that is its own mirror image: both passes score alike, the positive slope stays.
  DibPtr cross = WhiteBlock(32, 32, false);
  for (int x = 0; x < 32; ++x) {
    Px(cross.get(), x, 4 + Drift(32, 9, x)) = 0;
    Px(cross.get(), x, 4 + Drift(32, 9, 31 - x)) = 0;
  }
  ASSERT_TRUE(DibHoughCompute(cross.get(), zero, slope, score, nullptr));
  EXPECT_GE(slope, 0);
  EXPECT_EQ(slope, BruteForce(cross.get(), 0, 0, 32, false, false).slope);
}

TEST(HoughBlock, MisuseFailsCleanly) {
  DibPtr block = RandomDib(16, 16, 8, false, 3);
  DibPtr colour = RandomDib(16, 16, 24, false, 4);
  int zero = 5, slope = 5, score = 5;
  // Released state: compute and a second done fail, outputs untouched.
  ASSERT_TRUE(DibHoughPrepare(4, false, false));
  EXPECT_TRUE(DibHoughDone());
  EXPECT_FALSE(DibHoughDone());
  EXPECT_FALSE(DibHoughCompute(block.get(), zero, slope, score, nullptr));
  EXPECT_TRUE(zero == 5 && slope == 5 && score == 5);
  // A second prepare replaces the first without leaking (the leak checker watches).
  ASSERT_TRUE(DibHoughPrepare(3, true, false));
  ASSERT_TRUE(DibHoughPrepare(4, false, true));
  EXPECT_TRUE(DibHoughCompute(block.get(), zero, slope, score, nullptr));
  // Wrong size, wrong depth, no image, a block reaching outside the image.
  // Each rectangle breaks one edge only, so no other check can mask it.
  zero = slope = score = 5;
  for (tagRect32 r : {tagRect32{0, 0, 16, 15}, tagRect32{-1, 0, 14, 15}, tagRect32{1, 0, 16, 15},
                      tagRect32{0, 1, 15, 16}, tagRect32{0, -1, 15, 14}})
    EXPECT_FALSE(DibHoughCompute(block.get(), zero, slope, score, &r)) << r.left << "," << r.top;
  EXPECT_FALSE(DibHoughCompute(colour.get(), zero, slope, score, nullptr));
  EXPECT_FALSE(DibHoughCompute(nullptr, zero, slope, score, nullptr));
  EXPECT_TRUE(zero == 5 && slope == 5 && score == 5);
  EXPECT_TRUE(DibHoughDone());
  // Out-of-range sizes are refused and leave nothing prepared.
  EXPECT_FALSE(DibHoughPrepare(-1, false, false));
  EXPECT_FALSE(DibHoughPrepare(31, false, false));
  EXPECT_FALSE(DibHoughDone());
  // The smallest block: one pixel, one slope.
  ASSERT_TRUE(DibHoughPrepare(0, false, false));
  DibPtr dot = RandomDib(1, 1, 8, false, 5);
  EXPECT_TRUE(DibHoughCompute(dot.get(), zero, slope, score, nullptr));
  EXPECT_EQ(slope, 0);
  EXPECT_TRUE(DibHoughDone());
}

TEST(HoughBlock, VectorPathsGiveTheScalarResults) {
  std::mt19937 rng(21);
  for (int logSize : {3, 6, 7})
    for (bool vertical : {false, true}) {
      Session session(logSize, vertical, false);
      ASSERT_TRUE(session.ok);
      int const n = 1 << logSize;
      for (int k = 0; k < 2; ++k) {
        // Random blocks and blocks of lines (whose scores are far from zero).
        DibPtr dib = k == 0 ? RandomDib(n, n, 8, true, uint32_t(rng()))
                            : LineBlock(n, int(rng() % unsigned(n)), 3, vertical, rng() & 1, false);
        int z0, s0, c0;
        {
          ScopedTier scalar(quilp::simd::Tier::kScalar);
          ASSERT_TRUE(DibHoughCompute(dib.get(), z0, s0, c0, nullptr));
        }
        for (auto tier : VectorTiers()) {
          ScopedTier scoped(tier);
          int z, s, c;
          ASSERT_TRUE(DibHoughCompute(dib.get(), z, s, c, nullptr));
          EXPECT_EQ(s, s0) << quilp::simd::TierName(tier) << " n " << n;
          EXPECT_EQ(c, c0) << quilp::simd::TierName(tier) << " n " << n;
        }
      }
    }
}
