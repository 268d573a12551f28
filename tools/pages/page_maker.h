// page_maker.h - deterministic scanned-page look-alikes drawn in code.
//
// A page is paper (optionally shaded unevenly and noisy), paragraphs of text-like strokes in one
// or two columns (or a few scattered words), optionally a ruled table, a coloured stamp and a
// grey photo block, the whole content rotated by a known skew about the page centre. The ink
// may be faded toward the paper and the paper dirtied with specks. Same layout, same pixels; the
// options added later leave the pages of earlier layouts as they were.
#pragma once

#include <cstdint>

#include "quilp32.h"

namespace quilp_pages {

struct PageSpec {
  int width = 2480;            // A4 at 300 dpi
  int height = 3508;
  int dpi = 300;
  int bitCount = 24;           // 24 (colour) or 8 (grey)
  bool topDown = false;        // row order of the record
  double skewDegrees = 0.0;    // positive: text lines descend to the right
  int columns = 1;             // 1 or 2
  bool stamp = true;           // a red ring stamp near the top right
  bool photo = true;           // a grey photo block
  double noise = 0.0;          // amplitude of paper noise, grey levels
  double unevenness = 0.0;     // 0..1: how much the paper darkens toward one corner
  uint32_t seed = 1;
  bool table = false;          // a ruled table with short entries below the text's middle
  bool sparse = false;         // a letter-like page: a few short words on most lines' places
  double fade = 0.0;           // 0..1: how far the ink is lightened toward the paper
  double speckle = 0.0;        // share of pixels turned into dark specks (a dirty scan)
  bool latinShapes = false;    // ascenders five times as common as descenders, as in Latin text
};

// A new record holding the page (release with DibFree), or null on allocation failure.
DibInfo* MakePage(PageSpec const& layout);

}  // namespace quilp_pages
