// window_sums.h - sums of levels and squared levels over a sliding w x w window.
//
// The sweep visits the rows of a grey view in storage order (bottom-up records from their
// last visual row), keeping for every column the sum of levels and of squared levels over the
// window's rows (32 bits: at most 4095 rows of 255^2), and for the current row the integrals
// of those column sums along the row (64 bits, so no page width can overflow them). A
// window's sums are then two differences of the integrals: O(1) per pixel whatever the
// window. Windows are cut at the view's borders (N counts the pixels inside). The window is
// symmetric, so the visiting order does not change any sum.
#pragma once

#include <cstdint>
#include <vector>

#include "record/view.h"

namespace quilp {

// The window sums along one row: pixel x's window holds Count(x) pixels with level sum Sum(x)
// and squared sum Square(x).
struct WindowRow {
  int64_t const* sums = nullptr;     // integrals along the row, width + 1 entries
  int64_t const* squares = nullptr;
  double const* inverseCount = nullptr;  // 1 / Count(x)
  int half = 0, width = 0;

  int Left(int x) const { return x > half ? x - half : 0; }
  int Right(int x) const { return x + half + 1 < width ? x + half + 1 : width; }
  // Mean and variance (population) of pixel x's window.
  void Stats(int x, double& mean, double& variance) const {
    int const l = Left(x), r = Right(x);
    double const inv = inverseCount[x];
    mean = double(sums[r] - sums[l]) * inv;
    variance = double(squares[r] - squares[l]) * inv - mean * mean;
    if (variance < 0) variance = 0;
  }
};

class WindowSweep {
 public:
  // False when memory runs out. half: the window's half size (w = 2 half + 1).
  bool Init(DibView const& grey, int half);
  // Calls visit(visualRow, levels, WindowRow) for every row, in storage order.
  template <class Visit>
  void Run(Visit&& visit);

 private:
  void Reset();
  void AddRow(uint8_t const* row, int sign);
  void Integrate(int rows);

  DibView stored_;  // the view walked in storage order
  bool flipped_ = false;
  int half_ = 0;
  std::vector<uint32_t> colSums_, colSquares_;
  std::vector<int64_t> sums_, squares_;
  std::vector<double> inverse_;
  int inverseRows_ = -1;
};

template <class Visit>
void WindowSweep::Run(Visit&& visit) {
  int const h = stored_.height;
  Reset();
  // Rows [0, half] start in the window of row 0.
  for (int y = 0; y < h && y <= half_; ++y) AddRow(stored_.Row(y), 1);
  for (int y = 0; y < h; ++y) {
    if (y > 0) {
      if (y + half_ < h) AddRow(stored_.Row(y + half_), 1);
      if (y - half_ - 1 >= 0) AddRow(stored_.Row(y - half_ - 1), -1);
    }
    int const top = y > half_ ? y - half_ : 0;
    int const bottom = y + half_ + 1 < h ? y + half_ + 1 : h;
    Integrate(bottom - top);
    WindowRow row;
    row.sums = sums_.data();
    row.squares = squares_.data();
    row.inverseCount = inverse_.data();
    row.half = half_;
    row.width = stored_.width;
    visit(flipped_ ? h - 1 - y : y, stored_.Row(y), row);
  }
}

}  // namespace quilp
