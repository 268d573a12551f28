// margin_marks.h - finds the dark scanner border and punch holes of a grey page.
#pragma once

#include "quilp/cli.h"

namespace quilp_cli {

struct MarginMarks {
  Dib mask;            // 8-bit, the searched image's size: 255 over the marks (grown a little)
  int borderPixels = 0;
  int holes = 0;
};

// Very dark areas touching the page's edge (the scanner's lid or bed showing around the sheet)
// and round dark blots of punch-hole size near the margins. mask is null when there are none
// (or memory ran out: then nothing is removed). dpi is the page's horizontal resolution.
// Looking at a reduced copy (WorkCopy) finds the same marks at a fraction of the cost.
MarginMarks FindMarginMarks(DibInfo const* grey, double dpi);

// Paints white (every byte 255) the pixels of an 8-, 24- or 32-bit image under the marks found
// on a copy reduced `factor` times: a mask pixel covers a factor x factor block of the image.
void ClearMarks(DibInfo* image, MarginMarks const& marks, int factor);

}  // namespace quilp_cli
