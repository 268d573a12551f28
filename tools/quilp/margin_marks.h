// margin_marks.h - finds the dark scanner border and punch holes of a grey page.
#pragma once

#include "quilp/cli.h"

namespace quilp_cli {

struct MarginMarks {
  Dib mask;            // 8-bit, the page's size: 255 over the marks (grown a little), 0 elsewhere
  int borderPixels = 0;
  int holes = 0;
};

// Very dark areas touching the page's edge (the scanner's lid or bed showing around the sheet)
// and round dark blots of punch-hole size near the margins. mask is null when there are none
// (or memory ran out: then nothing is removed). dpi is the page's horizontal resolution.
MarginMarks FindMarginMarks(DibInfo const* grey, double dpi);

}  // namespace quilp_cli
