// statistics.h - sample variance and covariance of 8-bit and 24-bit areas.
//
// Within a row, sums of values, squares and products are unsigned 32-bit integers (exact up to
// 66,051 pixels of 255 per row, wrapping beyond, as defined); after each row they are added to
// double accumulators. With N pixels, mean and mean of squares are formed first:
//   grey:   N * (Q/N - (S/N)^2) / (N - 1)            (covariance: P/N - (Sx/N)*(Sy/N))
//   colour: factor = N / (N - 1); factor * (Q_k/N - (S_k/N)^2) for each byte k.
// N below 2 is not guarded: the results are not numbers.
#pragma once

#include <cstdint>

#include "record/view.h"

namespace quilp {

// Row kernels: each writes the row's unsigned 32-bit sums; vector tables equal the scalar one.
struct StatKernels {
  // sums = {S, Q} over `width` grey pixels.
  void (*grey)(uint8_t const* p, int width, uint32_t sums[2]);
  // sums = {S0, S1, S2, Q0, Q1, Q2} over `width` three-byte pixels.
  void (*colour)(uint8_t const* p, int width, uint32_t sums[6]);
  // sums = {Sx, Sy, P} over `width` grey pixel pairs.
  void (*greyCross)(uint8_t const* x, uint8_t const* y, int width, uint32_t sums[3]);
  // sums = {Sx0..2, Sy0..2, P0..2} over `width` three-byte pixel pairs.
  void (*colourCross)(uint8_t const* x, uint8_t const* y, int width, uint32_t sums[9]);
};
StatKernels const& StatKernelsScalar();
StatKernels const& StatKernelsSse41();
StatKernels const& StatKernelsAvx2();
StatKernels const& StatKernelsActive();

// Scalar sums of pixels begin..end-1, added to `sums` (vector kernels finish rows with these).
void GreySumsFrom(uint8_t const* p, int begin, int end, uint32_t sums[2]);
void ColourSumsFrom(uint8_t const* p, int begin, int end, uint32_t sums[6]);
void GreyCrossFrom(uint8_t const* x, uint8_t const* y, int begin, int end, uint32_t sums[3]);
void ColourCrossFrom(uint8_t const* x, uint8_t const* y, int begin, int end, uint32_t sums[9]);

// Variance of the area (bytesPerPixel 1: result[0]; 3: result[0..2]).
void DibVariance(DibView area, int bytesPerPixel, double result[3]);

// Covariance of `first` with the same-sized area of `second` starting at second's top-left.
// When second's record has another depth it is read as if it had first's: each row is the run
// of bytes from second's row address, and bytes beyond its pixel area read as 0. False only
// when memory for that row copy cannot be had.
bool DibCovariance(DibView first, DibView second, int bytesPerPixel, double result[3]);

}  // namespace quilp
