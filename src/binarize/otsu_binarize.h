// otsu_binarize.h - binarization by a band of Otsu classes.
//
// With t[] the class thresholds of a histogram (two classes: t[0]; three: t[0], t[1]; an
// unset three-class threshold counts as 0), classes `from`..`to` give the bounds
//   lower = from > 0 ? t[from - 1] : 0,   upper = to < classes - 1 ? t[to] : 255,
// and the black levels are lower <= v < upper, or with inversion v < lower and v >= upper
// (that is upper <= v < lower: with from <= to nothing at all). The band is half-open, so
// level 255 is never black without inversion. For example classes 3, from 1, to 1 blackens the
// middle class t[0]..t[1]-1; classes 3, from 2, to 0 inverted blackens the same levels.
#pragma once

#include "binarize/threshold.h"
#include "record/view.h"

namespace quilp {

// classes 2 or 3, 0 <= from < classes, 0 <= to < classes (in either order).
bool OtsuBandArgsValid(int classes, int from, int to);

// The band of black levels of a histogram; false when memory runs out.
bool OtsuBand(int const hist[256], int classes, int from, int to, bool invert, LevelBand& band);

// Histogram of src (extremes dropped with ignoreExtremes), Otsu thresholds and the band
// written into dst, whose rows are first set to 255 over the whole row (padding included).
// dst must start at a byte and be at least as large as src. Returns 1, or 0 for rejected
// arguments, an unusable destination or exhausted memory.
int DibOtsuBinarizeView(DibView const& dst, DibView const& src, int classes, int from, int to,
                        bool invert, bool ignoreExtremes);

}  // namespace quilp
