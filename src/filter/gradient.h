// gradient.h - Sobel and Scharr gradients of grey images: magnitude and quantised direction.
#pragma once

#include <cstdint>

#include "record/view.h"

namespace quilp {

enum class GradientKernel : int { kSobel = 0, kScharr = 1 };

// Smoothing weights across the derivative (side, centre) and the scale of a full step.
struct GradientWeights {
  int side, centre;
  float inverseScale;  // 1/4 (Sobel) or 1/16 (Scharr), exact in binary
};
GradientWeights WeightsOf(GradientKernel kernel);

// Row kernel of the magnitude: out[x] = min(255, (int)(sqrtf(gx^2 + gy^2) * inverseScale +
// 0.5f)) for the rows above, mid and below, columns beyond either end repeating the end one.
struct GradientKernels {
  void (*magnitude)(uint8_t const* above, uint8_t const* mid, uint8_t const* below, uint8_t* out,
                    int width, GradientWeights const& w);
};
GradientKernels const& GradientKernelsScalar();
GradientKernels const& GradientKernelsSse41();
GradientKernels const& GradientKernelsAvx2();
GradientKernels const& GradientKernelsActive();

// The scalar row kernel over columns from..to-1 (the vector kernels' ends).
void GradientMagnitudeRange(uint8_t const* above, uint8_t const* mid, uint8_t const* below,
                            uint8_t* out, int width, GradientWeights const& w, int from, int to);

// The magnitude image (directions 0) or the direction sectors (directions 2..128; 255 where
// the magnitude is below minMagnitude) of an 8-bit area into an 8-bit area of the same size.
void DibGradient(DibView const& dst, DibView const& src, GradientKernel kernel, int directions,
                 int minMagnitude);

// The grey (b + g + r + 1) / 3 of a 24-bit area into an 8-bit area of the same size.
void DibMeanGrey(DibView const& dst, DibView const& src);

}  // namespace quilp
