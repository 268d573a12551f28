// Adaptive binarization: the local-statistics rules against a brute-force window reference,
// the keyed form against the plain exports, the paper-surface method on made pages with known
// ink, and the failures.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "quilp32.h"
#include "support/images.h"
#include "pages/page_maker.h"
#include "support/made_pages.h"

using namespace testing_support;

namespace {

// Smooth shading, noise and dark dots: every rule meets flat, gradual and sharp windows.
DibPtr TexturedGrey(int width, int height, bool topDown, uint32_t seed) {
  DibPtr dib(DibCreate(width, topDown ? -height : height, 11811, 11811, 8));
  std::mt19937 rng(seed);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      int v = 200 - (x + 2 * y) % 90 + int(rng() % 9u);
      if (rng() % 7u == 0) v = int(rng() % 80u);
      if ((x / 5 + y / 5) % 6 == 0) v = 230;  // flat patches
      Px(dib.get(), x, y) = uint8_t(std::clamp(v, 0, 255));
    }
  return dib;
}

// The literal rule: black when v < T of the pixel's window (cut at the borders). Returns -1
// where T lies within 1e-7 of v (either answer is right), else 1 for black, 0 for white.
std::vector<int> ReferenceLocal(DibInfo const* g, int variant, int window, double k, double r,
                                bool niglob) {
  int const w = g->Width(), h = g->Height(), half = window / 2;
  std::vector<double> mean(size_t(w) * h), dev(size_t(w) * h);
  double widest = 0;
  int darkest = 255;
  int hist[256] = {};
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int64_t n = 0, s = 0, q = 0;
      for (int j = std::max(0, y - half); j <= std::min(h - 1, y + half); ++j)
        for (int i = std::max(0, x - half); i <= std::min(w - 1, x + half); ++i) {
          int const v = Px(g, i, j);
          ++n, s += v, q += v * v;
        }
      double const m = double(s) / n;
      mean[size_t(y) * w + x] = m;
      dev[size_t(y) * w + x] = std::sqrt(std::max(0.0, double(q) / n - m * m));
      widest = std::max(widest, dev[size_t(y) * w + x]);
      darkest = std::min(darkest, int(Px(g, x, y)));
      ++hist[Px(g, x, y)];
    }
  int lo = 0, hi = 256;
  if (niglob) {  // the clear bands around the area's Otsu threshold
    int levels[1];
    DibGetOtsuLevels(levels, const_cast<DibInfo*>(g), 2, nullptr);
    int const t = levels[0];
    double n0 = 0, s0 = 0, n1 = 0, s1 = 0;
    for (int v = 0; v < 256; ++v) (v < t ? n0 : n1) += hist[v], (v < t ? s0 : s1) += double(hist[v]) * v;
    lo = int(std::ceil((s0 / std::max(n0, 1.0) + t) / 2));
    hi = int(std::ceil((t + (n1 > 0 ? s1 / n1 : 255.0)) / 2));
  }
  std::vector<int> out(size_t(w) * h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      double const m = mean[size_t(y) * w + x], s = dev[size_t(y) * w + x];
      int const v = Px(g, x, y);
      double t = variant == 0   ? m + k * s
                 : variant == 1 ? m * (1 + k * (s / r - 1))
                                : (1 - k) * m + k * darkest + k * (widest > 0 ? s / widest : 0) * (m - darkest);
      int& o = out[size_t(y) * w + x];
      if (v < lo) o = 1;
      else if (v >= hi) o = 0;
      else o = std::fabs(v - t) < 1e-7 ? -1 : v < t ? 1 : 0;
    }
  return out;
}

void ExpectMatches(DibInfo const* bw, std::vector<int> const& want) {
  int const w = bw->Width();
  for (int y = 0; y < bw->Height(); ++y)
    for (int x = 0; x < w; ++x) {
      int const r = want[size_t(y) * w + x];
      if (r >= 0) {
        ASSERT_EQ(Bit(bw, x, y), 1 - r) << "pixel " << x << "," << y;
      }
    }
}

struct Truth {
  double precision, recall, f;
};
// Black pixels of `bw` against ink = levels of `page` below 100 (made pages only).
Truth Score(DibInfo const* bw, DibInfo const* page) {
  double tp = 0, fp = 0, fn = 0;
  for (int y = 0; y < page->Height(); ++y)
    for (int x = 0; x < page->Width(); ++x) {
      bool const ink = Px(page, x, y) < 100, black = Bit(bw, x, y) == 0;
      tp += ink && black, fp += !ink && black, fn += ink && !black;
    }
  double const p = tp / std::max(1.0, tp + fp), r = tp / std::max(1.0, tp + fn);
  return {p, r, 2 * p * r / std::max(1e-9, p + r)};
}

}  // namespace

TEST(AdaptiveBinarize, LocalRulesMatchTheWindowDefinition) {
  struct Case { int variant, window, k; bool niglob; };
  Case const cases[] = {{0, 15, -20, false}, {0, 3, 50, false}, {1, 7, 34, false},
                        {1, 31, 50, false},  {2, 9, 50, false}, {0, 11, -20, true},
                        {1, 5, 20, true}};
  for (int width : {1, 7, 17, 33, 77})
    for (bool topDown : {false, true})
      for (Case const& c : cases) {
        int const height = 37;
        if (c.window > width || c.window > height) continue;
        SCOPED_TRACE(testing::Message() << "width " << width << " topDown " << topDown << " variant "
                                        << c.variant << " window " << c.window << " niglob " << c.niglob);
        DibPtr g = TexturedGrey(width, height, topDown, uint32_t(width * 3 + c.window));
        DibPtr bw(c.niglob ? DibBinarizeNiGlob(g.get(), c.variant, c.window, c.k, nullptr)
                           : DibBinarizeNiblack(g.get(), c.variant, c.window, c.k, nullptr));
        ASSERT_NE(bw, nullptr);
        ASSERT_EQ(bw->BitsPerPixel(), 1);
        ExpectMatches(bw.get(), ReferenceLocal(g.get(), c.variant, c.window, c.k / 100.0, 128, c.niglob));
      }
}

TEST(AdaptiveBinarize, KeyedFormWritesThePlainResultAtAnyBitOffset) {
  DibPtr page = ShadedTextPage(90, 70, 0.8);
  tagRect32 rect{5, 3, 80, 60};
  char const* names[] = {"variant", "range"};
  char const* values[] = {"1", "100"};
  struct Case { int method, p1, p2; DibInfo* plain; };
  SDibBinarizeSetup const sauvola{4, 1, 15, 40, 100};
  Case const cases[] = {
      {0, 120, 0, DibBinarizeSimple(page.get(), 120, false, &rect)},
      {4, 15, 40, DibBinarizeCommon(page.get(), sauvola, &rect)},
      {5, 9, 0, DibBinarizeNiGlob(page.get(), 1, 9, 0, &rect)},
      {6, 21, 45, DibBinarizeStat(page.get(), 21, 45, &rect)},
      {7, 0, 0, DibBinarizeStat(page.get(), 0, 0, &rect)},
  };
  for (Case const& c : cases) {
    DibPtr plain(c.plain);
    ASSERT_NE(plain, nullptr);
    for (int at : {0, 3, 13}) {
      SCOPED_TRACE(testing::Message() << "method " << c.method << " at " << at);
      DibPtr target(DibCreate(100, 70, 0, 0, 1));
      std::memset(target->BitsPtr(), 0x5A, size_t(target->ByteWidth()) * 70);
      DibInfo* out = target.get();
      tagPoint32 origin{at, 2};
      ASSERT_EQ(DibBinarizeEx(out, page.get(), c.method, c.p1, c.p2, 2, names, values, &rect, &origin), 0);
      for (int y = 0; y < 70; ++y)
        for (int x = 0; x < 100; ++x) {
          bool const inside = x >= at && x < at + 76 && y >= 2 && y < 60;
          int const want = inside ? Bit(plain.get(), x - at, y - 2) : (0x5A >> (7 - x % 8)) & 1;
          ASSERT_EQ(Bit(out, x, y), want) << x << "," << y;
        }
    }
  }
}

TEST(AdaptiveBinarize, PaperSurfaceMethodFindsInkUnderShadingAndFading) {
  // Shaded paper from 235 down to 115 with ink near 50; then the same page faded so the ink
  // lies within 60 levels of the paper; then on coloured paper through the 24-bit path.
  DibPtr page = ShadedTextPage(400, 300, 1.0, 6, 3);
  DibPtr faded(DibCreate(400, 300, 5906, 5906, 8));
  DibPtr colour(DibCreate(400, -300, 5906, 5906, 24));
  for (int y = 0; y < 300; ++y)
    for (int x = 0; x < 400; ++x) {
      int const v = Px(page.get(), x, y);
      Px(faded.get(), x, y) = uint8_t(v < 100 ? 185 + v / 4 : 235 + (v - 100) / 7);
      Px(colour.get(), x, y, 0) = uint8_t(v * 3 / 5), Px(colour.get(), x, y, 1) = uint8_t(v * 9 / 10);
      Px(colour.get(), x, y, 2) = uint8_t(v);
    }
  for (DibInfo* src : {page.get(), faded.get(), colour.get()}) {
    SCOPED_TRACE(testing::Message() << "depth " << src->BitsPerPixel());
    DibPtr bw(DibBinarizeStat(src, 0, 0, nullptr));
    ASSERT_NE(bw, nullptr);
    Truth const t = Score(bw.get(), page.get());
    EXPECT_GT(t.precision, 0.97);
    EXPECT_GT(t.recall, 0.97);
  }
  // Empty noisy paper with a gradient stays white.
  DibPtr blank(DibCreate(200, 150, 5906, 5906, 8));
  std::mt19937 rng(4);
  for (int y = 0; y < 150; ++y)
    for (int x = 0; x < 200; ++x) Px(blank.get(), x, y) = uint8_t(230 - x / 2 - y / 3 + int(rng() % 17u) - 8);
  DibPtr white(DibBinarizeStat(blank.get(), 0, 0, nullptr));
  ASSERT_NE(white, nullptr);
  int black = 0;
  for (int y = 0; y < 150; ++y)
    for (int x = 0; x < 200; ++x) black += Bit(white.get(), x, y) == 0;
  EXPECT_LT(black, 150 * 200 / 1000);
}

TEST(AdaptiveBinarize, Failures) {
  DibPtr grey = ShadedTextPage(40, 30, 0.5);
  DibPtr bits(DibCreate(40, 30, 0, 0, 1)), deep(DibCreate(40, 30, 0, 0, 32));
  tagRect32 outside{50, 0, 60, 10}, below{0, 40, 10, 50}, narrow{0, 0, 9, 29};
  struct Case { DibInfo* dib; SDibBinarizeSetup s; tagRect32* rect; };
  Case const cases[] = {
      {nullptr, {7, 0, 0, 0, 0}, nullptr},   {bits.get(), {7, 0, 0, 0, 0}, nullptr},
      {deep.get(), {4, 0, 0, 0, 0}, nullptr}, {grey.get(), {3, 0, 0, 0, 0}, nullptr},
      {grey.get(), {8, 0, 0, 0, 0}, nullptr}, {grey.get(), {4, 3, 0, 0, 0}, nullptr},
      {grey.get(), {4, -1, 0, 0, 0}, nullptr}, {grey.get(), {4, 0, -3, 0, 0}, nullptr},
      {grey.get(), {4, 0, 4097, 0, 0}, nullptr}, {grey.get(), {4, 0, 31, 0, 0}, nullptr},
      {grey.get(), {6, 0, 11, 0, 0}, &narrow}, {grey.get(), {4, 1, 0, 0, -1}, nullptr},
      {grey.get(), {7, 0, 0, 0, 0}, &outside}, {grey.get(), {5, 0, 0, 0, 0}, &below},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(testing::Message() << "method " << c.s.method << " variant " << c.s.variant
                                    << " window " << c.s.window);
    EXPECT_EQ(DibBinarizeCommon(c.dib, c.s, c.rect), nullptr);
    DibInfo* out = nullptr;
    if (c.dib && c.s.method >= 4) {
      char const* names[] = {"variant", "range"};
      std::string const v = std::to_string(c.s.variant), r = std::to_string(c.s.range);
      char const* values[] = {v.c_str(), r.c_str()};
      EXPECT_EQ(DibBinarizeEx(out, c.dib, c.s.method, c.s.window, c.s.k, 2, names, values, c.rect, nullptr),
                c.s.method > 7 ? -4 : -1);
    }
  }
  // A window as large as the area, and the default window on an area smaller than it, work.
  DibPtr whole(DibBinarizeNiblack(grey.get(), 1, 29, 0, nullptr));
  DibPtr small(DibBinarizeNiblack(grey.get(), 1, 0, 0, &narrow));
  EXPECT_NE(whole, nullptr);
  ASSERT_NE(small, nullptr);
  EXPECT_EQ(small->Width(), 10);
}

namespace {

// FNV-1a over the used bytes of every row of a 1-bit result, top row first.
uint64_t Digest(DibInfo const* bw) {
  uint64_t h = 1469598103934665603ull;
  for (int y = 0; y < bw->Height(); ++y)
    for (int i = 0; i < (bw->Width() + 7) / 8; ++i) h = (h ^ bw->GetLine(y)[i]) * 1099511628211ull;
  return h;
}

// The same visual pixels stored in the other row order.
DibPtr Reordered(DibInfo const* dib) {
  int const w = dib->Width(), h = dib->Height(), bytes = w * dib->BitsPerPixel() / 8;
  DibPtr out(DibCreate(w, dib->biHeight < 0 ? h : -h, dib->XPelsPerMeter(), dib->YPelsPerMeter(),
                       dib->BitsPerPixel()));
  for (int y = 0; y < h; ++y) std::memcpy(out->GetLine(y), dib->GetLine(y), size_t(bytes));
  return out;
}

}  // namespace

// The paper-surface method's pixels are fixed: these digests were taken from its first
// release, and every faster path must give them again, in both row orders.
TEST(AdaptiveBinarize, PaperSurfaceMethodKeepsItsPixels) {
  quilp_pages::PageSpec look;
  look.width = 613, look.height = 457, look.dpi = 100, look.bitCount = 8;
  look.skewDegrees = 2, look.noise = 7, look.unevenness = 0.4, look.columns = 2;
  DibPtr made(quilp_pages::MakePage(look));
  look.bitCount = 24, look.fade = 0.5, look.seed = 3;
  DibPtr colour(quilp_pages::MakePage(look));
  DibPtr shaded = ShadedTextPage(131, 61, 0.9, 0, 5), flat = ShadedTextPage(70, 64, 0.0, 3, 2);
  struct Case { DibInfo* page; int window, k; tagRect32 rect; uint64_t digest; };
  Case const cases[] = {
      {made.get(), 0, 0, {0, 0, 0, 0}, 13514057993820499213ull},
      {made.get(), 41, 30, {3, 5, 600, 450}, 8935625082758997758ull},
      {made.get(), 9, -150, {0, 0, 0, 0}, 17711253490725369847ull},
      {colour.get(), 0, 0, {0, 0, 0, 0}, 15720244331404341255ull},
      {shaded.get(), 0, 0, {0, 0, 0, 0}, 9439720437067357499ull},
      {shaded.get(), 3, 90, {1, 2, 65, 60}, 7445853222439866276ull},
      {shaded.get(), 0, 0, {2, 0, 3, 60}, 1869169513414792344ull},
      {shaded.get(), 0, 0, {5, 1, 38, 30}, 8598633598876414566ull},
      {flat.get(), 0, 0, {0, 0, 0, 0}, 3019656117513468126ull},
      {flat.get(), 15, -300, {0, 0, 0, 0}, 13869621724243530252ull},
  };
  for (Case const& c : cases) {
    DibPtr other = Reordered(c.page);
    for (DibInfo* page : {c.page, other.get()}) {
      tagRect32 rect = c.rect;
      bool const whole = rect.right == 0;
      DibPtr bw(DibBinarizeStat(page, c.window, c.k, whole ? nullptr : &rect));
      ASSERT_NE(bw, nullptr);
      EXPECT_EQ(Digest(bw.get()), c.digest)
          << "window " << c.window << " k " << c.k << " width " << bw->Width()
          << (page->biHeight < 0 ? " top-down" : " bottom-up");
    }
  }
}
