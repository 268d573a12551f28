// clean_pimples.cpp - despeckling of 1-bit pages (see clean_pimples.h).
#include "morph/clean_pimples.h"

#include <algorithm>
#include <bit>
#include <exception>
#include <new>
#include <vector>

#include "morph/components.h"

namespace quilp {

CleanLimits CleanLimitsFor(int dpi, int speckSize, int isolation) {
  if (dpi <= 0) dpi = 300;
  CleanLimits l;
  l.speckSize = speckSize > 0 ? speckSize : std::max(2, (dpi + 25) / 50);  // about half a mm
  l.isolation = isolation > 0 ? isolation : std::max(3, (dpi + 7) / 15);   // about 1.7 mm
  // The smallest i-dot of 10-point type covers 4 pixels at 200 dpi (2 x 2, sans serif) and
  // 14 at 300 dpi: dust below that goes wherever it lies, dots up to tinyArea stay only
  // where a dot sits by its letter. Holes stay smaller: the
  // counters of small letters are only a few pixels at 200 dpi.
  int64_t const d2 = int64_t(dpi) * dpi;
  int64_t const box = int64_t(l.speckSize) * l.speckSize;
  l.tinyArea = int(std::min(std::max<int64_t>(1, d2 / 10000), box));
  l.holeArea = int(std::min(std::max<int64_t>(1, d2 / 40000), box));
  l.dustArea = int(std::min(std::max<int64_t>(1, d2 / 13000), int64_t(l.tinyArea)));
  l.dotReach = std::max(2, (dpi + 25) / 50);
  return l;
}

namespace {

// Pixels that stick out by one from a straight edge, in the image whose pixel words `at`
// returns (at(dy, dx): the 64 pixels at columns 64k + dx of row y + dy).
template <class At>
uint64_t Protrusions(At const& at) {
  uint64_t const p = at(0, 0);
  if (!p) return 0;
  auto none = [&](int dy0, int dx0, int dy1, int dx1) {  // all paper over a line of 3
    return ~(at(dy0, dx0) | at((dy0 + dy1) / 2, (dx0 + dx1) / 2) | at(dy1, dx1));
  };
  auto all5 = [&](int dy, int dx, bool alongRow) {  // all ink over 5 pixels centred there
    uint64_t v = ~uint64_t(0);
    for (int t = -2; t <= 2; ++t) v &= alongRow ? at(dy, dx + t) : at(dy + t, dx);
    return v;
  };
  uint64_t const sidesH = ~(at(0, -1) | at(0, 1)), sidesV = ~(at(-1, 0) | at(1, 0));
  uint64_t out = 0;
  out |= sidesH & none(-1, -1, -1, 1) & all5(1, 0, true);   // up, ink below
  out |= sidesH & none(1, -1, 1, 1) & all5(-1, 0, true);    // down, ink above
  out |= sidesV & none(-1, -1, 1, -1) & all5(0, 1, false);  // left, ink to the right
  out |= sidesV & none(-1, 1, 1, 1) & all5(0, -1, false);   // right, ink to the left
  return p & out;
}

// Word k of a padded row shifted by dx in -2 .. 2: pixels 64k + dx .. 64k + dx + 63, the
// words beside the row reading as the zero padding.
inline uint64_t Shifted(uint64_t const* row, int k, int dx) {
  if (dx == 0) return row[k];
  if (dx > 0) return (row[k] << dx) | (row[k + 1] >> (64 - dx));
  return (row[k] >> -dx) | (row[k - 1] << (64 + dx));
}

// The decisions are taken on a copy with two blank rows above and below and a blank word on
// either side, so the neighbourhood of a word is read without bounds tests, and the flips go
// straight into the image. A word is looked at only when it holds ink (the ink pass) or has
// ink on two opposite sides (the paper pass): blank paper costs one test per word.
bool BumpsAndNotches(InkBits& ink) {
  int const w = ink.Width(), h = ink.Height(), words = ink.Words();
  constexpr int kPadRows = 2;
  InkBits padded;
  if (w > (1 << 30) || !padded.Reset(w + 128, h + 2 * kPadRows)) return false;
  for (int y = 0; y < h; ++y)
    std::copy(ink.Row(y), ink.Row(y) + words, padded.Row(y + kPadRows) + 1);
  uint64_t const tail = ink.TailMask();
  for (int y = 0; y < h; ++y) {
    uint64_t const* rows[5];
    for (int dy = -2; dy <= 2; ++dy) rows[dy + 2] = padded.Row(y + kPadRows + dy) + 1;
    uint64_t* out = ink.Row(y);
    for (int k = 0; k < words; ++k) {
      auto inkAt = [&](int dy, int dx) { return Shifted(rows[dy + 2], k, dx); };
      auto paperAt = [&](int dy, int dx) { return ~Shifted(rows[dy + 2], k, dx); };
      // A paper pixel sticks out only between ink on two opposite sides.
      uint64_t const between = (inkAt(0, -1) & inkAt(0, 1)) | (inkAt(-1, 0) & inkAt(1, 0));
      if (!rows[2][k] && !between) continue;
      uint64_t f = Protrusions(inkAt);
      if (between) f |= Protrusions(paperAt);
      if (k == words - 1) f &= tail;
      out[k] ^= f;
    }
  }
  return true;
}

// Set pixels of row y between columns x0 and x1 (inclusive, inside the row).
int64_t CountBits(uint64_t const* row, int x0, int x1) {
  int64_t n = 0;
  for (int k = x0 >> 6; k <= x1 >> 6; ++k) {
    uint64_t m = ~uint64_t(0);
    if (k == x0 >> 6) m &= ~uint64_t(0) >> (x0 & 63);
    if (k == x1 >> 6) m &= ~uint64_t(0) << (63 - (x1 & 63));
    n += std::popcount(row[k] & m);
  }
  return n;
}

void FillRun(uint64_t* row, int x0, int x1, bool set) {
  for (int k = x0 >> 6; k <= x1 >> 6; ++k) {
    uint64_t m = ~uint64_t(0);
    if (k == x0 >> 6) m &= ~uint64_t(0) >> (x0 & 63);
    if (k == x1 >> 6) m &= ~uint64_t(0) << (63 - (x1 & 63));
    row[k] = set ? row[k] | m : row[k] & ~m;
  }
}

// Paints the runs of the chosen components (keep[label] true) into `ink` as ink or paper.
void PaintComponents(InkBits& ink, ComponentMap const& map, std::vector<char> const& chosen,
                     bool set) {
  for (InkRun const& r : map.runs)
    if (chosen[std::size_t(r.label)]) FillRun(ink.Row(r.y), r.x0, r.x1, set);
}

// Whether a hole of these limits would be filled (the component's box and area).
bool SmallHole(InkComponent const& c, int w, int h, CleanLimits const& limits) {
  bool const inside = c.left > 0 && c.top > 0 && c.right < w - 1 && c.bottom < h - 1;
  return inside && c.area <= limits.holeArea && c.right - c.left < limits.speckSize &&
         c.bottom - c.top < limits.speckSize;
}

// Holes by labelling all of the paper: the general way, for limits so large that a hole's
// rows may hold runs of 64 pixels or more.
bool FillHolesByLabels(InkBits& ink, CleanLimits const& limits) {
  int const w = ink.Width(), h = ink.Height();
  InkBits paper;
  if (!paper.Reset(w, h)) return false;
  for (int y = 0; y < h; ++y)
    for (int k = 0; k < ink.Words(); ++k) paper.Row(y)[k] = ~ink.Row(y)[k];
  paper.ClearTails();
  ComponentMap map;
  if (!LabelComponents(paper, false, map)) return false;
  std::vector<char> fill(map.components.size(), 0);
  for (std::size_t i = 0; i < fill.size(); ++i) fill[i] = SmallHole(map.components[i], w, h, limits);
  PaintComponents(ink, map, fill, true);
  return true;
}

// The paper pixels of a row that lie in runs of at most `longest` (< 64) pixels: the paper
// minus its opening by a run of longest + 1 (erosion: the AND of longest + 1 shifted words;
// dilation: the OR of as many shifted back). A word of blank paper has none.
void ShortPaperRuns(uint64_t const* inkRow, int words, uint64_t tail, int longest,
                    uint64_t* paper, uint64_t* eroded, uint64_t* out) {
  auto blank = [&](int k) {  // a whole word of paper
    return k < words && !inkRow[k] && (k < words - 1 || tail == ~uint64_t(0));
  };
  for (int k = 0; k < words; ++k) paper[k] = ~inkRow[k] & (k == words - 1 ? tail : ~uint64_t(0));
  for (int k = 0; k < words; ++k) {
    if (blank(k) && blank(k + 1)) {  // the run at every pixel reaches past the next word's start
      eroded[k] = ~uint64_t(0);
      continue;
    }
    uint64_t e = paper[k];
    for (int t = 1; t <= longest && e; ++t) e &= WordAt(paper, words, 64 * k + t, 0);
    eroded[k] = e;
  }
  for (int k = 0; k < words; ++k) {
    if (blank(k)) {  // its runs are 64 pixels or more
      out[k] = 0;
      continue;
    }
    uint64_t opened = eroded[k];
    for (int t = 1; t <= longest; ++t) opened |= WordAt(eroded, words, 64 * k - t, 0);
    out[k] = paper[k] & ~opened;
  }
}

// Holes without labelling the paper. A hole that may be filled has at most holeArea pixels and
// is at most speckSize wide, so each of its rows is a paper run of at most
// min(holeArea, speckSize) pixels. The short paper runs are labelled (4-connected) alone;
// a group of them that touches a longer paper run above or below belongs to a larger paper
// component and stays; the others are whole components, judged as the general way judges them.
bool FillHoles(InkBits& ink, CleanLimits const& limits) {
  int64_t const longest = std::min(limits.holeArea, limits.speckSize);
  if (longest >= 63) return FillHolesByLabels(ink, limits);
  int const w = ink.Width(), h = ink.Height(), words = ink.Words();
  InkBits shortRuns;
  if (!shortRuns.Reset(w, h)) return false;
  std::vector<uint64_t> paper(static_cast<std::size_t>(words)), eroded(paper.size());
  for (int y = 0; y < h; ++y)
    ShortPaperRuns(ink.Row(y), words, ink.TailMask(), int(longest), paper.data(), eroded.data(),
                   shortRuns.Row(y));
  ComponentMap map;
  if (!LabelComponents(shortRuns, false, map)) return false;
  // Longer paper over columns x0 .. x1 of row y: paper that is not in a short run.
  auto longPaperAt = [&](int y, int x0, int x1) {
    if (y < 0 || y >= h) return false;
    for (int k = x0 >> 6; k <= x1 >> 6; ++k) {
      uint64_t m = ~uint64_t(0);
      if (k == x0 >> 6) m &= ~uint64_t(0) >> (x0 & 63);
      if (k == x1 >> 6) m &= ~uint64_t(0) << (63 - (x1 & 63));
      if (~ink.Row(y)[k] & ~shortRuns.Row(y)[k] & m) return true;
    }
    return false;
  };
  std::vector<char> fill(map.components.size(), 1);
  for (InkRun const& r : map.runs)
    if (longPaperAt(r.y - 1, r.x0, r.x1) || longPaperAt(r.y + 1, r.x0, r.x1)) fill[std::size_t(r.label)] = 0;
  for (std::size_t i = 0; i < fill.size(); ++i)
    fill[i] = fill[i] && SmallHole(map.components[i], w, h, limits);
  PaintComponents(ink, map, fill, true);
  return true;
}

// Ink in the columns x0 .. x1 and rows y0 .. y1, cut to the image.
int64_t InkIn(InkBits const& ink, int x0, int x1, int y0, int y1) {
  x0 = std::max(0, x0), x1 = std::min(ink.Width() - 1, x1);
  y0 = std::max(0, y0), y1 = std::min(ink.Height() - 1, y1);
  int64_t n = 0;
  if (x0 > x1) return 0;
  for (int y = y0; y <= y1; ++y) n += CountBits(ink.Row(y), x0, x1);
  return n;
}

// Where a dot belongs to a letter: a stem just above or below it (i, j, !, ?, colons), or a
// taller letter just to its left that ends on the dot's bottom row (full stops, commas).
bool BesideALetter(InkBits const& ink, InkComponent const& c, int reach) {
  if (InkIn(ink, c.left - 1, c.right + 1, c.bottom + 1, c.bottom + reach) > 0 ||
      InkIn(ink, c.left - 1, c.right + 1, c.top - reach, c.top - 1) > 0)
    return true;
  return InkIn(ink, c.left - reach, c.left - 1, c.bottom - 1, c.bottom + 1) > 0 &&
         InkIn(ink, c.left - reach, c.left - 1, c.top - reach, c.top - 1) > 0;
}

bool RemoveSpecks(InkBits& ink, CleanLimits const& limits) {
  int const d = limits.isolation;
  ComponentMap map;
  if (!LabelComponents(ink, true, map)) return false;
  std::vector<char> remove(map.components.size(), 0);
  for (std::size_t i = 0; i < remove.size(); ++i) {
    InkComponent const& c = map.components[i];
    if (c.right - c.left >= limits.speckSize || c.bottom - c.top >= limits.speckSize) continue;
    if (c.area <= limits.tinyArea) {
      remove[i] = c.area <= limits.dustArea || !BesideALetter(ink, c, limits.dotReach);
      continue;
    }
    // Larger specks go when nothing but their own pixels lies within reach.
    remove[i] = InkIn(ink, c.left - d, c.right + d, c.top - d, c.bottom + d) == c.area;
  }
  PaintComponents(ink, map, remove, false);
  return true;
}

}  // namespace

bool CleanPimples(InkBits& ink, CleanLimits const& limits) {
  try {
    return BumpsAndNotches(ink) && FillHoles(ink, limits) && RemoveSpecks(ink, limits);
  } catch (std::exception const&) {
    return false;
  }
}

bool FillSmallHoles(InkBits& ink, CleanLimits const& limits) {
  try {
    return FillHoles(ink, limits);
  } catch (std::exception const&) {
    return false;
  }
}

}  // namespace quilp
