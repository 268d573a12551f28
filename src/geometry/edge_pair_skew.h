// edge_pair_skew.h - skew from pairs of upper-edge points of dark shapes (tangent x 1024).
#pragma once

#include "record/view.h"

namespace quilp {

// Finds the upper edges of the dark shapes of an 8-bit area and votes the slopes of point
// pairs two 20-column bands apart; tangent is the winning slope in units of 1/1024 (0 when
// nothing is found). False only when the point array cannot grow (tangent is then 0).
bool DibEdgePairSkew(DibView const& img, int& tangent);
// The paper level L of step 1: walking down from 255 through the histogram of the area less
// 5 pixels at every edge, the first level whose running count reaches half the whole area's
// pixels (width * height / 2); 0 when none does (always for areas 10 pixels or less across).
int EdgePairPaperLevel(DibView const& img);

// Slopes voted: -399..399 (units of 1/1024), held at counts[slope + kEdgePairSlopes].
inline constexpr int kEdgePairSlopes = 400;

// The slope chosen from the vote counts: scanning upward, a count at least the maximum
// becomes the maximum (the last of equal maxima wins), otherwise a count at least the
// runner-up's becomes the runner-up, each with its isolation flag (every count 1 to 3 slopes
// away is at most 0.2 times its own); the target is the maximum's count, or the runner-up's
// when the maximum is isolated, the runner-up is not and holds at least 5% of the maximum;
// the result is the last slope whose count equals the target and exceeds 5% of the maximum
// (0 when no slope has a vote).
int EdgePairSlope(int const* counts);

}  // namespace quilp
