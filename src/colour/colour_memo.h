// colour_memo.h - remembering the grey of each colour met, for per-pixel conversions that are
// costly and depend on the pixel's colour alone (the colour-set dropout).
#pragma once

#include "colour/colour_dropout.h"
#include "record/view.h"

namespace quilp {

using ColourSetRowFn = void (*)(uint8_t const* src, uint8_t* dst, int width, ColourSets const& sets);

// Runs `row` over every row of a 24-bit area into an 8-bit area of the same size, with a memo
// of the colours already converted. The result is exactly that of `row` on each row.
void DibMemoColourRows(DibView dst, DibView src, ColourSetRowFn row, ColourSets const& sets);

}  // namespace quilp
