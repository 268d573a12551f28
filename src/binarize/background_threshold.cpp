// background_threshold.cpp - the paper surface, the contrast histogram and the decision.
#include "binarize/background_threshold.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <vector>

#include "binarize/bit_row.h"
#include "binarize/otsu.h"
#include "filter/smooth.h"
#include "morph/rect_morph.h"

namespace quilp {
namespace {

// Contrast below this (in d units) between the paper and ink classes is paper noise.
constexpr int kMinInkContrast = 16;
// A pixel must lie this many paper-noise deviations below the paper to be ink.
constexpr double kNoiseSigmas = 2.5;
constexpr double kMedianPerSigma = 0.674;

// d = (B - v) * 255 / B for v < B, else 0.
inline int Contrast(int b, int v) { return v < b ? (b - v) * 255 / b : 0; }

// The visual rows of a view in storage order.
struct StoredRows {
  DibView view;
  bool flipped;
  explicit StoredRows(DibView const& g) : view(g), flipped(g.step < 0 && g.height > 0) {
    if (flipped) {
      view.top = g.Row(g.height - 1);
      view.step = -g.step;
    }
  }
  int Visual(int y) const { return flipped ? view.height - 1 - y : y; }
};

// The surface on the block grid, and its interpolation back to pixels.
class Surface {
 public:
  bool Build(DibView const& grey, int window);
  // The surface along visual row y.
  void Row(int y, uint8_t* out);

 private:
  int f_ = 1, sw_ = 0, sh_ = 0, width_ = 0;
  // Block row i interpolated along the row to every pixel, times 256 (exact, no rounding);
  // when it must be made, the slot holding row `keep` is left alone.
  uint16_t const* Expanded(int i, int keep);

  std::vector<uint8_t> blocks_, work_;
  std::vector<int> x0_, wx_;    // per pixel: left block centre and weight (0..256)
  // Two expanded block rows, kept while the rows between their centres are asked for.
  std::vector<uint16_t> expanded_[2];
  int expandedRow_[2] = {-1, -1};
};

bool Surface::Build(DibView const& grey, int window) {
  f_ = std::max(1, window / 8);
  width_ = grey.width;
  sw_ = (grey.width + f_ - 1) / f_;
  sh_ = (grey.height + f_ - 1) / f_;
  std::size_t const n = std::size_t(sw_) * std::size_t(sh_);
  try {
    blocks_.assign(n, 0);
    work_.assign(n, 0);
    x0_.resize(std::size_t(width_));
    wx_.resize(std::size_t(width_));
    expanded_[0].resize(std::size_t(width_));
    expanded_[1].resize(std::size_t(width_));
  } catch (std::bad_alloc const&) {
    return false;
  }
  StoredRows const rows(grey);
  std::vector<uint32_t> sums;
  try {
    sums.assign(n, 0);
  } catch (std::bad_alloc const&) {
    return false;
  }
  for (int y = 0; y < grey.height; ++y) {  // mean level of each block
    uint8_t const* src = rows.view.Row(y);
    uint32_t* b = &sums[std::size_t(rows.Visual(y) / f_) * std::size_t(sw_)];
    for (int x = 0, bx = 0; x < grey.width; x += f_, ++bx) {
      int const end = std::min(grey.width, x + f_);
      uint32_t sum = 0;
      for (int i = x; i < end; ++i) sum += src[i];
      b[bx] += sum;
    }
  }
  for (int by = 0; by < sh_; ++by)
    for (int bx = 0; bx < sw_; ++bx) {
      uint32_t const count = uint32_t(std::min(f_, grey.width - bx * f_)) *
                             uint32_t(std::min(f_, grey.height - by * f_));
      std::size_t const i = std::size_t(by) * std::size_t(sw_) + std::size_t(bx);
      blocks_[i] = static_cast<uint8_t>((sums[i] + count / 2) / count);
    }
  DibPlane const plane = PackedPlane8(blocks_.data(), sw_, sh_);
  DibPlane const other = PackedPlane8(work_.data(), sw_, sh_);
  int const h = std::max(1, window / (2 * f_));
  if (!MorphRect(other, plane, h, h, MorphOp::kDilate) ||
      !MorphRect(plane, other, h, h, MorphOp::kErode) ||
      !DibGaussSmooth(other, plane, h * 128, h * 128))
    return false;
  blocks_.swap(work_);
  // Block centres sit at f * i + (f - 1) / 2; pixels beyond the first and last centre
  // repeat the edge block.
  for (int x = 0; x < width_; ++x) {
    int const pos = 2 * x - (f_ - 1);  // twice the distance from centre 0
    if (pos <= 0) {
      x0_[x] = 0;
      wx_[x] = 0;
    } else {
      int const i = pos / (2 * f_);
      x0_[x] = std::min(i, sw_ - 1);
      wx_[x] = i >= sw_ - 1 ? 0 : (pos - 2 * f_ * i) * 256 / (2 * f_);
    }
  }
  return true;
}

// The surface is bilinear between block centres with one rounding at the end, so it can be
// interpolated along rows first: each block row is expanded to pixels once (a row of blocks
// serves about 2f pixel rows) and every pixel row is a blend of two expanded rows.
uint16_t const* Surface::Expanded(int i, int keep) {
  for (int k = 0; k < 2; ++k)
    if (expandedRow_[k] == i) return expanded_[k].data();
  int const k = expandedRow_[0] == keep ? 1 : 0;
  uint8_t const* a = &blocks_[std::size_t(i) * std::size_t(sw_)];
  uint16_t* e = expanded_[k].data();
  for (int x = 0; x < width_; ++x) {
    int const j = x0_[x], t = wx_[x];
    int const next = j + 1 < sw_ ? a[j + 1] : a[j];
    e[x] = static_cast<uint16_t>(a[j] * (256 - t) + next * t);
  }
  expandedRow_[k] = i;
  return e;
}

void Surface::Row(int y, uint8_t* out) {
  int const pos = 2 * y - (f_ - 1);
  int i = 0, w = 0;
  if (pos > 0) {
    i = std::min(pos / (2 * f_), sh_ - 1);
    w = i >= sh_ - 1 ? 0 : (pos - 2 * f_ * i) * 256 / (2 * f_);
  }
  int const n = width_;  // a local: the byte stores below may alias the members
  uint16_t const* a = Expanded(i, i + 1);
  uint16_t const* b = w ? Expanded(i + 1, i) : a;
  uint32_t const wa = uint32_t(256 - w), wb = uint32_t(w);
  for (int x = 0; x < n; ++x) out[x] = static_cast<uint8_t>((a[x] * wa + b[x] * wb + 32768) >> 16);
}

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

}  // namespace

bool BackgroundBinarize(DibView const& grey, int window, double k, BitRowSink& sink) {
  Surface surface;
  std::vector<uint8_t> paper, bits;
  try {
    paper.resize(std::size_t(grey.width));
    bits.resize(std::size_t((grey.width + 7) / 8));
  } catch (std::bad_alloc const&) {
    return false;
  }
  if (!surface.Build(grey, window)) return false;
  StoredRows const rows(grey);
  // Pass 1: the histograms of the contrast d (pixels darker than the paper) and of the
  // excess v - B of those lighter than it, which is paper noise alone.
  std::vector<double> hist(256, 0.0), excess(256, 0.0);
  // Whole-page counts of each bin, even and odd columns apart: neighbours mostly fall in the
  // same bin, and two counters keep their increments from waiting on each other.
  std::vector<uint64_t> counts(1024, 0);
  std::vector<uint16_t> bin;  // the histogram bin of each (B, v): d, or 256 + v - B
  try {
    bin.resize(256 * 256);
  } catch (std::bad_alloc const&) {
    return false;
  }
  for (int b = 0; b < 256; ++b)
    for (int v = 0; v < 256; ++v)
      bin[std::size_t(b * 256 + v)] = static_cast<uint16_t>(v < b ? Contrast(b, v) : 256 + v - b);
  uint64_t* const even = counts.data();
  uint64_t* const odd = even + 512;
  // The surface of every row, kept from pass 1 for pass 2 when a page of bytes can be had
  // (else pass 2 interpolates it again).
  std::unique_ptr<uint8_t[]> const kept(new (std::nothrow) uint8_t[std::size_t(grey.width) * std::size_t(grey.height)]);
  auto paperRow = [&](int y) { return kept ? &kept[std::size_t(y) * std::size_t(grey.width)] : paper.data(); };
  for (int y = 0; y < grey.height; ++y) {
    uint8_t const* src = rows.view.Row(y);
    uint8_t* const paperOf = paperRow(y);
    surface.Row(rows.Visual(y), paperOf);
    int x = 0;
    for (; x + 1 < grey.width; x += 2) {
      ++even[bin[std::size_t(paperOf[x]) * 256 + src[x]]];
      ++odd[bin[std::size_t(paperOf[x + 1]) * 256 + src[x + 1]]];
    }
    if (x < grey.width) ++even[bin[std::size_t(paperOf[x]) * 256 + src[x]]];
  }
  for (int i = 0; i < 256; ++i) {  // counts are whole numbers: exact in doubles below 2^53
    hist[i] += double(even[i] + odd[i]);
    excess[i] = double(even[256 + i] + odd[256 + i]);
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
  int cut[256];  // black exactly when v < cut[B]
  int const level = q - p < kMinInkContrast
                        ? 256
                        : static_cast<int>(std::ceil(p + k * (q - p)));
  for (int b = 0; b < 256; ++b) {
    // Dark paper carries the same noise in fewer levels: never closer to it than kNoiseSigmas.
    int const noise = b > 0 ? static_cast<int>(std::ceil(kNoiseSigmas * sigma * 255.0 / b)) : 256;
    int const need = std::max(level, noise);
    int v = 0;
    while (v < 256 && Contrast(b, v) >= need) ++v;
    cut[b] = v;
  }
  // Pass 2: the decision.
  for (int y = 0; y < grey.height; ++y) {
    uint8_t const* src = rows.view.Row(y);
    int const visual = rows.Visual(y);
    uint8_t const* const paperOf = paperRow(y);
    if (!kept) surface.Row(visual, paper.data());
    PackRow(bits.data(), grey.width, [&](int x) { return src[x] < cut[paperOf[x]]; });
    sink.Put(visual, bits.data());
  }
  return true;
}

}  // namespace quilp
