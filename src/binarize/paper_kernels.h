// paper_kernels.h - row kernels of the paper-surface binarization (background_threshold.h).
//
// addColumns: one row added to the column sums of a band of rows (the block means).
// expand: a row of block levels interpolated along the row to every pixel, times 256.
// blend:  a pixel row of the paper surface from two block rows already interpolated along the
//         row (values times 256), weighted w / 256 toward the second, rounded once.
// decide: the 1-bit row: a pixel is black exactly when its level lies below the cut of its
//         paper level, cut[paper[x]] (a 256-entry table).
// The vector tables give exactly the scalar results.
#pragma once

#include <cstdint>

namespace quilp {

struct PaperKernels {
  // columns[x] += src[x] for x < n, modulo 2^16 (block sums: the caller keeps them below).
  void (*addColumns)(uint8_t const* src, uint16_t* columns, int n);
  // out[x] = a * 256 + (b - a) * weight[x] = a (256 - t) + b t, with a = blocks[left[x]] and
  // b = blocks[left[x] + 1], for x < n; weight[x] <= 256. left never decreases and rises by at
  // most 1 from one pixel to the next; blocks has 64 readable bytes past blocks[left[n - 1]]
  // (b is read even where the weight is 0).
  void (*expand)(uint8_t const* blocks, int32_t const* left, uint16_t const* weight,
                 uint16_t* out, int n);
  // out[x] = (a[x] * (256 - w) + b[x] * w + 32768) >> 16 for x < n; 0 <= w <= 256 and every
  // a[x], b[x] <= 65280 (255 * 256), so each result is a level 0..255.
  void (*blend)(uint16_t const* a, uint16_t const* b, int w, uint8_t* out, int n);
  // Writes the (width + 7) / 8 bytes of one 1-bit row, leftmost pixel in the most significant
  // bit: bit x is 0 exactly when src[x] < cut[paper[x]], and the bits past `width` are 1.
  void (*decide)(uint8_t const* src, uint8_t const* paper, uint8_t const cut[256],
                 uint8_t* bits, int width);
};
PaperKernels const& PaperKernelsScalar();
PaperKernels const& PaperKernelsSse41();
PaperKernels const& PaperKernelsAvx2();
PaperKernels const& PaperKernelsAvx512();
PaperKernels const& PaperKernelsActive();

}  // namespace quilp
