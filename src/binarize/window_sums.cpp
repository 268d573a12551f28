// window_sums.cpp - the running column sums and row integrals of WindowSweep.
#include "binarize/window_sums.h"

#include <algorithm>
#include <new>

namespace quilp {

bool WindowSweep::Init(DibView const& grey, int half) {
  stored_ = grey;
  flipped_ = grey.step < 0 && grey.height > 0;
  if (flipped_) {
    stored_.top = grey.Row(grey.height - 1);
    stored_.step = -grey.step;
  }
  half_ = half;
  inverseRows_ = -1;
  std::size_t const w = static_cast<std::size_t>(grey.width);
  try {
    colSums_.assign(w, 0);
    colSquares_.assign(w, 0);
    sums_.assign(w + 1, 0);
    squares_.assign(w + 1, 0);
    inverse_.assign(w, 0.0);
  } catch (std::bad_alloc const&) {
    return false;
  }
  return true;
}

void WindowSweep::Reset() {
  std::fill(colSums_.begin(), colSums_.end(), 0u);
  std::fill(colSquares_.begin(), colSquares_.end(), 0u);
  inverseRows_ = -1;
}

void WindowSweep::AddRow(uint8_t const* row, int sign) {
  int const w = stored_.width;
  uint32_t* const s = colSums_.data();
  uint32_t* const q = colSquares_.data();
  if (sign > 0) {
    for (int x = 0; x < w; ++x) {
      uint32_t const v = row[x];
      s[x] += v;
      q[x] += v * v;
    }
  } else {
    for (int x = 0; x < w; ++x) {
      uint32_t const v = row[x];
      s[x] -= v;
      q[x] -= v * v;
    }
  }
}

void WindowSweep::Integrate(int rows) {
  int const w = stored_.width;
  int64_t* const s = sums_.data();
  int64_t* const q = squares_.data();
  int64_t as = 0, aq = 0;
  s[0] = q[0] = 0;
  for (int x = 0; x < w; ++x) {
    as += colSums_[x];
    aq += colSquares_[x];
    s[x + 1] = as;
    q[x + 1] = aq;
  }
  if (rows == inverseRows_) return;
  inverseRows_ = rows;
  for (int x = 0; x < w; ++x) {
    int const l = x > half_ ? x - half_ : 0;
    int const r = x + half_ + 1 < w ? x + half_ + 1 : w;
    inverse_[x] = 1.0 / (double(r - l) * rows);
  }
}

}  // namespace quilp
