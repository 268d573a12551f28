// DibFilterGreyEx through the interface: result codes, windows against brute force, the level
// mappings against their formulas on every path, and the designed operations on made pages.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <vector>

#include "quilp32.h"
#include "record/global_block.h"
#include "support/images.h"
#include "support/made_pages.h"
#include "support/planes.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::simd::Tier;

namespace {

int Filter(DibInfo*& dst, DibInfo const* src, int oper, int p1, int p2, int p3,
           tagRect32 const* rect = nullptr) {
  return DibFilterGreyEx(dst, src, oper, p1, p2, p3, 0, nullptr, nullptr, rect);
}

// Runs an operation that must succeed and returns its result.
DibPtr Apply(DibInfo const* src, int oper, int p1, int p2, int p3, tagRect32 const* rect = nullptr) {
  DibInfo* out = nullptr;
  int const code = Filter(out, src, oper, p1, p2, p3, rect);
  EXPECT_GE(code, 0) << "oper " << oper;
  return DibPtr(code >= 0 ? out : nullptr);
}

}  // namespace

TEST(GreyFilter, ResultCodes) {
  std::size_t const live = quilp::block::LiveCount();
  {
    DibPtr grey = RandomDib(20, 10, 8, false, 1);
    DibPtr colour = RandomDib(20, 10, 24, false, 2);
    char const* names[] = {"hSize", "vSize"};
    char const* four[] = {"4", "3"};
    char const* three[] = {"3", "1"};
    struct Case {
      char const* what;
      DibInfo const* src;
      int oper, p1, p2, p3, count;
      char const* const* names;
      char const* const* values;
      int want;
    } const cases[] = {
        {"oper 255", grey.get(), 255, 0, 3, 3, 0, nullptr, nullptr, -1},
        {"null source", nullptr, 258, 0, 3, 3, 0, nullptr, nullptr, -1},
        {"colour source", colour.get(), 258, 0, 3, 3, 0, nullptr, nullptr, -1},
        {"list without names", grey.get(), 258, 0, 3, 3, 2, nullptr, three, -1},
        {"type 1", grey.get(), 258, 1, 3, 3, 0, nullptr, nullptr, -1},
        {"type 1, even size", grey.get(), 259, 1, 4, 4, 0, nullptr, nullptr, -1},
        {"negative before even", grey.get(), 260, 0, -2, 4, 0, nullptr, nullptr, -1},
        {"even hSize", grey.get(), 258, 0, 4, 3, 0, nullptr, nullptr, -4},
        {"even vSize", grey.get(), 261, 0, 3, 2, 0, nullptr, nullptr, -4},
        {"even hSize by key", grey.get(), 258, 0, 3, 3, 2, names, four, -4},
        {"odd sizes by key", grey.get(), 258, 0, 4, 4, 2, names, three, 0},
        {"zero sizes", grey.get(), 259, 0, 0, 0, 0, nullptr, nullptr, 0},
        {"sub-code 6", grey.get(), 257, 6, 0, 0, 0, nullptr, nullptr, -1},
        {"sub-code -1", grey.get(), 257, -1, 0, 0, 0, nullptr, nullptr, -1},
        {"reduce without resolution", grey.get(), 262, 0, 0, 0, 0, nullptr, nullptr, -1},
        {"reduce to more pixels", grey.get(), 262, 200, 200, 0, 0, nullptr, nullptr, -1},
        {"reduce to nothing", grey.get(), 262, 0, 0, 10000, 0, nullptr, nullptr, -1},
        {"smoothing below zero", grey.get(), 265, -1, 0, 0, 0, nullptr, nullptr, -1},
        {"local window below zero", grey.get(), 266, 3, -3, 0, 0, nullptr, nullptr, -1},
        {"local noise below zero", grey.get(), 266, 3, 3, -1, 0, nullptr, nullptr, -1},
        {"flatten window below zero", grey.get(), 267, -5, 0, 0, 0, nullptr, nullptr, -1},
        {"flatten with the largest window", grey.get(), 267, INT_MAX, 0, 0, 0, nullptr, nullptr, 0},
        {"minimum with the largest window", grey.get(), 258, 0, INT_MAX, INT_MAX, 0, nullptr, nullptr, 0},
        {"linear", grey.get(), 263, 256, 0, 0, 0, nullptr, nullptr, 0},
        {"negative", grey.get(), 268, 0, 0, 0, 0, nullptr, nullptr, 0},
        {"oper 269", grey.get(), 269, 0, 0, 0, 0, nullptr, nullptr, 0},
        {"oper 269 on colour", colour.get(), 269, 0, 0, 0, 0, nullptr, nullptr, -1},
    };
    for (Case const& c : cases) {
      DibInfo* out = nullptr;
      int const code = DibFilterGreyEx(out, c.src, c.oper, c.p1, c.p2, c.p3, c.count, c.names,
                                       c.values, nullptr);
      EXPECT_EQ(code, c.want) << c.what;
      if (code >= 0) {
        ASSERT_NE(out, nullptr) << c.what;
        EXPECT_TRUE(DibFree(out));
      }
    }
    // The key `oper` chooses the sub-code of 257 over p1.
    char const* operKey[] = {"oper"};
    char const* six[] = {"6"};
    DibInfo* out = nullptr;
    EXPECT_EQ(DibFilterGreyEx(out, grey.get(), 257, 0, 0, 0, 1, operKey, six, nullptr), -1);
    // A caller's target that is too small, or not 8-bit, is refused and kept.
    DibPtr small(DibCreate(19, 10, 0, 0, 8));
    DibInfo* target = small.get();
    EXPECT_EQ(Filter(target, grey.get(), 258, 0, 3, 3), -1);
    EXPECT_EQ(target, small.get());
    DibPtr wrong(DibCreate(20, 10, 0, 0, 24));
    target = wrong.get();
    EXPECT_EQ(Filter(target, grey.get(), 268, 0, 0, 0), -1);
    // The reserved entry.
    EXPECT_EQ(DibFilterEx(out, grey.get(), 258, 0, 3, 3, 0, nullptr, nullptr, nullptr), -4);
  }
  EXPECT_EQ(quilp::block::LiveCount(), live);
}

// 258 and 259 against the window extremes, with a rectangle and both row orders; 260 and 261
// against the brute-force composition; order of the four.
TEST(GreyFilter, WindowsEqualBruteForce) {
  for (bool topDown : {false, true}) {
    DibPtr src = RandomDib(61, 45, 8, topDown, 7);
    tagRect32 const rect{3, 2, 57, 40};
    int const w = 55, h = 39;
    auto at = [&](int x, int y) { return int(Px(src.get(), 3 + x, 2 + y)); };
    int const sizes[][2] = {{3, 3}, {0, 3}, {5, 0}, {15, 7}, {1, 1}};
    for (auto const& s : sizes) {
      DibPtr mn = Apply(src.get(), 258, 0, s[0], s[1], &rect);
      DibPtr mx = Apply(src.get(), 259, 0, s[0], s[1], &rect);
      DibPtr open = Apply(src.get(), 260, 0, s[0], s[1], &rect);
      DibPtr close = Apply(src.get(), 261, 0, s[0], s[1], &rect);
      ASSERT_TRUE(mn && mx && open && close);
      ASSERT_EQ(mn->Width(), w);
      ASSERT_EQ(mn->Height(), h);
      ASSERT_EQ(mn->biHeight < 0, topDown);  // a new result keeps the source's row order
      int const hh = s[0] / 2, vv = s[1] / 2;
      for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
          ASSERT_EQ(Px(mn.get(), x, y), WindowExtreme(at, x, y, w, h, hh, vv, false));
          ASSERT_EQ(Px(mx.get(), x, y), WindowExtreme(at, x, y, w, h, hh, vv, true));
          auto eroded = [&](int xx, int yy) { return int(Px(mn.get(), xx, yy)); };
          auto dilated = [&](int xx, int yy) { return int(Px(mx.get(), xx, yy)); };
          ASSERT_EQ(Px(open.get(), x, y), WindowExtreme(eroded, x, y, w, h, hh, vv, true));
          ASSERT_EQ(Px(close.get(), x, y), WindowExtreme(dilated, x, y, w, h, hh, vv, false));
          ASSERT_LE(Px(open.get(), x, y), at(x, y));
          ASSERT_GE(Px(close.get(), x, y), at(x, y));
        }
    }
  }
}

// 263 with p3 = 0 equals the literal formula on every path, at awkward widths, including gains
// whose low 16 bits wrap and offsets at the ends of the int range.
TEST(GreyFilter, FixedLinearMappingEqualsItsFormulaOnEveryPath) {
  int const params[][2] = {{256, 0},        {-256, 65280},      {65536 + 300, -2000},
                           {65535, 300},    {32767, INT_MIN},   {-32768, INT_MAX},
                           {77, 12345},     {0x7FFF8000, 1000}, {1000, -100000}};
  for (Tier tier : ScalarAndVectorTiers()) {
    ScopedTier cap(tier);
    for (int width : kAwkwardWidths)
      for (bool topDown : {false, true})
        for (auto const& p : params) {
          DibPtr src = RandomDib(width, 5, 8, topDown, uint32_t(width + p[0]));
          DibPtr out = Apply(src.get(), 263, p[0], p[1], 0);
          ASSERT_TRUE(out);
          int64_t const gain = int16_t(uint16_t(p[0] & 0xFFFF));
          for (int y = 0; y < 5; ++y)
            for (int x = 0; x < width; ++x) {
              int64_t v = (int64_t(p[1]) + Px(src.get(), x, y) * gain + 128) >> 8;
              v = std::clamp<int64_t>(v, 0, 255);
              ASSERT_EQ(Px(out.get(), x, y), v)
                  << quilp::simd::TierName(tier) << " width " << width << " gain " << p[0];
            }
        }
  }
}

TEST(GreyFilter, TableMappingsAndTheNegative) {
  DibPtr src(DibCreate(256, 1, 0, 0, 8));
  for (int v = 0; v < 256; ++v) Px(src.get(), v, 0) = uint8_t(v);
  DibPtr floating = Apply(src.get(), 263, 300, -1000, 1);
  DibPtr power = Apply(src.get(), 264, 0, 0, 128);
  DibPtr viaLinear = Apply(src.get(), 263, 0, 0, 128);
  DibPtr steep = Apply(src.get(), 264, 0, 0, 1024);
  DibPtr negative = Apply(src.get(), 268, 0, 0, 0);
  DibPtr twice = Apply(negative.get(), 268, 0, 0, 0);
  for (int v = 0; v < 256; ++v) {
    double const f = std::floor(v * (300 / 256.0) + (-1000 / 256.0) + 0.5);
    EXPECT_EQ(Px(floating.get(), v, 0), std::clamp(f, 0.0, 255.0)) << v;
    double const p = std::min(255.0, std::trunc(std::sqrt(v / 256.0) * 256.0 + 0.5));
    EXPECT_EQ(Px(power.get(), v, 0), p) << v;
    EXPECT_EQ(Px(viaLinear.get(), v, 0), p) << v;
    EXPECT_EQ(Px(steep.get(), v, 0), std::trunc(std::pow(v / 256.0, 4.0) * 256.0 + 0.5)) << v;
    EXPECT_EQ(Px(negative.get(), v, 0), 255 - v);
    EXPECT_EQ(Px(twice.get(), v, 0), v);
  }
  // Exponent 0 and negative exponents saturate to white without a fault.
  DibPtr zero = Apply(src.get(), 264, 0, 0, 0);
  DibPtr inverse = Apply(src.get(), 264, 0, 0, -256);
  for (int v = 0; v < 256; ++v) {
    EXPECT_EQ(Px(zero.get(), v, 0), 255);
    EXPECT_EQ(Px(inverse.get(), v, 0), 255);
  }
}

TEST(GreyFilter, PixelOperationsWithTheTarget) {
  DibPtr s = RandomDib(33, 7, 8, false, 11);
  DibPtr t = RandomDib(40, 9, 8, true, 12);
  for (int sub = 0; sub < 6; ++sub) {
    DibPtr before(DibCreate(40, -9, 0, 0, 8));
    std::memcpy(before->BitsPtr(), t->BitsPtr(), t->biSizeImage);
    DibInfo* target = t.get();
    ASSERT_EQ(Filter(target, s.get(), 257, sub, 0, 0), 0);
    for (int y = 0; y < 9; ++y)
      for (int x = 0; x < 40; ++x) {
        int const a = x < 33 && y < 7 ? Px(s.get(), x, y) : -1, b = Px(before.get(), x, y);
        int want = b;  // outside the source's area the target stays
        if (a >= 0) {
          int const results[] = {a, std::min(a, b), std::max(a, b), std::abs(a - b),
                                 (a + b + 1) / 2, std::min(255, (a * 255 + b / 2) / std::max(b, 1))};
          want = results[sub];
        }
        ASSERT_EQ(Px(t.get(), x, y), want) << "sub-code " << sub << " at " << x << "," << y;
      }
  }
}

TEST(GreyFilter, SmoothingKeepsFlatAreasAndSpreadsAPoint) {
  DibPtr flat(DibCreate(30, 20, 0, 0, 8));
  std::memset(flat->BitsPtr(), 93, flat->biSizeImage);
  DibPtr same = Apply(flat.get(), 265, 700, 300, 0);
  DibPtr point(DibCreate(41, 41, 0, 0, 8));
  Px(point.get(), 20, 20) = 255;
  DibPtr spread = Apply(point.get(), 265, 512, 512, 0);  // sigma 2 pixels
  DibPtr copy = Apply(point.get(), 265, 0, 0, 0);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 30; ++x) ASSERT_EQ(Px(same.get(), x, y), 93);
  int total = 0;
  for (int y = 0; y < 41; ++y)
    for (int x = 0; x < 41; ++x) {
      total += Px(spread.get(), x, y);
      ASSERT_EQ(Px(copy.get(), x, y), Px(point.get(), x, y));
      // Symmetric in both axes and about the diagonal; nothing beyond 3 sigma.
      ASSERT_EQ(Px(spread.get(), x, y), Px(spread.get(), 40 - x, y));
      ASSERT_EQ(Px(spread.get(), x, y), Px(spread.get(), y, x));
      if (std::abs(x - 20) > 6 || std::abs(y - 20) > 6) {
        ASSERT_EQ(Px(spread.get(), x, y), 0);
      }
    }
  // 255 / (2 pi sigma^2) at the centre; the mass is kept but for the tails below half a level.
  EXPECT_NEAR(Px(spread.get(), 20, 20), 255.0 / (2 * M_PI * 4), 1.0);
  EXPECT_NEAR(total, 255, 30);
}

// 262: exact factors average blocks; 1-bit keeps the majority; resolutions follow the request.
TEST(GreyFilter, ResolutionReduction) {
  DibPtr grey = RandomDib(41, 31, 8, true, 21);
  grey->biXPelsPerMeter = 11811;  // 300 dpi
  grey->biYPelsPerMeter = 11811;
  DibPtr half = Apply(grey.get(), 262, 150, 0, 300);  // x to 150 dpi, y by 300 %
  ASSERT_TRUE(half);
  ASSERT_EQ(half->Width(), 20);
  ASSERT_EQ(half->Height(), 10);
  EXPECT_EQ(half->XPelsPerMeter(), 5906);
  EXPECT_EQ(half->YPelsPerMeter(), 3937);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 20; ++x) {
      int sum = 0;
      for (int j = 0; j < 3; ++j) sum += Px(grey.get(), 2 * x, 3 * y + j) + Px(grey.get(), 2 * x + 1, 3 * y + j);
      // The mean of six, within the rounding of the 16.16 weights (a third is not exact).
      ASSERT_NEAR(Px(half.get(), x, y), sum / 6.0, 0.5 + 1e-3) << x << "," << y;
    }
  for (int depth : {1, 24, 32}) {
    DibPtr src = RandomDib(16, 8, depth, false, uint32_t(depth));
    src->biXPelsPerMeter = 4000;
    src->biYPelsPerMeter = 4000;
    DibPtr out = Apply(src.get(), 262, 0, 0, 200);
    ASSERT_TRUE(out);
    ASSERT_EQ(out->BitsPerPixel(), depth);
    ASSERT_EQ(out->Width(), 8);
    for (int y = 0; y < 4; ++y)
      for (int x = 0; x < 8; ++x) {
        if (depth == 1) {
          int const set = Bit(src.get(), 2 * x, 2 * y) + Bit(src.get(), 2 * x + 1, 2 * y) +
                          Bit(src.get(), 2 * x, 2 * y + 1) + Bit(src.get(), 2 * x + 1, 2 * y + 1);
          ASSERT_EQ(Bit(out.get(), x, y), set > 2 ? 1 : 0);
          continue;
        }
        for (int c = 0; c < depth / 8; ++c) {
          int const sum = Px(src.get(), 2 * x, 2 * y, c) + Px(src.get(), 2 * x + 1, 2 * y, c) +
                          Px(src.get(), 2 * x, 2 * y + 1, c) + Px(src.get(), 2 * x + 1, 2 * y + 1, c);
          ASSERT_EQ(Px(out.get(), x, y, c), (sum + 2) / 4);
        }
      }
  }
}

// 256 and 266 against their definitions. Automatic levels clip at the levels of the
// (N/200 + 1)-th darkest and lightest pixels (found by sorting); local contrast takes the
// window's extremes by brute force, even sizes one smaller, 0 as one pixel.
TEST(GreyFilter, AutomaticLevelsAndLocalContrastFollowTheirDefinitions) {
  int const w = 37, h = 29;  // 1073 pixels: 5 clipped at either end
  DibPtr src = RandomDib(w, h, 8, true, 21);
  std::vector<int> sorted;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int const i = y * w + x;
      // Exactly the clipped count of dark pixels, one more than that of light ones.
      uint8_t& v = Px(src.get(), x, y);
      v = uint8_t(i < 5 ? 3 : i < 11 ? 250 : 80 + v % 90);
      sorted.push_back(v);
    }
  std::sort(sorted.begin(), sorted.end());
  int const lo = sorted[5], hi = sorted[sorted.size() - 6];
  ASSERT_TRUE(lo >= 80 && hi == 250);
  DibPtr levels = Apply(src.get(), 256, 0, 0, 0);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int const v = Px(src.get(), x, y);
      int const want = v <= lo ? 0 : v >= hi ? 255 : ((v - lo) * 255 + (hi - lo) / 2) / (hi - lo);
      ASSERT_EQ(Px(levels.get(), x, y), want) << x << "," << y;
    }
  DibPtr page = ShadedTextPage(41, 33, 0.5, 6, 4);
  struct Case { int hw, vw, noise; } const cases[] = {
      {0, 0, 0}, {1, 1, 0}, {3, 3, 0}, {4, 2, 5}, {5, 3, 0}, {9, 1, 40}};
  for (Case const c : cases) {
    SCOPED_TRACE(testing::Message() << c.hw << " x " << c.vw << " noise " << c.noise);
    int const rx = c.hw > 0 ? (c.hw - 1) / 2 : 0, ry = c.vw > 0 ? (c.vw - 1) / 2 : 0;
    int const n = c.noise > 0 ? c.noise : 24;
    DibPtr out = Apply(page.get(), 266, c.hw, c.vw, c.noise);
    for (int y = 0; y < 33; ++y)
      for (int x = 0; x < 41; ++x) {
        auto at = [&](int u, int v) { return int(Px(page.get(), u, v)); };
        int const wlo = WindowExtreme(at, x, y, 41, 33, rx, ry, false);
        int const whi = WindowExtreme(at, x, y, 41, 33, rx, ry, true);
        double const dark = std::max(whi - Px(page.get(), x, y) - n, 0) * 255.0 /
                            std::max(whi - wlo - n, 32);
        ASSERT_EQ(Px(out.get(), x, y), 255 - std::min(255, int(std::floor(dark + 0.5))))
            << x << "," << y;
      }
  }
}

// Every operation into a caller's target larger than the area, filled with a sentinel:
// nothing outside the area's pixels is written, on both row orders.
TEST(GreyFilter, WritesOnlyTheAreaOfACallersTarget) {
  DibPtr src = RandomDib(13, 9, 8, false, 5);
  struct Op { int oper, p1, p2, p3; } const ops[] = {
      {256, 0, 0, 0}, {257, 1, 0, 0},   {258, 0, 3, 3},     {260, 0, 3, 5}, {263, 300, 10, 0},
      {264, 0, 0, 300}, {265, 512, 512, 0}, {266, 5, 5, 0}, {268, 0, 0, 0}};
  for (Op const op : ops)
    for (bool topDown : {false, true}) {
      int const oper = op.oper;
      DibPtr target(DibCreate(16, topDown ? -12 : 12, 0, 0, 8));
      std::memset(target->BitsPtr(), 0xA5, target->biSizeImage);
      DibInfo* t = target.get();
      ASSERT_EQ(Filter(t, src.get(), oper, op.p1, op.p2, op.p3), 0) << oper;
      for (int y = 0; y < 12; ++y)
        for (int x = 0; x < 16; ++x)
          if (x >= 13 || y >= 9) {
            ASSERT_EQ(Px(t, x, y), 0xA5) << oper << " at " << x << "," << y;
          }
    }
}

// 267 on a page whose paper darkens toward a corner: the paper comes out even and white, the
// text stays dark.
TEST(GreyFilter, FlatteningEvensOutThePaper) {
  DibPtr page = ShadedTextPage(600, 800, 0.7);
  DibPtr flat = Apply(page.get(), 267, 0, 0, 0);
  ASSERT_TRUE(flat);
  // Median level of a corner square (mostly paper).
  auto median = [](DibInfo const* d, int x0, int y0) {
    std::vector<int> v;
    for (int y = y0; y < y0 + 60; ++y)
      for (int x = x0; x < x0 + 60; ++x) v.push_back(Px(d, x, y));
    std::nth_element(v.begin(), v.begin() + long(v.size() / 2), v.end());
    return v[v.size() / 2];
  };
  int const corners[][2] = {{10, 10}, {530, 10}, {10, 730}, {530, 730}};
  int srcLo = 255, srcHi = 0;
  for (auto const& c : corners) {
    srcLo = std::min(srcLo, median(page.get(), c[0], c[1]));
    srcHi = std::max(srcHi, median(page.get(), c[0], c[1]));
    EXPECT_GE(median(flat.get(), c[0], c[1]), 240);
  }
  EXPECT_GT(srcHi - srcLo, 30) << "the made page should be uneven";
  // Dark strokes stay dark: the darkest tenth of the page stays below mid-grey.
  std::vector<int> levels;
  for (int y = 0; y < 800; y += 2)
    for (int x = 0; x < 600; x += 2) levels.push_back(Px(flat.get(), x, y));
  std::nth_element(levels.begin(), levels.begin() + long(levels.size() / 50), levels.end());
  EXPECT_LT(levels[levels.size() / 50], 128);
  // A caller's target receives the flattened page; the result code of a bad step comes back.
  DibPtr target(DibCreate(600, 800, 0, 0, 8));
  DibInfo* t = target.get();
  EXPECT_EQ(Filter(t, page.get(), 267, 31, 0, 0), 0);
  DibInfo* none = nullptr;
  DibPtr colour = RandomDib(10, 10, 24, false, 3);
  EXPECT_EQ(Filter(none, colour.get(), 267, 0, 0, 0), -1);
  EXPECT_EQ(none, nullptr);
}
