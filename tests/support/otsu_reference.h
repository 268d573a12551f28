// otsu_reference.h - Otsu's criterion written out long-hand, for tests to compare against.
//
// Two classes follow the criterion's definition literally: prior weight e = float(1/n) on
// every bin, cumulative weight starting at e, moment at 0, w1 = W[n] - W[t]. Three classes are
// a brute force over every pair, summing each class directly in 64-bit integers (exact, so it
// equals any cumulative form bit for bit), with the level * count product wrapped to 32 bits.
#pragma once

#include <cstdint>
#include <vector>

#include "quilp32.h"

namespace testing_support {

// Two-class threshold over t in lo..hi; 0 when nothing scores above 0.
int ReferenceOtsu2(std::vector<int> const& hist, int lo, int hi,
                   std::vector<float> const* values = nullptr);

// Three-class pair; false when no pair scores above 0 (pair untouched).
// wrapMoments = false forms level * count in 64 bits instead (to show the wrap matters).
bool ReferenceOtsu3(std::vector<int> const& hist, int pair[2], bool wrapMoments = true);

// The 256-bin histogram of the visual rectangle (left, top, width, height) of an 8-bit record.
std::vector<int> ReferenceHistogram(DibInfo const* dib, int left, int top, int width,
                                    int height);

}  // namespace testing_support
