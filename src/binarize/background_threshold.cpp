// background_threshold.cpp - the paper surface, the contrast histogram and the decision.
#include "binarize/background_threshold.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

#include "binarize/otsu.h"
#include "binarize/paper_surface.h"

namespace quilp {
namespace {

// Contrast below this (in d units) between the paper and ink classes is paper noise.
constexpr int kMinInkContrast = 16;
// A pixel must lie this many paper-noise deviations below the paper to be ink.
constexpr double kNoiseSigmas = 2.5;
constexpr double kMedianPerSigma = 0.674;

// d = (B - v) * 255 / B for v < B, else 0.
inline int Contrast(int b, int v) { return v < b ? (b - v) * 255 / b : 0; }

// The median of hist[lo..hi), or lo when empty.
int Median(double const* hist, int lo, int hi) {
  double total = 0;
  for (int i = lo; i < hi; ++i) total += hist[i];
  double run = 0;
  for (int i = lo; i < hi; ++i) {
    run += hist[i];
    if (run * 2 >= total && total > 0) return i;
  }
  return lo;
}

// Counts of every (paper level B, level v) pair of the pixels, even and odd columns apart:
// neighbours mostly share a pair, and two counters keep their increments from waiting on each
// other. 32-bit counts are folded into the contrast and excess histograms before they can wrap.
class PairCounts {
  // The odd columns' table starts a little past a multiple of 4 KiB from the even one's, so
  // the increments of a pair and its neighbour do not look alike to the store buffer.
  static constexpr std::size_t kOddShift = 16;

 public:
  bool Init(int width) {
    try {
      counts_.assign(2 * 65536 + kOddShift, 0);
    } catch (std::bad_alloc const&) {
      return false;
    }
    rowsPerFold_ = std::max(1, int(UINT32_MAX / uint32_t(width)));
    return true;
  }
  void AddRow(uint8_t const* paper, uint8_t const* src, int width) {
    uint32_t* const even = counts_.data();
    uint32_t* const odd = even + 65536 + kOddShift;
    int x = 0;
    for (; x + 1 < width; x += 2) {
      ++even[unsigned(paper[x]) << 8 | src[x]];
      ++odd[unsigned(paper[x + 1]) << 8 | src[x + 1]];
    }
    if (x < width) ++even[unsigned(paper[x]) << 8 | src[x]];
    if (++rows_ == rowsPerFold_) Fold();
  }
  // Adds the pairs to bins: d of the darker pixels, 256 + v - B of the others.
  void Fold() {
    for (int b = 0; b < 256; ++b)
      for (int v = 0; v < 256; ++v) {
        std::size_t const i = std::size_t(b) << 8 | std::size_t(v);
        uint64_t const n = uint64_t(counts_[i]) + counts_[65536 + kOddShift + i];
        if (n) bins[v < b ? Contrast(b, v) : 256 + v - b] += n;
      }
    std::fill(counts_.begin(), counts_.end(), 0u);
    rows_ = 0;
  }
  uint64_t bins[512] = {};

 private:
  std::vector<uint32_t> counts_;
  int rows_ = 0, rowsPerFold_ = 1;
};

}  // namespace

bool BackgroundBinarize(DibView const& grey, int window, double k, BitRowSink& sink) {
  PaperSurface surface;
  PairCounts pairs;
  std::vector<uint8_t> paper, bits;
  try {
    paper.resize(std::size_t(grey.width));
    bits.resize(std::size_t((grey.width + 7) / 8));
  } catch (std::bad_alloc const&) {
    return false;
  }
  if (!pairs.Init(grey.width) || !surface.Build(grey, window)) return false;
  StoredRows const rows(grey);
  // Pass 1: the histograms of the contrast d (pixels darker than the paper) and of the
  // excess v - B of those lighter than it, which is paper noise alone.
  for (int y = 0; y < grey.height; ++y) {
    surface.Row(rows.Visual(y), paper.data());
    pairs.AddRow(paper.data(), rows.view.Row(y), grey.width);
  }
  pairs.Fold();
  std::vector<double> hist(256, 0.0), excess(256, 0.0);
  for (int i = 0; i < 256; ++i) {  // counts are whole numbers: exact in doubles below 2^53
    hist[i] += double(pairs.bins[i]);
    excess[i] = double(pairs.bins[256 + i]);
    hist[0] += excess[i];
  }
  // The paper and ink classes and the cut between them.
  std::vector<int> ihist(256);
  double total = 0;
  for (int i = 0; i < 256; ++i) total += hist[i];
  double const scale = total > double(INT32_MAX) ? double(INT32_MAX) / total : 1.0;
  for (int i = 0; i < 256; ++i) ihist[i] = static_cast<int>(hist[i] * scale);
  int const split = DibOtsuThreshold(ihist.data(), 256, 0, 255, nullptr);
  if (split < 0) return false;
  int const p = Median(hist.data(), 0, std::max(split, 1));
  int const q = Median(hist.data(), std::max(split, 1), 256);
  // Paper noise: the median excess is 0.674 deviations of a normal spread.
  double const sigma = Median(excess.data(), 1, 256) / kMedianPerSigma;
  // Black exactly when v < cut[B]. The noise term is at least 4 (the median excess is at
  // least 1), so need >= 1 and v = 255 never passes: every cut fits a byte.
  uint8_t cut[256];
  int const level = q - p < kMinInkContrast
                        ? 256
                        : static_cast<int>(std::ceil(p + k * (q - p)));
  for (int b = 0; b < 256; ++b) {
    // Dark paper carries the same noise in fewer levels: never closer to it than kNoiseSigmas.
    int const noise = b > 0 ? static_cast<int>(std::ceil(kNoiseSigmas * sigma * 255.0 / b)) : 256;
    int const need = std::max({level, noise, 1});
    int v = 0;
    while (v < 255 && Contrast(b, v) >= need) ++v;
    cut[b] = static_cast<uint8_t>(v);
  }
  // Pass 2: the decision.
  PaperKernels const& kernels = PaperKernelsActive();
  for (int y = 0; y < grey.height; ++y) {
    int const visual = rows.Visual(y);
    surface.Row(visual, paper.data());
    kernels.decide(rows.view.Row(y), paper.data(), cut, bits.data(), grey.width);
    sink.Put(visual, bits.data());
  }
  return true;
}

}  // namespace quilp
