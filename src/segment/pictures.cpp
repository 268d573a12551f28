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
