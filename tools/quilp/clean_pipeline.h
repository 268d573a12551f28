// clean_pipeline.h - the steps that turn one scanned page into a clean one, in order.
#pragma once

#include <string>
#include <vector>

#include "quilp/cli.h"

namespace quilp_cli {

enum class OutputDepth { Binary, Grey, Colour, Auto };

struct CleanSettings {
  bool orient = true, deskew = true, margins = true, flatten = true, despeckle = true;
  bool dropout = true;  // coloured ink made light in the grey the steps work on
  OutputDepth depth = OutputDepth::Binary;
};

// What was done to one page, for the per-page line and the JSON report.
struct PageReport {
  int quarterTurns = 0;          // clockwise quarter turns applied to make the page upright
  bool orientChecked = false;
  double skewDegrees = 0.0;      // measured skew (positive: lines descend to the right)
  bool skewMeasured = false, deskewed = false;
  int borderPixels = 0, holes = 0;
  bool colourDropped = false;    // coloured ink made light in the work grey
  bool flattened = false, despeckled = false;
  int outputBits = 0;
  double milliseconds = 0.0;     // wall time of the steps (no file input or output)
  double cpuMilliseconds = 0.0;  // processor time of the cleaning thread for the same steps
};

// The cleaned page, or a CliError saying which step failed.
Dib CleanPage(DibInfo const* page, CleanSettings const& settings, PageReport& report);

}  // namespace quilp_cli
