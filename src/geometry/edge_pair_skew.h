// edge_pair_skew.h - skew from pairs of upper-edge points of dark shapes (tangent x 1024).
#pragma once

#include "record/view.h"

namespace quilp {

// Finds the upper edges of the dark shapes of an 8-bit area and votes the slopes of point
// pairs two 20-column bands apart; tangent is the winning slope in units of 1/1024 (0 when
// nothing is found). False only when the point array cannot grow (tangent is then 0).
bool DibEdgePairSkew(DibView const& img, int& tangent);

}  // namespace quilp
