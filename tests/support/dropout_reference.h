// dropout_reference.h - the colour dropouts written out literally, pixel by pixel, for tests.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace testing_support {

// One colour removed by projection: weights, divisor, and the per-pixel value.
struct OneColourRef {
  int64_t w[3] = {0, 0, 0};
  int64_t q = 1;
  bool valid = false;

  explicit OneColourRef(unsigned char const c[3]) {
    double const a0 = 255 - c[0], a1 = 255 - c[1], a2 = 255 - c[2];
    double const e0 = (a1 - a0) * a1 + (a2 - a0) * a2;
    double const e1 = (a2 - a1) * a2 + (a0 - a1) * a0;
    double const e2 = (a0 - a2) * a0 + (a1 - a2) * a1;
    double const len2 = e0 * e0 + e1 * e1 + e2 * e2;
    if (!(len2 > 0)) return;
    double const len = std::sqrt(len2);
    w[0] = static_cast<int32_t>(e0 / len * 65536 + 0.5);
    w[1] = static_cast<int32_t>(e1 / len * 65536 + 0.5);
    w[2] = static_cast<int32_t>(e2 / len * 65536 + 0.5);
    int64_t const hi = 255 * (w[0] + w[1] + w[2]), lo = 0;
    if (hi <= lo) return;
    q = (hi - lo + 255) / 255;
    valid = true;
  }

  int operator()(int b0, int b1, int b2) const {
    int64_t const d = w[0] * (255 - b0) + w[1] * (255 - b1) + w[2] * (255 - b2);
    int64_t const v = std::clamp<int64_t>(d / q, 0, 255);
    return int(255 - v);
  }
};

// Kept and suppressed colour sets: plain maxima, the sines of the two angles.
struct ColourSetsRef {
  std::vector<double> keep, drop;  // unit darkness vectors, three per colour

  static std::vector<double> Units(std::vector<std::array<unsigned char, 3>> const& colours) {
    std::vector<double> u;
    for (auto const& c : colours) {
      double const a[3] = {255.0 - c[0], 255.0 - c[1], 255.0 - c[2]};
      double const r = 1.0 / std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
      for (double x : a) u.push_back(x * r);
    }
    return u;
  }

  static double Best(std::vector<double> const& u, double const p[3]) {
    double m = 0;
    for (std::size_t i = 0; i < u.size(); i += 3)
      m = std::max(m, p[0] * u[i] + p[1] * u[i + 1] + p[2] * u[i + 2]);
    return m;
  }

  int operator()(int b0, int b1, int b2) const {
    double const p[3] = {255.0 - b0, 255.0 - b1, 255.0 - b2};
    double const L = p[0] * p[0] + p[1] * p[1] + p[2] * p[2];
    if (L == 0) return 255;
    double const A = Best(keep, p), B = Best(drop, p);
    double const sinKeep = std::sqrt(std::max(0.0, 1 - A * A / L));
    double const sinDrop = std::sqrt(std::max(0.0, 1 - B * B / L));
    double weight = sinDrop;
    if (sinKeep + sinDrop > 0) weight = sinDrop / (sinKeep + sinDrop);
    int const v = std::clamp(static_cast<int>(A * weight + 0.5), 0, 255);
    return 255 - v;
  }
};

}  // namespace testing_support
