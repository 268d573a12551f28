// gutters.h - telling a column gutter from a wide space inside a line, on the reduced page.
//
// A gap between two pieces of text on one row is a gutter when the white space through it
// runs on up or down the page with text beside it: walking up from above the two pieces and
// down from below them (three quarters of an inch each way, stopping where the gap's middle
// column meets ink), the rows of the two walks with ink within half an inch left
// of the gap and within half an inch right of it (ragged lines end short of the gutter) number at least 30% of one walk. A wide space of a justified line ends at
// the next line; the space between the words of a title opens on the margin above it, with
// nothing beside, and ends on the text below it. A rule across the gap is a gutter
// whatever the text around it. Cost: a few word tests per row walked, for the few gaps wider
// than a word space.
#pragma once

#include <vector>

#include "morph/ink_bits.h"
#include "segment/layout_types.h"

namespace quilp {

// Whether columns g0..g1, between two pieces of text covering rows top..bottom, are a gutter:
// the walk stops on `text` (the reduced text ink), the sides look at `ink` (all of it, so a
// table or picture beside a gutter counts).
// `walls` are the boxes of the page's rules.
bool IsGutter(InkBits const& text, InkBits const& ink, std::vector<Box> const& walls, int top,
              int bottom, int g0, int g1, LayoutScale const& scale);

}  // namespace quilp
