// median.cpp - median filters.
//
// 3 x 3: each of the three columns of the window is sorted (three compare-exchanges); the
// median of nine is then the median of (the largest of the column minima, the median of the
// column medians, the smallest of the column maxima). The vector files sort each column once
// per row into scratch rows and then combine neighbours: eighteen min/max operations per
// vector of bytes.
// Larger windows: Huang's running histogram per row. Moving the window one pixel removes a
// column and adds one (2 size updates), and the median moves from the previous one by the
// count of levels below it, so the cost per byte grows with the size, not its square.
// Output rows go in storage order; borders repeat the edge pixels.
#include "filter/median.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "simd/dispatch.h"

namespace quilp {

void Median3Range(uint8_t const* a, uint8_t const* m, uint8_t const* b, uint8_t* out, int n,
                  int step, int from, int to) {
  for (int i = from; i < to; ++i) {
    int const l = i - step >= 0 ? i - step : i, r = i + step < n ? i + step : i;
    uint8_t lo[3], md[3], hi[3];
    int const at[3] = {l, i, r};
    for (int k = 0; k < 3; ++k) {
      uint8_t const x = a[at[k]], y = m[at[k]], z = b[at[k]];
      lo[k] = std::min({x, y, z});
      md[k] = Median3(x, y, z);
      hi[k] = std::max({x, y, z});
    }
    uint8_t const low = std::max({lo[0], lo[1], lo[2]});
    uint8_t const high = std::min({hi[0], hi[1], hi[2]});
    out[i] = Median3(low, Median3(md[0], md[1], md[2]), high);
  }
}

namespace {

void Median3Row(uint8_t const* a, uint8_t const* m, uint8_t const* b, uint8_t* out, int n,
                int step, uint8_t*) {
  Median3Range(a, m, b, out, n, step, 0, n);
}

int StorageY(DibView const& v, int i) { return v.step < 0 ? v.height - 1 - i : i; }

// One byte of every pixel of a row band, padded by r on either side, for the histogram median.
void PaddedChannel(DibView const& src, int bpp, int c, int r, int y, uint8_t* row) {
  int const yy = std::clamp(y, 0, src.height - 1);
  uint8_t const* s = src.Row(yy);
  for (int x = -r; x < src.width + r; ++x) row[x + r] = s[std::clamp(x, 0, src.width - 1) * bpp + c];
}

void HistogramMedianChannel(DibView const& dst, DibView const& src, int bpp, int c, int size,
                            std::vector<uint8_t>& band) {
  int const r = size / 2, pw = src.width + 2 * r;
  int const half = size * size / 2;  // the median has `half` levels below it
  // A ring of `size` padded rows around the output row.
  std::vector<int> holds(size, -1 << 30);
  for (int i = 0; i < src.height; ++i) {
    int const y = StorageY(src, i);
    uint8_t const* rows[256];
    for (int k = 0; k < size; ++k) {
      int const sy = y - r + k;
      int const slot = ((sy % size) + size) % size;
      uint8_t* row = band.data() + std::size_t(slot) * pw;
      if (holds[slot] != sy) {
        PaddedChannel(src, bpp, c, r, sy, row);
        holds[slot] = sy;
      }
      rows[k] = row;
    }
    int hist[256] = {};
    for (int k = 0; k < size; ++k)
      for (int x = 0; x < size; ++x) ++hist[rows[k][x]];
    int m = 0, below = 0;
    while (below + hist[m] <= half) below += hist[m++];
    uint8_t* d = dst.Row(y) + c;
    d[0] = static_cast<uint8_t>(m);
    for (int x = 1; x < src.width; ++x) {
      for (int k = 0; k < size; ++k) {
        int const out = rows[k][x - 1], in = rows[k][x - 1 + size];
        --hist[out];
        if (out < m) --below;
        ++hist[in];
        if (in < m) ++below;
      }
      while (below > half) below -= hist[--m];
      while (below + hist[m] <= half) below += hist[m++];
      d[x * bpp] = static_cast<uint8_t>(m);
    }
  }
}

}  // namespace

MedianKernels const& MedianKernelsScalar() {
  static MedianKernels const table = {Median3Row};
  return table;
}

MedianKernels const& MedianKernelsActive() {
  return simd::Pick(MedianKernelsScalar(), QUILP_VECTOR_TABLE(MedianKernelsSse41()),
                    QUILP_VECTOR_TABLE(MedianKernelsAvx2()));
}

bool DibMedian(DibView const& dst, DibView const& src, int bpp, int size) {
  if (size < 3 || size % 2 == 0 || size > 255 || (bpp != 1 && bpp != 3 && bpp != 4)) return false;
  std::vector<uint8_t> band;
  try {
    band.resize(size == 3 ? 3 * std::size_t(src.width) * bpp
                          : std::size_t(size) * (std::size_t(src.width) + size));
  } catch (std::bad_alloc const&) {
    return false;
  }
  if (size == 3) {
    MedianKernels const& k = MedianKernelsActive();
    int const n = src.width * bpp, last = src.height - 1;
    for (int i = 0; i < src.height; ++i) {
      int const y = StorageY(src, i);
      k.median3(src.Row(y > 0 ? y - 1 : 0), src.Row(y), src.Row(y < last ? y + 1 : last),
                dst.Row(y), n, bpp, band.data());
    }
    return true;
  }
  for (int c = 0; c < bpp; ++c) HistogramMedianChannel(dst, src, bpp, c, size, band);
  return true;
}

}  // namespace quilp
