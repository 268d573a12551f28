// Zoomed previews and upscaling against literal double-precision references.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "quilp32.h"
#include "support/images.h"

using namespace testing_support;

namespace {

// Grey of a source pixel as the previews read it: bits 0 / 255, colour (b + g + r) / 3.
double GreyAt(DibInfo const* d, int x, int y, int channel = -1) {
  int const depth = d->BitsPerPixel();
  if (depth == 1) return Bit(d, x, y) ? 255.0 : 0.0;
  if (depth == 8 || channel >= 0) return Px(d, x, y, channel < 0 ? 0 : channel);
  return (Px(d, x, y, 0) + Px(d, x, y, 1) + Px(d, x, y, 2)) / 3.0;
}

// The exact area mean of result pixel (X, Y): footprint [X w / W, (X + 1) w / W) per axis.
double AreaMean(DibInfo const* src, tagRect32 const& r, int W, int H, int X, int Y, int ch) {
  int const w = r.right - r.left + 1, h = r.bottom - r.top + 1;
  double const x0 = double(X) * w / W, x1 = double(X + 1) * w / W;
  double const y0 = double(Y) * h / H, y1 = double(Y + 1) * h / H;
  double sum = 0;
  for (int y = int(y0); y < std::min(h, int(std::ceil(y1))); ++y)
    for (int x = int(x0); x < std::min(w, int(std::ceil(x1))); ++x) {
      double const ox = std::min(x + 1.0, x1) - std::max(double(x), x0);
      double const oy = std::min(y + 1.0, y1) - std::max(double(y), y0);
      sum += ox * oy * GreyAt(src, r.left + x, r.top + y, ch);
    }
  return sum / ((x1 - x0) * (y1 - y0));
}

// Bilinear or cubic (a = -0.5) interpolation of one axis at result index X, edges repeated.
struct Tap { int index; double weight; };
std::vector<Tap> Taps(int X, int w, int W, bool cubic) {
  double const c = (X + 0.5) * w / W - 0.5, b = std::floor(c), t = c - b;
  auto clampIndex = [w](double i) { return int(std::clamp(i, 0.0, double(w - 1))); };
  if (!cubic) return {{clampIndex(b), 1 - t}, {clampIndex(b + 1), t}};
  auto k = [](double d) {
    d = std::fabs(d);
    return d <= 1 ? 1.5 * d * d * d - 2.5 * d * d + 1
                  : d < 2 ? -0.5 * d * d * d + 2.5 * d * d - 4 * d + 2 : 0.0;
  };
  std::vector<Tap> taps;
  for (int i = -1; i <= 2; ++i) taps.push_back({clampIndex(b + i), k(t - i)});
  return taps;
}

double Interpolated(DibInfo const* src, tagRect32 const& r, int W, int H, int X, int Y, int ch,
                    bool cubic) {
  int const w = r.right - r.left + 1, h = r.bottom - r.top + 1;
  double v = 0;
  for (Tap ty : Taps(Y, h, H, cubic))
    for (Tap tx : Taps(X, w, W, cubic))
      v += ty.weight * tx.weight * GreyAt(src, r.left + tx.index, r.top + ty.index, ch);
  return v;
}

// `got` is the reference rounded half up (either side when it lies within `slack` of a tie).
void ExpectRounded(int got, double ref, double slack) {
  double const r = std::clamp(ref, 0.0, 255.0);
  double const lo = std::floor(r + 0.5 - slack), hi = std::floor(r + 0.5 + slack);
  ASSERT_TRUE(got >= lo && got <= hi) << "got " << got << ", reference " << ref;
}

struct Case { int depth; double factor; bool topDown; };

// The edge-directed enlargement of a bit grid by 2 or 3, pixel by pixel, edges repeated.
using Grid = std::vector<std::vector<int>>;
Grid EdgeDirected(Grid const& g, int k) {
  int const h = int(g.size()), w = int(g[0].size());
  Grid out(std::size_t(k * h), std::vector<int>(std::size_t(k * w)));
  auto at = [&](int x, int y) { return g[std::size_t(std::clamp(y, 0, h - 1))][std::size_t(std::clamp(x, 0, w - 1))]; };
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int const A = at(x - 1, y - 1), B = at(x, y - 1), C = at(x + 1, y - 1), D = at(x - 1, y),
                E = at(x, y), F = at(x + 1, y), G = at(x - 1, y + 1), H = at(x, y + 1),
                I = at(x + 1, y + 1);
      bool const tl = D == B && B != F && D != H, tr = B == F && B != D && F != H;
      bool const bl = D == H && D != B && H != F, br = H == F && D != H && B != F;
      std::vector<int> block;
      if (k == 2) {
        block = {tl ? D : E, tr ? F : E, bl ? D : E, br ? F : E};
      } else {
        block = {tl ? D : E, (tl && E != C) || (tr && E != A) ? B : E, tr ? F : E,
                 (tl && E != G) || (bl && E != A) ? D : E, E, (tr && E != I) || (br && E != C) ? F : E,
                 bl ? D : E, (bl && E != I) || (br && E != G) ? H : E, br ? F : E};
      }
      for (int j = 0; j < k * k; ++j)
        out[std::size_t(k * y + j / k)][std::size_t(k * x + j % k)] = block[std::size_t(j)];
    }
  return out;
}

}  // namespace

TEST(Zoom, PreviewsMatchTheExactAreaMeanOrBilinearReference) {
  std::mt19937 rng(14);
  for (Case c : {Case{8, 0.25, false}, Case{8, 0.37, true}, Case{24, 0.5, false},
                 Case{32, 0.61, true}, Case{1, 0.25, false}, Case{1, 0.3, true},
                 Case{1, 0.5, true}, Case{8, 1.0, false}, Case{24, 1.7, true}, Case{1, 2.5, false}})
    for (int w : {7, 17, 64, 77}) {
      SCOPED_TRACE(testing::Message() << c.depth << " bits, factor " << c.factor << ", width " << w);
      DibPtr src = RandomDib(w + 11, 41, c.depth, c.topDown, uint32_t(rng()));
      // Whole-number factors reach the block routes when the area starts on a byte.
      int const left = (w % 2) ? 3 : 8;
      tagRect32 rect{left, 1, left + w - 1, 40};
      DibPtr grey(DibMakeZoom8(src.get(), c.factor, &rect));
      DibPtr same(DibMakeZoom(src.get(), c.factor, &rect));
      ASSERT_TRUE(grey && same);
      int const W = std::max(1, int(std::floor(w * c.factor + 0.5)));
      int const H = std::max(1, int(std::floor(40 * c.factor + 0.5)));
      ASSERT_EQ(grey->Width(), W);
      ASSERT_EQ(grey->Height(), H);
      EXPECT_EQ(grey->BitsPerPixel(), 8);
      EXPECT_EQ(same->BitsPerPixel(), c.depth);
      EXPECT_EQ(grey->biHeight < 0, c.topDown);
      EXPECT_EQ(grey->XPelsPerMeter(), int(std::floor(3937.0 * W / w + 0.5)));
      bool const grows = c.factor > 1;
      double const slack = grows ? 1.0 : 1e-7;  // bilinear weights are kept in 1/256
      int const ink = int(std::floor(255 * (1 - std::min(1.0, std::min(double(W) / w, H / 40.0)) / 2) + 0.5));
      for (int Y = 0; Y < H; ++Y)
        for (int X = 0; X < W; ++X) {
          auto ref = [&](int ch) {
            return grows ? Interpolated(src.get(), rect, W, H, X, Y, ch, false)
                         : AreaMean(src.get(), rect, W, H, X, Y, ch);
          };
          double const level = ref(-1);
          ExpectRounded(Px(grey.get(), X, Y), level, slack);
          if (c.depth == 1) {
            if (std::fabs(level - (ink + 0.5)) > slack) {
              ASSERT_EQ(Bit(same.get(), X, Y), level >= ink + 0.5) << X << "," << Y;
            }
          } else {
            for (int ch = 0; ch < std::min(3, c.depth / 8); ++ch)
              ExpectRounded(Px(same.get(), X, Y, ch), ref(ch), slack);
          }
        }
    }
}

TEST(Zoom, RefusesWhatTheContractRefuses) {
  DibPtr page = RandomDib(20, 10, 8, false, 1);
  DibPtr odd(DibCreate(20, 10, 0, 0, 8));
  odd->biBitCount = 16;
  tagRect32 outside{30, 30, 40, 40};
  double const nan = std::numeric_limits<double>::quiet_NaN();
  double const inf = std::numeric_limits<double>::infinity();
  for (double f : {0.0, -0.5, nan, inf}) {
    EXPECT_EQ(DibMakeZoom8(page.get(), f, nullptr), nullptr) << f;
    EXPECT_EQ(DibMakeZoom(page.get(), f, nullptr), nullptr) << f;
    EXPECT_EQ(DibMakeZoomDeskewed(page.get(), f, 0.0, nullptr), nullptr) << f;
  }
  EXPECT_EQ(DibMakeZoom8(nullptr, 0.5, nullptr), nullptr);
  EXPECT_EQ(DibMakeZoom8(odd.get(), 0.5, nullptr), nullptr);
  EXPECT_EQ(DibMakeZoom(page.get(), 0.5, &outside), nullptr);
  EXPECT_EQ(DibMakeZoomDeskewed(page.get(), 0.5, 1.0, nullptr), nullptr);
  EXPECT_EQ(DibMakeZoomDeskewed(page.get(), 0.5, nan, nullptr), nullptr);
  DibPtr tiny(DibMakeZoom8(page.get(), 1e-9, nullptr));  // at least one pixel
  ASSERT_TRUE(tiny);
  EXPECT_EQ(tiny->Width(), 1);
}

TEST(Upscale, CubicOfEveryDepthAndEdgeDirectedBits) {
  std::mt19937 rng(41);
  for (Case c : {Case{8, 2.0, false}, Case{8, 1.5, true}, Case{24, 2.0, true}, Case{32, 1.3, false},
                 Case{8, 1.0, false}, Case{1, 2.0, false}, Case{1, 3.0, true}, Case{1, 4.0, false}})
    for (int w : {1, 7, 17, 33}) {
      SCOPED_TRACE(testing::Message() << c.depth << " bits, factor " << c.factor << ", width " << w);
      DibPtr src = RandomDib(w + 3, 13, c.depth, c.topDown, uint32_t(rng()));
      tagRect32 rect{3, 1, 3 + w - 1, 12};
      DibInfo* out = nullptr;
      ASSERT_EQ(DibUpscale(out, src.get(), c.factor, &rect), 0);
      DibPtr big(out);
      int const W = int(std::floor(w * c.factor + 0.5)), H = int(std::floor(12 * c.factor + 0.5));
      ASSERT_EQ(big->Width(), W);
      ASSERT_EQ(big->Height(), H);
      EXPECT_EQ(big->BitsPerPixel(), c.depth);
      EXPECT_EQ(big->biHeight < 0, c.topDown);
      EXPECT_EQ(big->YPelsPerMeter(), int(std::floor(3937.0 * H / 12 + 0.5)));
      Grid bits;
      if (c.depth == 1) {
        Grid g(12, std::vector<int>(std::size_t(w)));
        for (int y = 0; y < 12; ++y)
          for (int x = 0; x < w; ++x) g[std::size_t(y)][std::size_t(x)] = Bit(src.get(), 3 + x, 1 + y);
        bits = c.factor == 4.0 ? EdgeDirected(EdgeDirected(g, 2), 2) : EdgeDirected(g, int(c.factor));
      }
      for (int Y = 0; Y < H; ++Y)
        for (int X = 0; X < W; ++X) {
          if (c.depth == 1) {
            ASSERT_EQ(Bit(big.get(), X, Y), bits[std::size_t(Y)][std::size_t(X)]) << X << "," << Y;
            continue;
          }
          for (int ch = 0; ch < c.depth / 8; ++ch)
            ExpectRounded(Px(big.get(), X, Y, ch), Interpolated(src.get(), rect, W, H, X, Y, ch, true), 1.0);
        }
    }
}

TEST(Upscale, TargetsAndRefusals) {
  DibPtr bits = RandomDib(9, 5, 1, false, 3);
  DibPtr grey = RandomDib(9, 5, 8, false, 4);
  DibInfo* none = nullptr;
  EXPECT_EQ(DibUpscale(none, nullptr, 2.0, nullptr), -1);
  for (double f : {2.5, 1.0, 5.0}) EXPECT_EQ(DibUpscale(none, bits.get(), f, nullptr), -1) << f;
  for (double f : {0.5, std::numeric_limits<double>::infinity()})
    EXPECT_EQ(DibUpscale(none, grey.get(), f, nullptr), -1) << f;
  EXPECT_EQ(none, nullptr);
  DibPtr small(DibCreate(17, 10, 0, 0, 8));
  DibInfo* target = small.get();
  EXPECT_EQ(DibUpscale(target, grey.get(), 2.0, nullptr), -1);  // 18 x 10 does not fit
  DibPtr room(DibCreate(20, 12, 0, 0, 8));
  std::fill_n(room->BitsPtr(), room->ByteWidth() * 12, uint8_t(7));
  target = room.get();
  ASSERT_EQ(DibUpscale(target, grey.get(), 2.0, nullptr), 0);
  EXPECT_EQ(target, room.get());
  DibInfo* fresh = nullptr;
  ASSERT_EQ(DibUpscale(fresh, grey.get(), 2.0, nullptr), 0);
  DibPtr made(fresh);
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 20; ++x)
      ASSERT_EQ(Px(room.get(), x, y), x < 18 && y < 10 ? Px(made.get(), x, y) : 7) << x << "," << y;
}

TEST(ZoomDeskewed, LevelsASkewedLineAndCopiesAtFactorOneWithoutTurn) {
  DibPtr page = RandomDib(61, 37, 24, true, 9);
  DibPtr copy(DibMakeZoomDeskewed(page.get(), 1.0, 0.0, nullptr));
  DibPtr zoom(DibMakeZoom8(page.get(), 1.0, nullptr));
  ASSERT_TRUE(copy && zoom);
  for (int y = 0; y < 37; ++y)
    for (int x = 0; x < 61; ++x) ASSERT_EQ(Px(copy.get(), x, y), Px(zoom.get(), x, y));
  // A dark line 3 pixels thick through the centre of a white page, descending by `angle`.
  double const angle = 0.05;
  for (bool bottomUp : {true, false}) {
    DibPtr sheet(DibCreate(400, bottomUp ? 300 : -300, 0, 0, 8));
    for (int y = 0; y < 300; ++y)
      for (int x = 0; x < 400; ++x)
        Px(sheet.get(), x, y) = std::fabs((y - 149.5) - (x - 199.5) * std::tan(angle)) < 1.5 ? 0 : 255;
    for (double factor : {0.5, 1.5}) {
      SCOPED_TRACE(testing::Message() << "factor " << factor << (bottomUp ? " bottom-up" : " top-down"));
      DibPtr level(DibMakeZoomDeskewed(sheet.get(), factor, angle, nullptr));
      ASSERT_TRUE(level);
      // The ink's centre row, fitted over the middle columns, is level and at the centre
      // (the drawn line steps by whole pixels, so single columns wobble).
      double n = 0, sx = 0, sy = 0, sxx = 0, sxy = 0;
      for (int X = level->Width() / 5; X < level->Width() * 4 / 5; ++X) {
        double ink = 0, moment = 0;
        for (int Y = 0; Y < level->Height(); ++Y) {
          double const v = 255 - Px(level.get(), X, Y);
          ink += v;
          moment += v * Y;
        }
        ASSERT_GT(ink, 0);
        double const row = moment / ink;
        n += 1, sx += X, sy += row, sxx += double(X) * X, sxy += X * row;
      }
      double const slope = (n * sxy - sx * sy) / (n * sxx - sx * sx);
      EXPECT_NEAR(slope, 0.0, 0.002);
      EXPECT_NEAR(sy / n, (level->Height() - 1) / 2.0, 0.25);
    }
  }
}
