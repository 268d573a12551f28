// halve.cpp - 2 x 2 reduction of 8-bit areas.
//
// Each result row reads its two source rows once and adds neighbouring pixels in 16 bits;
// the loop has no branch and no division, so the compiler vectorises it for the tier the
// library is built for. Blocks at the right and bottom edges hold 2 or 1 pixels and round
// the same way, (sum + n/2) / n. When the height is even, the rows are visited in storage
// order (a bottom-up area upside down pairs the very same rows). Cost: one read of the area,
// a quarter of it written.
#include "scale/halve.h"

#include <cstdint>

namespace quilp {
namespace {

void PairRows(uint8_t const* a, uint8_t const* b, uint8_t* out, int width) {
  int const pairs = width / 2;
  for (int x = 0; x < pairs; ++x)
    out[x] = static_cast<uint8_t>((a[2 * x] + a[2 * x + 1] + b[2 * x] + b[2 * x + 1] + 2) >> 2);
  if (width & 1) out[pairs] = static_cast<uint8_t>((a[width - 1] + b[width - 1] + 1) >> 1);
}

void SingleRow(uint8_t const* a, uint8_t* out, int width) {
  int const pairs = width / 2;
  for (int x = 0; x < pairs; ++x)
    out[x] = static_cast<uint8_t>((a[2 * x] + a[2 * x + 1] + 1) >> 1);
  if (width & 1) out[pairs] = a[width - 1];
}

}  // namespace

void DibHalve8(DibView const& dst, DibView const& src) {
  DibView d = dst, s = src;
  if (s.height % 2 == 0) InStorageOrder(s, d);
  int const pairs = s.height / 2;
  for (int y = 0; y < pairs; ++y) PairRows(s.Row(2 * y), s.Row(2 * y + 1), d.Row(y), s.width);
  if (s.height & 1) SingleRow(s.Row(s.height - 1), d.Row(pairs), s.width);
}

}  // namespace quilp
