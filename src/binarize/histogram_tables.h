// histogram_tables.h - the partial-table histogram loop the vector kernels share.
//
// Eight tables: pixel i of each group of eight goes to table i, so eight consecutive pixels of
// one level hit eight different counters and the increments do not wait on each other. The
// caller's Load8 returns the next eight pixels as one little-endian word (a vector register
// split into words, in the vector files).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace quilp::histogram_detail {

constexpr int kTables = 8;

template <int kStep, class LoadWords>
void AddAreaPartial(uint8_t const* top, std::ptrdiff_t step, int width, int height,
                    uint32_t counts[256], LoadWords load) {
  alignas(64) uint32_t tables[kTables][256];
  std::memset(tables, 0, sizeof tables);
  for (int y = 0; y < height; ++y) {
    uint8_t const* row = top + step * y;
    int x = 0;
    for (; x + kStep <= width; x += kStep) {
      uint64_t words[kStep / 8];
      load(row + x, words);
      for (int w = 0; w < kStep / 8; ++w) {
        uint64_t const v = words[w];
        ++tables[0][v & 0xFF];
        ++tables[1][(v >> 8) & 0xFF];
        ++tables[2][(v >> 16) & 0xFF];
        ++tables[3][(v >> 24) & 0xFF];
        ++tables[4][(v >> 32) & 0xFF];
        ++tables[5][(v >> 40) & 0xFF];
        ++tables[6][(v >> 48) & 0xFF];
        ++tables[7][v >> 56];
      }
    }
    for (; x < width; ++x) ++tables[0][row[x]];
  }
  for (int i = 0; i < 256; ++i) {
    uint32_t sum = counts[i];
    for (int t = 0; t < kTables; ++t) sum += tables[t][i];
    counts[i] = sum;
  }
}

}  // namespace quilp::histogram_detail
