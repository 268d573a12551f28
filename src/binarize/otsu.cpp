// otsu.cpp - Otsu thresholds over a histogram, and the levels of an 8-bit view.
//
// Two classes: cumulative weights and moments, then one pass over the candidates: linear in n.
// Three classes: an n x n table of class contributions (every interval of levels) built once
// in O(n^2), then about n^2 / 2 candidate pairs of three table reads each (some 32,000 for 256
// levels). Everything is evaluated in double precision in the written order.
#include "binarize/otsu.h"

#include <cstdint>
#include <memory>
#include <new>

#include "binarize/histogram.h"

namespace quilp {
namespace {

std::unique_ptr<double[]> Doubles(int n) {
  return std::unique_ptr<double[]>(new (std::nothrow) double[static_cast<std::size_t>(n)]);
}

}  // namespace

int DibOtsuThreshold(int const* hist, int n, int lo, int hi, float const* values) {
  if (!hist || n < 2 || lo < 0 || hi >= n) return -1;
  std::unique_ptr<double[]> W = Doubles(n + 1);
  if (!W) return -2;
  std::unique_ptr<double[]> M = Doubles(n + 1);
  if (!M) return -2;
  double const e = static_cast<double>(1.0f / static_cast<float>(n));
  W[0] = e;  // the extra prior weight of the lower class; M has none
  M[0] = 0.0;
  for (int k = 0; k < n; ++k) {
    double const weight = static_cast<double>(hist[k]) + e;
    double const x = values ? static_cast<double>(values[k]) : static_cast<double>(k);
    W[k + 1] = W[k] + weight;
    M[k + 1] = M[k] + weight * x;
  }
  double const mu = M[n] / W[n];
  if (lo > hi) return 0;
  double best = 0.0;
  int result = 0;
  for (int t = lo; t <= hi; ++t) {
    double const w0 = W[t], w1 = W[n] - W[t];
    double const d0 = M[t] / w0 - mu, d1 = (M[n] - M[t]) / w1 - mu;
    double const score = w0 * (d0 * d0) + w1 * (d1 * d1);
    if (score > best) {
      best = score;
      result = t;
    }
  }
  return result;
}

int DibOtsuClassTable(int n, int const* hist, double** rows) {
  if (n < 1 || !rows) return 0;
  for (int i = 0; i < n; ++i) rows[i] = nullptr;
  if (!hist) return 0;
  std::unique_ptr<double[]> P = Doubles(n);
  std::unique_ptr<double[]> S = Doubles(n);
  bool ok = P && S;
  for (int i = 0; ok && i < n; ++i) ok = (rows[i] = new (std::nothrow) double[n]) != nullptr;
  if (!ok) {
    DibOtsuFreeTable(n, rows);
    return 0;
  }
  P[0] = hist[0];
  S[0] = 0.0;
  for (int k = 1; k < n; ++k) {
    P[k] = P[k - 1] + hist[k];
    // k * hist[k] in 32 bits, wrapping as the criterion's integer product does.
    int32_t const moment = static_cast<int32_t>(static_cast<uint32_t>(k) *
                                                static_cast<uint32_t>(hist[k]));
    S[k] = S[k - 1] + static_cast<double>(moment);
  }
  if (P[n - 1] == 0.0) return 0;
  double const mu = S[n - 1] / P[n - 1];
  for (int u = 0; u < n - 1; ++u)
    for (int v = u + 1; v < n; ++v) {
      double const w = P[v] - P[u];
      if (w > 0) {
        double const d = (S[v] - S[u]) / w - mu;
        rows[u][v] = w * (d * d);
      } else {
        rows[u][v] = 0.0;
      }
    }
  return 1;
}

int DibOtsuBestPair(int n, double* const* rows, double* best, int* pair) {
  *best = 0.0;
  if (n - 2 < 3) return 1;
  for (int j = 1; j <= n - 5; ++j) {
    int const t2 = j + 2;
    for (int t1 = 1; t1 <= j; ++t1) {
      double const score = rows[0][t1] + rows[t1][t2] + rows[t2][n - 1];
      if (score > *best) {
        *best = score;
        pair[0] = t1;
        pair[1] = t2;
      }
    }
  }
  return 1;
}

int DibOtsuFreeTable(int n, double** rows) {
  for (int i = 0; rows && i < n; ++i) {
    delete[] rows[i];
    rows[i] = nullptr;
  }
  return 1;
}

bool OtsuPair(int const hist[256], int pair[2], bool* outOfMemory) {
  double* rows[256];
  int const built = DibOtsuClassTable(256, hist, rows);
  *outOfMemory = !built && !rows[0];
  if (built) {
    double best;
    DibOtsuBestPair(256, rows, &best, pair);
  }
  DibOtsuFreeTable(256, rows);
  return built != 0;
}

int DibViewOtsuLevels(int* levels, DibView const& view, int count, bool ignoreExtremes) {
  if (count != 2 && count != 3) return 0;
  int hist[256];
  DibHistogram(view.top, view.step, view.width, view.height, ignoreExtremes, hist);
  if (count == 2) {
    levels[0] = DibOtsuThreshold(hist, 256, 0, 255, nullptr);
  } else {
    bool outOfMemory;
    OtsuPair(hist, levels, &outOfMemory);  // an unbuilt table leaves levels as they were
  }
  return 1;
}

}  // namespace quilp
