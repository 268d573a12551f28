// paper_kernels.cpp - the scalar paper-surface row kernels (the definition) and their dispatch.
//
// Cost per pixel: an add for the column sums, two multiplies for the blend; a table look-up and a compare for the decision.
#include "binarize/paper_kernels.h"

#include "binarize/bit_row.h"
#include "simd/dispatch.h"

namespace quilp {
namespace {

void AddColumns(uint8_t const* src, uint16_t* columns, int n) {
  for (int x = 0; x < n; ++x) columns[x] = static_cast<uint16_t>(columns[x] + src[x]);
}

void Expand(uint8_t const* blocks, int32_t const* left, uint16_t const* weight, uint16_t* out,
            int n) {
  for (int x = 0; x < n; ++x) {
    int const a = blocks[left[x]], b = blocks[left[x] + 1];
    out[x] = static_cast<uint16_t>(a * 256 + (b - a) * weight[x]);
  }
}

void Blend(uint16_t const* a, uint16_t const* b, int w, uint8_t* out, int n) {
  uint32_t const wa = uint32_t(256 - w), wb = uint32_t(w);
  for (int x = 0; x < n; ++x) out[x] = static_cast<uint8_t>((a[x] * wa + b[x] * wb + 32768) >> 16);
}

void Decide(uint8_t const* src, uint8_t const* paper, uint8_t const cut[256], uint8_t* bits,
            int width) {
  PackRow(bits, width, [&](int x) { return src[x] < cut[paper[x]]; });
}

}  // namespace

PaperKernels const& PaperKernelsScalar() {
  static PaperKernels const table = {AddColumns, Expand, Blend, Decide};
  return table;
}

PaperKernels const& PaperKernelsActive() {
  return simd::Pick(PaperKernelsScalar(), QUILP_VECTOR_TABLE(PaperKernelsSse41()),
                    QUILP_VECTOR_TABLE(PaperKernelsAvx2()), QUILP_VECTOR_TABLE(PaperKernelsAvx512()));
}

}  // namespace quilp
