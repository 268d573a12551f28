#include "support/otsu_reference.h"

namespace testing_support {

int ReferenceOtsu2(std::vector<int> const& hist, int lo, int hi,
                   std::vector<float> const* values) {
  int const n = static_cast<int>(hist.size());
  float const prior = 1.0f / static_cast<float>(n);
  double const e = prior;
  std::vector<double> W(n + 1), M(n + 1);
  W[0] = e;
  M[0] = 0;
  for (int k = 1; k <= n; ++k) {
    double const x = values ? double((*values)[k - 1]) : double(k - 1);
    W[k] = W[k - 1] + (double(hist[k - 1]) + e);
    M[k] = M[k - 1] + (double(hist[k - 1]) + e) * x;
  }
  double const mu = M[n] / W[n];
  int best = 0;
  double bestScore = 0.0;
  for (int t = lo; t <= hi; ++t) {
    double const w0 = W[t];
    double const w1 = W[n] - W[t];
    double const a = M[t] / w0 - mu;
    double const b = (M[n] - M[t]) / w1 - mu;
    double const score = w0 * (a * a) + w1 * (b * b);
    if (score > bestScore) bestScore = score, best = t;
  }
  return best;
}

bool ReferenceOtsu3(std::vector<int> const& hist, int pair[2], bool wrapMoments) {
  int const n = static_cast<int>(hist.size());
  auto moment = [&](int k) -> int64_t {
    int64_t const exact = int64_t(k) * hist[k];
    return wrapMoments ? int64_t(int32_t(uint32_t(exact))) : exact;
  };
  // Weight and moment of levels a..b, summed directly.
  auto cls = [&](int a, int b, int64_t& w, int64_t& m) {
    w = m = 0;
    for (int k = a; k <= b; ++k) w += hist[k], m += moment(k);
  };
  int64_t totalW, totalM;
  cls(0, n - 1, totalW, totalM);
  if (totalW == 0) return false;
  double const mu = double(totalM) / double(totalW);
  auto contribution = [&](int a, int b) {
    int64_t w, m;
    cls(a, b, w, m);
    if (w <= 0) return 0.0;
    double const d = double(m) / double(w) - mu;
    return double(w) * (d * d);
  };
  double best = 0.0;
  bool found = false;
  for (int t2 = 3; t2 <= n - 3; ++t2)
    for (int t1 = 1; t1 <= t2 - 2; ++t1) {
      double const score = contribution(1, t1) + contribution(t1 + 1, t2) +
                           contribution(t2 + 1, n - 1);
      if (score > best) best = score, pair[0] = t1, pair[1] = t2, found = true;
    }
  return found;
}

std::vector<int> ReferenceHistogram(DibInfo const* dib, int left, int top, int width,
                                    int height) {
  std::vector<int> hist(256, 0);
  for (int y = top; y < top + height; ++y)
    for (int x = left; x < left + width; ++x) ++hist[dib->GetLine(y)[x]];
  return hist;
}

}  // namespace testing_support
