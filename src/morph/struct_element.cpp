// struct_element.cpp - building structuring elements and covering them by bars.
#include "morph/struct_element.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <exception>
#include <new>
#include <set>
#include <tuple>

namespace quilp {
namespace {

// Runs of a set of rows of flags (row r at dy = r - cy, column c at dx = c - cx).
void RunsOfRows(std::vector<std::vector<char>> const& rows, int cx, int cy,
                std::vector<ElementRun>& runs) {
  for (std::size_t r = 0; r < rows.size(); ++r) {
    std::vector<char> const& row = rows[r];
    for (std::size_t c = 0; c < row.size();) {
      if (!row[c]) { ++c; continue; }
      std::size_t e = c;
      while (e + 1 < row.size() && row[e + 1]) ++e;
      runs.push_back({int(r) - cy, int(c) - cx, int(e) - cx});
      c = e + 1;
    }
  }
}

bool FromText(StructElement& element, char const* text) {
  std::vector<std::string> lines(1);
  for (char const* p = text; *p; ++p) {
    if (*p == '/' || *p == '\n') lines.emplace_back();
    else if (*p != '\r') lines.back() += *p;
  }
  if (!lines.empty() && lines.back().empty()) lines.pop_back();
  if (lines.empty() || lines.size() > std::size_t(kMaxElementSize)) return false;
  std::size_t const w = lines[0].size();
  if (w == 0 || w > std::size_t(kMaxElementSize)) return false;
  std::vector<std::vector<char>> hit(lines.size(), std::vector<char>(w)), miss = hit;
  for (std::size_t r = 0; r < lines.size(); ++r) {
    if (lines[r].size() != w) return false;
    for (std::size_t c = 0; c < w; ++c) {
      char const ch = lines[r][c];
      if (ch == '1' || ch == 'x' || ch == 'X' || ch == '#') hit[r][c] = 1;
      else if (ch == '0' || ch == 'o' || ch == 'O') miss[r][c] = 1;
      else if (ch != '.' && ch != '-') return false;
    }
  }
  RunsOfRows(hit, int(w) / 2, int(lines.size()) / 2, element.hits);
  RunsOfRows(miss, int(w) / 2, int(lines.size()) / 2, element.misses);
  return true;
}

bool FromImage(StructElement& element, InkBits const& image) {
  int const w = image.Width(), h = image.Height();
  if (w < 1 || h < 1 || w > kMaxElementSize || h > kMaxElementSize) return false;
  std::vector<std::vector<char>> hit(std::size_t(h), std::vector<char>(std::size_t(w), 0)), miss = hit;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) (image.Get(x, y) ? hit : miss)[std::size_t(y)][std::size_t(x)] = 1;
  RunsOfRows(hit, w / 2, h / 2, element.hits);
  RunsOfRows(miss, w / 2, h / 2, element.misses);
  return true;
}

}  // namespace

bool BuildElement(StructElement& element, ElementShape shape, int width, int height,
                  double angle, InkBits const* image, char const* text) {
  element = StructElement{};
  try {
    switch (shape) {
      case ElementShape::kRect:
        if (width < 1 || height < 1 || width > kMaxElementSize || height > kMaxElementSize) return false;
        for (int dy = -(height / 2); dy < height - height / 2; ++dy)
          element.hits.push_back({dy, -(width / 2), width - 1 - width / 2});
        break;
      case ElementShape::kCross:
        if (width < 0 || width > kMaxElementSize / 2) return false;
        for (int dy = -width; dy <= width; ++dy)
          element.hits.push_back(dy == 0 ? ElementRun{0, -width, width} : ElementRun{dy, 0, 0});
        break;
      case ElementShape::kDisc: {
        if (width < 0 || width > kMaxElementSize / 2) return false;
        int64_t const r2 = int64_t(width) * width;
        for (int dy = -width; dy <= width; ++dy) {
          int64_t half = int64_t(std::sqrt(double(r2 - int64_t(dy) * dy)));
          while (half * half + int64_t(dy) * dy > r2) --half;
          while ((half + 1) * (half + 1) + int64_t(dy) * dy <= r2) ++half;
          element.hits.push_back({dy, int(-half), int(half)});
        }
        break;
      }
      case ElementShape::kLine: {
        if (width < 1 || width > kMaxElementSize || !std::isfinite(angle)) return false;
        std::set<std::pair<int, int>> points;  // (dy, dx), sorted by row then column
        double const c = std::cos(angle), s = std::sin(angle);
        for (int k = 0; k < width; ++k) {
          double const t = k - (width - 1) / 2.0;
          points.insert({int(std::lround(t * s)), int(std::lround(t * c))});
        }
        for (auto const& [dy, dx] : points) {
          if (!element.hits.empty() && element.hits.back().dy == dy && element.hits.back().dx1 + 1 == dx)
            element.hits.back().dx1 = dx;
          else element.hits.push_back({dy, dx, dx});
        }
        break;
      }
      case ElementShape::kImage:
        if (!image || !FromImage(element, *image)) return false;
        break;
      case ElementShape::kText:
        if (!text || !FromText(element, text)) return false;
        break;
    }
  } catch (std::exception const&) {
    return false;
  }
  return !element.hits.empty() || !element.misses.empty();
}

std::vector<ElementBar> CoverByBars(std::vector<ElementRun> const& runs) {
  std::map<int, std::vector<ElementRun>> byRow;
  for (ElementRun const& r : runs) byRow[r.dy].push_back(r);
  auto covers = [&](int dy, int dx0, int dx1) {
    auto const it = byRow.find(dy);
    if (it == byRow.end()) return false;
    for (ElementRun const& r : it->second)
      if (r.dx0 <= dx0 && r.dx1 >= dx1) return true;
    return false;
  };
  std::set<std::tuple<int, int, int, int>> seen;
  std::vector<ElementBar> bars;
  for (ElementRun const& r : runs) {
    int top = r.dy, bottom = r.dy;
    while (covers(top - 1, r.dx0, r.dx1)) --top;
    while (covers(bottom + 1, r.dx0, r.dx1)) ++bottom;
    if (seen.insert({r.dx0, r.dx1, top, bottom}).second) bars.push_back({r.dx0, r.dx1, top, bottom});
  }
  // A bar inside another adds nothing.
  std::vector<ElementBar> kept;
  for (std::size_t i = 0; i < bars.size(); ++i) {
    bool inside = false;
    for (std::size_t j = 0; j < bars.size() && !inside; ++j) {
      ElementBar const &a = bars[i], &b = bars[j];
      inside = j != i && b.dx0 <= a.dx0 && b.dx1 >= a.dx1 && b.dy0 <= a.dy0 && b.dy1 >= a.dy1 &&
               (b.dx0 != a.dx0 || b.dx1 != a.dx1 || b.dy0 != a.dy0 || b.dy1 != a.dy1);
    }
    if (!inside) kept.push_back(bars[i]);
  }
  return kept;
}

}  // namespace quilp
