// differ.h - per-pixel differences of a test area and a reference area, as an image or a sum.
//
// A row is a run of bytes (an 8-bit pixel is one byte, a 24-bit pixel three); byte i of a row
// is differenced with offset[i % 3]. With d = t + offset - e:
//   absolute method:   min(|d|, 255);     one-sided method:   min(max(d, 0), 255).
#pragma once

#include <cstddef>
#include <cstdint>

#include "record/view.h"

namespace quilp {

enum DifferMethod : int { kDifferAbsolute = 0, kDifferOneSided = 1 };

// Offsets lie in -510..510: beyond that every difference is already 0 or 255 (|t - e| <= 255),
// so any offset is first brought into the range, where d fits 16-bit lanes.
constexpr int kDifferOffsetBound = 510;
constexpr int kDifferPatternLength = 64;

struct DifferRule {
  int16_t offset[3];
  int method;
  bool zeroOffsets;
  // offset[i % 3] for i < 64: vector kernels load the offsets of their lanes from here.
  int16_t pattern[kDifferPatternLength];
};

// The rule for byte offsets o0, o1, o2 (brought into range) and a method.
DifferRule MakeDifferRule(int64_t o0, int64_t o1, int64_t o2, int method);

// The difference of one byte: the definition every kernel matches.
static inline int Difference(int t, int e, int offset, int method) {
  int const d = t + offset - e;
  int const v = method == kDifferAbsolute ? (d < 0 ? -d : d) : (d < 0 ? 0 : d);
  return v > 255 ? 255 : v;
}

// Bytes begin..end-1 of a row, one at a time (vector kernels finish their rows with these).
void DifferImageBytes(uint8_t const* t, uint8_t const* e, uint8_t* out, std::ptrdiff_t begin,
                      std::ptrdiff_t end, DifferRule const& rule);
uint64_t DifferSumBytes(uint8_t const* t, uint8_t const* e, std::ptrdiff_t begin,
                        std::ptrdiff_t end, DifferRule const& rule);

// The SSE4.1 kernels on bytes begin..end-1 of a row (the AVX2 kernels finish rows with these).
void DifferImageSse41(uint8_t const* t, uint8_t const* e, uint8_t* out, std::ptrdiff_t begin,
                      std::ptrdiff_t end, DifferRule const& rule);
uint64_t DifferSumSse41(uint8_t const* t, uint8_t const* e, std::ptrdiff_t begin,
                        std::ptrdiff_t end, DifferRule const& rule);

// Row kernels of the family; vector tables must equal the scalar one exactly.
struct DifferKernels {
  // out[i] = difference of t[i] and e[i], for i < bytes.
  void (*image)(uint8_t const* t, uint8_t const* e, uint8_t* out, std::ptrdiff_t bytes,
                DifferRule const& rule);
  // The sum of the differences of t[i] and e[i], for i < bytes.
  uint64_t (*sum)(uint8_t const* t, uint8_t const* e, std::ptrdiff_t bytes, DifferRule const& rule);
};
DifferKernels const& DifferKernelsScalar();
DifferKernels const& DifferKernelsSse41();
DifferKernels const& DifferKernelsAvx2();
DifferKernels const& DifferKernelsActive();

// Differences of the reference area's width x height pixels: output row r, column c takes
// test pixel (c, r) and reference pixel (c, r) of their areas. bytesPerPixel is 1 or 3.
void DibDifferImage(DibView out, DibView test, DibView ref, int bytesPerPixel,
                    DifferRule const& rule);
// Their sum, row by row; when stopLimit is not negative the sum stops after the first row
// that takes it above stopLimit.
int64_t DibDifferSum(DibView test, DibView ref, int bytesPerPixel,
                     DifferRule const& rule, int64_t stopLimit);

}  // namespace quilp
