// squeeze.cpp - rank-order reduction of 1-bit ink by two (see squeeze.h).
#include "morph/squeeze.h"

namespace quilp {
namespace {

// The rank test of each column pair (pixels 2i, 2i + 1 at bits 63 - 2i, 62 - 2i) at the
// pair's first bit, from the per-column "any" and "both" words.
uint64_t PairRank(uint64_t any, uint64_t both, int level) {
  uint64_t const anyNext = any << 1, bothNext = both << 1;  // the pair's second column
  switch (level) {
    case 1: return any | anyNext;
    case 2: return both | bothNext | (any & anyNext);
    case 3: return (both & anyNext) | (bothNext & any);
    default: return both & bothNext;
  }
}

// The pair bits (at bits 63, 61, ..., 1) packed into 32 bits, first pair in bit 31.
uint64_t PackPairs(uint64_t v) {
  v = (v >> 1) & 0x5555555555555555u;
  v = (v | (v >> 1)) & 0x3333333333333333u;
  v = (v | (v >> 2)) & 0x0F0F0F0F0F0F0F0Fu;
  v = (v | (v >> 4)) & 0x00FF00FF00FF00FFu;
  v = (v | (v >> 8)) & 0x0000FFFF0000FFFFu;
  v = (v | (v >> 16)) & 0x00000000FFFFFFFFu;
  return v;
}

}  // namespace

void SqueezeInk(InkBits& dst, InkBits const& src, int level) {
  int const words = src.Words();
  for (int y = 0; y < dst.Height(); ++y) {
    uint64_t const* a = src.Row(2 * y);
    uint64_t const* b = 2 * y + 1 < src.Height() ? src.Row(2 * y + 1) : nullptr;
    uint64_t* out = dst.Row(y);
    for (int k = 0; k < dst.Words(); ++k) {
      uint64_t v = 0;
      for (int half = 0; half < 2; ++half) {
        int const j = 2 * k + half;
        if (j >= words) break;
        uint64_t const p = a[j], q = b ? b[j] : 0;
        v |= PackPairs(PairRank(p | q, p & q, level)) << (32 * (1 - half));
      }
      out[k] = v;
    }
  }
  dst.ClearTails();
}

}  // namespace quilp
