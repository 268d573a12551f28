// resample_run.h - the inner loop of affine bilinear resampling of 8-bit images: a run of
// destination pixels whose four taps all lie inside the source, scalar and per vector tier
// (SSE4.1 and AVX2: four and eight pixels of a slight turn per step; AVX-512: sixteen
// pixels of any turn).
#pragma once

#include <cstddef>
#include <cstdint>

namespace quilp {

// Fills out[0..n) with the bilinear samples at source positions (X + u dx, Y + u dy), in
// 1/2^32 pixel, u = 0..n-1, of the 8-bit image whose row r starts at origin + r * step.
// Every position of the run must have its taps (x, y) .. (x + 1, y + 1) inside the image.
// Weights are the top 8 fraction bits; each sample is rounded half up.
struct ResampleRunKernels {
  void (*bilinear8)(uint8_t const* origin, std::ptrdiff_t step, int64_t X, int64_t Y, int64_t dx,
                    int64_t dy, int n, uint8_t* out);
};

ResampleRunKernels const& ResampleRunKernelsScalar();
ResampleRunKernels const& ResampleRunKernelsSse41();
ResampleRunKernels const& ResampleRunKernelsAvx2();
ResampleRunKernels const& ResampleRunKernelsAvx512();
// The active tier's table.
ResampleRunKernels const& ResampleRunKernelsActive();

}  // namespace quilp
