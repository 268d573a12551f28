// layout_types.h - the boxes and regions page segmentation passes between its steps.
//
// Every box is inclusive (right and bottom are the last column and row) and lies in the
// coordinates of the page being segmented, row 0 at the top. Regions carry the zone kinds of
// the exported SDibZone record.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace quilp {

enum ZoneKind : int {
  kZoneUnknown = 0,
  kZoneText = 1,
  kZonePicture = 2,
  kZoneGraphics = 3,
  kZoneTable = 4,
  kZoneHRule = 5,
  kZoneVRule = 6,
  kZoneNoise = 7,
};

struct Box {
  int l = 0, t = 0, r = -1, b = -1;  // empty while r < l
  bool Empty() const { return r < l || b < t; }
  int Width() const { return r - l + 1; }
  int Height() const { return b - t + 1; }
  int64_t Area() const { return Empty() ? 0 : int64_t(Width()) * Height(); }
  void Add(Box const& o) {
    if (o.Empty()) return;
    if (Empty()) { *this = o; return; }
    l = std::min(l, o.l); t = std::min(t, o.t); r = std::max(r, o.r); b = std::max(b, o.b);
  }
};

inline bool Intersects(Box const& a, Box const& b) {
  return !a.Empty() && !b.Empty() && a.l <= b.r && b.l <= a.r && a.t <= b.b && b.t <= a.b;
}
inline int64_t OverlapArea(Box const& a, Box const& b) {
  if (!Intersects(a, b)) return 0;
  return int64_t(std::min(a.r, b.r) - std::max(a.l, b.l) + 1) *
         (std::min(a.b, b.b) - std::max(a.t, b.t) + 1);
}
// Columns shared by the two boxes (0 when apart).
inline int OverlapX(Box const& a, Box const& b) {
  return std::max(0, std::min(a.r, b.r) - std::max(a.l, b.l) + 1);
}
inline int OverlapY(Box const& a, Box const& b) {
  return std::max(0, std::min(a.b, b.b) - std::max(a.t, b.t) + 1);
}

// The two scales of segmentation: the page's own and the reduced layout scale.
struct LayoutScale {
  int dpi = 300;   // of the page
  int factor = 4;  // page pixels per reduced pixel, each way
  // Reduced pixels for a length in inches, at least 1.
  int In(double inches) const { return std::max(1, int(inches * dpi / factor + 0.5)); }
  // Page pixels for a length in inches, at least 1.
  int Full(double inches) const { return std::max(1, int(inches * dpi + 0.5)); }
};

// One top-level zone: a block of text, a picture, a table, a rule, line art or noise.
struct Region {
  Box box;
  int kind = kZoneUnknown;
  int confidence = 0;
  int lines = 0;  // text lines seen at the reduced scale (text and tables)
};

// The root of `i` in a union-find forest, halving the path on the way.
inline int FindRoot(std::vector<int>& parent, int i) {
  while (parent[std::size_t(i)] != i)
    i = parent[std::size_t(i)] = parent[std::size_t(parent[std::size_t(i)])];
  return i;
}

// A zone in the exported form's terms, before it is copied out.
struct LayoutZone {
  Box box;
  int kind = kZoneUnknown;
  int parent = -1;
  int level = 0;
  int order = 0;
  int confidence = 0;
};

}  // namespace quilp
