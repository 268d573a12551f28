// grey_gradient.cpp - the fused 3 x 3 morphological gradient (see grey_gradient.h).
#include "morph/grey_gradient.h"

#include <cstdint>
#include <exception>
#include <new>
#include <vector>

namespace quilp {
namespace {

// lo / hi = minimum / maximum of in over x - 1 .. x + 1, cut at the row's ends.
void RowExtremes(uint8_t* lo, uint8_t* hi, uint8_t const* in, int w) {
  if (w == 1) {
    lo[0] = hi[0] = in[0];
    return;
  }
  lo[0] = in[0] < in[1] ? in[0] : in[1];
  hi[0] = in[0] > in[1] ? in[0] : in[1];
  for (int x = 1; x < w - 1; ++x) {
    uint8_t const a = in[x - 1], b = in[x], c = in[x + 1];
    uint8_t const m = a < b ? a : b, n = a > b ? a : b;
    lo[x] = m < c ? m : c;
    hi[x] = n > c ? n : c;
  }
  uint8_t const a = in[w - 2], b = in[w - 1];
  lo[w - 1] = a < b ? a : b;
  hi[w - 1] = a > b ? a : b;
}

}  // namespace

bool GreyGradient3x3(DibView const& dst, DibView const& src, int kind) {
  int const w = src.width, h = src.height;
  if (w <= 0 || h <= 0) return true;
  std::vector<uint8_t> ring;
  try {
    ring.resize(6 * std::size_t(w));
  } catch (std::exception const&) {
    return false;
  }
  // Slot of source row y in the ring; rows go in storage order (up for bottom-up records).
  bool const up = src.step < 0;
  auto lo = [&](int y) { return ring.data() + std::size_t(2 * ((y % 3 + 3) % 3)) * std::size_t(w); };
  auto hi = [&](int y) { return lo(y) + w; };
  auto load = [&](int y) { RowExtremes(lo(y), hi(y), src.Row(y), w); };
  int const first = up ? h - 1 : 0, dir = up ? -1 : 1;
  load(first);
  for (int i = 0; i < h; ++i) {
    int const y = first + dir * i;
    if (i + 1 < h) load(y + dir);  // the ring holds y - 1 .. y + 1 after this
    int const a = y - 1 >= 0 ? y - 1 : y, b = y + 1 < h ? y + 1 : y;
    uint8_t const *la = lo(a), *lb = lo(y), *lc = lo(b);
    uint8_t const *ha = hi(a), *hb = hi(y), *hc = hi(b);
    uint8_t const* s = src.Row(y);
    uint8_t* out = dst.Row(y);
    auto low = [&](int x) {
      uint8_t const m = la[x] < lb[x] ? la[x] : lb[x];
      return m < lc[x] ? m : lc[x];
    };
    auto high = [&](int x) {
      uint8_t const n = ha[x] > hb[x] ? ha[x] : hb[x];
      return n > hc[x] ? n : hc[x];
    };
    if (kind == 1) for (int x = 0; x < w; ++x) out[x] = uint8_t(s[x] - low(x));
    else if (kind == 2) for (int x = 0; x < w; ++x) out[x] = uint8_t(high(x) - s[x]);
    else for (int x = 0; x < w; ++x) out[x] = uint8_t(high(x) - low(x));
  }
  return true;
}

}  // namespace quilp
