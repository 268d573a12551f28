// margin_marks.cpp - dark scanner borders and punch holes, the marks a scan adds at the margins.
//
// A pixel is dark when its level is below 45 % of the paper level (the 90th percentile of a
// sample of the page's levels): darker than any shadow or uneven light, as dark as ink. Ink
// does not reach the sheet's edge, so every dark 8-connected region touching it is border. A
// punch hole is a dark region lying in the outer band of the page (an inch, at most a fifth of
// the side), 4 to 10 mm across, about as tall as wide and filling at least 60 % of its box (a
// disc fills 79 %, a letter much less). Each region is flood-filled once with an explicit stack
// over a byte map of visited pixels, so the cost is a read of the edges and margin bands plus
// the dark pixels of the regions met; the marks found are then grown by a 50th of an inch with
// the library's maximum filter so their grey fringes go too.
#include "quilp/margin_marks.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace quilp_cli {
namespace {

constexpr double kDarkShareOfPaper = 0.45;
constexpr double kMmPerInch = 25.4;
constexpr double kHoleMinMm = 4.0, kHoleMaxMm = 10.0;
constexpr double kHoleMinFill = 0.60;

struct Region {
  int left, top, right, bottom;
  std::size_t count;
};

class DarkRegions {
 public:
  DarkRegions(DibInfo const* grey, int threshold)
      : w_(grey->Width()), h_(grey->Height()), threshold_(threshold), state_(std::size_t(w_) * h_, 0) {
    rows_.reserve(std::size_t(h_));
    for (int y = 0; y < h_; ++y) rows_.push_back(grey->GetLine(y));
  }

  bool Dark(int x, int y) const { return rows_[std::size_t(y)][x] < threshold_; }
  bool Fresh(int x, int y) const { return state_[Index(x, y)] == 0 && Dark(x, y); }

  // Floods the dark region holding (x, y), marking it visited; its pixels go to `pixels`.
  Region Flood(int x, int y, std::vector<uint32_t>& pixels) {
    pixels.clear();
    Region r{x, y, x, y, 0};
    state_[Index(x, y)] = 1;
    stack_.assign(1, Index(x, y));
    while (!stack_.empty()) {
      uint32_t const i = stack_.back();
      stack_.pop_back();
      pixels.push_back(i);
      int const px = int(i % uint32_t(w_)), py = int(i / uint32_t(w_));
      r.left = std::min(r.left, px);
      r.right = std::max(r.right, px);
      r.top = std::min(r.top, py);
      r.bottom = std::max(r.bottom, py);
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
          int const nx = px + dx, ny = py + dy;
          if (nx < 0 || ny < 0 || nx >= w_ || ny >= h_ || !Fresh(nx, ny)) continue;
          state_[Index(nx, ny)] = 1;
          stack_.push_back(Index(nx, ny));
        }
    }
    r.count = pixels.size();
    return r;
  }

  uint32_t Index(int x, int y) const { return uint32_t(y) * uint32_t(w_) + uint32_t(x); }
  int Width() const { return w_; }

 private:
  std::vector<unsigned char const*> rows_;
  int w_, h_, threshold_;
  std::vector<uint8_t> state_;
  std::vector<uint32_t> stack_;
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

}  // namespace

MarginMarks FindMarginMarks(DibInfo const* grey, double dpi) {
  MarginMarks marks;
  int const w = grey->Width(), h = grey->Height();
  if (dpi <= 0) dpi = 300;
  DarkRegions regions(grey, int(PaperLevel(grey) * kDarkShareOfPaper));
  std::vector<uint32_t> pixels, marked;
  // Border: every dark region that touches the edge.
  auto border = [&](int x, int y) {
    if (!regions.Fresh(x, y)) return;
    regions.Flood(x, y, pixels);
    marks.borderPixels += int(pixels.size());
    marked.insert(marked.end(), pixels.begin(), pixels.end());
  };
  for (int x = 0; x < w; ++x) border(x, 0), border(x, h - 1);
  for (int y = 0; y < h; ++y) border(0, y), border(w - 1, y);
  // Holes: round blots in the outer bands.
  int const bandX = std::min(int(dpi), w / 5), bandY = std::min(int(dpi), h / 5);
  for (int y = 0; y < h; ++y) {
    bool const rowInBand = y < bandY || y >= h - bandY;
    for (int x = 0; x < w; ++x) {
      if (!rowInBand && x == bandX) x = std::max(x, w - bandX);
      if (x >= w || !regions.Fresh(x, y)) continue;
      Region const r = regions.Flood(x, y, pixels);
      if (!LooksLikeHole(r, dpi)) continue;
      ++marks.holes;
      marked.insert(marked.end(), pixels.begin(), pixels.end());
    }
  }
  if (marked.empty()) return marks;
  Dib mask(DibCreate(w, h, grey->XPelsPerMeter(), grey->YPelsPerMeter(), 8));
  if (!mask) return marks;
  for (uint32_t i : marked) mask->GetLine(int(i / uint32_t(w)))[i % uint32_t(w)] = 255;
  int const grow = std::max(1, int(dpi / 50)) * 2 + 1;
  DibInfo* grown = nullptr;
  if (DibFilterGreyEx(grown, mask.get(), 259, 0, grow, grow, 0, nullptr, nullptr, nullptr) == 0)
    mask.reset(grown);
  marks.mask = std::move(mask);
  return marks;
}

void ClearMarks(DibInfo* image, MarginMarks const& marks, int factor) {
  DibInfo const* mask = marks.mask.get();
  if (!mask || factor < 1) return;
  int const bytes = image->BitsPerPixel() / 8, w = image->Width(), h = image->Height();
  int const mw = mask->Width(), mh = mask->Height();
  std::vector<std::pair<int, int>> runs;  // a mask row's marked runs, in image columns
  for (int my = 0; my < mh && my * factor < h; ++my) {
    unsigned char const* m = mask->GetLine(my);
    runs.clear();
    for (int x = 0; x < mw; ++x) {
      uint64_t eight = 0;  // most of a mask row is clear: skip it eight bytes at a time
      while (x + 8 <= mw && (std::memcpy(&eight, m + x, 8), eight == 0)) x += 8;
      if (x >= mw) break;
      if (!m[x]) continue;
      int end = x;
      while (end < mw && m[end]) ++end;
      runs.emplace_back(std::min(w, x * factor), std::min(w, end * factor));
      x = end;
    }
    for (int y = my * factor; y < std::min(h, (my + 1) * factor); ++y)
      for (auto const& run : runs)
        std::memset(image->GetLine(y) + std::size_t(run.first) * std::size_t(bytes), 255,
                    std::size_t(run.second - run.first) * std::size_t(bytes));
  }
}

}  // namespace quilp_cli
