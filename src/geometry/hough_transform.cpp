// hough_transform.cpp - the Hough transform image of a grey page and its peak search.
//
// Transform (nearly horizontal lines; nearly vertical ones exchange rows and columns):
//  1. Ink: each pixel weighs max(0, paper - value), paper being the median grey level.
//  2. Bands: the width is cut into L - 1 bands of W / (L - 1) columns (in units of 1, 2, 4 or
//     8 columns, each dealt whole to the band holding its centre) and every row of a band is
//     summed into one lane position: L lanes (the last one empty) of H + L - 1 positions, the
//     extra ones holding the lines that enter through the top. A drift of t positions from
//     lane 0 to lane L - 1 is then a drift of t rows across the width.
//  3. The dyadic fast Hough transform of the lanes, forward (descending lines) and on the
//     lanes in reverse order (rising lines): every drift of -(L-1)..L-1 rows in n L log L
//     additions per position.
//  4. Dyadic lines wander up to about a row off the straight line, enough to shift the peak
//     by a good part of a row. So the rows within kExactRadius of the sharpest dyadic row are
//     computed again along straight lines: lane x shifted by round(drift * centre_x / W).
//  5. Rows are written as 32-bit sums or scaled so that the largest sum is 255.
// Cost for an A4 page at 300 dpi (L = 512, 4019 positions): one read of the page, 2 * 9
// stage passes over 8 MB of lanes, 9 * 512 shifted lane additions, 4 MB of output.
//
// Peak: every row is scored by the sum of squared differences of neighbouring values (or of
// squared values); the first highest row is refined by a least-squares parabola through the
// scores of the rows within half the window on either side.
#include "geometry/hough_transform.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "geometry/fast_hough.h"
#include "geometry/hough_rows.h"
#include "record/create.h"

namespace quilp {
namespace {

constexpr double kSlopeRange = 0.18;  // tan 10.2 degrees: the steepest drift the lanes cover
constexpr int kExactRadius = 4;   // straight rows beyond the dyadic peak's span on either side
constexpr int kExactSpan = 40;    // and at most this many rows from its best row

// The median grey level, from every fourth pixel of every fourth row (every pixel of areas
// too small for that).
int PaperLevel(RowTable const& src) {
  int const step = src.width >= 16 && src.height >= 16 ? 4 : 1;
  uint64_t hist[256] = {};
  uint64_t n = 0;
  for (int y = step / 2; y < src.height; y += step) {
    uint8_t const* row = src.Row(y);
    for (int x = step / 2; x < src.width; x += step, ++n) ++hist[row[x]];
  }
  uint64_t run = 0;
  for (int v = 0; v < 256; ++v) {
    run += hist[v];
    if (2 * run >= n) return v;
  }
  return 255;
}

int64_t FloorDiv(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

// A peak of row scores: the first highest row and the rows around it whose score stays above
// halfway between the highest and the median score, at least minHalf rows on either side.
struct PeakSpan {
  int best = 0, first = 0, last = 0;
};

PeakSpan FindPeakSpan(std::vector<double> const& score, int from, int minHalf) {
  int const n = int(score.size());
  PeakSpan span;
  span.best = from;
  for (int y = from + 1; y < n; ++y)
    if (score[std::size_t(y)] > score[std::size_t(span.best)]) span.best = y;
  std::vector<double> sorted(score.begin() + from, score.end());
  std::nth_element(sorted.begin(), sorted.begin() + std::ptrdiff_t(sorted.size() / 2), sorted.end());
  double const level = 0.5 * (score[std::size_t(span.best)] + sorted[sorted.size() / 2]);
  span.first = span.last = span.best;
  while (span.first > from && (span.best - span.first < minHalf || score[std::size_t(span.first - 1)] > level))
    --span.first;
  while (span.last + 1 < n && (span.last - span.best < minHalf || score[std::size_t(span.last + 1)] > level))
    ++span.last;
  return span;
}

// The area's ink dealt to the lanes. A lane position holds the ink of the lane's pixels at
// that position, scaled so that a full lane reads kLaneTop (fewer for more than 512 lanes, so
// that a line sum over all lanes fits 16 bits) and truncated:
// value = (ink sum * scale_x) >> 16, scale_x = 65536 * top / (255 * pixels_x).
struct Bands {
  int top = 0;                // the largest lane value
  std::vector<uint16_t> ink;  // lane x at [x * positions, (x + 1) * positions)
  std::vector<int64_t> centre2;  // twice the centre of lane x in pixels across; -1: empty
};

constexpr int kLaneTop = 127;

void LoadBands(RowTable const& src, bool horizontal, HoughGeometry const& g, int paper,
               HoughRowKernels const& k, Bands& b) {
  std::size_t const p = std::size_t(g.positions), lanes = std::size_t(g.lanes);
  // Pixel i across goes to the lane holding its centre: (2i + 1)(L - 1) / 2W; lane x takes
  // pixels first[x] .. first[x + 1] - 1 (2 to 6 of them: the pitch is 2.78 to 5.56).
  std::vector<int> first(lanes + 1, g.across);
  for (int i = g.across - 1; i >= 0; --i)
    first[std::size_t(int64_t(2 * i + 1) * (g.lanes - 1) / (2 * int64_t(g.across)))] = i;
  for (std::size_t x = lanes; x-- > 0;) first[x] = std::min(first[x], first[x + 1]);
  b.top = std::min(kLaneTop, 65535 / g.lanes);
  b.centre2.assign(lanes, -1);
  std::vector<uint16_t> scale(lanes, 0);
  for (std::size_t x = 0; x < lanes; ++x) {
    int const n = first[x + 1] - first[x];
    if (n == 0) continue;
    b.centre2[x] = first[x] + first[x + 1];
    scale[x] = static_cast<uint16_t>(65536 * b.top / (255 * n));
  }
  b.ink.resize(lanes * p);

  if (!horizontal) {  // lanes are bands of rows, positions are columns
    std::fill(b.ink.begin(), b.ink.end(), 0);
    for (std::size_t x = 0; x < lanes; ++x) {
      uint16_t* lane = &b.ink[x * p];
      for (int y = first[x]; y < first[x + 1]; ++y) k.addInk(src.Row(y), g.along, paper, lane);
      for (int c = 0; c < g.along; ++c) lane[c] = static_cast<uint16_t>((uint32_t(lane[c]) * scale[x]) >> 16);
    }
    return;
  }
  // Sixteen rows at a time, written straight into the lanes (the last block through a spare
  // buffer when the lanes end before its sixteenth row).
  std::vector<uint16_t*> out(lanes);
  std::vector<uint16_t> spare(lanes * 16);
  for (int y0 = 0; y0 < g.along; y0 += 16) {
    int const n = std::min(16, g.along - y0);
    uint8_t const* rows[16];
    for (int r = 0; r < 16; ++r) rows[r] = src.Row(y0 + std::min(r, n - 1));
    bool const inside = std::size_t(y0) + 16 <= p;
    for (std::size_t x = 0; x < lanes; ++x) out[x] = inside ? &b.ink[x * p + std::size_t(y0)] : &spare[x * 16];
    k.bandRows16(rows, paper, first.data(), scale.data(), g.lanes, out.data());
    if (!inside)
      for (std::size_t x = 0; x < lanes; ++x)
        std::memcpy(&b.ink[x * p + std::size_t(y0)], &spare[x * 16], std::size_t(n) * 2);
  }
  for (std::size_t x = 0; x < lanes; ++x)  // the positions of lines entering through the top
    std::memset(&b.ink[x * p + std::size_t(g.along)], 0, (p - std::size_t(g.along)) * 2);
}

// Sums along straight lines of drift `drift` (rows across the width): out[c] is the sum over
// the lanes x of lane x at position c + round(drift * centre_x / across), cyclically.
// Several drifts at once, so that each lane is read from memory once.
void StraightRows(Bands const& b, HoughGeometry const& g, HoughRowKernels const& k,
                  int firstDrift, int count, std::vector<uint16_t>& out) {
  std::size_t const p = std::size_t(g.positions);
  out.assign(std::size_t(count) * p, 0);
  for (int x = 0; x < g.lanes; ++x) {
    int64_t const c2 = b.centre2[std::size_t(x)];
    if (c2 < 0) continue;
    uint16_t const* lane = &b.ink[std::size_t(x) * p];
    for (int i = 0; i < count; ++i) {
      int64_t const off = FloorDiv((firstDrift + i) * c2 + g.across, 2 * int64_t(g.across));
      int const o = int(((off % g.positions) + g.positions) % g.positions);
      uint16_t* acc = &out[std::size_t(i) * p];
      k.accumulate(lane + o, acc, g.positions - o);
      k.accumulate(lane, acc + (g.positions - o), o);
    }
  }
}

// One row of the transform: `sums` rotated right by `shift` positions (a null row is empty).
struct RowSource {
  uint16_t const* sums = nullptr;
  int shift = 0;
};

void EmitRow(RowSource const& s, int positions, int depth, float scale, HoughRowKernels const& k,
             uint8_t* line) {
  std::size_t const bytes = depth == 32 ? 4 : 1;
  if (!s.sums) {
    std::memset(line, 0, std::size_t(positions) * bytes);
    return;
  }
  // out[c] = sums[c - shift] for c >= shift, sums[c - shift + positions] below.
  int const head = s.shift, tail = positions - s.shift;
  if (depth == 32) {
    int32_t* out = reinterpret_cast<int32_t*>(line);
    k.widen(s.sums, out + head, tail);
    k.widen(s.sums + tail, out, head);
  } else {
    k.toBytes(s.sums, line + head, tail, scale);
    k.toBytes(s.sums + tail, line, head, scale);
  }
}

DibInfo* Transform(RowTable const& src, bool horizontal, int depth) {
  HoughGeometry const g = horizontal ? HoughGeometryFor(src.width, src.height)
                                     : HoughGeometryFor(src.height, src.width);
  HoughRowKernels const& rk = HoughRowKernelsActive();
  FhtStages<uint16_t> const& fk = FhtKernelsActive().narrow;
  Bands bands;
  LoadBands(src, horizontal, g, PaperLevel(src), rk, bands);

  // Both directions of the fast transform.
  FhtLanes<uint16_t> down, up;
  if (!down.Allocate(g.logLanes, g.positions) || !up.Allocate(g.logLanes, g.positions))
    return nullptr;
  std::size_t const p = std::size_t(g.positions);
  for (int x = 0; x < g.lanes; ++x) {
    std::memcpy(down.Lane(x), &bands.ink[std::size_t(x) * p], p * 2);
    std::memcpy(up.Lane(g.lanes - 1 - x), &bands.ink[std::size_t(x) * p], p * 2);
  }
  down.Run(fk);
  up.Run(fk);

  // Transform row r holds the drift r - L: r >= L from the forward pass, 1 <= r < L from the
  // reverse one (whose lines start at the right edge, hence the rotation), r = 0 is empty.
  int const rows = 2 * g.lanes;
  std::vector<RowSource> source(static_cast<std::size_t>(rows));
  for (int t = 0; t < g.lanes; ++t) source[std::size_t(g.lanes + t)] = {down.Lane(t), 0};
  for (int t = 1; t < g.lanes; ++t) source[std::size_t(g.lanes - t)] = {up.Lane(t), t % g.positions};

  // The dyadic rows' scores, smoothed over 5 rows, place the window of straight rows: the
  // peak's span and kExactRadius rows beyond it on either side, at most kExactSpan rows each
  // way from its best row.
  std::vector<int> rowTop(static_cast<std::size_t>(rows), 0);
  std::vector<double> dyadic(static_cast<std::size_t>(rows), 0.0), smooth(dyadic);
  for (int r = 1; r < rows; ++r)
    dyadic[std::size_t(r)] = double(rk.rowScore(source[std::size_t(r)].sums, g.positions, rowTop[std::size_t(r)]));
  for (int r = 1; r < rows; ++r) {
    int const a = std::max(1, r - 2), b = std::min(rows - 1, r + 2);
    double sum = 0.0;
    for (int i = a; i <= b; ++i) sum += dyadic[std::size_t(i)];
    smooth[std::size_t(r)] = sum / (b - a + 1);
  }
  PeakSpan const span = FindPeakSpan(smooth, 1, 0);
  int const lo = std::max({1, span.first - kExactRadius, span.best - kExactSpan});
  int const hi = std::min({rows - 1, span.last + kExactRadius, span.best + kExactSpan});
  std::vector<uint16_t> straight;
  StraightRows(bands, g, rk, lo - g.lanes, hi - lo + 1, straight);
  for (int r = lo; r <= hi; ++r) {
    source[std::size_t(r)] = {&straight[std::size_t(r - lo) * p], 0};
    rowTop[std::size_t(r)] = 0;
    rk.rowScore(source[std::size_t(r)].sums, g.positions, rowTop[std::size_t(r)]);
  }
  int const top = *std::max_element(rowTop.begin(), rowTop.end());
  float const scale = top > 0 ? 255.0f / float(top) : 0.0f;
  DibHolder out(DibCreateForOverwrite(g.positions, -rows, 0, 0, depth));
  if (!out) return nullptr;
  for (int r = 0; r < rows; ++r)
    EmitRow(source[std::size_t(r)], g.positions, depth, scale, rk, out.get()->GetLine(r));
  return out.release();
}

}  // namespace

HoughGeometry HoughGeometryFor(int across, int along) {
  HoughGeometry g;
  g.across = across;
  g.along = along;
  double const need = across * kSlopeRange;
  g.logLanes = 1;
  while ((1 << g.logLanes) - 1 < need) ++g.logLanes;
  g.lanes = 1 << g.logLanes;
  g.positions = along + g.lanes - 1;
  return g;
}

DibInfo* HoughTransformImage(RowTable const& src, int mode, int depth) {
  try {
    return Transform(src, mode == 2, depth);
  } catch (std::bad_alloc const&) {
    return nullptr;
  }
}

bool HoughPeak(DibInfo const* transform, int window, int measure, int& position, int& value) {
  int const h = transform->Height(), w = transform->Width();
  if (h < 1 || w < 1) return false;
  HoughRowKernels const& k = HoughRowKernelsActive();
  bool const wide = transform->BitsPerPixel() == 32;
  std::vector<double> score(std::size_t(h), 0.0);
  for (int y = 0; y < h; ++y) {
    uint8_t const* line = transform->GetLine(y);
    double s = 0.0;
    if (!wide && measure == 1) {
      s = double(k.byteSharpness(line, w));
    } else {
      double previous = 0.0;
      for (int c = 0; c < w; ++c) {
        double v = line[c];
        if (wide) {
          int32_t x;
          std::memcpy(&x, line + 4 * std::size_t(c), 4);
          v = x;
        }
        if (measure == 0) s += v * v;
        else if (c > 0) s += (v - previous) * (v - previous);
        previous = v;
      }
    }
    score[std::size_t(y)] = s;
  }
  PeakSpan const span = FindPeakSpan(score, 0, window / 2);
  int const best = span.best;
  // Least-squares parabola a x^2 + b x + c through the scores of the span, x = row - best.
  double m[3][4] = {};
  for (int y = span.first; y <= span.last; ++y) {
    double const x = y - best, v = score[std::size_t(y)];
    double const pw[5] = {1.0, x, x * x, x * x * x, x * x * x * x};
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) m[i][j] += pw[4 - i - j];
      m[i][3] += pw[2 - i] * v;
    }
  }
  double offset = 0.0;
  if (span.last - span.first >= 2) {
    for (int i = 0; i < 3; ++i)  // Gaussian elimination; the matrix is positive definite
      for (int j = i + 1; j < 3; ++j) {
        double const f = m[j][i] / m[i][i];
        for (int q = i; q < 4; ++q) m[j][q] -= f * m[i][q];
      }
    double const c = m[2][3] / m[2][2];
    double const b = (m[1][3] - m[1][2] * c) / m[1][1];
    double const a = (m[0][3] - m[0][2] * c - m[0][1] * b) / m[0][0];
    if (a < 0.0)
      offset = std::min(double(span.last - best), std::max(double(span.first - best), -b / (2.0 * a)));
  }
  position = static_cast<int>(std::floor((best + offset) * kHoughPeakScale + 0.5));
  double const v = score[std::size_t(best)] / w;
  value = v >= double(INT_MAX) ? INT_MAX : static_cast<int>(v);
  return true;
}

}  // namespace quilp
