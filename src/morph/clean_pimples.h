// clean_pimples.h - despeckling of 1-bit pages: specks, holes, bumps and notches.
//
// Three steps on the ink bits, each decided on the page as the previous step left it:
//  1. Bumps and notches: an ink pixel that sticks out by one pixel from a straight edge (its
//     two side neighbours and the three pixels beyond it are paper, the five pixels behind it
//     are ink) turns to paper, and a paper pixel cut one pixel deep into a straight edge (the
//     same pattern with ink and paper exchanged) turns to ink, in all four directions. Word
//     parallel: eleven shifted words per 64 pixels and direction. A stroke end one pixel wide
//     has no straight edge behind it and is kept.
//  2. Holes: paper components (4-connected) that do not touch the area's border, no larger
//     than `holeArea` pixels and `speckSize` on a side, become ink.
//  3. Specks: ink components (8-connected) whose box is at most speckSize on a side. Those of
//     at most `tinyArea` pixels become paper unless they sit where a dot sits by its letter
//     (ink within dotReach straight above or below, or to the left across their rows: an
//     i-dot over its stem, a full stop after its word); larger ones become paper when no
//     other ink lies within `isolation` pixels of their box (popcount over the enlarged box).
//     Specks of at most `dustArea` pixels, smaller than any dot, go wherever they lie.
// Cost: a labelling of the ink by runs, one of the short paper runs, and a few word
// operations per 64 pixels that hold ink.
#pragma once

#include "morph/ink_bits.h"

namespace quilp {

struct CleanLimits {
  int speckSize;   // largest box side of a speck or hole, pixels
  int isolation;   // distance to other ink beyond which a speck goes, pixels
  int tinyArea;    // specks up to this area go whatever their neighbours
  int holeArea;    // holes up to this area are filled
  int dustArea;    // specks up to this area go wherever they lie
  int dotReach;    // how close a small dot lies to its letter, pixels
};

// The limits the export uses for a page of `dpi` dots per inch (0: 300) and the caller's
// speck size and isolation (0: derived from the dpi).
CleanLimits CleanLimitsFor(int dpi, int speckSize, int isolation);

// Cleans the image in place. False when memory runs out (the image is then unspecified).
bool CleanPimples(InkBits& ink, CleanLimits const& limits);

// Step 2 alone: fills the holes of the limits (holeArea, speckSize) in place. Found from the
// short paper runs when a hole's rows are shorter than 63 pixels, else by labelling all of
// the paper; the same holes either way. False when memory runs out.
bool FillSmallHoles(InkBits& ink, CleanLimits const& limits);

}  // namespace quilp
