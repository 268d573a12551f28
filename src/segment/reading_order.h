// reading_order.h - the reading order of a page's blocks by recursive XY-cut.
//
// A set of boxes with a vertical white channel through it (a column of no box) is read
// column by column, left to right. Without one, it is cut across its horizontal gaps into
// bands, top to bottom; a band joins the bands above while they have columns and it closes
// none of their channels (two columns whose paragraphs happen to end at one height stay two
// columns). A band that bridges a channel (a title or a figure over the columns) breaks them
// and is read where it stands, and so is a band nearer to such a bridge below than to the
// columns above (the caption over a spanning table). Boxes that neither cut separates are
// read top to bottom, then left to right. Page numbers and running heads in bands of their
// own above or below the rest are read first and last. Cost: a sort per level (two more
// for each band joined), levels at most the number of boxes.
#pragma once

#include <vector>

#include "segment/layout_types.h"

namespace quilp {

// The indices of `boxes` in reading order. Bands at the top and bottom of the page whose boxes
// are all at most `marginHeight` tall and more than `marginHeight` away from the rest (page
// numbers, running heads) are read first and last.
std::vector<int> ReadingOrder(std::vector<Box> const& boxes, int marginHeight);

}  // namespace quilp
