// gutters.h - column gutters of the reduced page, and the gutter test for gaps in text rows.
//
// Column gutters are found from the page's white space before any line is built: a column
// of the smeared text image (word spaces under 0.12 inch already closed; pictures and tables
// filled in) whose neighbourhood 0.06 inch each way is free of text is a channel centre. Down
// each such column, the rows with ink within half an inch on both sides of the clear
// neighbourhood (looking 0.1 inch up and down too, across the space between lines) are its
// sided rows; a stretch of them, cut where half an inch passes without one, is a gutter
// piece when it is at least an inch long and 40% sided. Page margins have nothing beyond
// them; a run of aligned wide spaces in a justified column (a river) seldom lasts an inch.
// Side-by-side pieces sharing rows are one gutter. At one degree of skew an inch of gutter
// drifts under 0.02 inch, well inside the channel. Cost: a few word operations per reduced
// pixel for the sideways spreads, and one pass down each column.
//
// The gap test handles what is too short for a page gutter (a table's columns, a short
// section of two columns): a gap of at least 0.2 inch between two pieces of one row is a
// gutter when, walking up and down its middle column for three quarters of an inch (until a
// piece crosses it), two more pieces start where the right piece starts or end where the
// left one ends (to a hundredth of an inch), each either wider than a word (3/4 inch: the
// lines of a justified column beside the gap, whatever stands across it) or with text on
// the gap's other side of its row. A word-sized piece exactly as wide as the one it lines
// up with does not count: it is the same word one line down (the last words of justified
// lines all end at the margin). The cells of a table start together; a column starts its
// lines at one edge; the wide spaces of a justified line line up with nothing.
// A rule or page gutter across the gap is a gutter whatever the text around it.
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
