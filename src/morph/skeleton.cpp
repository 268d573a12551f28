// skeleton.cpp - directional parallel thinning and tip extension (see skeleton.h).
#include "morph/skeleton.h"

#include <array>
#include <bit>
#include <new>

namespace quilp {
namespace {

// Neighbourhood code: bit 8 - (3 (dy + 1) + dx + 1), so the rows above, middle and below give
// bits 8..6, 5..3 and 2..0, the leftmost pixel the highest of each three.
inline bool At(int code, int dx, int dy) { return (code >> (8 - (3 * (dy + 1) + dx + 1))) & 1; }

// Deletable: ink, simple for 8-connected ink and 4-connected paper, not an end point.
std::array<bool, 512> MakeTable() {
  std::array<bool, 512> table{};
  // Neighbours in turn: E, NE, N, NW, W, SW, S, SE.
  int const dx[8] = {1, 1, 0, -1, -1, -1, 0, 1}, dy[8] = {0, -1, -1, -1, 0, 1, 1, 1};
  for (int code = 0; code < 512; ++code) {
    if (!At(code, 0, 0)) continue;
    int x[9], count = 0;
    for (int k = 0; k < 8; ++k) count += x[k] = At(code, dx[k], dy[k]);
    x[8] = x[0];
    // Yokoi's 8-connectivity number on the complement: sum over the edge neighbours k of
    // not x_k - not x_k * not x_k+1 * not x_k+2.
    int n = 0;
    for (int k = 0; k < 8; k += 2) {
      int const a = !x[k], b = !x[k + 1], c = !x[(k + 2) % 8];
      n += a - a * b * c;
    }
    table[std::size_t(code)] = n == 1 && count >= 2;
  }
  return table;
}

std::array<bool, 512> const& Deletable() {
  static std::array<bool, 512> const table = MakeTable();
  return table;
}

// The three pixels x - 1 .. x + 1 of a row (null: paper), leftmost highest.
inline int Three(uint64_t const* row, int words, int x) {
  return row ? int(WordAt(row, words, x - 1, 0) >> 61) : 0;
}

inline int Code(InkBits const& ink, int x, int y) {
  int const h = ink.Height(), words = ink.Words();
  uint64_t const* above = y > 0 ? ink.Row(y - 1) : nullptr;
  uint64_t const* below = y + 1 < h ? ink.Row(y + 1) : nullptr;
  return Three(above, words, x) << 6 | Three(ink.Row(y), words, x) << 3 | Three(below, words, x);
}

// One sub-pass: side 0 north, 1 south, 2 east, 3 west. Returns whether anything went.
bool SubPass(InkBits& ink, InkBits& gone, int side) {
  int const h = ink.Height(), words = ink.Words();
  auto const& table = Deletable();
  bool any = false;
  for (int y = 0; y < h; ++y) {
    uint64_t const* row = ink.Row(y);
    uint64_t const* above = y > 0 ? ink.Row(y - 1) : nullptr;
    uint64_t const* below = y + 1 < h ? ink.Row(y + 1) : nullptr;
    uint64_t* out = gone.Row(y);
    for (int k = 0; k < words; ++k) {
      uint64_t beside;
      switch (side) {
        case 0: beside = above ? above[k] : 0; break;
        case 1: beside = below ? below[k] : 0; break;
        case 2: beside = WordAt(row, words, 64 * k + 1, 0); break;
        default: beside = WordAt(row, words, 64 * k - 1, 0); break;
      }
      uint64_t cand = row[k] & ~beside, del = 0;
      while (cand) {
        int const bit = std::countl_zero(cand);
        cand &= ~(uint64_t(1) << (63 - bit));
        if (table[std::size_t(Code(ink, 64 * k + bit, y))]) del |= uint64_t(1) << (63 - bit);
      }
      out[k] = del;
      any = any || del;
    }
  }
  if (!any) return false;
  for (int y = 0; y < h; ++y)
    for (int k = 0; k < words; ++k) ink.Row(y)[k] &= ~gone.Row(y)[k];
  return true;
}

}  // namespace

bool ThinInk(InkBits& ink) {
  InkBits gone;
  if (!gone.Reset(ink.Width(), ink.Height())) return false;
  for (bool changed = true; changed;) {
    changed = false;
    for (int side = 0; side < 4; ++side) changed = SubPass(ink, gone, side) || changed;
  }
  return true;
}

void TipExtension(InkBits& skeleton, InkBits const& source) {
  int const w = skeleton.Width(), h = skeleton.Height();
  auto inside = [&](int x, int y) { return x >= 0 && y >= 0 && x < w && y < h; };
  auto on = [&](InkBits const& b, int x, int y) { return inside(x, y) && b.Get(x, y); };
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      if (!skeleton.Get(x, y)) continue;
      int n = 0, nx = 0, ny = 0;
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx)
          if ((dx || dy) && on(skeleton, x + dx, y + dy)) ++n, nx = x + dx, ny = y + dy;
      if (n != 1) continue;
      int const sx = x - nx, sy = y - ny;  // on away from the only neighbour
      int cx = x, cy = y;
      for (;;) {
        int const tx = cx + sx, ty = cy + sy;
        if (!on(source, tx, ty) || skeleton.Get(tx, ty)) break;
        bool touches = false;  // another skeleton pixel beside the new one (never the one
                               // before the current: that lies two steps back)
        for (int dy = -1; dy <= 1; ++dy)
          for (int dx = -1; dx <= 1; ++dx)
            touches = touches || ((dx || dy) && !(tx + dx == cx && ty + dy == cy) &&
                                  on(skeleton, tx + dx, ty + dy));
        if (touches) break;
        skeleton.Set(tx, ty);
        cx = tx;
        cy = ty;
      }
    }
}

}  // namespace quilp
