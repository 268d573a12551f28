// components.cpp - run-based labelling of connected components (see components.h).
#include "morph/components.h"

#include <bit>
#include <exception>
#include <new>

namespace quilp {

void RowRuns(uint64_t const* row, int words, int y, std::vector<InkRun>& runs) {
  int start = -1;
  for (int k = 0; k < words; ++k) {
    uint64_t w = row[k];
    int pos = 0;  // bits of this word already consumed
    while (pos < 64) {
      if (start < 0) {  // looking for the start of a run
        uint64_t const rest = pos ? w << pos : w;
        if (!rest) break;
        pos += std::countl_zero(rest);
        start = 64 * k + pos;
      } else {  // looking for its end
        uint64_t const rest = pos ? ~(w << pos) & (~uint64_t(0) << pos) : ~w;
        if (!rest) break;
        pos += std::countl_zero(rest);
        runs.push_back({y, start, 64 * k + pos - 1, -1});
        start = -1;
      }
    }
  }
  if (start >= 0) runs.push_back({y, start, 64 * words - 1, -1});
}

namespace {

int Find(std::vector<int>& parent, int i) {
  while (parent[std::size_t(i)] != i) {
    parent[std::size_t(i)] = parent[std::size_t(parent[std::size_t(i)])];
    i = parent[std::size_t(i)];
  }
  return i;
}

void Union(std::vector<int>& parent, int a, int b) {
  a = Find(parent, a);
  b = Find(parent, b);
  if (a < b) parent[std::size_t(b)] = a;
  else if (b < a) parent[std::size_t(a)] = b;
}

}  // namespace

bool LabelComponents(InkBits const& image, bool eightConnected, ComponentMap& map) {
  try {
    map.runs.clear();
    map.components.clear();
    map.rowStart.assign(std::size_t(image.Height()) + 1, 0);
    for (int y = 0; y < image.Height(); ++y) {
      map.rowStart[std::size_t(y)] = int(map.runs.size());
      RowRuns(image.Row(y), image.Words(), y, map.runs);
    }
    map.rowStart[std::size_t(image.Height())] = int(map.runs.size());
    std::vector<int> parent(map.runs.size());
    for (std::size_t i = 0; i < parent.size(); ++i) parent[i] = int(i);
    int const reach = eightConnected ? 1 : 0;
    for (int y = 1; y < image.Height(); ++y) {
      int a = map.rowStart[std::size_t(y) - 1];
      int const aEnd = map.rowStart[std::size_t(y)];
      for (int b = aEnd; b < map.rowStart[std::size_t(y) + 1]; ++b) {
        InkRun const& r = map.runs[std::size_t(b)];
        while (a < aEnd && map.runs[std::size_t(a)].x1 + reach < r.x0) ++a;
        for (int j = a; j < aEnd && map.runs[std::size_t(j)].x0 <= r.x1 + reach; ++j)
          Union(parent, b, j);
      }
    }
    for (std::size_t i = 0; i < map.runs.size(); ++i) {
      InkRun& r = map.runs[i];
      int const root = Find(parent, int(i));
      if (root == int(i)) {
        r.label = int(map.components.size());
        InkComponent c;
        c.left = r.x0;
        c.right = r.x1;
        c.top = c.bottom = r.y;
        c.firstRun = int(i);
        map.components.push_back(c);
      } else {
        r.label = map.runs[std::size_t(root)].label;  // roots come first: already numbered
      }
      InkComponent& c = map.components[std::size_t(r.label)];
      c.area += r.x1 - r.x0 + 1;
      if (r.x0 < c.left) c.left = r.x0;
      if (r.x1 > c.right) c.right = r.x1;
      c.bottom = r.y;
    }
    return true;
  } catch (std::exception const&) {
    map = ComponentMap{};
    return false;
  }
}

}  // namespace quilp
