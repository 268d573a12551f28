// row_table.h - an 8-bit area given as one pointer per visual row.
//
// The page transform reads its source through this, so that a page whose margins are faded
// can be read without copying its middle: the faded rows come from a small buffer, the rest
// straight from the page.
#pragma once

#include <cstdint>
#include <vector>

#include "record/view.h"

namespace quilp {

struct RowTable {
  int width = 0, height = 0;
  std::vector<uint8_t const*> rows;  // visual row y at rows[y]
  uint8_t const* Row(int y) const { return rows[std::size_t(y)]; }
};

// The rows of a view.
inline RowTable RowsOf(DibView const& v) {
  RowTable t;
  t.width = v.width;
  t.height = v.height;
  t.rows.resize(std::size_t(v.height > 0 ? v.height : 0));
  for (int y = 0; y < v.height; ++y) t.rows[std::size_t(y)] = v.Row(y);
  return t;
}

}  // namespace quilp
