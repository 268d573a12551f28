// grey_projection.h - projection of 24-bit colour onto one direction, stretched to 0..255.
#pragma once

#include <cstdint>

#include "record/view.h"

namespace quilp {

// The per-pixel transform, fixed before the pixel pass:
//   g = clamp((b0*w[0] + b1*w[1] + b2*w[2] - min) / q, 0, 255)   (division truncates)
//   and when k >= 1: g = min(g + (round(|b - mean(b)|) * k + 8) / 16, 255).
struct GreyTransform {
  int32_t w[3];
  int32_t min;
  int32_t q;
  int32_t k;
};

// The float reciprocal the vector kernels estimate quotients with: 1/q lowered by 2^-20, so
// that float(n) * RcpBelow(q) never exceeds n/q and falls short of it by less than 3e-4 for
// quotients up to 256. The estimate is then floor(n/q) or one less, and a single test of the
// remainder (r >= q) makes it exact. Larger quotients only ever clamp to 255.
static inline float RcpBelow(int32_t q) { return static_cast<float>(1.0 / q * (1.0 - 1.0 / 1048576.0)); }

// Row kernels of the family; vector tables must equal the scalar one bit for bit.
struct GreyKernels {
  // Transforms `width` BGR pixels of src into dst.
  void (*project)(uint8_t const* src, uint8_t* dst, int width, GreyTransform const& t);
  // Adds the row's sums of b_i * b_j to sums: [00, 11, 22, 01, 02, 12].
  void (*moments)(uint8_t const* src, int width, uint64_t sums[6]);
};
GreyKernels const& GreyKernelsScalar();
GreyKernels const& GreyKernelsSse41();
GreyKernels const& GreyKernelsAvx2();
GreyKernels const& GreyKernelsAvx512();
GreyKernels const& GreyKernelsActive();

// Direction and range: builds the transform from a direction vector (step 2 to 5 of the
// projection). False when the direction is zero or the range is empty.
bool MakeGreyTransform(double const d[3], bool blackWhiteOnly, int colourWeight,
                       GreyTransform& t);

// The whole projection of a 24-bit area into an 8-bit area of the same size. colour is three
// bytes (blue, green, red) or null for the area's own main axis; centred subtracts 128 from the
// reference and takes the range from black and white only.
bool DibGreyProjection(DibView dst, DibView src, unsigned char const* colour, bool centred,
                       int colourWeight);

}  // namespace quilp
