// reading_order.cpp - recursive XY-cut (see reading_order.h).
#include "segment/reading_order.h"

#include <algorithm>

namespace quilp {

namespace {

using Group = std::vector<int>;

// Splits `items` at the gaps of their extents along one axis (lo/hi give an item's extent),
// in increasing order; one group when there is no gap.
template <class Lo, class Hi>
std::vector<Group> CutAlong(std::vector<Box> const& boxes, Group items, Lo lo, Hi hi) {
  std::sort(items.begin(), items.end(), [&](int a, int b) {
    return lo(boxes[std::size_t(a)]) < lo(boxes[std::size_t(b)]);
  });
  std::vector<Group> groups;
  int reach = 0;
  for (int i : items) {
    Box const& box = boxes[std::size_t(i)];
    if (groups.empty() || lo(box) > reach) {
      groups.emplace_back();
      reach = hi(box);
    }
    groups.back().push_back(i);
    reach = std::max(reach, hi(box));
  }
  return groups;
}

std::vector<Group> Columns(std::vector<Box> const& boxes, Group const& items) {
  return CutAlong(boxes, items, [](Box const& b) { return b.l; }, [](Box const& b) { return b.r; });
}
std::vector<Group> Bands(std::vector<Box> const& boxes, Group const& items) {
  return CutAlong(boxes, items, [](Box const& b) { return b.t; }, [](Box const& b) { return b.b; });
}

// Whether `band` continues the columns of `group`: the group has columns and the band closes
// none of its channels (two columns whose paragraphs happen to end at one height). A band
// that bridges a channel, or a group of one column (a title), breaks the columns instead.
bool KeepsColumns(std::vector<Box> const& boxes, Group const& group, Group const& band) {
  std::size_t const columns = Columns(boxes, group).size();
  if (columns < 2) return false;
  Group joined = group;
  joined.insert(joined.end(), band.begin(), band.end());
  return Columns(boxes, joined).size() == columns;
}

int Top(std::vector<Box> const& boxes, Group const& g) {
  int t = boxes[std::size_t(g[0])].t;
  for (int i : g) t = std::min(t, boxes[std::size_t(i)].t);
  return t;
}
int Bottom(std::vector<Box> const& boxes, Group const& g) {
  int b = boxes[std::size_t(g[0])].b;
  for (int i : g) b = std::max(b, boxes[std::size_t(i)].b);
  return b;
}

// Whether band `b` belongs to the band after it rather than to `group` above: the next band
// breaks the group's columns and stands closer (a caption over a table or figure that spans
// the columns is read with it, after the columns).
bool LeadsNext(std::vector<Box> const& boxes, Group const& group, std::vector<Group> const& bands,
               std::size_t b) {
  if (b + 1 >= bands.size()) return false;
  Group joined = group;
  joined.insert(joined.end(), bands[b].begin(), bands[b].end());
  if (KeepsColumns(boxes, joined, bands[b + 1])) return false;
  int const above = Top(boxes, bands[b]) - Bottom(boxes, group);
  int const below = Top(boxes, bands[b + 1]) - Bottom(boxes, bands[b]);
  return below < above;
}

// The horizontal bands of `items`, top to bottom, with the bands that continue the columns
// above joined to them. `bridged` tells whether a band broke the columns of a group above by
// closing one of its channels (a section break).
std::vector<Group> Sections(std::vector<Box> const& boxes, Group const& items, bool& bridged) {
  std::vector<Group> const bands = Bands(boxes, items);
  std::vector<Group> merged;
  bridged = false;
  for (std::size_t b = 0; b < bands.size(); ++b) {
    if (!merged.empty()) {
      bool const keeps = KeepsColumns(boxes, merged.back(), bands[b]);
      if (keeps && !LeadsNext(boxes, merged.back(), bands, b)) {
        merged.back().insert(merged.back().end(), bands[b].begin(), bands[b].end());
        continue;
      }
      bridged = bridged || (!keeps && Columns(boxes, merged.back()).size() > 1);
    }
    merged.push_back(bands[b]);
  }
  return merged;
}

void Order(std::vector<Box> const& boxes, Group const& items, std::vector<int>& out) {
  if (items.size() <= 1) {
    out.insert(out.end(), items.begin(), items.end());
    return;
  }
  // A section break outranks a column channel: columns of two sections on one grid leave a
  // channel down the whole page, though a caption or table bridges another one between them.
  bool bridged = false;
  std::vector<Group> const sections = Sections(boxes, items, bridged);
  std::vector<Group> const columns = Columns(boxes, items);
  std::vector<Group> const& cut = columns.size() > 1 && !bridged ? columns : sections;
  if (cut.size() > 1) {
    for (Group const& g : cut) Order(boxes, g, out);
    return;
  }
  // Neither cut separates them: top to bottom, then left to right.
  Group rest = items;
  std::sort(rest.begin(), rest.end(), [&](int a, int b) {
    Box const& p = boxes[std::size_t(a)];
    Box const& q = boxes[std::size_t(b)];
    return p.t != q.t ? p.t < q.t : p.l < q.l;
  });
  out.insert(out.end(), rest.begin(), rest.end());
}

}  // namespace

std::vector<int> ReadingOrder(std::vector<Box> const& boxes, int marginHeight) {
  Group all(boxes.size());
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = int(i);
  std::vector<int> out;
  out.reserve(boxes.size());
  // Running heads and page numbers: low bands above and below everything else.
  std::vector<Group> bands = Bands(boxes, all);
  auto low = [&](Group const& band) {
    for (int i : band)
      if (boxes[std::size_t(i)].Height() > marginHeight) return false;
    return true;
  };
  // A margin band also stands apart: a heading or the last line of a column that ends a
  // page is no nearer the page's edge than the body's own spacing allows.
  std::size_t first = 0, last = bands.size();
  while (last - first > 1 && low(bands[first]) &&
         Top(boxes, bands[first + 1]) - Bottom(boxes, bands[first]) > marginHeight)
    ++first;
  while (last - first > 1 && low(bands[last - 1]) &&
         Top(boxes, bands[last - 1]) - Bottom(boxes, bands[last - 2]) > marginHeight)
    --last;
  Group body;
  for (std::size_t b = first; b < last; ++b) body.insert(body.end(), bands[b].begin(), bands[b].end());
  for (std::size_t b = 0; b < first; ++b) Order(boxes, bands[b], out);
  Order(boxes, body, out);
  for (std::size_t b = last; b < bands.size(); ++b) Order(boxes, bands[b], out);
  return out;
}

}  // namespace quilp
