// page_layout.h - the segmentation of one page area, step by step.
//
//  1. Ink: the area's ink at full resolution and OR-reduced to about 75 dpi (page_ink.h).
//  2. Components of the reduced ink (8-connected): long thin ones are rules (rules.h); large
//     ones are pictures, ruled tables, line art or masses of text (pictures.h). Pictures,
//     tables and line art take every component lying mostly inside them.
//  3. The remaining components are text: smeared into lines and grouped into blocks
//     (text_blocks.h); side-by-side columns of short cells become tables (tables.h); a text
//     block smaller than 0.05 inch each way is noise.
//  4. Boxes go back to full resolution, are shrunk to the ink they hold, and are put in
//     reading order (reading_order.h).
//  5. For the hierarchy, the letters of each text block form its lines and words
//     (text_lines.h).
// Cost on an A4 page at 300 dpi: one pass over the page's bits and work on the reduced page
// (an eighth of a megapixel) for blocks; a component labelling of the full page for lines.
#pragma once

#include <vector>

#include "morph/components.h"
#include "morph/ink_bits.h"
#include "quilp32.h"
#include "record/rect.h"
#include "segment/layout_types.h"

namespace quilp {

struct PageAnalysis {
  LayoutScale scale;
  InkBits ink;    // the area at full resolution
  InkBits small;  // OR-reduced by scale.factor
  std::vector<Region> regions;  // area coordinates, in reading order
};

// Steps 1 to 4. `full` false stops after the first grouping (no tables of text columns, no
// shrinking to the ink): the quick candidate regions of a pre-segmentation. False when memory
// runs out.
bool AnalysePage(DibInfo const* dib, Area const& area, bool full, PageAnalysis& page);

// Step 1 alone.
bool LoadAnalysisInk(DibInfo const* dib, Area const& area, PageAnalysis& page);

// The zones of `blocks` (area coordinates), in this order: blocks, then the lines of each text
// block, then the words of each line. With `hierarchy` false only the blocks. Block order
// follows `blocks`; their `order` fields are their positions. False when memory runs out.
bool LayoutZones(PageAnalysis const& page, std::vector<Region> const& blocks, bool hierarchy,
                 std::vector<LayoutZone>& zones);

// The kind and confidence a given box of the page has, from the regions found on it.
Region Reclassify(PageAnalysis const& page, Box const& box);

// `regions` sorted into reading order.
void SortReadingOrder(std::vector<Region>& regions, LayoutScale const& scale);

}  // namespace quilp
