// tables.h - tables on the reduced page: ruled grids, and aligned columns of short cells.
//
// A ruled grid is a component whose row profile, summed over a few rows (each span from one
// row up to the drift of a rule skewed 2 degrees, so that cell text touching the rules does not
// fuse them), reaches most of its width at two or more places, and whose column profile does
// the same down its height. An unruled table shows as narrow text blocks standing
// side by side whose lines sit at the same heights: two or more of them, each under 1.2 inch
// wide, within 1.2 inch of each other with no vertical rule between, with most lines matched across. Horizontal rules of one
// width stacked above and below such columns (a table ruled at head and foot) join the table,
// as do rules that hug (within 0.08 inch) one block of their own width: cells too close to
// part. Table parts stacked within 0.12 inch (head, body, a last row fused with the foot rule)
// are one table.
// Cost: linear in the profile, quadratic in the (few dozen) blocks of a page.
#pragma once

#include <vector>

#include "segment/layout_types.h"
#include "segment/pictures.h"

namespace quilp {

bool IsRuledGrid(ComponentProfile const& profile, LayoutScale const& scale);

// Merges text blocks (with their reduced lines in `lines`, parallel to `regions`) that form
// unruled tables, and the rules that frame them, into table regions. Merged regions are marked
// with kind -1 for the caller to drop.
void FindTextTables(std::vector<Region>& regions, std::vector<std::vector<Box>> const& lines,
                    LayoutScale const& scale);

}  // namespace quilp
