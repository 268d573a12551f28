// struct_element.h - structuring elements as rows of runs, and their cover by bars.
//
// An element is a set of offsets (dx, dy) from its centre, dy down; it is kept as the runs of
// each of its rows. Erosion and dilation by a union of sets are the AND (OR) of the erosions
// (dilations) by each set, and a rectangle ("bar") is separable, so an element is covered by
// bars: every run is stretched over the longest band of neighbouring rows whose runs all
// contain it, and duplicates go. A rectangle is one bar, a cross two, a disc of radius r about
// 0.3 r (one per distinct half width), a line at an angle one per row it crosses.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "morph/ink_bits.h"

namespace quilp {

struct ElementRun {
  int dy, dx0, dx1;  // inclusive offsets
};

struct ElementBar {
  int dx0, dx1, dy0, dy1;  // inclusive offsets
};

enum class ElementShape { kRect = 0, kCross = 1, kDisc = 2, kLine = 3, kImage = 4, kText = 5 };

// The largest extent of an element on either axis, in pixels.
inline constexpr int kMaxElementSize = 4001;

struct StructElement {
  std::vector<ElementRun> hits;    // the element (hit-or-miss: pixels that must be set)
  std::vector<ElementRun> misses;  // hit-or-miss only: pixels that must be clear
};

// Builds an element; false for a size out of range, an empty element, a malformed pattern.
//  kRect   width x height (the centre at width / 2, height / 2 counted from the top left)
//  kCross  arms of `width` pixels on each side of the centre (0: one pixel)
//  kDisc   radius `width`: dx^2 + dy^2 <= r^2
//  kLine   `width` pixels along the angle (radians, positive descending to the right),
//          centred: the points round(t cos a), round(t sin a), t = k - (width - 1) / 2
//  kImage  the set bits of `image` are hits, its clear bits misses; centre at its middle
//  kText   rows separated by '/' or newlines, equal lengths: '1', 'x', '#' hit, '0', 'o'
//          miss, '.' or '-' neither; centre at the middle
bool BuildElement(StructElement& element, ElementShape shape, int width, int height,
                  double angle, InkBits const* image, char const* text);

// The bars that cover the runs (their union is exactly the runs' pixels).
std::vector<ElementBar> CoverByBars(std::vector<ElementRun> const& runs);

}  // namespace quilp
