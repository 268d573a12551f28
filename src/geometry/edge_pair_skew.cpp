// edge_pair_skew.cpp - skew from pairs of upper-edge points, voted into a slope histogram.
//
//  1. The paper level L: walking down from 255 through the histogram of the interior (5 pixels
//     in from every edge), the first level at which the count reaches half the whole area.
//  2. Upper-edge points: interior pixels whose horizontal median of three is dark,
//     (m * 256) / L < 230, under a row whose median of three is light, (m' * 256) / L > 230.
//     Each is recorded as (x / 20, x, y) in an array that doubles when full.
//  3. The records sorted by band, then row: they are found row by row, so a stable counting
//     sort by band gives that order (records of one band and row vote alike in any order).
//  4. Every point votes with every point of the band two to its right lying at most 10 rows
//     above or below: slope = (dy * 1024) / dx, truncated, kept when |slope| < 400.
//  5. The peak: the last of the equal maxima (scanning upward), a runner-up, and a rule that
//     prefers a broad runner-up to an isolated spike; the tangent is the last slope whose count
//     equals the chosen one and exceeds 5% of the maximum.
// Cost: one pass over the area with two medians per pixel; pairs only between neighbouring
// bands within 21 rows.
#include "geometry/edge_pair_skew.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>
#include <vector>

#include "geometry/edge_rows.h"

namespace quilp {
namespace {

constexpr int kMargin = 5;          // pixels left out at every edge
constexpr int kBand = 20;           // columns per band
constexpr int kRowReach = 10;       // partners lie within this many rows
constexpr int kSlopeLimit = kEdgePairSlopes;  // slopes kept: |slope| < 400 (1/1024)
constexpr unsigned kEdgeLevel = 230;  // dark below, light above, in 1/256 of the paper level

struct EdgePoint {
  int32_t band, x, y;
};

// The growable array of records: room for 1 at first, doubled when full.
class EdgePoints {
 public:
  ~EdgePoints() { std::free(data_); }
  bool Append(EdgePoint const& p) {
    if (size_ == capacity_) {
      std::size_t const room = capacity_ ? capacity_ * 2 : 1;
      void* grown = std::realloc(data_, room * sizeof(EdgePoint));
      if (!grown) return false;
      data_ = static_cast<EdgePoint*>(grown);
      capacity_ = room;
    }
    data_[size_++] = p;
    return true;
  }
  EdgePoint* data() { return data_; }
  std::size_t size() const { return size_; }

 private:
  EdgePoint* data_ = nullptr;
  std::size_t size_ = 0, capacity_ = 0;
};

}  // namespace

int EdgePairPaperLevel(DibView const& img) {
  // Four histograms side by side, so that runs of one level do not wait on one counter.
  uint32_t part[4][256] = {};
  for (int y = kMargin; y < img.height - kMargin; ++y) {
    uint8_t const* row = img.Row(y);
    int x = kMargin;
    for (; x + 4 <= img.width - kMargin; x += 4) {
      ++part[0][row[x]];
      ++part[1][row[x + 1]];
      ++part[2][row[x + 2]];
      ++part[3][row[x + 3]];
    }
    for (; x < img.width - kMargin; ++x) ++part[0][row[x]];
  }
  uint64_t const half = uint64_t(img.width) * uint64_t(img.height) / 2;
  uint64_t run = 0;
  for (int v = 255; v >= 0; --v) {
    run += uint64_t(part[0][v]) + part[1][v] + part[2][v] + part[3][v];
    if (run >= half) return v;
  }
  return 0;
}

namespace {

// Both tests are monotone in the level: dark below darkBelow, light from lightFrom on.
bool FindEdges(DibView const& img, int paper, EdgePoints& points) {
  int darkBelow = 0, lightFrom = 256;
  for (unsigned v = 0; v < 256; ++v) {
    if (v * 256 / unsigned(paper) < kEdgeLevel) darkBelow = int(v) + 1;
    if (v * 256 / unsigned(paper) > kEdgeLevel && lightFrom == 256) lightFrom = int(v);
  }
  if (lightFrom == 256 || darkBelow == 0) return true;
  EdgeKernels const& k = EdgeKernelsActive();
  std::vector<int32_t> xs(std::size_t(img.width));
  for (int y = kMargin; y < img.height - kMargin; ++y) {
    int const n = k.upperEdges(img.Row(y), img.Row(y - 1), kMargin, img.width - kMargin,
                               darkBelow, lightFrom, xs.data());
    for (int i = 0; i < n; ++i)
      if (!points.Append({xs[std::size_t(i)] / kBand, xs[std::size_t(i)], y})) return false;
  }
  return true;
}

// Stable counting sort of the records (in row order) by band; false when memory runs out.
bool SortByBand(EdgePoints& points, int bands, std::vector<EdgePoint>& out) {
  try {
    std::vector<std::size_t> start(std::size_t(bands) + 1, 0);
    for (std::size_t i = 0; i < points.size(); ++i) ++start[std::size_t(points.data()[i].band) + 1];
    for (std::size_t b = 1; b < start.size(); ++b) start[b] += start[b - 1];
    out.resize(points.size());
    for (std::size_t i = 0; i < points.size(); ++i)
      out[start[std::size_t(points.data()[i].band)]++] = points.data()[i];
  } catch (std::bad_alloc const&) {
    return false;
  }
  return true;
}

// Votes of the pairs two bands apart into counts[slope + kSlopeLimit].
void Vote(EdgePoint const* p, std::size_t n, int bands, int* counts) {
  std::size_t i = 0, partner = 0;
  while (i < n) {
    int const band = p[i].band;
    if (band + 2 >= bands) break;
    std::size_t end = i;
    while (end < n && p[end].band == band) ++end;
    if (partner < end) partner = end;
    while (partner < n && p[partner].band < band + 2) ++partner;
    for (; i < end; ++i) {
      while (partner < n && p[partner].band == band + 2 && p[i].y - p[partner].y > kRowReach)
        ++partner;
      for (std::size_t q = partner; q < n && p[q].band == band + 2 && p[q].y - p[i].y <= kRowReach;
           ++q) {
        int const slope = (p[q].y - p[i].y) * 1024 / (p[q].x - p[i].x);
        if (slope > -kSlopeLimit && slope < kSlopeLimit) ++counts[slope + kSlopeLimit];
      }
    }
  }
}

// True when every count within 3 slopes on either side (inside the range) is at most 0.2
// times the count at `slope`.
bool Isolated(int const* counts, int slope) {
  double const limit = 0.2 * counts[slope + kSlopeLimit];
  for (int d = 1; d <= 3; ++d)
    for (int const s : {slope - d, slope + d})
      if (s >= -kSlopeLimit && s < kSlopeLimit && counts[s + kSlopeLimit] > limit) return false;
  return true;
}

}  // namespace

int EdgePairSlope(int const* counts) {
  int maxCount = 0, runnerCount = 0;
  bool maxIsolated = false, runnerIsolated = false;
  for (int s = -kSlopeLimit; s < kSlopeLimit; ++s) {
    int const c = counts[s + kSlopeLimit];
    if (c >= maxCount) {
      maxCount = c;
      maxIsolated = Isolated(counts, s);
    } else if (c >= runnerCount) {
      runnerCount = c;
      runnerIsolated = Isolated(counts, s);
    }
  }
  if (maxCount == 0) return 0;
  int target = maxCount;
  if (maxIsolated && !runnerIsolated && runnerCount >= 0.05 * maxCount) target = runnerCount;
  int tangent = 0;
  for (int s = -kSlopeLimit; s < kSlopeLimit; ++s) {
    int const c = counts[s + kSlopeLimit];
    if (double(c) / maxCount > 0.05 && c == target) tangent = s;
  }
  return tangent;
}

bool DibEdgePairSkew(DibView const& img, int& tangent) {
  tangent = 0;
  int const paper = EdgePairPaperLevel(img);
  if (paper == 0) return true;  // nothing lighter than black: no edges to measure
  EdgePoints points;
  if (!FindEdges(img, paper, points)) return false;
  std::vector<EdgePoint> sorted;
  if (!SortByBand(points, img.width / kBand + 1, sorted)) return false;
  int counts[2 * kSlopeLimit + 1] = {};
  Vote(sorted.data(), sorted.size(), img.width / kBand, counts);
  tangent = EdgePairSlope(counts);
  return true;
}

}  // namespace quilp
