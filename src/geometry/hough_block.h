// hough_block.h - the prepared fast Hough transform of square blocks (the process-wide state
// behind DibHoughPrepare, DibHoughCompute and DibHoughDone).
#pragma once

#include "geometry/fast_hough.h"
#include "record/view.h"

namespace quilp {

// The only state the library keeps between calls. Not guarded: the host serialises the three
// calls that use it.
struct DibHoughState {
  int logSize = 0;     // n
  int size = 1;        // N = 2^n, the side of the blocks accepted
  int secondSize = 1;  // also N
  int mode = 0;        // 0 never prepared, 1 nearly vertical lines, 2 nearly horizontal lines
  bool polarity = false;  // false: a pixel votes 255 - value; true: its value
  bool live = false;   // the accumulator is allocated (between prepare and done)
  FhtLanes<int32_t> accumulator;
};
DibHoughState& HoughState();

// Largest log size accepted by HoughPrepare.
inline constexpr int kHoughMaxLogSize = 14;

// Records the geometry and allocates the accumulator, releasing any earlier one. False when
// logSize is outside 0..kHoughMaxLogSize or the allocation fails (the state is then
// unprepared).
bool HoughPrepare(int logSize, bool vertical, bool polarity);
// Both passes over an N x N block of 8-bit pixels: slope in 0..N-1 from the first pass, or the
// negated slope of the mirror pass when its integer score is strictly greater; score is the
// winner's score times 65536, truncated. The state must be live.
void HoughBlock(DibView const& block, int& slope, int& score);
// Releases the accumulator; false when nothing is live.
bool HoughDone();

}  // namespace quilp
