// reading_order.h - the reading order of a page's blocks by recursive XY-cut.
//
// A set of boxes with a vertical white channel through it (a column of no box) is read
// column by column, left to right. Without one, it is cut across its horizontal gaps into
// bands, top to bottom; neighbouring bands whose union still has a vertical channel are read
// together (two columns whose paragraphs happen to end at one height stay two columns), while
// a band that bridges the channel (a title or a figure over both columns) breaks the columns
// and is read where it stands. Boxes that neither cut separates are read top to bottom, then
// left to right. Page numbers and running heads in bands of their own above or below the
// rest are read first and last. Cost: a sort per level, levels at most the number of boxes.
#pragma once

#include <vector>

#include "segment/layout_types.h"

namespace quilp {

// The indices of `boxes` in reading order. Bands at the top and bottom of the page whose boxes
// are all at most `marginHeight` tall (page numbers, running heads) are read first and last.
std::vector<int> ReadingOrder(std::vector<Box> const& boxes, int marginHeight);

}  // namespace quilp
