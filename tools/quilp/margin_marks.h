// margin_marks.h - finds the dark scanner border and punch holes of a grey page.
#pragma once

#include <vector>

#include "quilp/cli.h"

namespace quilp_cli {

// Pixels [x0, x1) of visual row y.
struct MarkRun {
  int y, x0, x1;
};

struct MarginMarks {
  // The marks grown a little, as runs of the searched image: disjoint, in row order, left to
  // right within a row. Empty when there are none.
  std::vector<MarkRun> cover;
  int borderPixels = 0;
  int holes = 0;
};

// Very dark areas touching the page's edge (the scanner's lid or bed showing around the sheet)
// and round dark blots of punch-hole size near the margins. dpi is the page's horizontal
// resolution. Looking at a reduced copy (WorkCopy) finds the same marks at a fraction of the
// cost.
MarginMarks FindMarginMarks(DibInfo const* grey, double dpi);

// Paints white (every byte 255) the pixels of an 8-, 24- or 32-bit image under the marks found
// on a copy reduced `factor` times: a pixel of that copy covers a factor x factor block of the
// image (cut at its right and bottom edges).
void ClearMarks(DibInfo* image, MarginMarks const& marks, int factor);

}  // namespace quilp_cli
