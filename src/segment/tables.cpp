// tables.cpp - ruled grids and unruled tables (see tables.h).
#include "segment/tables.h"

#include <cmath>
#include <numeric>

namespace quilp {

namespace {

constexpr double kRuleReach = 0.8;        // a rule crosses this share of the grid
constexpr double kSkewDrift = 0.035;      // tan(2 degrees)
constexpr double kMaxCellColumn = 1.2;    // inches: wider blocks are running text
constexpr double kMaxColumnGap = 1.2;     // inches between neighbouring table columns
constexpr double kRowTolerance = 0.04;    // inches between the centres of one row's cells
constexpr double kRuleAlign = 0.1;        // inches: rules of one table start and end together
constexpr double kMaxRuleSpacing = 3.0;   // inches between stacked rules of one table
constexpr double kTightRule = 0.08;       // inches from a table's rule to its cells
constexpr double kStackGap = 0.12;        // inches between stacked parts of one table (a row)

// Places where `fill` summed over `span` neighbours reaches `reach`.
int Crossings(std::vector<int> const& fill, int span, double reach) {
  int count = 0, sum = 0;
  bool in = false;
  for (std::size_t i = 0; i < fill.size(); ++i) {
    sum += fill[i];
    if (i >= std::size_t(span)) sum -= fill[i - std::size_t(span)];
    bool const hit = sum >= reach;
    if (hit && !in) ++count;
    in = hit;
  }
  return count;
}

// Share of the lines of `a` that have a line of `b` at the same height.
double MatchedRows(std::vector<Box> const& a, std::vector<Box> const& b, int tolerance) {
  if (a.empty()) return 0;
  int matched = 0;
  for (Box const& la : a) {
    for (Box const& lb : b) {
      if (std::abs((la.t + la.b) - (lb.t + lb.b)) <= 2 * tolerance) { ++matched; break; }
    }
  }
  return double(matched) / double(a.size());
}

bool Ruled(std::vector<Region> const& regions, Box const& box) {
  for (Region const& r : regions)
    if (r.kind == kZoneVRule && Intersects(r.box, box)) return true;
  return false;
}

bool SideBySide(Box const& a, Box const& b) {
  return OverlapX(a, b) == 0 && OverlapY(a, b) > 0;
}

bool Inside(Box const& inner, Box const& outer, int slack) {
  return inner.l >= outer.l - slack && inner.r <= outer.r + slack && inner.t >= outer.t - slack &&
         inner.b <= outer.b + slack;
}

// Tables ruled at head and foot: stacked rules of one width with table columns between.
void FrameWithRules(std::vector<Region>& regions, LayoutScale const& scale) {
  std::vector<int> rules;
  for (std::size_t i = 0; i < regions.size(); ++i)
    if (regions[i].kind == kZoneHRule) rules.push_back(int(i));
  std::sort(rules.begin(), rules.end(),
            [&](int a, int b) { return regions[std::size_t(a)].box.t < regions[std::size_t(b)].box.t; });
  int const align = scale.In(kRuleAlign), spacing = scale.In(kMaxRuleSpacing);
  for (std::size_t i = 0; i < rules.size();) {
    Box const first = regions[std::size_t(rules[i])].box;
    std::size_t j = i + 1;
    while (j < rules.size()) {
      Box const& next = regions[std::size_t(rules[j])].box;
      if (std::abs(next.l - first.l) > align || std::abs(next.r - first.r) > align ||
          next.t - regions[std::size_t(rules[j - 1])].box.b > spacing)
        break;
      ++j;
    }
    if (j - i >= 2) {
      Box frame;
      for (std::size_t k = i; k < j; ++k) frame.Add(regions[std::size_t(rules[k])].box);
      std::vector<int> inside;
      bool table = false;
      for (std::size_t k = 0; k < regions.size(); ++k) {
        Region const& r = regions[k];
        if ((r.kind != kZoneText && r.kind != kZoneTable) || !Inside(r.box, frame, align)) continue;
        if (r.kind == kZoneTable) table = true;
        for (int o : inside)
          if (SideBySide(r.box, regions[std::size_t(o)].box)) table = true;
        inside.push_back(int(k));
      }
      // Cells too close to part into columns read as one block of the frame's width; the
      // rules hug it, where a rule between paragraphs keeps a paragraph's distance.
      int const tight = scale.In(kTightRule);
      if (!table && inside.size() == 1) {
        Box const& b = regions[std::size_t(inside[0])].box;
        table = std::abs(b.l - frame.l) <= align && std::abs(b.r - frame.r) <= align &&
                b.t - frame.t <= tight + first.Height() && frame.b - b.b <= tight + first.Height();
      }
      if (table) {
        Region& t = regions[std::size_t(rules[i])];
        t.kind = kZoneTable;
        t.box = frame;
        for (std::size_t k = i + 1; k < j; ++k) regions[std::size_t(rules[k])].kind = -1;
        for (int o : inside) {
          t.lines += regions[std::size_t(o)].lines;
          regions[std::size_t(o)].kind = -1;
        }
      }
    }
    i = j;
  }
}

// A table found in parts (the head between its rules, the body's aligned columns, a last row
// fused with the foot rule) is one: tables within a row's gap of each other, one within the
// other's width, join, and so does text just below a table as wide as it is (its foot rule
// and last row; a caption above stays apart).
void StackTableParts(std::vector<Region>& regions, LayoutScale const& scale) {
  int const align = scale.In(kRuleAlign), gap = scale.In(kStackGap);
  auto within = [&](Box const& a, Box const& b) { return a.l >= b.l - align && a.r <= b.r + align; };
  bool merged = true;
  while (merged) {
    merged = false;
    for (Region& t : regions) {
      if (t.kind != kZoneTable) continue;
      for (Region& r : regions) {
        if (&r == &t || (r.kind != kZoneTable && r.kind != kZoneText)) continue;
        int const apart = std::max(r.box.t - t.box.b, t.box.t - r.box.b) - 1;
        if (apart < 0 || apart > gap || OverlapX(r.box, t.box) == 0) continue;
        bool const joins = r.kind == kZoneTable
                               ? within(r.box, t.box) || within(t.box, r.box)
                               : r.box.t > t.box.b && std::abs(r.box.l - t.box.l) <= align &&
                                     std::abs(r.box.r - t.box.r) <= align;
        if (!joins) continue;
        t.box.Add(r.box);
        t.lines += r.lines;
        r.kind = -1;
        merged = true;
      }
    }
  }
}

}  // namespace

bool IsRuledGrid(ComponentProfile const& profile, LayoutScale const&) {
  int const w = int(profile.cols.size()), h = int(profile.rows.size());
  int const rowSpan = 1 + int(w * kSkewDrift), colSpan = 1 + int(h * kSkewDrift);
  // A skewed rule spreads over the rows it drifts across, but so many rows of a cell's text
  // may reach as far and fuse the rules' runs: each span from one row up is tried.
  int across = 0, down = 0;
  for (int span = 1; span <= rowSpan; span = span < rowSpan ? std::min(rowSpan, 2 * span) : span + 1)
    across = std::max(across, Crossings(profile.rows, span, kRuleReach * w));
  for (int span = 1; span <= colSpan; span = span < colSpan ? std::min(colSpan, 2 * span) : span + 1)
    down = std::max(down, Crossings(profile.cols, span, kRuleReach * h));
  return across >= 2 && down >= 2 && across + down >= 5;
}

void FindTextTables(std::vector<Region>& regions, std::vector<std::vector<Box>> const& lines,
                    LayoutScale const& scale) {
  int const n = int(regions.size());
  std::vector<int> parent(static_cast<std::size_t>(n));
  std::iota(parent.begin(), parent.end(), 0);
  auto candidate = [&](int i) {
    Region const& r = regions[std::size_t(i)];
    return r.kind == kZoneText && r.box.Width() <= scale.In(kMaxCellColumn) &&
           lines[std::size_t(i)].size() >= 2;
  };
  int const gapLimit = scale.In(kMaxColumnGap), tolerance = scale.In(kRowTolerance) + 1;
  std::vector<char> linked(std::size_t(n), 0);
  for (int i = 0; i < n; ++i) {
    if (!candidate(i)) continue;
    for (int j = i + 1; j < n; ++j) {
      if (!candidate(j)) continue;
      Box const& a = regions[std::size_t(i)].box;
      Box const& b = regions[std::size_t(j)].box;
      int const gap = std::max(a.l, b.l) - std::min(a.r, b.r) - 1;
      if (gap < 0 || gap > gapLimit) continue;
      Box const between{std::min(a.r, b.r) + 1, std::max(a.t, b.t), std::max(a.l, b.l) - 1,
                        std::min(a.b, b.b)};
      if (Ruled(regions, between)) continue;  // a rule parts two columns of text
      if (OverlapY(a, b) < 0.6 * std::min(a.Height(), b.Height())) continue;
      auto const& la = lines[std::size_t(i)];
      auto const& lb = lines[std::size_t(j)];
      bool const fewer = la.size() <= lb.size();
      if (MatchedRows(fewer ? la : lb, fewer ? lb : la, tolerance) < 0.5) continue;
      parent[std::size_t(FindRoot(parent, i))] = FindRoot(parent, j);
      linked[std::size_t(i)] = linked[std::size_t(j)] = 1;
    }
  }
  for (int i = 0; i < n; ++i) {
    if (!linked[std::size_t(i)]) continue;
    int const root = FindRoot(parent, i);
    if (root == i) continue;
    Region& t = regions[std::size_t(root)];
    t.box.Add(regions[std::size_t(i)].box);
    t.lines += regions[std::size_t(i)].lines;
    regions[std::size_t(i)].kind = -1;
  }
  for (int i = 0; i < n; ++i)
    if (linked[std::size_t(i)] && FindRoot(parent, i) == i) regions[std::size_t(i)].kind = kZoneTable;
  FrameWithRules(regions, scale);
  StackTableParts(regions, scale);
}

}  // namespace quilp
