// hough_rows.h - row kernels of the page transform: ink sums, lane copies, shifted sums, row
// scores and the scaling to bytes.
#pragma once

#include <cstdint>

namespace quilp {

// Vector tables must equal the scalar one bit for bit.
struct HoughRowKernels {
  // Sixteen rows dealt to lanes: for x < lanes and r < 16,
  //   out[x][r] = ((sum over the columns c in [first[x], first[x + 1]) of
  //                 max(0, paper - rows[r][c])) * scale[x]) >> 16,
  // the ink sums staying below 65536 (at most 257 columns a lane).
  void (*bandRows16)(uint8_t const* const* rows, int paper, int const* first,
                     uint16_t const* scale, int lanes, uint16_t* const* out);
  // lane[c] += max(0, paper - row[c]) for c < count.
  void (*addInk)(uint8_t const* row, int count, int paper, uint16_t* lane);
  // dst[c] = src[c] for c < count.
  void (*widen)(uint16_t const* src, int32_t* dst, int count);
  // acc[c] += src[c] for c < count (16-bit, wrapping).
  void (*accumulate)(uint16_t const* src, uint16_t* acc, int count);
  // dst[i] = src[i / times] for i < count (times >= 1).
  void (*spread)(uint8_t const* src, uint8_t* dst, int count, int times);
  // Sum over c + 1 < count of (row[c + 1] - row[c])^2; `top` becomes the larger of itself
  // and the row's values.
  int64_t (*rowScore)(uint16_t const* row, int count, int& top);
  // dst[c] = (uint8_t)(float(src[c]) * scale + 0.5f) for values that land in 0..255.
  void (*toBytes)(uint16_t const* src, uint8_t* dst, int count, float scale);
  // Sum over c + 1 < count of (row[c + 1] - row[c])^2 for a row of bytes.
  int64_t (*byteSharpness)(uint8_t const* row, int count);
};
HoughRowKernels const& HoughRowKernelsScalar();

// True when every band of bandRows16 starts on a multiple of four columns (or at the end):
// the vector kernels then sum the columns four at a time.
static inline bool BandsInGroupsOfFour(int const* first, int lanes) {
  for (int x = 0; x < lanes; ++x)
    if ((first[x] & 3) && first[x] != first[lanes]) return false;
  return true;
}
HoughRowKernels const& HoughRowKernelsSse41();
HoughRowKernels const& HoughRowKernelsAvx2();
HoughRowKernels const& HoughRowKernelsActive();

}  // namespace quilp
