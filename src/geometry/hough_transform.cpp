// hough_transform.cpp - the Hough transform image of a grey page and its peak search.
//
// Transform of an area W across and H along (nearly horizontal lines: W is the width; nearly
// vertical ones exchange rows and columns), for the drifts d = -R..R-1 rows across the width,
// R = ceil(0.18 W) (about 10 degrees):
//  1. Ink: each pixel weighs max(0, paper - value), paper being the median grey level.
//  2. Bands: B bands of W / (B - 1) pixels across (each pixel in the band holding its centre;
//     the last band is empty), every row of a band summed into one position of its lane and
//     scaled to 0..127: B lanes of H + R positions, the extra ones holding the lines that
//     enter through the top. A line of drift d takes lane x at position d * centre_x / W.
//  3. Coarse rows: the lanes pooled into B / 4 or so lanes of 4 rows a position, and the
//     dyadic fast Hough transform of the pooled lanes, forward (descending lines) and on the
//     lanes in reverse order (rising lines): every drift, about 4 rows apart, in
//     (B/4) (H/4) log2(B/4) additions. These rows fill the image away from the peak.
//  4. Straight rows: dyadic lines stray up to about a position from the straight line, and
//     coarse positions are 4 rows, so the rows around the coarse peak are computed along
//     straight lines at full resolution: lane x shifted by round(d * centre_x / W). The window
//     starts kExactRadius rows either side of the coarse peak and grows while its edge rows
//     still score above half its best (broad peaks of sparse pages).
//  5. Rows are written as 32-bit sums or scaled so that the largest sum is 255; coarse values
//     are spread over the 4 columns they pool and scaled to the full-resolution sums.
// Cost for an A4 page at 300 dpi (R = 447, B = 256, 3955 positions): one read of the page,
// 2 * 7 butterfly stages over 128 x 989 coarse positions, about 13 x 256 shifted lanes,
// 3.5 MB of output.
//
// Peak: every row is scored by the sum of squared differences of neighbouring values (or of
// squared values); the first highest row is refined by a least-squares parabola through the
// scores of the rows around it that stay above halfway between its score and the median.
#include "geometry/hough_transform.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "geometry/fast_hough.h"
#include "geometry/hough_rows.h"
#include "record/create.h"

namespace quilp {
namespace {

constexpr double kSlopeRange = 0.18;  // tan 10.2 degrees: the steepest drift covered
constexpr int kLaneTop = 127;         // a full band's value (fewer for more than 512 bands)
constexpr int kExactRadius = 6;       // straight rows on either side of the coarse peak at first
constexpr int kExactStep = 6;         // rows a side of the window grows by
constexpr int kExactSpan = 40;        // the farthest a straight row lies from the coarse peak

}  // namespace

// Counted in four histograms so that runs of one level do not wait on one counter.
int HoughPaperLevel(RowTable const& src) {
  bool const sparse = src.width >= 16 && src.height >= 128;
  int const rowStep = sparse ? 16 : 1, step = sparse ? 2 : 1;
  uint64_t part[4][256] = {};
  for (int y = rowStep / 2; y < src.height; y += rowStep) {
    uint8_t const* row = src.Row(y);
    int x = 0, i = 0;
    for (; x < src.width; x += step, i = (i + 1) & 3) ++part[i][row[x]];
  }
  uint64_t n = 0;
  for (int v = 0; v < 256; ++v) n += part[0][v] + part[1][v] + part[2][v] + part[3][v];
  uint64_t run = 0;
  for (int v = 0; v < 256; ++v) {
    run += part[0][v] + part[1][v] + part[2][v] + part[3][v];
    if (2 * run >= n) return v;
  }
  return 255;
}

namespace {

int64_t FloorDiv(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

// A peak of row scores: the first highest row and the rows around it whose score stays above
// halfway between the highest and the median score, at least minHalf rows on either side.
struct PeakSpan {
  int best = 0, first = 0, last = 0;
};

PeakSpan FindPeakSpan(std::vector<double> const& score, int minHalf) {
  int const n = int(score.size());
  PeakSpan span;
  for (int y = 1; y < n; ++y)
    if (score[std::size_t(y)] > score[std::size_t(span.best)]) span.best = y;
  std::vector<double> sorted(score);
  std::nth_element(sorted.begin(), sorted.begin() + std::ptrdiff_t(sorted.size() / 2), sorted.end());
  double const level = 0.5 * (score[std::size_t(span.best)] + sorted[sorted.size() / 2]);
  span.first = span.last = span.best;
  while (span.first > 0 &&
         (span.best - span.first < minHalf || score[std::size_t(span.first - 1)] > level))
    --span.first;
  while (span.last + 1 < n &&
         (span.last - span.best < minHalf || score[std::size_t(span.last + 1)] > level))
    ++span.last;
  return span;
}

// The area's ink dealt to the bands: lane x position y holds (ink sum * scale_x) >> 16,
// scale_x = 65536 * top / (255 * pixels of band x), so a full band reads `top`.
struct Bands {
  int top = 0;
  std::unique_ptr<uint16_t[]> ink;  // lane x at [x * positions, (x + 1) * positions)
  std::vector<int64_t> centre2;     // twice the centre of band x in pixels across; -1: empty
};

void LoadBands(RowTable const& src, bool horizontal, HoughGeometry const& g, int paper,
               HoughRowKernels const& k, Bands& b) {
  std::size_t const p = std::size_t(g.positions), lanes = std::size_t(g.bands);
  // Pixels go to bands in groups of `unit` (4 when the pitch allows: the vector kernels sum
  // groups of four at once): group j, centred at unit * (2j + 1) / 2, goes to band
  // unit (2j + 1)(B - 1) / 2W, and band x takes pixels first[x] .. first[x + 1] - 1 (at most
  // 16: the pitch is at most 11.1).
  int const unit = g.across >= 4 * (g.bands - 1) ? 4 : 1;
  std::vector<int> first(lanes + 1, g.across);
  for (int j = (g.across + unit - 1) / unit - 1; j >= 0; --j)
    first[std::size_t(int64_t(unit) * (2 * j + 1) * (g.bands - 1) / (2 * int64_t(g.across)))] = j * unit;
  for (std::size_t x = lanes; x-- > 0;) first[x] = std::min(first[x], first[x + 1]);
  b.top = std::min(kLaneTop, 65535 / g.bands);
  b.centre2.assign(lanes, -1);
  std::vector<uint16_t> scale(lanes, 0);
  for (std::size_t x = 0; x < lanes; ++x) {
    int const n = first[x + 1] - first[x];
    if (n == 0) continue;
    b.centre2[x] = first[x] + first[x + 1];
    scale[x] = static_cast<uint16_t>(65536 * b.top / (255 * n));
  }
  b.ink.reset(new uint16_t[lanes * p]);  // every position is written below

  if (!horizontal) {  // bands of rows, positions along the columns
    std::fill(b.ink.get(), b.ink.get() + lanes * p, 0);
    for (std::size_t x = 0; x < lanes; ++x) {
      uint16_t* lane = &b.ink[x * p];
      for (int y = first[x]; y < first[x + 1]; ++y) k.addInk(src.Row(y), g.along, paper, lane);
      for (int c = 0; c < g.along; ++c)
        lane[c] = static_cast<uint16_t>((uint32_t(lane[c]) * scale[x]) >> 16);
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
    for (std::size_t x = 0; x < lanes; ++x)
      out[x] = inside ? &b.ink[x * p + std::size_t(y0)] : &spare[x * 16];
    k.bandRows16(rows, paper, first.data(), scale.data(), g.bands, out.data());
    if (!inside)
      for (std::size_t x = 0; x < lanes; ++x)
        std::memcpy(&b.ink[x * p + std::size_t(y0)], &spare[x * 16], std::size_t(n) * 2);
  }
  for (std::size_t x = 0; x < lanes; ++x)  // the positions of lines entering through the top
    std::memset(&b.ink[x * p + std::size_t(g.along)], 0, (p - std::size_t(g.along)) * 2);
}

// The coarse transform: lanePool bands and pool positions to a cell, each cell the rounded
// mean of its values (so every line sum fits 16 bits).
struct Coarse {
  int lanePool = 1, positions = 0;
  FhtLanes<uint16_t> down, up;
};

// The drift in rows of coarse slope t: pool rows a position, and the coarse lanes' centres lie
// B - lanePool bands apart where the bands span B - 1.
double CoarseDrift(HoughGeometry const& g, Coarse const& c, double t) {
  return t * g.pool * (g.bands - 1) / (g.bands - c.lanePool);
}

bool MakeCoarse(Bands const& b, HoughGeometry const& g, HoughRowKernels const& k, Coarse& c) {
  c.lanePool = g.bands / g.coarseLanes;
  c.positions = (g.positions + g.pool - 1) / g.pool;
  int logLanes = 0;
  while ((1 << logLanes) < g.coarseLanes) ++logLanes;
  if (!c.down.Allocate(logLanes, c.positions) || !c.up.Allocate(logLanes, c.positions))
    return false;
  std::size_t const p = std::size_t(g.positions);
  int const cells = c.lanePool * g.pool;  // a power of two: the mean is a shift
  int shift = 0;
  while ((1 << shift) < cells) ++shift;
  std::vector<uint16_t> sum(p + std::size_t(g.pool), 0);
  for (int j = 0; j < g.coarseLanes; ++j) {
    std::fill(sum.begin(), sum.end(), 0);
    for (int i = 0; i < c.lanePool; ++i)
      k.accumulate(&b.ink[std::size_t(j * c.lanePool + i) * p], sum.data(), g.positions);
    uint16_t* lane = c.down.Lane(j);
    for (int q = 0; q < c.positions; ++q) {
      int s = 0;
      for (int i = 0; i < g.pool; ++i) s += sum[std::size_t(q * g.pool + i)];
      lane[q] = static_cast<uint16_t>((s + cells / 2) >> shift);
    }
    std::memcpy(c.up.Lane(g.coarseLanes - 1 - j), lane, std::size_t(c.positions) * 2);
  }
  return true;
}

// Straight rows for the drifts first..first+count-1 (rows across the width): out[c] is the sum
// over the lanes x of lane x at position c + round(drift * centre_x / across), cyclically.
// The positions go in tiles small enough for every drift's part of the output to stay in the
// level-1 cache while the lanes stream past.
constexpr int kStraightTile = 1024;

void StraightRows(Bands const& b, HoughGeometry const& g, HoughRowKernels const& k, int first,
                  int count, std::vector<uint16_t>& out) {
  std::size_t const p = std::size_t(g.positions);
  out.assign(std::size_t(count) * p, 0);
  int const tile = std::max(64, kStraightTile * 8 / std::max(count, 8));
  std::vector<int> offset(static_cast<std::size_t>(count));
  for (int x = 0; x < g.bands; ++x) {
    int64_t const c2 = b.centre2[std::size_t(x)];
    if (c2 < 0) continue;
    for (int i = 0; i < count; ++i) {
      int64_t const off = FloorDiv((first + i) * c2 + g.across, 2 * int64_t(g.across));
      offset[std::size_t(i)] = int(((off % g.positions) + g.positions) % g.positions);
    }
    uint16_t const* lane = &b.ink[std::size_t(x) * p];
    for (int c0 = 0; c0 < g.positions; c0 += tile) {
      int const c1 = std::min(g.positions, c0 + tile);
      for (int i = 0; i < count; ++i) {
        // out[c] += lane[(c + o) mod P] for c in c0..c1-1: up to the wrap, then after it.
        int const o = offset[std::size_t(i)];
        uint16_t* acc = &out[std::size_t(i) * p];
        int const wrap = std::max(c0, std::min(c1, g.positions - o));
        if (wrap > c0) k.accumulate(lane + c0 + o, acc + c0, wrap - c0);
        if (c1 > wrap) k.accumulate(lane + wrap + o - g.positions, acc + wrap, c1 - wrap);
      }
    }
  }
}

// The straight rows of a growing range of drifts lo..hi, with their scores and largest values.
class StraightWindow {
 public:
  StraightWindow(Bands const& b, HoughGeometry const& g, HoughRowKernels const& k)
      : b_(b), g_(g), k_(k) {}
  // Adds the drifts from..to, which extend the range on one side (or start it).
  void Grow(int from, int to) {
    if (to < from) return;
    std::vector<uint16_t> rows;
    StraightRows(b_, g_, k_, from, to - from + 1, rows);
    std::size_t const p = std::size_t(g_.positions);
    std::vector<double> scores;
    std::vector<int> tops;
    for (int i = 0; i <= to - from; ++i) {
      int top = 0;
      scores.push_back(double(k_.rowScore(&rows[std::size_t(i) * p], g_.positions, top)));
      tops.push_back(top);
    }
    bool const after = !rows_.empty() && from > hi;
    if (rows_.empty()) lo = hi = from;
    auto at = [after](auto& v) { return after ? v.end() : v.begin(); };
    rows_.insert(at(rows_), rows.begin(), rows.end());
    scores_.insert(at(scores_), scores.begin(), scores.end());
    tops_.insert(at(tops_), tops.begin(), tops.end());
    lo = std::min(lo, from);
    hi = std::max(hi, to);
  }
  uint16_t const* Row(int drift) const {
    return &rows_[std::size_t(drift - lo) * std::size_t(g_.positions)];
  }
  double ScoreOf(int drift) const { return scores_[std::size_t(drift - lo)]; }
  int TopOf(int drift) const { return tops_[std::size_t(drift - lo)]; }
  double BestScore() const { return *std::max_element(scores_.begin(), scores_.end()); }

  int lo = 0, hi = -1;

 private:
  Bands const& b_;
  HoughGeometry const& g_;
  HoughRowKernels const& k_;
  std::vector<uint16_t> rows_;
  std::vector<double> scores_;
  std::vector<int> tops_;
};

// One row of the transform: full-resolution sums, or coarse sums rotated right by `shift`
// coarse positions, each spread over the pool columns it covers and scaled by lanePool more
// (a coarse value is the mean of lanePool bands and pool rows).
struct RowSource {
  uint16_t const* sums = nullptr;
  bool coarse = false;
  int shift = 0;
};

void EmitRow(RowSource const& s, HoughGeometry const& g, Coarse const& c, int depth, float scale,
             HoughRowKernels const& k, std::vector<uint16_t>& spare, uint8_t* line) {
  if (!s.coarse) {
    if (depth == 32) k.widen(s.sums, reinterpret_cast<int32_t*>(line), g.positions);
    else k.toBytes(s.sums, line, g.positions, scale);
    return;
  }
  std::size_t const pc = std::size_t(c.positions);
  spare.resize(2 * pc);
  uint16_t* rotated = &spare[0];
  std::memcpy(rotated + s.shift, s.sums, (pc - std::size_t(s.shift)) * 2);
  std::memcpy(rotated, s.sums + (pc - std::size_t(s.shift)), std::size_t(s.shift) * 2);
  if (depth == 32) {
    int32_t* out = reinterpret_cast<int32_t*>(line);
    for (int i = 0; i < g.positions; ++i) out[i] = int32_t(rotated[i / g.pool]) * c.lanePool;
    return;
  }
  uint8_t* bytes = reinterpret_cast<uint8_t*>(&spare[pc]);
  k.toBytes(rotated, bytes, c.positions, scale * float(c.lanePool));
  k.spread(bytes, line, g.positions, g.pool);
}

DibInfo* Transform(RowTable const& src, bool horizontal, int depth) {
  HoughGeometry const g = horizontal ? HoughGeometryFor(src.width, src.height)
                                     : HoughGeometryFor(src.height, src.width);
  HoughRowKernels const& rk = HoughRowKernelsActive();
  Bands bands;
  LoadBands(src, horizontal, g, HoughPaperLevel(src), rk, bands);

  // The coarse transform in both directions: forward (descending lines) and on the lanes in
  // reverse order (rising lines, which start at the right edge, hence the rotation below).
  Coarse coarse;
  if (!MakeCoarse(bands, g, rk, coarse)) return nullptr;
  FhtStages<uint16_t> const& fk = FhtKernelsActive().narrow;
  coarse.down.Run(fk);
  coarse.up.Run(fk);
  int const lanes = g.coarseLanes, slopes = 2 * lanes - 1;  // slope t at index t + lanes - 1
  auto coarseRow = [&](int t) { return t >= 0 ? coarse.down.Lane(t) : coarse.up.Lane(-t); };
  std::vector<double> score(static_cast<std::size_t>(slopes), 0.0);
  std::vector<int> coarseTop(static_cast<std::size_t>(slopes), 0);
  int best = 0;
  for (int i = 0; i < slopes; ++i) {
    score[std::size_t(i)] = double(rk.rowScore(coarseRow(i - (lanes - 1)), coarse.positions,
                                               coarseTop[std::size_t(i)]));
    if (score[std::size_t(i)] > score[std::size_t(best)]) best = i;
  }

  // The coarse peak, refined between slopes by a parabola through its neighbours' scores,
  // centres the window of straight rows, which grows while its edge rows score above half
  // its best row.
  double offset = 0.0;
  if (best > 0 && best + 1 < slopes) {
    double const l = score[std::size_t(best - 1)], m = score[std::size_t(best)],
                 r = score[std::size_t(best + 1)];
    if (l - 2 * m + r < 0) offset = std::max(-0.5, std::min(0.5, 0.5 * (l - r) / (l - 2 * m + r)));
  }
  int const minDrift = -g.reach, maxDrift = g.reach - 1;
  int const centre = std::max(minDrift, std::min(maxDrift, int(std::lround(
                         CoarseDrift(g, coarse, best + offset - (lanes - 1))))));
  int const lowest = std::max(minDrift, centre - kExactSpan);
  int const highest = std::min(maxDrift, centre + kExactSpan);
  StraightWindow window(bands, g, rk);
  window.Grow(std::max(lowest, centre - kExactRadius), std::min(highest, centre + kExactRadius));
  for (bool grown = true; grown;) {
    grown = false;
    double const half = 0.5 * window.BestScore();
    if (window.ScoreOf(window.lo) > half && window.lo > lowest) {
      window.Grow(std::max(lowest, window.lo - kExactStep), window.lo - 1);
      grown = true;
    }
    if (window.ScoreOf(window.hi) > half && window.hi < highest) {
      window.Grow(window.hi + 1, std::min(highest, window.hi + kExactStep));
      grown = true;
    }
  }

  // Row r holds the drift r - R: straight in the window, the nearest coarse slope elsewhere.
  int const rows = 2 * g.reach;
  std::vector<RowSource> source(static_cast<std::size_t>(rows));
  int top = 0;
  for (int r = 0; r < rows; ++r) {
    int const d = r - g.reach;
    if (d >= window.lo && d <= window.hi) {
      source[std::size_t(r)] = {window.Row(d), false, 0};
      top = std::max(top, window.TopOf(d));
      continue;
    }
    int const t = std::max(1 - lanes, std::min(lanes - 1, int(std::lround(
        d * double(g.bands - coarse.lanePool) / (double(g.pool) * (g.bands - 1))))));
    source[std::size_t(r)] = {coarseRow(t), true, t >= 0 ? 0 : -t % coarse.positions};
    top = std::max(top, coarseTop[std::size_t(t + lanes - 1)] * coarse.lanePool);
  }
  float const scale = top > 0 ? 255.0f / float(top) : 0.0f;
  DibHolder out(DibCreateForOverwrite(g.positions, -rows, 0, 0, depth));
  if (!out) return nullptr;
  std::vector<uint16_t> spare;
  for (int r = 0; r < rows; ++r)
    EmitRow(source[std::size_t(r)], g, coarse, depth, scale, rk, spare, out.get()->GetLine(r));
  return out.release();
}

}  // namespace

HoughGeometry HoughGeometryFor(int across, int along) {
  HoughGeometry g;
  g.across = across;
  g.along = along;
  g.reach = std::max(1, static_cast<int>(std::ceil(across * kSlopeRange)));
  g.positions = along + g.reach;
  g.pool = g.reach >= 32 ? 4 : g.reach >= 8 ? 2 : 1;
  g.coarseLanes = 2;
  while ((g.coarseLanes - 1) * g.pool < g.reach) g.coarseLanes *= 2;
  g.bands = g.coarseLanes;
  while (2 * g.bands < g.reach) g.bands *= 2;
  return g;
}

DibInfo* HoughTransformImage(RowTable const& src, int mode, int depth) {
  try {
    return Transform(src, mode == kHoughModeHorizontal, depth);
  } catch (std::bad_alloc const&) {
    return nullptr;
  }
}

bool HoughPeak(DibInfo const* transform, int window, int measure, int& position, int& value) {
  int const h = transform->Height(), w = transform->Width();
  if (h < 1 || w < 1) return false;
  HoughRowKernels const& k = HoughRowKernelsActive();
  bool const wide = transform->BitsPerPixel() == 32;
  std::vector<double> score(static_cast<std::size_t>(h), 0.0);
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
  PeakSpan const span = FindPeakSpan(score, window / 2);
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
