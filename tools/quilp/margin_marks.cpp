// margin_marks.cpp - dark scanner borders and punch holes, the marks a scan adds at the margins.
//
// A pixel is dark when its level is below 45 % of the paper level (the 90th percentile of a
// sample of the page's levels): darker than any shadow or uneven light, as dark as ink. Ink
// does not reach the sheet's edge, so every dark 8-connected region touching it is border. A
// punch hole is a dark region lying in the outer band of the page (an inch, at most a fifth of
// the side), 4 to 10 mm across, about as tall as wide and filling at least 60 % of its box (a
// disc fills 79 %, a letter much less).
// Each region is filled once by runs (a run of dark pixels is taken whole, and the rows above
// and below it are searched for the runs touching it), over a byte map of visited pixels; the
// band is searched eight pixels at a time for dark ones. The cost is a read of the edges and
// margin bands plus a few operations per dark pixel of the regions met. The marks are grown by
// a 50th of an inch (a square around each pixel) so their grey fringes go too: each run becomes
// a rectangle, and the rectangles are merged row by row into the cover, so clearing is a fill
// of runs.
#include "quilp/margin_marks.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace quilp_cli {
namespace {

constexpr double kDarkShareOfPaper = 0.45;
constexpr double kMmPerInch = 25.4;
constexpr double kHoleMinMm = 4.0, kHoleMaxMm = 10.0;
constexpr double kHoleMinFill = 0.60;
constexpr int kGrowPerInch = 50;

struct Region {
  int left, top, right, bottom;
  std::size_t count;
};

class DarkRegions {
 public:
  DarkRegions(DibInfo const* grey, int threshold)
      : w_(grey->Width()), h_(grey->Height()), threshold_(threshold), visited_(std::size_t(w_) * std::size_t(h_), 0) {
    rows_.reserve(std::size_t(h_));
    for (int y = 0; y < h_; ++y) rows_.push_back(grey->GetLine(y));
  }

  bool Fresh(int x, int y) const { return rows_[std::size_t(y)][x] < threshold_ && !Visited(x, y); }

  // The first x in [x, end) of row y that is dark, or end; eight pixels a step while none is.
  int NextDark(int x, int end, int y) const {
    unsigned char const* row = rows_[std::size_t(y)];
    if (threshold_ <= 128) {
      // A byte b is below t (t <= 128) when b - t borrows into its high bit and b's own high
      // bit is clear.
      uint64_t const ones = ~uint64_t(0) / 255, below = ones * uint64_t(threshold_), highs = ones * 0x80;
      for (; x + 8 <= end; x += 8) {
        uint64_t word;
        std::memcpy(&word, row + x, 8);
        if ((word - below) & ~word & highs) break;
      }
    }
    while (x < end && row[x] >= threshold_) ++x;
    return x;
  }

  // Fills the dark region holding (x, y), marking it visited; its runs go to `runs`.
  Region Flood(int x, int y, std::vector<MarkRun>& runs) {
    runs.clear();
    Region r{x, y, x, y, 0};
    seeds_.assign(1, {x, y});
    while (!seeds_.empty()) {
      auto const [sx, sy] = seeds_.back();
      seeds_.pop_back();
      if (Visited(sx, sy)) continue;  // taken by a run filled since it was found
      int x0 = sx, x1 = sx + 1;
      while (x0 > 0 && Fresh(x0 - 1, sy)) --x0;
      while (x1 < w_ && Fresh(x1, sy)) ++x1;
      std::memset(&visited_[Index(x0, sy)], 1, std::size_t(x1 - x0));
      runs.push_back({sy, x0, x1});
      r.left = std::min(r.left, x0);
      r.right = std::max(r.right, x1 - 1);
      r.top = std::min(r.top, sy);
      r.bottom = std::max(r.bottom, sy);
      r.count += std::size_t(x1 - x0);
      // 8-connected: the rows above and below touch the run from x0 - 1 to x1.
      for (int ny : {sy - 1, sy + 1}) {
        if (ny < 0 || ny >= h_) continue;
        for (int nx = std::max(0, x0 - 1); nx <= std::min(w_ - 1, x1); ++nx) {
          if (!Fresh(nx, ny)) continue;
          seeds_.push_back({nx, ny});
          while (nx + 1 < w_ && Fresh(nx + 1, ny)) ++nx;  // one seed per run
        }
      }
    }
    return r;
  }

 private:
  std::size_t Index(int x, int y) const { return std::size_t(y) * std::size_t(w_) + std::size_t(x); }
  bool Visited(int x, int y) const { return visited_[Index(x, y)] != 0; }

  std::vector<unsigned char const*> rows_;
  int w_, h_, threshold_;
  std::vector<uint8_t> visited_;
  std::vector<std::pair<int, int>> seeds_;
};

// The 90th percentile of the levels of every fourth pixel of every fourth row.
int PaperLevel(DibInfo const* grey) {
  uint64_t hist[256] = {}, total = 0;
  for (int y = 0; y < grey->Height(); y += 4) {
    unsigned char const* row = grey->GetLine(y);
    for (int x = 0; x < grey->Width(); x += 4, ++total) ++hist[row[x]];
  }
  uint64_t seen = 0;
  for (int level = 0; level < 256; ++level) {
    seen += hist[level];
    if (seen * 10 >= total * 9) return level;
  }
  return 255;
}

bool LooksLikeHole(Region const& r, double dpi) {
  double const w = r.right - r.left + 1, h = r.bottom - r.top + 1;
  double const lo = kHoleMinMm / kMmPerInch * dpi, hi = kHoleMaxMm / kMmPerInch * dpi;
  return w >= lo && h >= lo && w <= hi && h <= hi && w <= 1.4 * h && h <= 1.4 * w &&
         double(r.count) >= kHoleMinFill * w * h;
}

// The runs grown by `grow` pixels every way (cut to the w x h image) and merged: disjoint,
// in row order, left to right.
std::vector<MarkRun> Grown(std::vector<MarkRun> const& runs, int grow, int w, int h) {
  std::vector<std::size_t> start(std::size_t(h) + 1, 0);  // grown runs bucketed by row
  for (MarkRun const& r : runs)
    for (int y = std::max(0, r.y - grow); y <= std::min(h - 1, r.y + grow); ++y) ++start[std::size_t(y) + 1];
  for (std::size_t y = 0; y < std::size_t(h); ++y) start[y + 1] += start[y];
  std::vector<std::pair<int, int>> spans(start.back());
  std::vector<std::size_t> next(start.begin(), start.end() - 1);
  for (MarkRun const& r : runs)
    for (int y = std::max(0, r.y - grow); y <= std::min(h - 1, r.y + grow); ++y)
      spans[next[std::size_t(y)]++] = {std::max(0, r.x0 - grow), std::min(w, r.x1 + grow)};
  std::vector<MarkRun> cover;
  for (int y = 0; y < h; ++y) {
    auto const first = spans.begin() + std::ptrdiff_t(start[std::size_t(y)]);
    auto const last = spans.begin() + std::ptrdiff_t(start[std::size_t(y) + 1]);
    std::sort(first, last);
    for (auto s = first; s != last; ++s) {
      if (!cover.empty() && cover.back().y == y && s->first <= cover.back().x1)
        cover.back().x1 = std::max(cover.back().x1, s->second);
      else
        cover.push_back({y, s->first, s->second});
    }
  }
  return cover;
}

}  // namespace

MarginMarks FindMarginMarks(DibInfo const* grey, double dpi) {
  MarginMarks marks;
  int const w = grey->Width(), h = grey->Height();
  if (w < 1 || h < 1) return marks;
  if (dpi <= 0) dpi = 300;
  DarkRegions regions(grey, int(PaperLevel(grey) * kDarkShareOfPaper));
  std::vector<MarkRun> runs, marked;
  // Border: every dark region that touches the edge.
  auto border = [&](int x, int y) {
    if (!regions.Fresh(x, y)) return;
    marks.borderPixels += int(regions.Flood(x, y, runs).count);
    marked.insert(marked.end(), runs.begin(), runs.end());
  };
  for (int x = 0; x < w; ++x) border(x, 0), border(x, h - 1);
  for (int y = 0; y < h; ++y) border(0, y), border(w - 1, y);
  // Holes: round blots met in the outer bands.
  int const bandX = std::min(int(dpi), w / 5), bandY = std::min(int(dpi), h / 5);
  auto holes = [&](int y, int x, int end) {
    for (x = regions.NextDark(x, end, y); x < end; x = regions.NextDark(x + 1, end, y)) {
      if (!regions.Fresh(x, y)) continue;
      Region const r = regions.Flood(x, y, runs);
      if (!LooksLikeHole(r, dpi)) continue;
      ++marks.holes;
      marked.insert(marked.end(), runs.begin(), runs.end());
    }
  };
  for (int y = 0; y < h; ++y) {
    if (y < bandY || y >= h - bandY || bandX >= w - bandX) {
      holes(y, 0, w);
    } else {
      holes(y, 0, bandX);
      holes(y, w - bandX, w);
    }
  }
  if (!marked.empty()) marks.cover = Grown(marked, std::max(1, int(dpi / kGrowPerInch)), w, h);
  return marks;
}

void ClearMarks(DibInfo* image, MarginMarks const& marks, int factor) {
  if (factor < 1) return;
  std::size_t const bytes = std::size_t(image->BitsPerPixel() / 8);
  int const w = image->Width(), h = image->Height();
  for (MarkRun const& r : marks.cover) {
    int64_t const x0 = std::min<int64_t>(w, int64_t(r.x0) * factor), x1 = std::min<int64_t>(w, int64_t(r.x1) * factor);
    int64_t const y1 = std::min<int64_t>(h, (int64_t(r.y) + 1) * factor);
    for (int64_t y = int64_t(r.y) * factor; y < y1; ++y)
      std::memset(image->GetLine(int(y)) + std::size_t(x0) * bytes, 255, std::size_t(x1 - x0) * bytes);
  }
}

}  // namespace quilp_cli
