// The depth decision: its two measurements against literal recounts, made pages of each kind,
// and every result code.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "binarize/otsu.h"
#include "quilp32.h"
#include "record/global_block.h"
#include "support/images.h"

using namespace testing_support;

namespace {

// Mean chroma of the most colourful pixels, counted from chroma 255 down past K pixels.
bool RefColour(DibInfo const* src, int l, int t, int w, int h, int chromaLevel, double share) {
  std::vector<long long> hist(256);
  for (int y = t; y < t + h; ++y)
    for (int x = l; x < l + w; ++x) {
      int const b = Px(src, x, y, 0), g = Px(src, x, y, 1), r = Px(src, x, y, 2);
      ++hist[std::max({b, g, r}) - std::min({b, g, r})];
    }
  double const k = double(w) * h * share + 0.5;
  if (std::isnan(k) || k <= -1) return false;
  long long const K = k > 1e18 ? (1LL << 62) : (long long)k;
  long long n = 0, s = 0;
  for (int c = 255; c >= 0; --c) {
    n += hist[c];
    s += c * hist[c];
    if (n > K) break;
  }
  return chromaLevel < s / n;
}

// Normalised within-class spread of the local-extremum levels; NaN for an empty class.
double RefSpread(DibInfo const* grey, int l, int t, int w, int h) {
  std::vector<int> hist(256);
  for (int y = t + 1; y < t + h - 1; ++y)
    for (int x = l + 1; x < l + w - 1; ++x) {
      int const v = Px(grey, x, y);
      int const n[4] = {Px(grey, x - 1, y), Px(grey, x + 1, y), Px(grey, x, y - 1),
                        Px(grey, x, y + 1)};
      bool max = true, min = true;
      for (int a : n) {
        max = max && v >= a;
        min = min && v <= a;
      }
      hist[v] += max + min;
    }
  int const th = quilp::DibOtsuThreshold(hist.data(), 256, 0, 255, nullptr);
  double spread = 0;
  for (int part = 0; part < 2; ++part) {
    int const lo = part ? th : 0, hi = part ? 255 : th - 1;
    double n = 0, s = 0, q = 0;
    for (int v = lo; v <= hi; ++v) {
      n += hist[v];
      s += double(v) * hist[v];
      q += double(v) * v * hist[v];
    }
    if (n == 0) return std::numeric_limits<double>::quiet_NaN();
    double const m = s / n, width = part ? 256 - th : th;
    spread += (q / n - m * m) / width / width;
  }
  return spread;
}

DibPtr GreyOf(DibInfo const* colour) {  // equal thirds, rounded
  DibPtr grey(DibCreate(colour->Width(), colour->Height(), 0, 0, 8));
  for (int y = 0; y < colour->Height(); ++y)
    for (int x = 0; x < colour->Width(); ++x) {
      int const s = Px(colour, x, y, 0) + Px(colour, x, y, 1) + Px(colour, x, y, 2);
      Px(grey.get(), x, y) = uint8_t((2 * s + 3) / 6);
    }
  return grey;
}

// A page of text-like strokes: level `ink` on `paper`, optionally smoothed edges.
DibPtr TextPage(int w, int h, int paper, int ink, int depth, bool topDown) {
  DibPtr page(DibCreate(w, topDown ? -h : h, 3937, 3937, depth));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      bool const stroke = (y % 12 >= 3 && y % 12 < 9) && (x % 7 < 2 || (y % 12 == 4 && x % 7 < 5));
      for (int c = 0; c < depth / 8; ++c) Px(page.get(), x, y, c) = uint8_t(stroke ? ink : paper);
    }
  return page;
}

}  // namespace

TEST(CompressBits, ColourTestFollowsTheChromaWalk) {
  std::mt19937 rng(5);
  int kept = 0, greyed = 0;
  for (int trial = 0; trial < 40; ++trial) {
    DibPtr src = RandomDib(23, 9, 24, trial % 2, 40 + trial);
    // Pull most pixels toward grey so that the walk's stopping level matters.
    for (int y = 0; y < 9; ++y)
      for (int x = 0; x < 23; ++x)
        if ((x + y + trial) % 5) {
          int const base = Px(src.get(), x, y, 0), spread = int(rng() % (trial + 1));
          for (int c = 1; c < 3; ++c) Px(src.get(), x, y, c) = uint8_t(std::min(255, base + int(rng() % (spread + 1))));
        }
    double const shares[] = {0.0, 0.01, 0.2, 0.5, 0.999, 1.0, 3.0, -0.01};
    double const share = shares[trial % 8];
    int const level = int(rng() % 200);
    tagRect32 rect{2, 1, 20, 7};
    DibInfo* out = nullptr;
    int const code = DibCompressBits(out, src.get(), uint8_t(level), share, -1.0, &rect);
    DibPtr own(out);
    bool const colour = RefColour(src.get(), 2, 1, 19, 7, level, share);
    SCOPED_TRACE(testing::Message() << "trial " << trial << " share " << share << " level " << level);
    ASSERT_NE(out, nullptr);
    ++(colour ? kept : greyed);
    if (colour) {
      EXPECT_EQ(code, 1);
      EXPECT_EQ(out->BitsPerPixel(), 24);
    } else {
      // spread limit -1: the grey zone never becomes 1-bit, so the copy of the grey comes back
      EXPECT_EQ(code, 1);
      ASSERT_EQ(out->BitsPerPixel(), 8);
      DibPtr grey = GreyOf(src.get());
      for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 19; ++x) ASSERT_EQ(Px(out, x, y), Px(grey.get(), 2 + x, 1 + y));
    }
  }
  EXPECT_GT(kept, 5);
  EXPECT_GT(greyed, 5);
}

TEST(CompressBits, GreyLevelsTestFollowsTheNormalisedSpread) {
  std::mt19937 rng(9);
  int tested1 = 0, tested8 = 0;
  for (int trial = 0; trial < 60; ++trial) {
    DibPtr src = RandomDib(31, 17, 8, trial % 2, 90 + trial);
    // Levels drawn around two values, tighter or looser.
    int const a = int(rng() % 100), b = 150 + int(rng() % 100), jitter = 1 + trial % 30;
    for (int y = 0; y < 17; ++y)
      for (int x = 0; x < 31; ++x)
        Px(src.get(), x, y) = uint8_t(((x / 3 + y / 2) % 2 ? a : b) + int(rng() % jitter));
    tagRect32 rect{1, 2, 29, 15};
    double const spread = RefSpread(src.get(), 1, 2, 29, 14);
    double const limit = trial % 3 == 0 ? spread * 1.01 : trial % 3 == 1 ? spread * 0.99 : spread;
    DibInfo* out = nullptr;
    int const code = DibCompressBits(out, src.get(), 0, 0.0, limit, &rect);
    DibPtr own(out);
    ASSERT_NE(out, nullptr);
    SCOPED_TRACE(testing::Message() << "trial " << trial << " spread " << spread);
    if (spread < limit) {
      ++tested1;
      EXPECT_EQ(code, 0);
      ASSERT_EQ(out->BitsPerPixel(), 1);
      DibInfo* want = nullptr;  // exactly the method-2 binarization of the zone
      ASSERT_EQ(DibBinarizeEx(want, src.get(), 2, 0, 0, 0, nullptr, nullptr, &rect, nullptr), 0);
      DibPtr own2(want);
      EXPECT_TRUE(SamePixels(out, want));
    } else {
      ++tested8;
      EXPECT_EQ(code, 1);
      ASSERT_EQ(out->BitsPerPixel(), 8);
      for (int y = 0; y < 14; ++y)
        for (int x = 0; x < 29; ++x) ASSERT_EQ(Px(out, x, y), Px(src.get(), 1 + x, 2 + y));
    }
  }
  EXPECT_GT(tested1, 10);
  EXPECT_GT(tested8, 10);
}

TEST(CompressBits, NeutralColourPageBecomesOneBitUnlessColourIsShared) {
  for (bool topDown : {false, true}) {
    SCOPED_TRACE(topDown ? "top-down" : "bottom-up");
    // A pure grey colour page: all chroma 0, grey for any level, then 1-bit (two levels).
    DibPtr greyText = TextPage(120, 80, 235, 30, 24, topDown);
    DibInfo* out = nullptr;
    EXPECT_EQ(DibCompressBits(out, greyText.get(), 0, 0.0, 0.05, nullptr), 0);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out->BitsPerPixel(), 1);
    EXPECT_EQ(Bit(out, 0, 0), 1);  // paper white
    EXPECT_EQ(Bit(out, 0, 4), 0);  // stroke black
    DibFree(out);
    // The same page with one coloured pixel: a colourful share of 0 keeps colour.
    Px(greyText.get(), 60, 40, 2) = 250;
    Px(greyText.get(), 60, 40, 0) = 10;
    EXPECT_EQ(DibCompressBits(out, greyText.get(), 100, 0.0, 0.05, nullptr), 1);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out->BitsPerPixel(), 24);
    DibFree(out);
    // ... but not when the share takes in a hundred pixels.
    EXPECT_EQ(DibCompressBits(out, greyText.get(), 100, 0.01, 0.05, nullptr), 0);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out->BitsPerPixel(), 1);
    DibFree(out);
  }
}

TEST(CompressBits, TinyZonesAndBiLevelSources) {
  DibPtr text = TextPage(40, 30, 240, 20, 8, false);
  // Zones under 3 x 3 have no interior: both classes empty, 8 bits whatever the limit.
  tagRect32 const tiny[] = {{5, 5, 6, 6}, {0, 3, 39, 4}, {7, 0, 8, 29}, {9, 9, 9, 9}};
  for (tagRect32 const& r : tiny) {
    DibInfo* out = nullptr;
    EXPECT_EQ(DibCompressBits(out, text.get(), 0, 0.0, 1e300, &r), 1);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out->BitsPerPixel(), 8);
    EXPECT_EQ(out->Width(), r.right - r.left + 1);
    DibFree(out);
  }
  // A 1-bit source is copied whatever the thresholds; rectangles are clamped.
  DibPtr bits = RandomDib(45, 12, 1, true, 3);
  tagRect32 beyond{-5, 2, 100, 100};
  DibInfo* out = nullptr;
  EXPECT_EQ(DibCompressBits(out, bits.get(), 255, -7.0, std::nan(""), &beyond), 1);
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(out->BitsPerPixel(), 1);
  EXPECT_EQ(out->Width(), 45);
  EXPECT_EQ(out->Height(), 10);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 45; ++x) ASSERT_EQ(Bit(out, x, y), Bit(bits.get(), x, y + 2));
  DibFree(out);
}

TEST(CompressBits, FailuresLeaveNoImage) {
  DibPtr colour = RandomDib(10, 10, 24, false, 1);
  DibPtr wide = RandomDib(10, 10, 32, false, 2);
  std::size_t const live = quilp::block::LiveCount();
  DibInfo* out = colour.get();  // whatever it held is not used (nor released)
  EXPECT_EQ(DibCompressBits(out, nullptr, 10, 0.1, 0.1, nullptr), -1);
  EXPECT_EQ(out, nullptr);
  tagRect32 outside{10, 0, 15, 5}, reversed{5, 5, 2, 8};
  EXPECT_EQ(DibCompressBits(out, colour.get(), 10, 0.1, 0.1, &outside), -1);
  EXPECT_EQ(DibCompressBits(out, colour.get(), 10, 0.1, 0.1, &reversed), -1);
  EXPECT_EQ(DibCompressBits(out, wide.get(), 10, 0.1, 0.1, nullptr), -1);
  EXPECT_EQ(out, nullptr);
  // Odd shares neither crash nor read past the histogram.
  for (double share : {1e300, -1e300, std::nan(""), std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(DibCompressBits(out, colour.get(), 10, share, -1.0, nullptr), 1) << share;
    DibFree(out);
  }
  EXPECT_EQ(quilp::block::LiveCount(), live);  // the intermediate grey images are released
  EXPECT_EQ(colour->Width(), 10);
}
