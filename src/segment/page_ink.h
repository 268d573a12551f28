// page_ink.h - the ink of a page to be segmented, at full and at reduced resolution.
//
// A 1-bit area is read as it is (black is ink). A grey area goes through the recommended
// adaptive binarization (paper surface and contrast), and every pixel more than 24 levels
// darker than the paper (the commonest level of the lighter half) is added to its ink, so a
// photograph stays solid where the adaptive threshold follows its tones; a colour area is
// first made grey as the mean of blue, green and red, so an all-black colour page is all ink
// rather than a failure. The working scale for layout is about 75 dpi: the page is OR-reduced by two per
// step (any ink in a 2 x 2 cell stays ink), twice at 300 dpi, once at 150, three times at
// 600. Cost: one binarization pass for grey pages, then a few word operations per 64 pixels.
#pragma once

#include "morph/ink_bits.h"
#include "quilp32.h"
#include "record/rect.h"

namespace quilp {

// Resolution assumed for a record that carries none, and the range the layout rules scale in.
inline constexpr int kLayoutDefaultDpi = 300;
inline constexpr int kLayoutMinDpi = 150;
inline constexpr int kLayoutMaxDpi = 600;

// The record's resolution in dots per inch, 0 read as 300 and kept within 150..600.
int LayoutDpi(DibInfo const* dib);

// The ink of `area` (a clamped area of a 1-, 8- or 24-bit record) into `ink`. False when
// memory runs out.
bool LoadPageInk(DibInfo const* dib, Area const& area, InkBits& ink);

// The reduction factor (2, 4 or 8) that brings `dpi` nearest 75 dpi.
int LayoutReduction(int dpi);

// `small` becomes `ink` OR-reduced by `factor` (a power of two). False when memory runs out.
bool ReduceInk(InkBits const& ink, int factor, InkBits& small);

}  // namespace quilp
