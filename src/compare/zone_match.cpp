// zone_match.cpp - normalised cross-correlation, coarse to fine.
//
// score(u, v) = (n S_ti - S_t S_i) / sqrt((n S_tt - S_t^2)(n S_ii - S_i^2)) over the n zone
// pixels t and the window pixels i under them. S_t and S_tt are fixed; S_i and S_ii come from
// integral images of the window in O(1); S_ti is a dot product of bytes (exact in 64-bit
// integers), the one cost that grows with the zone. Where only a few placements are scored
// (the climbs) the window sums are taken directly instead.
// 1. Pyramid: zone and window are halved (2 x 2 rounded means) while both sides of the
//    zone's half stay at least kMatchCoarseSide, so a 256 x 256 zone is searched at a
//    sixteenth of its size: 256 times fewer placements, 256 times shorter dot products.
// 2. The coarsest level is searched at every placement; its kCandidates best local maxima
//    each follow down the levels: from twice its position a candidate climbs to the best of
//    its 3 x 3 neighbourhood until it stands on a peak.
// 3. At full size the best candidate's neighbours give a parabola in x and in y whose vertex,
//    at most half a placement away, is the fractional position.
// Cost for a zone of n pixels in a window of m placements: about n m / 16^L at the coarsest
// level L, plus about a hundred n for the climbs down the levels.
#include "compare/zone_match.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <vector>

namespace quilp {
namespace {

constexpr int kCandidates = 8;
constexpr int kClimbSteps = 16;

struct Level {
  std::vector<uint8_t> pixels;
  int width = 0, height = 0;
  GreyZone Area() const { return GreyZone{pixels.data(), width, height}; }
};

Level Copy(GreyZone const& a) {
  Level l;
  l.width = a.width;
  l.height = a.height;
  l.pixels.assign(a.pixels, a.pixels + std::size_t(a.width) * a.height);
  return l;
}

Level Halve(Level const& a) {
  Level h;
  h.width = a.width / 2;
  h.height = a.height / 2;
  h.pixels.resize(std::size_t(h.width) * h.height);
  for (int y = 0; y < h.height; ++y) {
    uint8_t const* r0 = &a.pixels[std::size_t(2 * y) * a.width];
    uint8_t const* r1 = r0 + a.width;
    uint8_t* d = &h.pixels[std::size_t(y) * h.width];
    for (int x = 0; x < h.width; ++x)
      d[x] = static_cast<uint8_t>((r0[2 * x] + r0[2 * x + 1] + r1[2 * x] + r1[2 * x + 1] + 2) / 4);
  }
  return h;
}

// Sum of products of two byte rows; 32-bit partial sums over chunks that cannot overflow.
uint64_t Dot(uint8_t const* a, uint8_t const* b, int n) {
  uint64_t total = 0;
  for (int start = 0; start < n; start += 32768) {
    int const end = std::min(n, start + 32768);
    uint32_t s = 0;
    for (int i = start; i < end; ++i) s += uint32_t(a[i]) * b[i];
    total += s;
  }
  return total;
}

uint64_t Sum(uint8_t const* a, int n) {
  uint64_t total = 0;
  for (int i = 0; i < n; ++i) total += a[i];
  return total;
}

// Integral images of a window: sums and sums of squares over [0, x) x [0, y).
struct Integral {
  std::vector<int64_t> sum, squares;
  int stride = 0;
  explicit Integral(GreyZone const& w) : stride(w.width + 1) {
    sum.assign(std::size_t(stride) * (w.height + 1), 0);
    squares.assign(sum.size(), 0);
    for (int y = 0; y < w.height; ++y) {
      int64_t rs = 0, rq = 0;
      uint8_t const* row = w.pixels + std::size_t(y) * w.width;
      for (int x = 0; x < w.width; ++x) {
        rs += row[x];
        rq += row[x] * row[x];
        std::size_t const k = std::size_t(y + 1) * stride + x + 1;
        sum[k] = sum[k - stride] + rs;
        squares[k] = squares[k - stride] + rq;
      }
    }
  }
  int64_t Box(std::vector<int64_t> const& t, int x, int y, int w, int h) const {
    std::size_t const a = std::size_t(y) * stride + x, b = std::size_t(y + h) * stride + x;
    return t[b + w] - t[b] - t[a + w] + t[a];
  }
};

// The zone's fixed sums and the score at a placement.
struct Scorer {
  GreyZone zone, window;
  Integral const* integral;
  double n, st, zoneVariance;  // n S_tt - S_t^2

  double At(int u, int v) const {
    uint64_t sti = 0, sumI = 0, sumII = 0;
    for (int y = 0; y < zone.height; ++y) {
      uint8_t const* w = window.pixels + std::size_t(v + y) * window.width + u;
      sti += Dot(zone.pixels + std::size_t(y) * zone.width, w, zone.width);
      if (!integral) {
        sumI += Sum(w, zone.width);
        sumII += Dot(w, w, zone.width);
      }
    }
    double const si = integral ? double(integral->Box(integral->sum, u, v, zone.width, zone.height))
                               : double(sumI);
    double const sii = integral ? double(integral->Box(integral->squares, u, v, zone.width, zone.height))
                                : double(sumII);
    double const windowVariance = n * sii - si * si;
    if (!(windowVariance > 0.0)) return 0.0;
    return (n * double(sti) - st * si) / std::sqrt(zoneVariance * windowVariance);
  }
};

bool MakeScorer(GreyZone const& zone, GreyZone const& window, Integral const* integral,
                Scorer& s) {
  uint64_t st = 0, stt = 0;
  for (std::size_t i = 0; i < std::size_t(zone.width) * zone.height; ++i) {
    st += zone.pixels[i];
    stt += uint64_t(zone.pixels[i]) * zone.pixels[i];
  }
  s.zone = zone;
  s.window = window;
  s.integral = integral;
  s.n = double(zone.width) * zone.height;
  s.st = double(st);
  s.zoneVariance = s.n * double(stt) - s.st * s.st;
  return s.zoneVariance > 0.0;
}

struct Candidate {
  int u, v;
  double score;
};

// The best local maxima of the score over every placement.
std::vector<Candidate> SearchAll(Scorer const& s) {
  int const pw = s.window.width - s.zone.width + 1, ph = s.window.height - s.zone.height + 1;
  std::vector<double> map(std::size_t(pw) * ph);
  for (int v = 0; v < ph; ++v)
    for (int u = 0; u < pw; ++u) map[std::size_t(v) * pw + u] = s.At(u, v);
  std::vector<Candidate> peaks;
  for (int v = 0; v < ph; ++v)
    for (int u = 0; u < pw; ++u) {
      double const c = map[std::size_t(v) * pw + u];
      bool peak = true;
      for (int dv = -1; dv <= 1 && peak; ++dv)
        for (int du = -1; du <= 1 && peak; ++du) {
          int const uu = u + du, vv = v + dv;
          if ((du == 0 && dv == 0) || uu < 0 || uu >= pw || vv < 0 || vv >= ph) continue;
          double const o = map[std::size_t(vv) * pw + uu];
          if (o > c || (o == c && (vv < v || (vv == v && uu < u)))) peak = false;
        }
      if (peak) peaks.push_back({u, v, c});
    }
  std::size_t const keep = std::min<std::size_t>(kCandidates, peaks.size());
  std::partial_sort(peaks.begin(), peaks.begin() + keep, peaks.end(),
                    [](Candidate const& a, Candidate const& b) { return a.score > b.score; });
  peaks.resize(keep);
  return peaks;
}

// Climbs from (u, v) to the best placement of its 3 x 3 neighbourhood until the centre is the
// best (at most kClimbSteps moves): the peak near a coarse candidate.
Candidate Climb(Scorer const& s, int u, int v) {
  int const pw = s.window.width - s.zone.width + 1, ph = s.window.height - s.zone.height + 1;
  u = std::clamp(u, 0, pw - 1);
  v = std::clamp(v, 0, ph - 1);
  Candidate best{u, v, s.At(u, v)};
  for (int step = 0; step < kClimbSteps; ++step) {
    Candidate next = best;
    for (int vv = std::max(0, best.v - 1); vv <= std::min(ph - 1, best.v + 1); ++vv)
      for (int uu = std::max(0, best.u - 1); uu <= std::min(pw - 1, best.u + 1); ++uu) {
        if (uu == best.u && vv == best.v) continue;
        double const c = s.At(uu, vv);
        if (c > next.score) next = {uu, vv, c};
      }
    if (next.u == best.u && next.v == best.v) break;
    best = next;
  }
  return best;
}

// Vertex of the parabola through (-1, a), (0, b), (1, c), within half a step.
double Vertex(double a, double b, double c) {
  double const curve = a - 2.0 * b + c;
  if (!(curve < 0.0)) return 0.0;
  double const d = 0.5 * (a - c) / curve;
  return std::clamp(d, -0.5, 0.5);
}

}  // namespace

double ZoneScore(GreyZone const& zone, GreyZone const& window, int u, int v) {
  Scorer s;
  if (!MakeScorer(zone, window, nullptr, s)) return 0.0;
  return s.At(u, v);
}

bool DibMatchGrey(GreyZone const& zone, GreyZone const& window, ZoneMatch& match) {
  if (zone.width < 2 || zone.height < 2 || window.width < zone.width ||
      window.height < zone.height)
    return false;
  try {
    std::vector<Level> zones, windows;
    zones.push_back(Copy(zone));
    windows.push_back(Copy(window));
    while (zones.back().width / 2 >= kMatchCoarseSide && zones.back().height / 2 >= kMatchCoarseSide) {
      zones.push_back(Halve(zones.back()));
      windows.push_back(Halve(windows.back()));
    }
    int level = int(zones.size()) - 1;
    std::vector<Candidate> candidates;
    for (; level >= 0; --level) {
      GreyZone const z = zones[level].Area(), w = windows[level].Area();
      // Integral images pay for themselves only where every placement is scored.
      std::unique_ptr<Integral> integral;
      if (candidates.empty()) integral.reset(new Integral(w));
      Scorer s;
      if (!MakeScorer(z, w, integral.get(), s)) {
        if (level == 0) return false;  // a zone of one level
        continue;                      // flat after halving: search the finer level fully
      }
      if (candidates.empty()) {
        candidates = SearchAll(s);
      } else {
        for (Candidate& c : candidates) c = Climb(s, 2 * c.u, 2 * c.v);
      }
      if (level > 0) continue;
      Candidate const best = *std::max_element(
          candidates.begin(), candidates.end(),
          [](Candidate const& a, Candidate const& b) { return a.score < b.score; });
      int const pw = w.width - z.width + 1, ph = w.height - z.height + 1;
      double dx = 0.0, dy = 0.0;
      if (best.u > 0 && best.u + 1 < pw)
        dx = Vertex(s.At(best.u - 1, best.v), best.score, s.At(best.u + 1, best.v));
      if (best.v > 0 && best.v + 1 < ph)
        dy = Vertex(s.At(best.u, best.v - 1), best.score, s.At(best.u, best.v + 1));
      match.x = best.u + dx;
      match.y = best.v + dy;
      match.score = best.score;
      return true;
    }
  } catch (std::bad_alloc const&) {
    return false;
  }
  return false;
}

}  // namespace quilp
