// text_blocks.h - text lines and blocks on the reduced page.
//
// 1. Smear: the runs of the text components are joined along each row across gaps up to
//    0.12 inch (an inter-word space of body text, well under a column gutter); the connected
//    pieces of the smeared page are words or runs of words. The page's column gutters are
//    found from its white space (gutters.h). Pieces sharing a row band are then joined
//    across any space up to 0.6 inch unless a gutter or a rule crosses it or the gap test
//    of gutters.h calls it one; a wider space is joined when a line so joined, of like
//    height, just above or below spans both pieces. Pieces overlapping on most of their
//    rows (an i's dot over its line) are one.
// 2. Blocks: a line joins the line below it when each is the other's only near neighbour
//    (the nearest line below overlapping it in x, and no second one within 0.03 inch of that
//    distance), the gap is under 0.9 of the smaller height, and the heights differ by less
//    than half (or the gap is under 0.4 of the smaller: the last line under a paragraph whose
//    other lines touch), and neither line reaches across a gutter or rule that the other
//    stands beside. A title over two columns has two lines below it and stays apart (and
//    when skew brings one column's first line nearer, that line stands beside the gutter the
//    title spans), so no block crosses a gutter. Blocks left with the same left and right
//    edges one under the other are then joined (a paragraph cut where two of its lines
//    touched).
// Cost: one pass over the runs, a component labelling of the smeared page, the gutter search
// (gutters.h), a scan of the nearby pieces per wide gap, and a sort of the lines with a short
// scan per line.
#pragma once

#include <vector>

#include "morph/components.h"
#include "segment/layout_types.h"

namespace quilp {

struct TextLayout {
  std::vector<Box> blocks;               // reduced coordinates
  std::vector<std::vector<Box>> lines;   // the lines of each block, top to bottom
};

// Lines and blocks of the components of `map` whose `isText` entry is set, on the reduced
// page `ink` whose rules are `walls` (no line or block is joined across one, nor across a
// column gutter); text runs inside the `covered` boxes (pictures, tables) are left out.
// False when memory runs out.
bool FindTextBlocks(ComponentMap const& map, std::vector<char> const& isText, InkBits const& ink,
                    std::vector<Box> const& walls, std::vector<Box> const& covered,
                    LayoutScale const& scale, TextLayout& out);

}  // namespace quilp
