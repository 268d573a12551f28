// components.h - connected components of the set pixels of an InkBits image, by runs.
//
// Each row is cut into runs of set pixels (count-leading-zeros on whole words); a run joins
// every run of the row above that touches it (overlapping columns for 4-connectivity, also
// diagonally for 8-connectivity) in a union-find forest over runs (path halving, union by
// index). A last pass numbers the roots 0, 1, ... in order of first appearance (top to
// bottom, left to right) and gathers each component's area and bounding box. Cost: one step
// per word and a few per run; memory: one record per run. Segmentation reuses it.
#pragma once

#include <cstdint>
#include <vector>

#include "morph/ink_bits.h"

namespace quilp {

struct InkRun {
  int y, x0, x1;  // row and inclusive columns
  int label;      // component index
};

struct InkComponent {
  int64_t area = 0;
  int left = 0, top = 0, right = 0, bottom = 0;  // inclusive bounding box
  int firstRun = 0;                              // its first run (topmost, leftmost)
};

struct ComponentMap {
  std::vector<InkRun> runs;         // row by row, left to right
  std::vector<int> rowStart;        // runs of row y: rowStart[y] .. rowStart[y + 1] - 1
  std::vector<InkComponent> components;
};

// Labels the set pixels of `image`. False when memory runs out (map left empty).
bool LabelComponents(InkBits const& image, bool eightConnected, ComponentMap& map);

// Appends the runs of set pixels of one row (pixels past `width` must be clear).
void RowRuns(uint64_t const* row, int words, int y, std::vector<InkRun>& runs);

}  // namespace quilp
