// gutters.h - column gutters of the reduced page, and the gutter test for gaps in text rows.
//
// Column gutters are found from the page's white space before any line is built: a column
// of the smeared text image (word spaces under 0.12 inch already closed) whose neighbourhood
// 0.06 inch each way is free of text for at least an inch down the page is a channel centre;
// side-by-side centres whose runs share rows form one channel. A channel is a gutter when, on
// at least 40% of its rows, there is ink (text, tables or pictures) within half an inch on each
// side of it: page margins have nothing beyond them, and a run of aligned wide spaces in a
// justified column (a river) seldom lasts an inch. An inch of skew at one degree drifts under
// 0.02 inch, well inside the channel. Cost: a few word operations per reduced pixel for the
// horizontal spread, one pass per column for the runs, and a row walk per channel.
//
// The gap test handles what is too short for a page channel (a table's columns, a short
// section of two columns): a gap between two pieces of one row is a gutter when the white
// space through it runs on up or down the page (three quarters of an inch each way, stopping
// where the gap's middle column meets ink) beside text whose edges line up with the gap's:
// rows where the ink right of the gap starts where the right piece starts, or the ink left of
// it ends where the left piece ends, must number 30% of one walk. The wide spaces of a
// justified line line up with nothing; the cells of a table start together; a column starts
// its lines at one edge. A rule across the gap is a gutter whatever the text around it.
#pragma once

#include <vector>

#include "morph/ink_bits.h"
#include "segment/layout_types.h"

namespace quilp {

// The page's column gutters: boxes of channel centres (no text lies within 0.06 inch of one)
// on the reduced page, from the smeared text image `smear`, the `solid` boxes (pictures and
// tables, which no channel crosses) and all the ink `ink`. False when memory runs out.
bool FindGutters(InkBits const& smear, InkBits const& ink, std::vector<Box> const& solid,
                 LayoutScale const& scale, std::vector<Box>& gutters);

// Whether the gap between the pieces of text `p` and `q` (q right of p, on the same rows) is a
// gutter, among the reduced page's text `pieces`; `walls` are the boxes of its rules and
// gutters.
bool IsGutter(std::vector<Box> const& pieces, std::vector<Box> const& walls, Box const& p,
              Box const& q, LayoutScale const& scale);

}  // namespace quilp
