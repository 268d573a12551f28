// paper_surface.cpp - block means, the closing and smoothing of the block grid, and the
// interpolation of the surface back to pixel rows.
#include "binarize/paper_surface.h"

#include <algorithm>
#include <new>

#include "filter/smooth.h"
#include "morph/rect_morph.h"

namespace quilp {
namespace {

// Bytes kept readable past the block grid for PaperKernels::expand.
constexpr std::size_t kBlockRowSlack = 64;

}  // namespace

bool PaperSurface::BlockMeans(DibView const& grey) {
  std::vector<uint32_t> sums;
  std::vector<uint16_t> columns;
  try {
    sums.assign(std::size_t(sw_) * std::size_t(sh_), 0);
    columns.assign(std::size_t(width_), 0);
  } catch (std::bad_alloc const&) {
    return false;
  }
  StoredRows const rows(grey);
  // Each band of f rows is summed down its columns in 16 bits (at most kColumnRows rows at a
  // time), then f columns at a time into its blocks (f * f * 255 stays within 32 bits, as
  // f <= 511).
  constexpr int kColumnRows = 65535 / 255;
  int summed = 0;
  for (int y = 0; y < grey.height; ++y) {
    kernels_->addColumns(rows.view.Row(y), columns.data(), width_);
    int const band = rows.Visual(y) / f_;
    bool const last = y + 1 == grey.height || rows.Visual(y + 1) / f_ != band;
    if (!last && ++summed < kColumnRows) continue;
    uint16_t const* col = columns.data();
    uint32_t* const b = &sums[std::size_t(band) * std::size_t(sw_)];
    for (int x = 0, bx = 0; x < width_; x += f_, ++bx) {
      int const end = std::min(width_, x + f_);
      uint32_t sum = 0;
      for (int i = x; i < end; ++i) sum += col[i];
      b[bx] += sum;
    }
    std::fill(columns.begin(), columns.end(), uint16_t(0));
    summed = 0;
  }
  // The rounded mean (sum + count / 2) / count, divided in doubles: the numerator stays below
  // 2^27 and the count below 2^18, so a quotient short of an integer stays short of it and the
  // truncation is the integer division's, at a fraction of its cost.
  for (int by = 0; by < sh_; ++by)
    for (int bx = 0; bx < sw_; ++bx) {
      uint32_t const count = uint32_t(std::min(f_, width_ - bx * f_)) *
                             uint32_t(std::min(f_, grey.height - by * f_));
      std::size_t const i = std::size_t(by) * std::size_t(sw_) + std::size_t(bx);
      blocks_[i] = static_cast<uint8_t>(double(sums[i] + count / 2) / double(count));
    }
  return true;
}

bool PaperSurface::Build(DibView const& grey, int window) {
  f_ = std::max(1, window / 8);
  width_ = grey.width;
  sw_ = (grey.width + f_ - 1) / f_;
  sh_ = (grey.height + f_ - 1) / f_;
  kernels_ = &PaperKernelsActive();
  std::size_t const n = std::size_t(sw_) * std::size_t(sh_);
  try {
    blocks_.assign(n + kBlockRowSlack, 0);  // the expansion reads past a block row
    work_.assign(n + kBlockRowSlack, 0);
    x0_.resize(std::size_t(width_));
    wx_.resize(std::size_t(width_));
    expanded_[0].resize(std::size_t(width_));
    expanded_[1].resize(std::size_t(width_));
  } catch (std::bad_alloc const&) {
    return false;
  }
  if (!BlockMeans(grey)) return false;
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
      wx_[x] = static_cast<uint16_t>(i >= sw_ - 1 ? 0 : (pos - 2 * f_ * i) * 256 / (2 * f_));
    }
  }
  return true;
}

// The surface is bilinear between block centres with one rounding at the end, so it can be
// interpolated along rows first: each block row is expanded to pixels once (a row of blocks
// serves about 2f pixel rows) and every pixel row is a blend of two expanded rows.
uint16_t const* PaperSurface::Expanded(int i, int keep) {
  for (int k = 0; k < 2; ++k)
    if (expandedRow_[k] == i) return expanded_[k].data();
  int const k = expandedRow_[0] == keep ? 1 : 0;
  kernels_->expand(&blocks_[std::size_t(i) * std::size_t(sw_)], x0_.data(), wx_.data(),
                   expanded_[k].data(), width_);
  expandedRow_[k] = i;
  return expanded_[k].data();
}

void PaperSurface::Row(int y, uint8_t* out) {
  int const pos = 2 * y - (f_ - 1);
  int i = 0, w = 0;
  if (pos > 0) {
    i = std::min(pos / (2 * f_), sh_ - 1);
    w = i >= sh_ - 1 ? 0 : (pos - 2 * f_ * i) * 256 / (2 * f_);
  }
  uint16_t const* a = Expanded(i, i + 1);
  uint16_t const* b = w ? Expanded(i + 1, i) : a;
  kernels_->blend(a, b, w, out, width_);
}

}  // namespace quilp
