// resample.cpp - the affine and projective resampler (scalar definition).
//
// For each destination pixel the map gives a source position in 1/2^32 pixel (affine maps
// step it by a constant per pixel, projective maps divide per pixel); the integer part picks
// the taps and the top 8 fraction bits the weights. Interior pixels read their taps
// directly; pixels whose taps reach outside the source read paper for the missing ones, so a
// rotated page's edges fade into its paper instead of into black.
// Cost per destination pixel and byte: nearest 1 read; bilinear 4 reads, 6 multiplies;
// bicubic 16 reads, 20 multiplies.
#include "geometry/resample.h"

#include "geometry/resample_run.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace quilp {
namespace {

constexpr double kFixedOne = 4294967296.0;  // 2^32: source positions in 1/2^32 pixel
constexpr double kFarthest = 536870912.0;   // 2^29 pixels: beyond, positions do not fit
constexpr int kWeightBits = 8;              // bilinear weights in 1/256
constexpr int kCubicBits = 12;              // bicubic weights in 1/4096

int64_t ToFixed(double v) { return int64_t(std::floor(v * kFixedOne + 0.5)); }

// Keys' cubic convolution (a = -1/2) for fractions t = f / 256: weights of the taps at
// -1, 0, +1, +2, rounded to 1/4096 and summing to exactly 4096 (the tap nearest the point
// takes the rounding remainder).
struct CubicWeights {
  int16_t w[256][4];
  CubicWeights() {
    for (int f = 0; f < 256; ++f) {
      double const t = f / 256.0;
      double const d[4] = {1.0 + t, t, 1.0 - t, 2.0 - t};
      int sum = 0;
      for (int i = 0; i < 4; ++i) {
        double const x = d[i];
        double const k = x <= 1.0 ? (1.5 * x - 2.5) * x * x + 1.0
                                  : ((-0.5 * x + 2.5) * x - 4.0) * x + 2.0;
        w[f][i] = int16_t(std::floor(k * (1 << kCubicBits) + 0.5));
        sum += w[f][i];
      }
      w[f][t < 0.5 ? 1 : 2] = int16_t(w[f][t < 0.5 ? 1 : 2] + ((1 << kCubicBits) - sum));
    }
  }
};

CubicWeights const& Cubic() {
  static CubicWeights const table;
  return table;
}

// One source position: integer pixel and 8-bit fraction per axis.
struct Tap {
  int x, y, fx, fy;
};

inline Tap TapOf(int64_t X, int64_t Y) {
  return Tap{int(X >> 32), int(Y >> 32), int((X >> 24) & 255), int((Y >> 24) & 255)};
}

struct Source {
  DibView const& view;
  int bpp;
  uint8_t const* paper;
  // Byte c of pixel (x, y), or paper outside.
  int At(int x, int y, int c) const {
    if (unsigned(x) >= unsigned(view.width) || unsigned(y) >= unsigned(view.height))
      return paper[c];
    return view.Row(y)[std::ptrdiff_t(x) * bpp + c];
  }
};

template <int kBpp>
inline void Nearest(Source const& s, int64_t X, int64_t Y, uint8_t* out) {
  int const x = int((X + (int64_t(1) << 31)) >> 32), y = int((Y + (int64_t(1) << 31)) >> 32);
  if (unsigned(x) < unsigned(s.view.width) && unsigned(y) < unsigned(s.view.height)) {
    uint8_t const* p = s.view.Row(y) + std::ptrdiff_t(x) * kBpp;
    for (int c = 0; c < kBpp; ++c) out[c] = p[c];
  } else {
    for (int c = 0; c < kBpp; ++c) out[c] = s.paper[c];
  }
}

template <int kBpp>
inline void Bilinear(Source const& s, int64_t X, int64_t Y, uint8_t* out) {
  Tap const t = TapOf(X, Y);
  int const gx = (1 << kWeightBits) - t.fx, gy = (1 << kWeightBits) - t.fy;
  constexpr int kHalf = 1 << (2 * kWeightBits - 1);
  if (unsigned(t.x) < unsigned(s.view.width - 1) && unsigned(t.y) < unsigned(s.view.height - 1)) {
    uint8_t const* p0 = s.view.Row(t.y) + std::ptrdiff_t(t.x) * kBpp;
    uint8_t const* p1 = p0 + s.view.step;
    for (int c = 0; c < kBpp; ++c) {
      int const top = p0[c] * gx + p0[c + kBpp] * t.fx;
      int const bottom = p1[c] * gx + p1[c + kBpp] * t.fx;
      out[c] = uint8_t((top * gy + bottom * t.fy + kHalf) >> (2 * kWeightBits));
    }
    return;
  }
  for (int c = 0; c < kBpp; ++c) {
    int const top = s.At(t.x, t.y, c) * gx + s.At(t.x + 1, t.y, c) * t.fx;
    int const bottom = s.At(t.x, t.y + 1, c) * gx + s.At(t.x + 1, t.y + 1, c) * t.fx;
    out[c] = uint8_t((top * gy + bottom * t.fy + kHalf) >> (2 * kWeightBits));
  }
}

template <int kBpp>
inline void Bicubic(Source const& s, int64_t X, int64_t Y, uint8_t* out) {
  Tap const t = TapOf(X, Y);
  int16_t const* wx = Cubic().w[t.fx];
  int16_t const* wy = Cubic().w[t.fy];
  bool const inside = t.x >= 1 && t.x < s.view.width - 2 && t.y >= 1 && t.y < s.view.height - 2;
  constexpr int64_t kHalf = int64_t(1) << (2 * kCubicBits - 1);
  for (int c = 0; c < kBpp; ++c) {
    int64_t sum = 0;
    for (int j = 0; j < 4; ++j) {
      int row = 0;
      if (inside) {
        uint8_t const* p = s.view.Row(t.y - 1 + j) + std::ptrdiff_t(t.x - 1) * kBpp + c;
        for (int i = 0; i < 4; ++i) row += wx[i] * p[i * kBpp];
      } else {
        for (int i = 0; i < 4; ++i) row += wx[i] * s.At(t.x - 1 + i, t.y - 1 + j, c);
      }
      sum += int64_t(row) * wy[j];
    }
    int64_t const v = (sum + kHalf) >> (2 * kCubicBits);
    out[c] = uint8_t(v < 0 ? 0 : v > 255 ? 255 : v);
  }
}

// Visits dst's rows in storage order, asking `coords(u, v, X, Y)` for each pixel's source
// position and `sample(X, Y, out)` for its bytes.
template <int kBpp, class Coords, class Sample>
void FillRows(DibView const& dst, Coords const& coords, Sample const& sample) {
  bool const bottomUp = dst.step < 0;
  for (int i = 0; i < dst.height; ++i) {
    int const v = bottomUp ? dst.height - 1 - i : i;
    uint8_t* out = dst.Row(v);
    for (int u = 0; u < dst.width; ++u, out += kBpp) {
      int64_t X, Y;
      coords(u, v, X, Y);
      sample(X, Y, out);
    }
  }
}

template <int kBpp, class Coords>
void FillInterp(DibView const& dst, Source const& s, Coords const& coords, Interpolation interp) {
  switch (interp) {
    case Interpolation::kNearest:
      FillRows<kBpp>(dst, coords, [&](int64_t X, int64_t Y, uint8_t* o) { Nearest<kBpp>(s, X, Y, o); });
      break;
    case Interpolation::kBicubic:
      FillRows<kBpp>(dst, coords, [&](int64_t X, int64_t Y, uint8_t* o) { Bicubic<kBpp>(s, X, Y, o); });
      break;
    default:
      FillRows<kBpp>(dst, coords, [&](int64_t X, int64_t Y, uint8_t* o) { Bilinear<kBpp>(s, X, Y, o); });
      break;
  }
}

template <class Coords>
bool FillDepth(DibView const& dst, DibView const& src, int bpp, Coords const& coords,
               Interpolation interp, uint8_t const paper[4]) {
  Source const s{src, bpp, paper};
  switch (bpp) {
    case 1: FillInterp<1>(dst, s, coords, interp); return true;
    case 3: FillInterp<3>(dst, s, coords, interp); return true;
    case 4: FillInterp<4>(dst, s, coords, interp); return true;
    default: return false;
  }
}

bool AffineFits(DibView const& dst, AffineMap const& m) {
  double const us[2] = {0.0, double(dst.width > 0 ? dst.width - 1 : 0)};
  double const vs[2] = {0.0, double(dst.height > 0 ? dst.height - 1 : 0)};
  for (double u : us)
    for (double v : vs) {
      double const x = m.xx * u + m.xy * v + m.x0, y = m.yx * u + m.yy * v + m.y0;
      if (!(std::fabs(x) <= kFarthest) || !(std::fabs(y) <= kFarthest)) return false;
    }
  return true;
}

// The fixed-point position of (u, v) under an affine map: a start per row, a step per pixel.
struct AffineCoords {
  int64_t x0, y0, dxu, dyu, dxv, dyv;
  explicit AffineCoords(AffineMap const& m)
      : x0(ToFixed(m.x0)), y0(ToFixed(m.y0)), dxu(ToFixed(m.xx)), dyu(ToFixed(m.yx)),
        dxv(ToFixed(m.xy)), dyv(ToFixed(m.yy)) {}
  void operator()(int u, int v, int64_t& X, int64_t& Y) const {
    X = x0 + dxv * v + dxu * u;
    Y = y0 + dyv * v + dyu * u;
  }
};

// Projective positions, clamped to +-2^29 pixels; points at or behind the horizon (w <= 0)
// go far outside, to paper.
struct ProjectiveCoords {
  ProjectiveMap m;
  void operator()(int u, int v, int64_t& X, int64_t& Y) const {
    double const w = m.m[6] * u + m.m[7] * v + m.m[8];
    double x = -kFarthest, y = -kFarthest;
    if (w > 1e-12) {
      x = (m.m[0] * u + m.m[1] * v + m.m[2]) / w;
      y = (m.m[3] * u + m.m[4] * v + m.m[5]) / w;
    }
    x = std::isnan(x) ? -kFarthest : std::clamp(x, -kFarthest, kFarthest);
    y = std::isnan(y) ? -kFarthest : std::clamp(y, -kFarthest, kFarthest);
    X = ToFixed(x);
    Y = ToFixed(y);
  }
};

template <class Coords>
void FillBits(DibView const& dst, DibView const& src, Coords const& coords) {
  int const sOff = src.left & 7, dOff = dst.left & 7;
  bool const bottomUp = dst.step < 0;
  for (int i = 0; i < dst.height; ++i) {
    int const v = bottomUp ? dst.height - 1 - i : i;
    uint8_t* out = dst.Row(v);
    for (int u = 0; u < dst.width; ++u) {
      int64_t X, Y;
      coords(u, v, X, Y);
      int const x = int((X + (int64_t(1) << 31)) >> 32), y = int((Y + (int64_t(1) << 31)) >> 32);
      int bit = 1;
      if (unsigned(x) < unsigned(src.width) && unsigned(y) < unsigned(src.height)) {
        int const p = sOff + x;
        bit = (src.Row(y)[p >> 3] >> (7 - (p & 7))) & 1;
      }
      int const q = dOff + u;
      uint8_t const mask = uint8_t(0x80 >> (q & 7));
      out[q >> 3] = bit ? uint8_t(out[q >> 3] | mask) : uint8_t(out[q >> 3] & ~mask);
    }
  }
}

// The columns u in [0, n) of one destination row whose positions (X + dx u, Y + dy u) lie in
// [xLo, xHi) x [yLo, yHi): one interval, as the map is linear. Estimated in floating point with
// two columns to spare, then settled by the exact test, so it is exact.
void ColumnsWhere(int64_t X, int64_t dx, int64_t Y, int64_t dy, int64_t const lows[2],
                  int64_t const highs[2], int n, int& begin, int& end) {
  double lo = 0.0, hi = n;
  auto bound = [&](int64_t start, int64_t step, int64_t low, int64_t high) {
    if (step == 0) {
      if (start < low || start >= high) hi = lo;
      return;
    }
    double const a = (double(low) - double(start)) / double(step);
    double const b = (double(high) - double(start)) / double(step);
    lo = std::max(lo, std::floor(std::min(a, b)));
    hi = std::min(hi, std::ceil(std::max(a, b)));
  };
  bound(X, dx, lows[0], highs[0]);
  bound(Y, dy, lows[1], highs[1]);
  auto holds = [&](int u) {
    int64_t const x = X + dx * u, y = Y + dy * u;
    return x >= lows[0] && x < highs[0] && y >= lows[1] && y < highs[1];
  };
  begin = int(std::clamp(lo - 2.0, 0.0, double(n)));
  end = hi > lo ? int(std::clamp(hi + 2.0, 0.0, double(n))) : begin;
  while (begin < end && !holds(begin)) ++begin;
  while (end > begin && !holds(end - 1)) --end;
}

// Affine bilinear rows. Per destination row the map is linear, so its pixels fall into five
// spans: those whose taps all lie outside the source are paper (all four taps paper give
// paper exactly), those whose taps all lie inside form one run that reads the source directly
// (the run kernel of the active tier for grey), and the two spans between go through the
// checked sampler. Same values throughout.
// The runs are done in tiles of kBandRows rows by kStripColumns columns, top to bottom, so
// the source rows a tile reads (a slanted band) stay in the first-level cache: a whole row of
// a slight turn reads some 100 source rows, a tile's row a few.
template <int kBpp>
void AffineBilinearRows(DibView const& dst, Source const& s, AffineCoords const& c) {
  constexpr int kBandRows = 16, kStripColumns = 1024;
  constexpr int64_t kPixel = int64_t(1) << 32;
  [[maybe_unused]] constexpr int kOne = 1 << kWeightBits, kHalf = 1 << (2 * kWeightBits - 1);
  [[maybe_unused]] ResampleRunKernels const& run = ResampleRunKernelsActive();
  int64_t const w = s.view.width, h = s.view.height;
  int64_t const touchLow[2] = {-kPixel, -kPixel}, touchHigh[2] = {w * kPixel, h * kPixel};
  int64_t const insideLow[2] = {0, 0}, insideHigh[2] = {(w - 1) * kPixel, (h - 1) * kPixel};
  auto paper = [&](uint8_t* out, int u0, int u1) {
    for (int u = u0; u < u1; ++u)
      for (int ch = 0; ch < kBpp; ++ch) out[std::ptrdiff_t(u) * kBpp + ch] = s.paper[ch];
  };
  auto checked = [&](uint8_t* out, int64_t rowX, int64_t rowY, int u0, int u1) {
    for (int u = u0; u < u1; ++u)
      Bilinear<kBpp>(s, rowX + c.dxu * u, rowY + c.dyu * u, out + std::ptrdiff_t(u) * kBpp);
  };
  struct Spans {
    int runBegin, runEnd;
  } spans[kBandRows];
  for (int band = 0; band < dst.height; band += kBandRows) {
    int const rows = std::min(kBandRows, dst.height - band);
    for (int i = 0; i < rows; ++i) {  // the spans around the run, and where the run lies
      int const v = band + i;
      uint8_t* out = dst.Row(v);
      int64_t const rowX = c.x0 + c.dxv * v, rowY = c.y0 + c.dyv * v;
      int tb = 0, te = 0, rb = 0, re = 0;
      ColumnsWhere(rowX, c.dxu, rowY, c.dyu, touchLow, touchHigh, dst.width, tb, te);
      ColumnsWhere(rowX, c.dxu, rowY, c.dyu, insideLow, insideHigh, dst.width, rb, re);
      if (rb >= re) rb = re = te;  // no run: the checked span covers what the taps touch
      paper(out, 0, tb);
      checked(out, rowX, rowY, tb, rb);
      checked(out, rowX, rowY, re, te);
      paper(out, te, dst.width);
      spans[i] = {rb, re};
    }
    for (int strip = 0; strip < dst.width; strip += kStripColumns) {
      for (int i = 0; i < rows; ++i) {
        int const v = band + i;
        int const ua = std::max(spans[i].runBegin, strip);
        int const ub = std::min(spans[i].runEnd, strip + kStripColumns);
        if (ua >= ub) continue;
        int64_t X = c.x0 + c.dxv * v + c.dxu * ua, Y = c.y0 + c.dyv * v + c.dyu * ua;
        uint8_t* o = dst.Row(v) + std::ptrdiff_t(ua) * kBpp;
        if constexpr (kBpp == 1) {  // grey: the run kernel of the active tier
          run.bilinear8(s.view.Row(0), s.view.step, X, Y, c.dxu, c.dyu, ub - ua, o);
        } else {
          int cachedRow = -1;
          uint8_t const* rowStart = nullptr;
          for (int u = ua; u < ub; ++u, X += c.dxu, Y += c.dyu, o += kBpp) {
            int const fx = int((X >> 24) & 255), fy = int((Y >> 24) & 255);
            int const gx = kOne - fx, gy = kOne - fy;
            int const iy = int(Y >> 32);
            if (iy != cachedRow) {  // the source row changes every 1 / sin(angle) pixels
              cachedRow = iy;
              rowStart = s.view.Row(iy);
            }
            uint8_t const* p0 = rowStart + std::ptrdiff_t(X >> 32) * kBpp;
            uint8_t const* p1 = p0 + s.view.step;
            for (int ch = 0; ch < kBpp; ++ch) {
              int const top = p0[ch] * gx + p0[ch + kBpp] * fx;
              int const bottom = p1[ch] * gx + p1[ch + kBpp] * fx;
              o[ch] = uint8_t((top * gy + bottom * fy + kHalf) >> (2 * kWeightBits));
            }
          }
        }
      }
    }
  }
}

}  // namespace

AffineMap RotationMap(double angle, double sx, double sy, double dx, double dy) {
  // Forward (clockwise with rows counted down): x' = c x - s y, y' = s x + c y about the
  // centres; the resampler needs the inverse, the turn by -angle.
  double const c = std::cos(angle), s = std::sin(angle);
  AffineMap m;
  m.xx = c;
  m.xy = s;
  m.x0 = sx - c * dx - s * dy;
  m.yx = -s;
  m.yy = c;
  m.y0 = sy + s * dx - c * dy;
  return m;
}

bool ResampleAffine(DibView const& dst, DibView const& src, int bytesPerPixel,
                    AffineMap const& map, Interpolation interp, uint8_t const paper[4]) {
  if (!AffineFits(dst, map)) return false;
  if (interp == Interpolation::kBilinear && src.width >= 2 && src.height >= 2) {
    Source const s{src, bytesPerPixel, paper};
    AffineCoords const coords(map);
    switch (bytesPerPixel) {
      case 1: AffineBilinearRows<1>(dst, s, coords); return true;
      case 3: AffineBilinearRows<3>(dst, s, coords); return true;
      case 4: AffineBilinearRows<4>(dst, s, coords); return true;
      default: return false;
    }
  }
  return FillDepth(dst, src, bytesPerPixel, AffineCoords(map), interp, paper);
}

bool ResampleProjective(DibView const& dst, DibView const& src, int bytesPerPixel,
                        ProjectiveMap const& map, Interpolation interp,
                        uint8_t const paper[4]) {
  return FillDepth(dst, src, bytesPerPixel, ProjectiveCoords{map}, interp, paper);
}

bool ResampleAffineBits(DibView const& dst, DibView const& src, AffineMap const& map) {
  if (!AffineFits(dst, map)) return false;
  FillBits(dst, src, AffineCoords(map));
  return true;
}

bool ResampleProjectiveBits(DibView const& dst, DibView const& src, ProjectiveMap const& map) {
  FillBits(dst, src, ProjectiveCoords{map});
  return true;
}

void MeasurePaper(DibView const& src, int bytesPerPixel, uint8_t paper[4]) {
  int const stride = src.width >= 4 && src.height >= 4 ? 4 : 1;
  int const bpp = std::clamp(bytesPerPixel, 1, 4);
  // Four counts per level, taken in turn: paper pixels repeat a few levels, and one count per
  // level would make each increment wait for the previous one.
  constexpr int kCopies = 4;
  uint32_t counts[kCopies][4][256] = {};
  uint32_t n = 0;
  for (int y = 0; y < src.height; y += stride) {
    uint8_t const* row = src.Row(y);
    for (int x = 0, i = 0; x < src.width; x += stride, ++n, i = (i + 1) % kCopies)
      for (int c = 0; c < bpp; ++c) ++counts[i][c][row[std::ptrdiff_t(x) * bpp + c]];
  }
  uint32_t hist[4][256];
  for (int c = 0; c < 4; ++c)
    for (int level = 0; level < 256; ++level)
      hist[c][level] = counts[0][c][level] + counts[1][c][level] + counts[2][c][level] + counts[3][c][level];
  for (int c = 0; c < 4; ++c) {
    paper[c] = 255;
    if (c >= bpp || n == 0) continue;
    uint32_t seen = 0;
    for (int level = 0; level < 256; ++level) {
      seen += hist[c][level];
      if (2 * uint64_t(seen) >= n) {
        paper[c] = uint8_t(level);
        break;
      }
    }
  }
}

}  // namespace quilp
