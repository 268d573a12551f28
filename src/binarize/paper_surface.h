// paper_surface.h - the paper surface of the background binarization (background_threshold.h)
// and the storage-order walk its passes share.
//
// Build: the mean level of each f x f block (column sums over a band of f rows, then f columns
// at a time: one add per pixel), a closing and a Gaussian on the block grid. Row: the surface
// along one pixel row, by bilinear interpolation between block centres; each block row is
// expanded along the row once and kept while its pixel rows are asked for, so a pixel row costs
// one blend of two expanded rows (PaperKernels::blend).
#pragma once

#include <cstdint>
#include <vector>

#include "binarize/paper_kernels.h"
#include "record/view.h"

namespace quilp {

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

class PaperSurface {
 public:
  // The surface of a grey view for a window of `window` pixels (block side f = window / 8, at
  // least 1). False when memory runs out.
  bool Build(DibView const& grey, int window);
  // The surface along visual row y, `width` levels.
  void Row(int y, uint8_t* out);

 private:
  bool BlockMeans(DibView const& grey);
  // Block row i interpolated along the row to every pixel, times 256 (exact, no rounding);
  // when it must be made, the slot holding row `keep` is left alone.
  uint16_t const* Expanded(int i, int keep);

  int f_ = 1, sw_ = 0, sh_ = 0, width_ = 0;
  PaperKernels const* kernels_ = nullptr;
  std::vector<uint8_t> blocks_, work_;
  std::vector<int32_t> x0_;  // per pixel: left block centre
  std::vector<uint16_t> wx_;  // per pixel: weight of the right one (0..255)
  // Two expanded block rows, kept while the rows between their centres are asked for.
  std::vector<uint16_t> expanded_[2];
  int expandedRow_[2] = {-1, -1};
};

}  // namespace quilp
