// threshold.cpp - the scalar band kernel (the definition), DibThresholdView and row placement.
//
// Each output byte starts all white and the pixels in the band clear their bit (bits past the
// width stay white). Cost: one read of the grey row, one write of an eighth of its size.
#include "binarize/threshold.h"

#include <cstdlib>
#include <cstring>

#include "simd/dispatch.h"

namespace quilp {
namespace {

// lo <= v < hi as one unsigned compare (range >= 1).
inline unsigned InBand(int v, int lo, unsigned range) { return unsigned(v - lo) < range; }

void MarkRow(uint8_t const* src, uint8_t* dst, int width, int lo, int hi) {
  if (hi <= lo) {  // an empty band: all white
    std::memset(dst, 255, static_cast<std::size_t>((width + 7) / 8));
    return;
  }
  unsigned const range = static_cast<unsigned>(hi - lo);
  int x = 0;
  for (; x + 8 <= width; x += 8) {  // a byte starts white; pixels in the band clear their bit
    unsigned byte = 0xFF;
    for (int j = 0; j < 8; ++j) byte &= ~(InBand(src[x + j], lo, range) << (7 - j));
    dst[x >> 3] = static_cast<uint8_t>(byte);
  }
  if (x < width) {  // the last byte: bits past the width stay white
    unsigned byte = 0xFF;
    for (int j = 0; x + j < width; ++j) byte &= ~(InBand(src[x + j], lo, range) << (7 - j));
    dst[x >> 3] = static_cast<uint8_t>(byte);
  }
}

}  // namespace

ThresholdKernels const& ThresholdKernelsScalar() {
  static ThresholdKernels const table = {MarkRow};
  return table;
}

ThresholdKernels const& ThresholdKernelsActive() {
  return simd::Pick(ThresholdKernelsScalar(), QUILP_VECTOR_TABLE(ThresholdKernelsSse41()),
                    QUILP_VECTOR_TABLE(ThresholdKernelsAvx2()));
}

void MarkBandRows(DibView const& dst, DibView const& src, LevelBand band, bool fillRow) {
  ThresholdKernels const& k = ThresholdKernelsActive();
  std::size_t const used = static_cast<std::size_t>((src.width + 7) / 8);
  std::size_t rowEnd = used;
  if (fillRow) {  // from the view's first byte to the end of the record's row
    std::size_t const stride = static_cast<std::size_t>(std::labs(static_cast<long>(dst.step)));
    std::size_t const first = static_cast<std::size_t>(dst.left / 8);
    rowEnd = stride > first ? stride - first : 0;
  }
  for (int y = 0; y < src.height; ++y) {
    uint8_t* const row = dst.Row(y);
    k.mark(src.Row(y), row, src.width, band.lo, band.hi);
    if (rowEnd > used) std::memset(row + used, 255, rowEnd - used);
  }
}

int DibThresholdView(DibView const& dst, DibView const& src, uint8_t threshold, bool invert) {
  if (src.width > dst.width || src.height > dst.height || dst.left % 8 != 0) return 0;
  MarkBandRows(dst, src, ThresholdBand(threshold, invert), false);
  return 1;
}

void PlaceBandRow(uint8_t const* src, uint8_t* dst, int offset, int width, LevelBand band,
                  uint8_t* scratch) {
  int const bytes = (width + 7) / 8;
  scratch[0] = 0;  // a zero byte on either side of the row's bits
  scratch[bytes + 1] = 0;
  ThresholdKernelsActive().mark(src, scratch + 1, width, band.lo, band.hi);
  PlaceBitRow(scratch, dst, offset, width);
}

void PlaceBitRow(uint8_t const* padded, uint8_t* dst, int offset, int width) {
  int const end = offset + width;  // bit positions offset..end-1 of dst receive the pixels
  for (int k = 0; k < (end + 7) / 8; ++k) {
    // Bits of dst byte k start at pixel 8k - offset: the low `offset` bits of row byte k - 1
    // followed by the high bits of row byte k (padded is shifted by one byte).
    unsigned const window = (unsigned(padded[k]) << 8) | padded[k + 1];
    unsigned const value = (window >> offset) & 0xFFu;
    int const from = offset - 8 * k > 0 ? offset - 8 * k : 0;
    int const to = end - 8 * k < 8 ? end - 8 * k : 8;
    unsigned const mask = (0xFFu >> from) & ~(0xFFu >> to) & 0xFFu;
    dst[k] = static_cast<uint8_t>((dst[k] & ~mask) | (value & mask));
  }
}

}  // namespace quilp
