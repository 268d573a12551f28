// hough_rows.cpp - scalar row kernels of the page transform (the definitions).
#include "geometry/hough_rows.h"

#include "simd/dispatch.h"

namespace quilp {
namespace {

inline int Ink(int paper, int v) { return paper > v ? paper - v : 0; }

void BandRows16(uint8_t const* const* rows, int paper, int const* first, uint16_t const* scale,
                int lanes, uint16_t* const* out) {
  for (int x = 0; x < lanes; ++x)
    for (int r = 0; r < 16; ++r) {
      int s = 0;
      for (int c = first[x]; c < first[x + 1]; ++c) s += Ink(paper, rows[r][c]);
      out[x][r] = static_cast<uint16_t>((uint32_t(s) * scale[x]) >> 16);
    }
}

void AddInk(uint8_t const* row, int count, int paper, uint16_t* lane) {
  for (int c = 0; c < count; ++c) lane[c] = static_cast<uint16_t>(lane[c] + Ink(paper, row[c]));
}

void Widen(uint16_t const* src, int32_t* dst, int count) {
  for (int c = 0; c < count; ++c) dst[c] = src[c];
}

void Accumulate(uint16_t const* src, uint16_t* acc, int count) {
  for (int c = 0; c < count; ++c) acc[c] = static_cast<uint16_t>(acc[c] + src[c]);
}

void Spread(uint8_t const* src, uint8_t* dst, int count, int times) {
  for (int i = 0; i < count; ++i) dst[i] = src[i / times];
}

int64_t RowScore(uint16_t const* row, int count, int& top) {
  int64_t s = 0;
  int m = top;
  for (int c = 0; c < count; ++c) {
    m = row[c] > m ? row[c] : m;
    if (c + 1 < count) {
      int64_t const d = int64_t(row[c + 1]) - row[c];
      s += d * d;
    }
  }
  top = m;
  return s;
}

void ToBytes(uint16_t const* src, uint8_t* dst, int count, float scale) {
  for (int c = 0; c < count; ++c) dst[c] = static_cast<uint8_t>(float(src[c]) * scale + 0.5f);
}

int64_t ByteSharpness(uint8_t const* row, int count) {
  int64_t s = 0;
  for (int c = 0; c + 1 < count; ++c) {
    int const d = row[c + 1] - row[c];
    s += d * d;
  }
  return s;
}

}  // namespace

HoughRowKernels const& HoughRowKernelsScalar() {
  static HoughRowKernels const table = {BandRows16, AddInk, Widen,        Accumulate,
                                        Spread,     RowScore, ToBytes, ByteSharpness};
  return table;
}

HoughRowKernels const& HoughRowKernelsActive() {
  return simd::Pick(HoughRowKernelsScalar(), QUILP_VECTOR_TABLE(HoughRowKernelsSse41()),
                    QUILP_VECTOR_TABLE(HoughRowKernelsAvx2()));
}

}  // namespace quilp
