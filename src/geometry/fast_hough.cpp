// fast_hough.cpp - the dyadic fast Hough transform: scalar kernels, the lanes and the stages.
//
// A stage works in place: the two (or four) lanes that feed one output pair (quadruple) are
// overwritten by it, walking positions upward, since every output position reads its inputs
// at the same or a later position. Before a lane is read with a shift, the positions its
// shift reaches past the end are filled with the lane's first values (the cyclic wrap).
#include "geometry/fast_hough.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "simd/dispatch.h"

namespace quilp {
namespace {

// Lanes of the first stages are transformed in groups that fit this many bytes, so that
// their stages run out of the level-2 cache.
constexpr std::size_t kGroupBytes = 256 * 1024;
// Room after the P positions of a lane: the widest shift of a stage pair is 3/4 of the lane
// count; the rest is slack.
int PadFor(int lanes) { return lanes + 16; }

template <class T>
void Radix2(T* a, T* b, int k, int count) {
  for (int p = 0; p < count; ++p) {
    T const v = a[p];
    a[p] = static_cast<T>(v + b[p + k]);
    b[p] = static_cast<T>(v + b[p + k + 1]);
  }
}

// Sums are formed in int and stored in T: 32-bit lanes never exceed 2^31 (255 N^2 at most),
// 16-bit ones wrap exactly as the vector adds do.
template <class T>
void Radix4(T* q0, T* q1, T* q2, T* q3, int k, int count) {
  for (int p = 0; p < count; ++p) {
    int const h0 = q0[p] + q1[p + k], h1 = q0[p] + q1[p + k + 1];
    int const a2 = q2[p + 2 * k], b2 = q2[p + 2 * k + 1], c2 = q2[p + 2 * k + 2];
    int const a3 = q3[p + 3 * k], b3 = q3[p + 3 * k + 1], c3 = q3[p + 3 * k + 2],
              d3 = q3[p + 3 * k + 3];
    q0[p] = static_cast<T>(h0 + a2 + a3);
    q1[p] = static_cast<T>(h0 + b2 + b3);
    q2[p] = static_cast<T>(h1 + b2 + c3);
    q3[p] = static_cast<T>(h1 + c2 + d3);
  }
}

void Moments(int32_t const* h, int count, double s1[4], int64_t& s2, int64_t& s3) {
  for (int p = 0; p < count; ++p) {
    s1[p & 3] += std::sqrt(double(h[p]));
    s2 += h[p];
    s3 += int64_t(h[p]) * h[p];
  }
}

void Votes(uint8_t const* src, int32_t* dst, int count, bool invert) {
  int const bias = invert ? 255 : 0, sign = invert ? -1 : 1;
  for (int c = 0; c < count; ++c) dst[c] = bias + sign * src[c];
}

void Votes8(uint8_t const* const* rows, int32_t* const* lanes, int pos, int count, bool invert) {
  int const bias = invert ? 255 : 0, sign = invert ? -1 : 1;
  for (int c = 0; c < count; ++c)
    for (int j = 0; j < 8; ++j) lanes[c][pos + j] = bias + sign * rows[j][c];
}

}  // namespace

FhtKernels const& FhtKernelsScalar() {
  static FhtKernels const table = {{Radix2<int32_t>, Radix4<int32_t>},
                                   {Radix2<uint16_t>, Radix4<uint16_t>},
                                   Moments, Votes, Votes8};
  return table;
}

FhtKernels const& FhtKernelsActive() {
  return simd::Pick(FhtKernelsScalar(), QUILP_VECTOR_TABLE(FhtKernelsSse41()),
                    QUILP_VECTOR_TABLE(FhtKernelsAvx2()));
}

template <class T>
FhtLanes<T>::~FhtLanes() { Release(); }

template <class T>
bool FhtLanes<T>::Allocate(int logLanes, int positions) {
  Release();
  if (logLanes < 0 || logLanes > 20 || positions < 1) return false;
  std::size_t const lanes = std::size_t(1) << logLanes;
  std::size_t const length = std::size_t(positions) + std::size_t(PadFor(int(lanes)));
  try {
    lanes_.assign(lanes, nullptr);
    scratch_.assign(lanes, nullptr);
  } catch (...) {
    lanes_.clear();
    scratch_.clear();
    return false;
  }
  for (std::size_t i = 0; i < lanes; ++i) {
    lanes_[i] = static_cast<T*>(std::malloc(length * sizeof(T)));
    if (!lanes_[i]) {
      Release();
      return false;
    }
  }
  log_ = logLanes;
  positions_ = positions;
  return true;
}

template <class T>
void FhtLanes<T>::Release() {
  for (T* lane : lanes_) std::free(lane);
  lanes_.clear();
  lanes_.shrink_to_fit();
  scratch_.clear();
  scratch_.shrink_to_fit();
  log_ = 0;
  positions_ = 0;
}

template <class T>
void FhtLanes<T>::ReverseOrder() { std::reverse(lanes_.begin(), lanes_.end()); }

template <class T>
void FhtLanes<T>::Wrap(T* lane, int extra) const {
  if (extra <= positions_) {
    std::memcpy(lane + positions_, lane, std::size_t(extra) * sizeof(T));
    return;
  }
  for (int j = 0; j < extra; ++j) lane[positions_ + j] = lane[j % positions_];
}

// Stage s over the blocks of 2^s lanes in lanes [first, first + count).
template <class T>
void FhtLanes<T>::Radix2Stage(FhtStages<T> const& k, int s, int first, int count) {
  int const w = 1 << s, half = w / 2;
  for (int b = first; b < first + count; b += w) {
    for (int i = 0; i < half; ++i) {
      T* const a = lanes_[std::size_t(b + i)];
      T* const c = lanes_[std::size_t(b + half + i)];
      Wrap(c, i + 1);
      k.radix2(a, c, i, positions_);
      scratch_[std::size_t(2 * i)] = a;
      scratch_[std::size_t(2 * i + 1)] = c;
    }
    std::copy(scratch_.begin(), scratch_.begin() + w, lanes_.begin() + b);
  }
}

// Stages s and s + 1 over the blocks of 2^(s+1) lanes in lanes [first, first + count).
template <class T>
void FhtLanes<T>::Radix4Stages(FhtStages<T> const& k, int s, int first, int count) {
  int const w = 1 << (s + 1), q = w / 4;
  for (int b = first; b < first + count; b += w) {
    for (int i = 0; i < q; ++i) {
      T* const q0 = lanes_[std::size_t(b + i)];
      T* const q1 = lanes_[std::size_t(b + q + i)];
      T* const q2 = lanes_[std::size_t(b + 2 * q + i)];
      T* const q3 = lanes_[std::size_t(b + 3 * q + i)];
      Wrap(q1, i + 1);
      Wrap(q2, 2 * i + 2);
      Wrap(q3, 3 * i + 3);
      k.radix4(q0, q1, q2, q3, i, positions_);
      scratch_[std::size_t(4 * i)] = q0;
      scratch_[std::size_t(4 * i + 1)] = q1;
      scratch_[std::size_t(4 * i + 2)] = q2;
      scratch_[std::size_t(4 * i + 3)] = q3;
    }
    std::copy(scratch_.begin(), scratch_.begin() + w, lanes_.begin() + b);
  }
}

template <class T>
void FhtLanes<T>::Run(FhtStages<T> const& k) {
  int const n = log_, lanes = Lanes();
  // Stages 1..m on groups of 2^m lanes that stay in cache, then the rest on all lanes.
  int m = 0;
  while (m < n && (std::size_t(2) << m) * std::size_t(positions_) * sizeof(T) <= kGroupBytes)
    ++m;
  int const group = 1 << m;
  for (int first = 0; first < lanes; first += group) {
    int s = 1;
    for (; s + 1 <= m; s += 2) Radix4Stages(k, s, first, group);
    if (s == m) Radix2Stage(k, s, first, group);
  }
  int s = m + 1;
  for (; s + 1 <= n; s += 2) Radix4Stages(k, s, 0, lanes);
  if (s == n) Radix2Stage(k, s, 0, lanes);
}

template class FhtLanes<int32_t>;
template class FhtLanes<uint16_t>;

double FhtSlopeScore(double const s1[4], int64_t s2, int64_t s3, int n) {
  double const sum1 = (s1[0] + s1[1]) + (s1[2] + s1[3]);
  double const dn = double(n), d2 = double(s2), d3 = double(s3);
  double const mean = sum1 / dn;
  double variance = (d3 - d2 * d2 / dn) / dn;
  if (variance < 0.0) variance = 0.0;
  return std::sqrt(variance) / (mean * mean + 0.01);
}

}  // namespace quilp
