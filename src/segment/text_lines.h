// text_lines.h - the lines of a text block at full resolution, from its letters.
//
// The letters (connected components of the page's ink whose centre lies in the block) are
// visited left to right. A letter at least half the block's typical letter height continues
// the line whose last letter overlaps it vertically by at least 0.4 of the shorter of the
// two, the line with the largest such overlap, or starts a line; following the last letter
// rather than the line's box lets a line drift with a skew of a few degrees without taking in
// its neighbours. Small marks (dots, commas, accents, hyphens) then join the line nearest
// their centre, and pieces of one line side by side are joined. Lines are returned top to
// bottom, each with its letters left to right. Cost: a component labelling of the page and a
// scan of the open lines per letter.
#pragma once

#include <vector>

#include "morph/components.h"
#include "segment/layout_types.h"

namespace quilp {

struct TextLine {
  Box box;
  std::vector<Box> letters;  // left to right
};

// The lines of the letters `letters` (boxes of one block's components, any order).
std::vector<TextLine> BuildLines(std::vector<Box> letters);

// The word boxes of a line: its letters grouped across gaps narrower than a third of the
// line's middle letter height (an inter-letter space is far less, a word space about that).
std::vector<Box> SplitWords(TextLine const& line);

}  // namespace quilp
