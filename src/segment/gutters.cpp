// gutters.cpp - page column gutters and the gap test (see gutters.h).
#include "segment/gutters.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <numeric>

namespace quilp {

namespace {

constexpr double kChannelHalfInches = 0.06;  // text-free each side of a channel centre
constexpr double kChannelInches = 1.0;       // shortest page channel
constexpr double kSideInches = 0.5;          // ink this close beside a gap borders it
constexpr double kLineGapInches = 0.1;     // rows between lines, beside which ink counts
constexpr double kUnsidedInches = 0.5;     // a gutter ends after this far with nothing beside
constexpr double kSidedShare = 0.4;          // of a channel's rows, from its first to last sided one
constexpr double kNarrowestInches = 0.2;    // of a table's column gap or a gutter beside a short column
constexpr double kWalkInches = 0.75;
constexpr double kAlignInches = 0.01;        // edges of one column or table column, with skew
constexpr double kWordInches = 0.75;         // pieces narrower than this may be single words
constexpr int kAlignedLines = 2;             // along one gap's walk

struct Run {
  int x, t, b;
};

// Each pixel of `out` set where `from` has a set pixel `near` to `far` columns away on the
// side `dir` (-1 left, +1 right) along its row, or along a row up to `rows` above or below.
void Beside(InkBits const& from, int near, int far, int dir, int rows, InkBits& out) {
  int const words = from.Words(), height = from.Height();
  std::vector<uint64_t> across(std::size_t(words) * std::size_t(height));
  for (int y = 0; y < height; ++y) {
    uint64_t const* row = from.Row(y);
    for (int w = 0; w < words; ++w) {
      uint64_t v = 0;
      for (int s = near; s <= far; ++s) v |= WordAt(row, words, w * 64 + dir * s, 0);
      across[std::size_t(y) * std::size_t(words) + std::size_t(w)] = v;
    }
  }
  for (int y = 0; y < height; ++y)
    for (int w = 0; w < words; ++w) {
      uint64_t v = 0;
      for (int k = std::max(0, y - rows); k <= std::min(height - 1, y + rows); ++k)
        v |= across[std::size_t(k) * std::size_t(words) + std::size_t(w)];
      out.Row(y)[w] = v;
    }
}

// The stretches of the clear columns of `spread` that have `sided` rows on `share` of them,
// at least `tall` rows long: a run of clear pixels, column by column, is cut where it goes
// more than `unsided` rows without a sided one, and each piece trimmed to its sided rows.
std::vector<Run> SidedRuns(InkBits const& spread, InkBits const& sided, int tall, int unsided,
                           double share) {
  std::vector<Run> runs;
  for (int x = 0; x < spread.Width(); ++x) {
    int first = -1, last = -1, count = 0;
    auto close = [&] {
      if (first >= 0 && last - first + 1 >= tall && count >= share * (last - first + 1))
        runs.push_back(Run{x, first, last});
      first = -1;
      count = 0;
    };
    for (int y = 0; y < spread.Height(); ++y) {
      if (spread.Get(x, y) || (first >= 0 && y - last > unsided)) close();
      if (spread.Get(x, y) || !sided.Get(x, y)) continue;
      if (first < 0) first = y;
      last = y;
      ++count;
    }
    close();
  }
  return runs;
}

// Whether `k` is as wide as the word `w` at the same place, one line down: two lines ending
// in words of one width at a justified margin. Pieces wider than a word (whole lines of a
// justified column) are no copies: their shared edges are the column's.
bool Copy(Box const& k, Box const& w, int align, int word) {
  return w.Width() < word && std::abs(k.l - w.l) <= align && std::abs(k.r - w.r) <= align;
}

}  // namespace

bool FindGutters(InkBits const& smear, InkBits const& ink, std::vector<Box> const& solid,
                 LayoutScale const& scale, std::vector<Box>& gutters) {
  gutters.clear();
  int const width = smear.Width(), height = smear.Height(), words = smear.Words();
  int const half = scale.In(kChannelHalfInches), side = scale.In(kSideInches);
  int const rows = scale.In(kLineGapInches);
  try {
    // Text spread sideways: a clear pixel has no text within `half` of it on its row.
    InkBits spread;
    if (!spread.Reset(width, height)) return false;
    for (int y = 0; y < height; ++y) {
      uint64_t const* row = smear.Row(y);
      for (int w = 0; w < words; ++w) {
        uint64_t v = 0;
        for (int s = -half; s <= half; ++s) v |= WordAt(row, words, w * 64 + s, 0);
        spread.Row(y)[w] = v;
      }
    }
    for (Box const& b : solid)
      for (int y = std::max(0, b.t); y <= std::min(height - 1, b.b); ++y)
        for (int x = std::max(0, b.l - half); x <= std::min(width - 1, b.r + half); ++x) spread.Set(x, y);
    // Ink close beside a pixel on both sides of its clear neighbourhood.
    InkBits left, sided;
    if (!left.Reset(width, height) || !sided.Reset(width, height)) return false;
    Beside(ink, half + 1, half + side, -1, rows, left);
    Beside(ink, half + 1, half + side, 1, rows, sided);
    for (int y = 0; y < height; ++y)
      for (int w = 0; w < words; ++w) sided.Row(y)[w] &= left.Row(y)[w];
    std::vector<Run> const runs = SidedRuns(spread, sided, scale.In(kChannelInches), scale.In(kUnsidedInches), kSidedShare);
    // Runs of neighbouring columns that share rows are one gutter.
    std::vector<int> parent(runs.size());
    std::iota(parent.begin(), parent.end(), 0);
    std::size_t prev = 0;  // the first run of the previous column
    for (std::size_t i = 0, begin = 0; i < runs.size(); ++i) {
      if (i > 0 && runs[i].x != runs[i - 1].x) {
        prev = runs[i - 1].x == runs[i].x - 1 ? begin : i;
        begin = i;
      }
      for (std::size_t j = prev; j < begin; ++j)
        if (runs[j].t <= runs[i].b && runs[i].t <= runs[j].b)
          parent[std::size_t(FindRoot(parent, int(j)))] = FindRoot(parent, int(i));
    }
    std::vector<Box> boxes(runs.size());
    for (std::size_t i = 0; i < runs.size(); ++i)
      boxes[std::size_t(FindRoot(parent, int(i)))].Add(Box{runs[i].x, runs[i].t, runs[i].x, runs[i].b});
    for (Box const& b : boxes)
      if (!b.Empty()) gutters.push_back(b);
    return true;
  } catch (std::bad_alloc const&) {
    return false;
  }
}

bool IsGutter(std::vector<Box> const& pieces, std::vector<Box> const& walls, Box const& p,
              Box const& q, LayoutScale const& scale) {
  int const top = std::min(p.t, q.t), bottom = std::max(p.b, q.b);
  Box const gap{p.r + 1, top, q.l - 1, bottom};
  for (Box const& wall : walls)
    if (Intersects(wall, gap)) return true;
  if (gap.Width() < scale.In(kNarrowestInches)) return false;
  int const walk = scale.In(kWalkInches), side = scale.In(kSideInches);
  int const align = scale.In(kAlignInches), word = scale.In(kWordInches);
  int const x = (gap.l + gap.r) / 2;
  // The walk up and down the gap's middle ends at the first piece across it.
  int upTo = top - walk, downTo = bottom + walk;
  for (Box const& k : pieces) {
    if (k.l > x + 1 || k.r < x - 1) continue;
    if (k.b < top) upTo = std::max(upTo, k.b + 1);
    if (k.t > bottom) downTo = std::min(downTo, k.t - 1);
  }
  // Pieces along the walk that start with q or end with p, being no copy of it (the same
  // word, or one as wide, one line down), with text on the gap's other side.
  auto within = [&](Box const& k) { return k.t >= upTo && k.b <= downTo && (k.b < top || k.t > bottom); };
  auto beside = [&](Box const& k, bool left) {
    for (Box const& m : pieces)
      if (within(m) && OverlapY(m, k) > 0 && (left ? m.r < x && m.r >= gap.l - side : m.l > x && m.l <= gap.r + side))
        return true;
    return false;
  };
  int lines = 0;
  for (Box const& k : pieces) {
    if (!within(k)) continue;
    bool const starts = std::abs(k.l - q.l) <= align && !Copy(k, q, align, word);
    bool const ends = std::abs(k.r - p.r) <= align && !Copy(k, p, align, word);
    if ((starts && (k.Width() >= word || beside(k, true))) || (ends && (k.Width() >= word || beside(k, false)))) ++lines;
  }
  return lines >= kAlignedLines;
}

}  // namespace quilp
