// distance_transform.cpp - exact distance maps of 1-bit pages (see distance_transform.h).
#include "morph/distance_transform.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <new>

namespace quilp {

uint32_t RoundedRoot(uint64_t squared) {
  uint64_t r = uint64_t(std::sqrt(double(squared)));
  while (r * r > squared) --r;
  while ((r + 1) * (r + 1) <= squared) ++r;
  return uint32_t(squared > r * r + r ? r + 1 : r);  // (r + 1/2)^2 = r^2 + r + 1/4
}

namespace {

constexpr uint32_t kFar = 0x3FFFFFFF;  // working "no feature" in a column or chamfer scan

// Bit x of a row is measured.
inline bool Measured(uint64_t const* row, int x, bool measureInk) {
  return ((row[x >> 6] >> (63 - (x & 63))) & 1) == uint64_t(measureInk);
}

// Column distances: g = rows to the nearest feature (unmeasured pixel) in the same column,
// the rows beyond the area counting as features when measuring ink.
void ColumnDistances(std::vector<uint32_t>& g, InkBits const& ink, bool measureInk) {
  int const w = ink.Width(), h = ink.Height();
  uint32_t const beyond = measureInk ? 1 : kFar;
  for (int y = 0; y < h; ++y) {
    uint32_t* row = g.data() + std::size_t(y) * std::size_t(w);
    uint32_t const* above = y ? row - w : nullptr;
    uint64_t const* bits = ink.Row(y);
    for (int x = 0; x < w; ++x) {
      if (!Measured(bits, x, measureInk)) row[x] = 0;
      else row[x] = above ? std::min(above[x] + 1, kFar) : beyond;
    }
  }
  for (int y = h - 1; y >= 0; --y) {
    uint32_t* row = g.data() + std::size_t(y) * std::size_t(w);
    uint32_t const* below = y + 1 < h ? row + w : nullptr;
    for (int x = 0; x < w; ++x) {
      uint32_t const via = below ? below[x] + 1 : beyond;
      if (via < row[x]) row[x] = via;
    }
  }
}

// Squared Euclidean distances along one row from the column distances g (in place). The
// columns beyond the area are features of distance 0 when measuring ink.
void RowEnvelope(uint32_t* g, int w, bool measureInk, std::vector<int64_t>& f,
                 std::vector<int>& v, std::vector<double>& z) {
  // Parabola sites: q = -1 and w for the surroundings, the columns with a feature in reach.
  int k = -1;
  auto push = [&](int q, int64_t fq) {
    while (k >= 0) {
      int const p = v[std::size_t(k)];
      double const s = double((fq + int64_t(q) * q) - (f[std::size_t(k)] + int64_t(p) * p)) /
                       double(2 * (int64_t(q) - p));
      if (k > 0 && s <= z[std::size_t(k)]) {
        --k;
        continue;
      }
      ++k;
      v[std::size_t(k)] = q;
      f[std::size_t(k)] = fq;
      z[std::size_t(k)] = s;
      return;
    }
    k = 0;
    v[0] = q;
    f[0] = fq;
  };
  if (measureInk) push(-1, 0);
  for (int q = 0; q < w; ++q)
    if (g[q] < kFar) push(q, int64_t(g[q]) * g[q]);
  if (measureInk) push(w, 0);
  if (k < 0) {
    for (int x = 0; x < w; ++x) g[x] = kDistanceFar;
    return;
  }
  int j = 0;
  for (int x = 0; x < w; ++x) {
    while (j < k && z[std::size_t(j) + 1] < double(x)) ++j;
    int64_t const dx = int64_t(x) - v[std::size_t(j)];
    int64_t const d = dx * dx + f[std::size_t(j)];
    g[x] = d >= int64_t(kDistanceFar) ? kDistanceFar - 1 : uint32_t(d);
  }
}

// Two raster scans of the 4- (city) or 8-neighbour (chess) chamfer of unit steps.
void Chamfer(std::vector<uint32_t>& d, InkBits const& ink, bool measureInk, bool diagonal) {
  int const w = ink.Width(), h = ink.Height();
  uint32_t const beyond = measureInk ? 0 : kFar;  // a neighbour outside the area
  auto at = [&](int x, int y) {
    return x < 0 || y < 0 || x >= w || y >= h ? beyond : d[std::size_t(y) * std::size_t(w) + std::size_t(x)];
  };
  for (int y = 0; y < h; ++y) {
    uint64_t const* bits = ink.Row(y);
    for (int x = 0; x < w; ++x) {
      uint32_t& c = d[std::size_t(y) * std::size_t(w) + std::size_t(x)];
      if (!Measured(bits, x, measureInk)) { c = 0; continue; }
      uint32_t m = std::min(at(x - 1, y), at(x, y - 1));
      if (diagonal) m = std::min({m, at(x - 1, y - 1), at(x + 1, y - 1)});
      c = std::min(m + 1, kFar);
    }
  }
  for (int y = h - 1; y >= 0; --y)
    for (int x = w - 1; x >= 0; --x) {
      uint32_t& c = d[std::size_t(y) * std::size_t(w) + std::size_t(x)];
      if (c == 0) continue;
      uint32_t m = std::min(at(x + 1, y), at(x, y + 1));
      if (diagonal) m = std::min({m, at(x + 1, y + 1), at(x - 1, y + 1)});
      if (m + 1 < c) c = m + 1;
    }
  for (uint32_t& c : d)
    if (c >= kFar) c = kDistanceFar;
}

}  // namespace

bool DistanceMap(std::vector<uint32_t>& out, InkBits const& ink, bool measureInk,
                 DistanceMetric metric) {
  try {
    int const w = ink.Width(), h = ink.Height();
    if (uint64_t(w) * uint64_t(h) > SIZE_MAX / sizeof(uint32_t) / 2) return false;  // 32-bit builds
    out.assign(std::size_t(w) * std::size_t(h), 0);
    if (metric != DistanceMetric::kEuclid) {
      Chamfer(out, ink, measureInk, metric == DistanceMetric::kChess);
      return true;
    }
    ColumnDistances(out, ink, measureInk);
    std::vector<int64_t> f(std::size_t(w) + 2);
    std::vector<int> v(std::size_t(w) + 2);
    std::vector<double> z(std::size_t(w) + 3);
    for (int y = 0; y < h; ++y)
      RowEnvelope(out.data() + std::size_t(y) * std::size_t(w), w, measureInk, f, v, z);
    return true;
  } catch (std::exception const&) {  // no memory, or more than a vector holds
    out.clear();
    return false;
  }
}

}  // namespace quilp
