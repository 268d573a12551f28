// fade_borders.h - blends the top and bottom margins of a grey page into its border level.
#pragma once

#include <cstdint>
#include <vector>

#include "geometry/row_table.h"
#include "record/view.h"

namespace quilp {

// Writes src into dst (which may be the same area) with the first and last k rows faded,
// k = min(rowCap, (int)(H * fraction + 0.5)):
//   background B = *background when given, else, with m_i = (sum of top row i + sum of
//   bottom row H-1-i + W/2) div W, A = sum i*m_i, Q = sum i^2*m_i (i < k):
//   B = clamp(((Q div k^2 - ((A div k + 1) div 2)) * 6) div k, 0, 255);
//   row i and row H-1-i (i < k), weight w = (int)(i/k * 256 + 0.5):
//   p' = (B*256 - B*w + 128 + p*w) >> 8, so row 0 becomes B;
//   rows k..H-k-1 are copied unchanged.
// False when dst is narrower or lower than src.
bool DibFadeBorders(DibView const& src, DibView const& dst, int rowCap, double fraction,
                    int const* background);

// The same fade without a copy of the page: the 2k faded rows are written to `margins` and
// `rows` lists them with the source's middle rows, giving the pixels DibFadeBorders would
// write into a copy.
void FadedRows(DibView const& src, int rowCap, double fraction, std::vector<uint8_t>& margins,
               RowTable& rows);

}  // namespace quilp
