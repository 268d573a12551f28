// hough_block.cpp - the fast Hough transform of one square block, both passes and the score.
//
// Mode 2 (nearly horizontal lines): lane c holds column c of the block, so the transform
// follows lines across the columns and slope t is a line that descends t rows (toward the
// visual bottom) from the first column to the last. Mode 1 (nearly vertical lines): lane r
// holds row r, and slope t moves t columns to the right from the top row to the bottom one.
// The mirror pass runs the same transform on the lanes in reverse order, which turns the
// lines the other way (rising to the right, or moving left going down).
//
// Each slope is scored over its N intercepts from S1 = sum sqrt(h), S2 = sum h, S3 = sum h^2:
// sqrt(max(0, (S3 - S2^2/N)/N)) / ((S1/N)^2 + 0.01). The best slope is the first maximum.
// Cost per pass: N^2 log2 N additions, N^2 square roots.
#include "geometry/hough_block.h"

#include <climits>

namespace quilp {
namespace {

// Loads the block's votes, row r into lane r (mode 1) or column c into lane c (mode 2).
void Load(DibHoughState& st, FhtKernels const& k, DibView const& block) {
  FhtLanes<int32_t>& lanes = st.accumulator;
  int const n = st.size;
  bool const invert = !st.polarity;
  if (st.mode == 1) {
    for (int r = 0; r < n; ++r) k.votes(block.Row(r), lanes.Lane(r), n, invert);
    return;
  }
  int r = 0;
  for (; r + 8 <= n; r += 8) {
    uint8_t const* rows[8];
    for (int j = 0; j < 8; ++j) rows[j] = block.Row(r + j);
    k.votes8(rows, lanes.Table(), r, n, invert);
  }
  for (; r < n; ++r) {  // blocks of fewer than 8 rows
    uint8_t const* row = block.Row(r);
    for (int c = 0; c < n; ++c) lanes.Lane(c)[r] = invert ? 255 - row[c] : row[c];
  }
}

// One pass: the best slope index and its integer score.
void Pass(DibHoughState& st, FhtKernels const& k, DibView const& block, bool mirror, int& slope,
          int& score) {
  FhtLanes<int32_t>& lanes = st.accumulator;
  Load(st, k, block);
  if (mirror) lanes.ReverseOrder();
  lanes.Run(k.wide);
  int const n = st.size;
  double best = 0.0;
  int bestSlope = 0;
  for (int t = 0; t < n; ++t) {
    double s1[4] = {0.0, 0.0, 0.0, 0.0};
    int64_t s2 = 0, s3 = 0;
    k.moments(lanes.Lane(t), n, s1, s2, s3);
    double const s = FhtSlopeScore(s1, s2, s3, n);
    if (t == 0 || s > best) {
      best = s;
      bestSlope = t;
    }
  }
  double const scaled = best * 65536.0;
  slope = bestSlope;
  score = scaled >= double(INT_MAX) ? INT_MAX : static_cast<int>(scaled);
}

}  // namespace

DibHoughState& HoughState() {
  static DibHoughState state;
  return state;
}

bool HoughPrepare(int logSize, bool vertical, bool polarity) {
  DibHoughState& st = HoughState();
  st.accumulator.Release();
  st.live = false;
  if (logSize < 0 || logSize > kHoughMaxLogSize) return false;
  st.logSize = logSize;
  st.size = st.secondSize = 1 << logSize;
  st.mode = vertical ? 1 : 2;
  st.polarity = polarity;
  st.live = st.accumulator.Allocate(logSize, st.size);
  return st.live;
}

void HoughBlock(DibView const& block, int& slope, int& score) {
  DibHoughState& st = HoughState();
  FhtKernels const& k = FhtKernelsActive();
  Pass(st, k, block, false, slope, score);
  int mirrorSlope = 0, mirrorScore = 0;
  Pass(st, k, block, true, mirrorSlope, mirrorScore);
  if (mirrorScore > score) {
    slope = -mirrorSlope;
    score = mirrorScore;
  }
}

bool HoughDone() {
  DibHoughState& st = HoughState();
  if (!st.live) return false;
  st.accumulator.Release();
  st.live = false;
  return true;
}

}  // namespace quilp
