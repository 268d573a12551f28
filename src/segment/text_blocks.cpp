// text_blocks.cpp - smeared text lines grouped into blocks (see text_blocks.h).
#include "segment/text_blocks.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <numeric>

#include "segment/gutters.h"

namespace quilp {

namespace {

constexpr double kSmearInches = 0.12;
constexpr double kMaxSpaceInches = 0.6;   // widest space joined inside a line, when no gutter
constexpr double kBridgeHeightRatio = 1.3;  // a spanning line of like height
constexpr double kBridgeReach = 1.5;        // heights from the pieces
constexpr double kBandOverlap = 0.5;      // rows shared by two pieces of one line
constexpr double kNeighbourSlack = 0.03;  // inches: a second line this close is a rival
constexpr double kMaxGapShare = 0.9;      // of the smaller line height
constexpr double kMaxHeightRatio = 1.5;
constexpr double kTightGapShare = 0.4;    // of the smaller height: a line under a paragraph piece
constexpr double kEdgeTolerance = 0.05;   // inches: edges of one column's blocks
constexpr double kMaxBlockGap = 0.3;      // inches between blocks of one column

void SetSpan(InkBits& image, int y, int x0, int x1) {
  uint64_t* row = image.Row(y);
  for (int w = x0 >> 6; w <= x1 >> 6; ++w) {
    int const a = std::max(x0, w * 64) - w * 64, b = std::min(x1, w * 64 + 63) - w * 64;
    uint64_t const mask = (~uint64_t(0) >> a) & (~uint64_t(0) << (63 - b));
    row[w] |= mask;
  }
}

// Whether `b` lies below `a` (its centre lower) and shares columns with it.
bool Below(Box const& a, Box const& b) { return OverlapX(a, b) > 0 && b.t + b.b > a.t + a.b; }

// For each line, the one line just below it (-1 when there is none or a rival lies within
// `slack` of its distance); `up` gets the same upward. Lines are sorted by top.
void Neighbours(std::vector<Box> const& lines, LayoutScale const& scale, std::vector<int>& down,
                std::vector<int>& up) {
  int const n = int(lines.size());
  int const slack = scale.In(kNeighbourSlack);
  int tallest = 0;
  for (Box const& l : lines) tallest = std::max(tallest, l.Height());
  down.assign(std::size_t(n), -1);
  up.assign(std::size_t(n), -1);
  // Scans below line i while tops stay within reach; `visit` sees every line below it.
  auto scanDown = [&](int i, auto visit) {
    Box const& a = lines[std::size_t(i)];
    for (int j = i + 1; j < n && lines[std::size_t(j)].t <= a.b + 2 * a.Height() + slack; ++j)
      if (Below(a, lines[std::size_t(j)])) visit(j, lines[std::size_t(j)].t - a.b - 1);
  };
  auto scanUp = [&](int j, auto visit) {
    Box const& b = lines[std::size_t(j)];
    for (int i = j - 1; i >= 0 && lines[std::size_t(i)].t >= b.t - tallest - 2 * b.Height() - slack; --i)
      if (Below(lines[std::size_t(i)], b)) visit(i, b.t - lines[std::size_t(i)].b - 1);
  };
  auto unique = [&](int k, auto scan) {
    int nearest = 1 << 30, pick = -1, rivals = 0;
    scan(k, [&](int o, int gap) { if (gap < nearest) { nearest = gap; pick = o; } });
    scan(k, [&](int, int gap) { if (gap <= nearest + slack) ++rivals; });
    return rivals == 1 ? pick : -1;
  };
  for (int i = 0; i < n; ++i) {
    down[std::size_t(i)] = unique(i, scanDown);
    up[std::size_t(i)] = unique(i, scanUp);
  }
}

// Cuts a run to its part left of the first covered box it meets (or right of it, when it
// starts inside); false when nothing is left.
bool ClipToUncovered(std::vector<Box> const& covered, int y, InkRun& run) {
  for (Box const& c : covered) {
    if (y < c.t || y > c.b || run.x1 < c.l || run.x0 > c.r) continue;
    if (run.x0 < c.l) run.x1 = c.l - 1;
    else if (run.x1 > c.r) run.x0 = c.r + 1;
    else return false;
  }
  return true;
}

// Whether a rule crosses the box.
bool Walled(std::vector<Box> const& walls, Box const& box) {
  for (Box const& wall : walls)
    if (Intersects(wall, box)) return true;
  return false;
}

// Whether one of the lines reaches across a gutter or rule that the other stands beside (a
// caption over two columns and the first line of one of them, when skew puts that line
// nearer).
bool AcrossColumns(std::vector<Box> const& barriers, Box const& a, Box const& b) {
  auto spansBeside = [](Box const& wide, Box const& narrow, Box const& g) {
    return g.l > wide.l && g.r < wide.r && (g.r < narrow.l || g.l > narrow.r) && OverlapY(g, narrow) > 0;
  };
  for (Box const& g : barriers)
    if (spansBeside(a, b, g) || spansBeside(b, a, g)) return true;
  return false;
}

bool Joinable(Box const& a, Box const& b) {
  int const ha = a.Height(), hb = b.Height();
  int const gap = b.t - a.b - 1;
  if (gap > kMaxGapShare * std::min(ha, hb)) return false;
  return std::max(ha, hb) <= kMaxHeightRatio * std::min(ha, hb) ||
         gap <= kTightGapShare * std::min(ha, hb);
}

// Joins blocks of one column: same edges, one just under the other, nothing between.
void JoinColumnPieces(std::vector<Box>& blocks, std::vector<std::vector<Box>>& lines,
                      std::vector<Box> const& walls, LayoutScale const& scale) {
  int const edge = scale.In(kEdgeTolerance), maxGap = scale.In(kMaxBlockGap);
  bool changed = true;
  while (changed) {
    changed = false;
    for (std::size_t i = 0; i < blocks.size() && !changed; ++i) {
      for (std::size_t j = 0; j < blocks.size() && !changed; ++j) {
        Box const& a = blocks[i];
        Box const& b = blocks[j];
        if (i == j || b.t <= a.b || b.t - a.b - 1 > maxGap) continue;
        if (std::abs(a.l - b.l) > edge || std::abs(a.r - b.r) > edge) continue;
        Box joined = a;
        joined.Add(b);
        bool clear = !Walled(walls, joined);
        for (std::size_t k = 0; k < blocks.size() && clear; ++k)
          if (k != i && k != j && Intersects(blocks[k], joined)) clear = false;
        if (!clear) continue;
        blocks[i] = joined;
        lines[i].insert(lines[i].end(), lines[j].begin(), lines[j].end());
        blocks.erase(blocks.begin() + std::ptrdiff_t(j));
        lines.erase(lines.begin() + std::ptrdiff_t(j));
        changed = true;
      }
    }
  }
}

// Whether a line of like height just above or below spans both pieces: then the space between
// them lies inside one column (the few words of a justified line spread wide).
bool Bridged(std::vector<Box> const& lines, Box const& p, Box const& q) {
  int const h = std::min(p.Height(), q.Height());
  int const top = std::min(p.t, q.t), bottom = std::max(p.b, q.b);
  for (Box const& k : lines) {
    if (k.l > p.l || k.r < q.r || k.Height() > kBridgeHeightRatio * h || k.Height() * kBridgeHeightRatio < h)
      continue;
    int const distance = k.b < top ? top - k.b : k.t > bottom ? k.t - bottom : -1;
    if (distance >= 0 && distance <= kBridgeReach * h) return true;
  }
  return false;
}

// Pieces of one row band joined across wider spaces that are no gutters: each piece with its
// nearest neighbour to the right that shares most of its rows.
std::vector<Box> JoinPieces(std::vector<Box> pieces,
                            std::vector<Box> const& walls, LayoutScale const& scale) {
  std::sort(pieces.begin(), pieces.end(), [](Box const& a, Box const& b) { return a.t < b.t; });
  int const n = int(pieces.size());
  std::vector<int> right(static_cast<std::size_t>(n), -1), gapTo(static_cast<std::size_t>(n), 1 << 30);
  auto offer = [&](int a, int b) {  // b lies right of a
    Box const& p = pieces[std::size_t(a)];
    Box const& q = pieces[std::size_t(b)];
    if (OverlapY(p, q) < kBandOverlap * std::min(p.Height(), q.Height())) return;
    int const gap = q.l - p.r - 1;
    if (gap >= 0 && gap < gapTo[std::size_t(a)]) { gapTo[std::size_t(a)] = gap; right[std::size_t(a)] = b; }
  };
  std::vector<int> parent(static_cast<std::size_t>(n));
  std::iota(parent.begin(), parent.end(), 0);
  for (int i = 0; i < n; ++i) {
    for (int j = i + 1; j < n && pieces[std::size_t(j)].t <= pieces[std::size_t(i)].b; ++j) {
      Box const& p = pieces[std::size_t(i)];
      Box const& q = pieces[std::size_t(j)];
      if (q.l > p.r) offer(i, j);
      else if (p.l > q.r) offer(j, i);
      else if (OverlapY(p, q) >= kBandOverlap * std::min(p.Height(), q.Height()))
        parent[std::size_t(FindRoot(parent, j))] = FindRoot(parent, i);  // a dot or accent
    }
  }
  // Spaces up to the widest first; then wider ones bridged by a line so joined.
  int const widest = scale.In(kMaxSpaceInches);
  std::vector<Box> joined;
  for (int pass = 0; pass < 2; ++pass) {
    for (int i = 0; i < n; ++i) {
      int const j = right[std::size_t(i)];
      if (j < 0) continue;
      Box const& p = pieces[std::size_t(i)];
      Box const& q = pieces[std::size_t(j)];
      int const gap = gapTo[std::size_t(i)];
      if ((gap > widest) != (pass == 1) || (pass == 1 && !Bridged(joined, p, q))) continue;
      if (IsGutter(pieces, walls, p, q, scale)) continue;
      parent[std::size_t(FindRoot(parent, j))] = FindRoot(parent, i);
    }
    joined.assign(std::size_t(n), Box{});
    for (int i = 0; i < n; ++i) joined[std::size_t(FindRoot(parent, i))].Add(pieces[std::size_t(i)]);
  }
  std::vector<Box> lines;
  for (Box const& b : joined)
    if (!b.Empty()) lines.push_back(b);
  return lines;
}

}  // namespace

bool FindTextBlocks(ComponentMap const& map, std::vector<char> const& isText, InkBits const& ink,
                    std::vector<Box> const& walls, std::vector<Box> const& covered,
                    LayoutScale const& scale, TextLayout& out) {
  int const width = ink.Width(), height = ink.Height();
  out.blocks.clear();
  out.lines.clear();
  InkBits smear;
  if (!smear.Reset(width, height)) return false;
  int const reach = scale.In(kSmearInches);
  for (int y = 0; y < height; ++y) {
    int x0 = -1, x1 = -1;
    for (int i = map.rowStart[std::size_t(y)]; i < map.rowStart[std::size_t(y) + 1]; ++i) {
      InkRun run = map.runs[std::size_t(i)];
      if (!isText[std::size_t(run.label)] || !ClipToUncovered(covered, y, run)) continue;
      if (x0 >= 0 && run.x0 - x1 - 1 <= reach) {
        x1 = std::max(x1, run.x1);
        continue;
      }
      if (x0 >= 0) SetSpan(smear, y, x0, x1);
      x0 = run.x0;
      x1 = run.x1;
    }
    if (x0 >= 0) SetSpan(smear, y, x0, x1);
  }
  ComponentMap pieces;
  if (!LabelComponents(smear, true, pieces)) return false;
  std::vector<Box> found;
  found.reserve(pieces.components.size());
  for (InkComponent const& c : pieces.components)
    found.push_back(Box{c.left, c.top, c.right, c.bottom});
  std::vector<Box> barriers;  // rules and column gutters: nothing is joined across them
  if (!FindGutters(smear, ink, covered, scale, barriers)) return false;
  barriers.insert(barriers.end(), walls.begin(), walls.end());
  std::vector<Box> lines = JoinPieces(std::move(found), barriers, scale);
  std::sort(lines.begin(), lines.end(), [](Box const& a, Box const& b) {
    return a.t != b.t ? a.t < b.t : a.l < b.l;
  });
  std::vector<int> down, up;
  Neighbours(lines, scale, down, up);
  int const n = int(lines.size());
  std::vector<int> parent(static_cast<std::size_t>(n));
  std::iota(parent.begin(), parent.end(), 0);
  for (int i = 0; i < n; ++i) {
    int const j = down[std::size_t(i)];
    if (j < 0 || up[std::size_t(j)] != i) continue;
    Box const& a = lines[std::size_t(i)];
    Box const& b = lines[std::size_t(j)];
    Box const between{std::max(a.l, b.l), a.b, std::min(a.r, b.r), b.t};
    if (Joinable(a, b) && !Walled(barriers, between) && !AcrossColumns(barriers, a, b))
      parent[std::size_t(FindRoot(parent, j))] = FindRoot(parent, i);
  }
  std::vector<int> blockOf(std::size_t(n), -1);
  for (int i = 0; i < n; ++i) {
    int const root = FindRoot(parent, i);
    if (blockOf[std::size_t(root)] < 0) {
      blockOf[std::size_t(root)] = int(out.blocks.size());
      out.blocks.push_back(Box{});
      out.lines.emplace_back();
    }
    int const b = blockOf[std::size_t(root)];
    out.blocks[std::size_t(b)].Add(lines[std::size_t(i)]);
    out.lines[std::size_t(b)].push_back(lines[std::size_t(i)]);
  }
  JoinColumnPieces(out.blocks, out.lines, barriers, scale);
  return true;
}

}  // namespace quilp
