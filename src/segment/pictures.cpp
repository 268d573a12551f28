// pictures.cpp - classification of the large components of the reduced page (see pictures.h).
#include "segment/pictures.h"

#include "segment/tables.h"

namespace quilp {

namespace {

constexpr double kLargeInches = 0.4;      // both sides at least this
constexpr double kPictureFill = 0.6;      // ink share of the box of a picture
constexpr double kGapRowFill = 0.3;       // a row this empty is paper between text lines
constexpr double kLineArtFill = 0.15;     // sparser than this (and no grid): line art

// Runs of consecutive rows whose ink is below `limit`.
int GapRuns(std::vector<int> const& fill, double limit) {
  int runs = 0;
  bool inGap = false;
  for (int v : fill) {
    bool const gap = v < limit;
    if (gap && !inGap) ++runs;
    inGap = gap;
  }
  return runs;
}

}  // namespace

void ProfileComponent(ComponentMap const& map, int label, ComponentProfile& profile) {
  InkComponent const& c = map.components[std::size_t(label)];
  int const w = c.right - c.left + 1, h = c.bottom - c.top + 1;
  profile.rows.assign(std::size_t(h), 0);
  std::vector<int> edges(std::size_t(w) + 1, 0);  // run starts and ends, summed into columns
  for (int y = c.top; y <= c.bottom; ++y) {
    for (int i = map.rowStart[std::size_t(y)]; i < map.rowStart[std::size_t(y) + 1]; ++i) {
      InkRun const& run = map.runs[std::size_t(i)];
      if (run.label != label) continue;
      profile.rows[std::size_t(y - c.top)] += run.x1 - run.x0 + 1;
      ++edges[std::size_t(run.x0 - c.left)];
      --edges[std::size_t(run.x1 - c.left + 1)];
    }
  }
  profile.cols.assign(std::size_t(w), 0);
  int sum = 0;
  for (int x = 0; x < w; ++x) profile.cols[std::size_t(x)] = sum += edges[std::size_t(x)];
}

bool IsLargeComponent(InkComponent const& c, LayoutScale const& scale) {
  int const side = scale.In(kLargeInches);
  return c.right - c.left + 1 >= side && c.bottom - c.top + 1 >= side;
}

int LargeComponentKind(InkComponent const& c, ComponentProfile const& profile,
                       LayoutScale const& scale) {
  int const w = c.right - c.left + 1, h = c.bottom - c.top + 1;
  double const fill = double(c.area) / (double(w) * h);
  int const gaps = GapRuns(profile.rows, kGapRowFill * w);
  if (fill >= kPictureFill && gaps <= 1) return kZonePicture;
  if (IsRuledGrid(profile, scale)) return kZoneTable;
  if (fill < kLineArtFill) return kZoneGraphics;
  if (gaps >= 2) return kZoneText;
  return fill >= kPictureFill ? kZonePicture : kZoneGraphics;
}

}  // namespace quilp

namespace quilp {

namespace {

constexpr double kSolidRadiusInches = 0.04;  // half the side of the square that must fit
constexpr double kSolidFill = 0.5;

// Summed counts of `mask` (w x h) with a zero border row and column.
std::vector<int> Integral(std::vector<uint8_t> const& mask, int w, int h) {
  std::vector<int> sum(std::size_t(w + 1) * std::size_t(h + 1), 0);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      sum[std::size_t(y + 1) * std::size_t(w + 1) + std::size_t(x + 1)] =
          mask[std::size_t(y) * std::size_t(w) + std::size_t(x)] +
          sum[std::size_t(y) * std::size_t(w + 1) + std::size_t(x + 1)] +
          sum[std::size_t(y + 1) * std::size_t(w + 1) + std::size_t(x)] -
          sum[std::size_t(y) * std::size_t(w + 1) + std::size_t(x)];
  return sum;
}

// Count of the set pixels of the square of radius r around (x, y), cut to the box.
int Around(std::vector<int> const& sum, int w, int h, int x, int y, int r) {
  int const x0 = std::max(0, x - r), x1 = std::min(w, x + r + 1);
  int const y0 = std::max(0, y - r), y1 = std::min(h, y + r + 1);
  auto at = [&](int xx, int yy) { return sum[std::size_t(yy) * std::size_t(w + 1) + std::size_t(xx)]; };
  return at(x1, y1) - at(x0, y1) - at(x1, y0) + at(x0, y0);
}

}  // namespace

std::vector<Box> SolidParts(InkBits const& ink, Box const& box, LayoutScale const& scale) {
  int const w = box.Width(), h = box.Height(), r = scale.In(kSolidRadiusInches);
  int const full = (2 * r + 1) * (2 * r + 1);
  std::vector<uint8_t> mask(std::size_t(w) * std::size_t(h));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) mask[std::size_t(y) * std::size_t(w) + std::size_t(x)] = ink.Get(box.l + x, box.t + y);
  // Erosion: centres whose whole square is ink (squares reaching out of the box do not fit).
  std::vector<int> sum = Integral(mask, w, h);
  std::vector<uint8_t> core(mask.size(), 0);
  for (int y = r; y < h - r; ++y)
    for (int x = r; x < w - r; ++x)
      core[std::size_t(y) * std::size_t(w) + std::size_t(x)] = Around(sum, w, h, x, y, r) == full;
  // Dilation back: pixels within a square of a centre.
  sum = Integral(core, w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) mask[std::size_t(y) * std::size_t(w) + std::size_t(x)] = Around(sum, w, h, x, y, r) > 0;
  // Pieces of the opening.
  std::vector<Box> parts;
  std::vector<int> stack;
  int const side = scale.In(0.4);
  for (int start = 0; start < w * h; ++start) {
    if (!mask[std::size_t(start)]) continue;
    Box piece{start % w, start / w, start % w, start / w};
    int64_t area = 0;
    stack.assign(1, start);
    mask[std::size_t(start)] = 0;
    while (!stack.empty()) {
      int const p = stack.back();
      stack.pop_back();
      ++area;
      int const x = p % w, y = p / w;
      piece.Add(Box{x, y, x, y});
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
          int const nx = x + dx, ny = y + dy;
          if (nx < 0 || ny < 0 || nx >= w || ny >= h) continue;
          int const q = ny * w + nx;
          if (mask[std::size_t(q)]) { mask[std::size_t(q)] = 0; stack.push_back(q); }
        }
    }
    if (piece.Width() >= side && piece.Height() >= side && area >= kSolidFill * piece.Area())
      parts.push_back(Box{piece.l + box.l, piece.t + box.t, piece.r + box.l, piece.b + box.t});
  }
  return parts;
}

}  // namespace quilp
