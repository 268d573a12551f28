// hough_transform.h - the Hough transform image of a grey page and its peak search.
#pragma once

#include "quilp32.h"
#include "geometry/row_table.h"
#include "record/view.h"

namespace quilp {

// The margins DibHoughGetAngle fades: a tenth of the height, at most 200 rows, each side.
inline constexpr int kFadeRowCap = 200;
inline constexpr double kFadeFraction = 0.1;
// Modes of the transform: lines nearly vertical or nearly horizontal.
inline constexpr int kHoughModeVertical = 1;
inline constexpr int kHoughModeHorizontal = 2;
// Peak positions are given in 1/256 rows.
inline constexpr int kHoughPeakScale = 256;

// Geometry of the transform of an area: lines cross `across` pixels (the width for nearly
// horizontal lines, the height for nearly vertical ones) and are counted along `along`.
struct HoughGeometry {
  int across = 0, along = 0;
  int reach = 0;        // drifts -reach..reach-1 rows; reach = ceil(0.18 across), at least 1
  int positions = 0;    // along + reach: every line that meets the area
  int bands = 0;        // bands of pixels across (a power of two, about reach / 2)
  int pool = 1;         // rows pooled into one coarse position (4 for pages)
  int coarseLanes = 0;  // lanes of the coarse transform (a power of two dividing bands)
};
HoughGeometry HoughGeometryFor(int across, int along);
// The paper level the ink is measured from: the median grey level (the lower of two middle
// values), from every other pixel of every sixteenth row starting at row 8 when the area is at
// least 16 wide and 128 high, else from every pixel.
int HoughPaperLevel(RowTable const& src);

// The transform of an 8-bit area (mode 2: nearly horizontal lines, mode 1: nearly vertical),
// as a new top-down record of depth 8 or 32. Null on allocation failure.
DibInfo* HoughTransformImage(RowTable const& src, int mode, int depth);

// The strongest row of a transform record (8 or 32 bits): position in 1/256 rows, value the
// row's score. False when the record has no row to score.
bool HoughPeak(DibInfo const* transform, int radius, int measure, int& position, int& value);

}  // namespace quilp
