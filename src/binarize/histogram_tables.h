// histogram_tables.h - the counting loops the vector histogram kernels share.
//
// A counter increment is a read-modify-write of memory, and the processor retires about one
// per cycle whatever the table layout; the loops below therefore count fewer, larger things:
//  - Pair table (large areas): each two neighbouring pixels (a, b) of a row increment one of
//    65,536 counters, indexed by the two bytes as a little-endian 16-bit word: half as many
//    increments. At the end each level gets the counters of the pairs it starts plus those it
//    ends (one vectorised pass over the table). The table (256 KiB) is allocated per call;
//    page background keeps the hot counters within a few KiB.
//  - Partial tables (small areas, or no memory for the pair table): eight tables, pixel i of
//    each group of eight going to table i, so runs of one level do not serialise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace quilp::histogram_detail {
// Internal linkage: each vector file gets its own copy, compiled with its own flags (a shared
// inline definition could be resolved to the wider instruction set's copy).
namespace {

// Below this many pixels, clearing and folding the pair table costs more than it saves.
constexpr int64_t kPairMinPixels = 1 << 18;
constexpr int kTables = 8;

inline void AddAreaPartial(uint8_t const* top, std::ptrdiff_t step, int width, int height,
                           uint32_t counts[256]) {
  alignas(64) uint32_t tables[kTables][256];
  std::memset(tables, 0, sizeof tables);
  for (int y = 0; y < height; ++y) {
    uint8_t const* row = top + step * y;
    int x = 0;
    for (; x + 8 <= width; x += 8) {
      uint64_t v;
      std::memcpy(&v, row + x, 8);
      for (int t = 0; t < kTables; ++t) ++tables[t][(v >> (8 * t)) & 0xFF];
    }
    for (; x < width; ++x) ++tables[0][row[x]];
  }
  for (int i = 0; i < 256; ++i) {
    uint32_t sum = counts[i];
    for (int t = 0; t < kTables; ++t) sum += tables[t][i];
    counts[i] = sum;
  }
}

// Counts pairs into `pairs` (65,536 zeroed counters) and folds them into counts.
inline void AddAreaPairs(uint8_t const* top, std::ptrdiff_t step, int width, int height,
                         uint32_t* pairs, uint32_t counts[256]) {
  for (int y = 0; y < height; ++y) {
    uint8_t const* row = top + step * y;
    int x = 0;
    for (; x + 8 <= width; x += 8) {
      uint16_t p[4];
      std::memcpy(p, row + x, 8);
      ++pairs[p[0]];
      ++pairs[p[1]];
      ++pairs[p[2]];
      ++pairs[p[3]];
    }
    for (; x + 2 <= width; x += 2) ++pairs[row[x] | row[x + 1] << 8];
    if (x < width) ++counts[row[x]];
  }
  // Counter b * 256 + a holds the pairs whose first pixel is a and second is b.
  alignas(64) uint32_t first[256] = {};
  for (int b = 0; b < 256; ++b) {
    uint32_t const* line = pairs + 256 * b;
    uint32_t second = 0;
    for (int a = 0; a < 256; ++a) {
      first[a] += line[a];
      second += line[a];
    }
    counts[b] += second;
  }
  for (int a = 0; a < 256; ++a) counts[a] += first[a];
}

// The whole kernel: the pair table when the area is large and memory allows, else partial
// tables. Results are identical either way (counts are taken modulo 2^32).
inline void AddArea(uint8_t const* top, std::ptrdiff_t step, int width, int height,
                    uint32_t counts[256]) {
  if (int64_t(width) * height >= kPairMinPixels && width >= 2) {
    std::unique_ptr<uint32_t[]> pairs(new (std::nothrow) uint32_t[65536]());
    if (pairs) {
      AddAreaPairs(top, step, width, height, pairs.get(), counts);
      return;
    }
  }
  AddAreaPartial(top, step, width, height, counts);
}

}  // namespace
}  // namespace quilp::histogram_detail
