// background_suppress.cpp - background suppression of grey and colour pages.
//
// 1. Paper per byte on a grid of block x block cells: the cell's maximum (ink is darker than
//    paper, so the brightest pixel of a cell is paper unless the cell is all ink), then the
//    maximum over the 3 x 3 neighbouring cells, so cells filled with ink borrow their
//    neighbours' paper.
// 2. The paper at each pixel: bilinear interpolation between cell centres in 1/256 steps,
//    rounded, at least 1.
// 3. Each byte becomes min(255, (v * 255 + paper / 2) / paper), from a 256 x 256 table; a
//    pixel whose smallest byte is then at least whiteLevel becomes white, which clears the
//    paper's texture and noise while ink keeps its hue (each byte is divided by its own paper).
// Cost: one pass to build the grid, one pass to write, two table lookups and a handful of
// integer operations per byte. Rows go in storage order.
#include "colour/background_suppress.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

namespace quilp {
namespace {

int StorageY(DibView const& v, int i) { return v.step < 0 ? v.height - 1 - i : i; }

// A cell darker than its brightest neighbour by more than this many levels is taken to be
// filled with ink and borrows that neighbour's paper.
constexpr int kInkFilled = 48;

// Cell maxima of every byte; cells filled with ink take their brightest neighbour's.
std::vector<uint8_t> PaperGrid(DibView const& src, int bpp, int block, int gw, int gh) {
  int const nc = bpp == 1 ? 1 : 3;
  std::vector<uint8_t> cells(std::size_t(gw) * gh * nc, 0);
  for (int i = 0; i < src.height; ++i) {
    int const y = StorageY(src, i);
    uint8_t const* row = src.Row(y);
    uint8_t* cellRow = cells.data() + std::size_t(y / block) * gw * nc;
    for (int x = 0; x < src.width; ++x) {
      uint8_t* cell = cellRow + std::size_t(x / block) * nc;
      for (int c = 0; c < nc; ++c) cell[c] = std::max(cell[c], row[x * bpp + c]);
    }
  }
  std::vector<uint8_t> widened(cells.size());
  for (int gy = 0; gy < gh; ++gy)
    for (int gx = 0; gx < gw; ++gx)
      for (int c = 0; c < nc; ++c) {
        uint8_t m = 0;
        for (int dy = -1; dy <= 1; ++dy)
          for (int dx = -1; dx <= 1; ++dx) {
            int const yy = gy + dy, xx = gx + dx;
            if (yy < 0 || yy >= gh || xx < 0 || xx >= gw) continue;
            m = std::max(m, cells[(std::size_t(yy) * gw + xx) * nc + c]);
          }
        uint8_t const own = cells[(std::size_t(gy) * gw + gx) * nc + c];
        widened[(std::size_t(gy) * gw + gx) * nc + c] = own + kInkFilled < m ? m : own;
      }
  return widened;
}

// Index of the cell centre at or before position p and the 1/256 weight of the next one.
void Between(int p, int block, int cells, int& i0, int& w) {
  int64_t const pos256 = (int64_t(2 * p + 1) * 256 - int64_t(block) * 256) / (2 * block);
  if (pos256 <= 0) {
    i0 = 0, w = 0;
  } else if (pos256 >= int64_t(cells - 1) * 256) {
    i0 = cells - 1, w = 0;
  } else {
    i0 = int(pos256 / 256), w = int(pos256 % 256);
  }
}

}  // namespace

bool DibSuppressBackground(DibView const& dst, DibView const& src, int bpp, int block,
                           int whiteLevel) {
  if ((bpp != 1 && bpp != 3 && bpp != 4) || block < 4 || whiteLevel < 0 || whiteLevel > 255)
    return false;
  // A block wider than the page is one block; capping it keeps the cell counts in range.
  int const side = std::max(4, std::max(src.width, src.height));
  if (block > side) block = side;
  int const nc = bpp == 1 ? 1 : 3;
  int const gw = (src.width + block - 1) / block, gh = (src.height + block - 1) / block;
  std::vector<uint8_t> grid, quotient;
  std::vector<int> x0(src.width), xw(src.width);
  std::vector<uint8_t> column(std::size_t(gw) * nc), paper(std::size_t(src.width) * nc);
  try {
    grid = PaperGrid(src, bpp, block, gw, gh);
    quotient.resize(256 * 256);
  } catch (std::bad_alloc const&) {
    return false;
  }
  for (int p = 0; p < 256; ++p)
    for (int v = 0; v < 256; ++v) {
      int const d = p < 1 ? 1 : p;
      int const q = (v * 255 + d / 2) / d;
      quotient[p * 256 + v] = static_cast<uint8_t>(q > 255 ? 255 : q);
    }
  for (int x = 0; x < src.width; ++x) Between(x, block, gw, x0[x], xw[x]);
  for (int i = 0; i < src.height; ++i) {
    int const y = StorageY(src, i);
    int y0, yw;
    Between(y, block, gh, y0, yw);
    int const y1 = std::min(y0 + 1, gh - 1);
    for (int k = 0; k < gw * nc; ++k) {
      int const a = grid[std::size_t(y0) * gw * nc + k], b = grid[std::size_t(y1) * gw * nc + k];
      column[k] = static_cast<uint8_t>((a * (256 - yw) + b * yw + 128) >> 8);
    }
    for (int x = 0; x < src.width; ++x) {
      int const g0 = x0[x], g1 = std::min(g0 + 1, gw - 1), w = xw[x];
      for (int c = 0; c < nc; ++c)
        paper[x * nc + c] = static_cast<uint8_t>(
            (column[g0 * nc + c] * (256 - w) + column[g1 * nc + c] * w + 128) >> 8);
    }
    uint8_t const* s = src.Row(y);
    uint8_t* d = dst.Row(y);
    for (int x = 0; x < src.width; ++x, s += bpp, d += bpp) {
      int least = 255;
      for (int c = 0; c < nc; ++c) {
        d[c] = quotient[paper[x * nc + c] * 256 + s[c]];
        least = std::min<int>(least, d[c]);
      }
      if (least >= whiteLevel)
        for (int c = 0; c < nc; ++c) d[c] = 255;
      if (bpp == 4) d[3] = s[3];
    }
  }
  return true;
}

}  // namespace quilp
