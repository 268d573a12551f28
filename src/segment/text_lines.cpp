// text_lines.cpp - lines of letters within a text block (see text_lines.h).
#include "segment/text_lines.h"

#include <algorithm>
#include <cstdlib>

namespace quilp {

namespace {

constexpr double kSeedHeightShare = 0.5;   // of the typical letter height
constexpr double kContinueOverlap = 0.4;   // of the shorter letter
constexpr double kMarkReach = 1.0;         // typical heights from a line, for small marks
constexpr double kJoinOverlap = 0.6;       // of the shorter line, for pieces side by side

int MedianHeight(std::vector<Box> const& boxes) {
  if (boxes.empty()) return 1;
  std::vector<int> h;
  h.reserve(boxes.size());
  for (Box const& b : boxes) h.push_back(b.Height());
  std::nth_element(h.begin(), h.begin() + std::ptrdiff_t(h.size() / 2), h.end());
  return std::max(1, h[h.size() / 2]);
}

struct OpenLine {
  TextLine line;
  Box last;  // its rightmost letter so far
};

}  // namespace

std::vector<TextLine> BuildLines(std::vector<Box> letters) {
  std::sort(letters.begin(), letters.end(), [](Box const& a, Box const& b) {
    return a.l != b.l ? a.l < b.l : a.t < b.t;
  });
  // The typical height from letters of some size (not dots and specks).
  std::vector<Box> sized;
  for (Box const& b : letters)
    if (b.Height() >= 3) sized.push_back(b);
  int const typical = MedianHeight(sized.empty() ? letters : sized);
  std::vector<OpenLine> open;
  std::vector<Box> marks;
  for (Box const& c : letters) {
    if (c.Height() < kSeedHeightShare * typical) {
      marks.push_back(c);
      continue;
    }
    int best = -1;
    double bestShare = kContinueOverlap;
    for (std::size_t i = 0; i < open.size(); ++i) {
      Box const& last = open[i].last;
      double const share = double(OverlapY(last, c)) / std::min(last.Height(), c.Height());
      if (share >= bestShare) { bestShare = share; best = int(i); }
    }
    if (best < 0) {
      open.push_back(OpenLine{TextLine{c, {c}}, c});
    } else {
      OpenLine& o = open[std::size_t(best)];
      o.line.box.Add(c);
      o.line.letters.push_back(c);
      o.last = c;
    }
  }
  // Pieces of one line (a line interrupted by a gap in its letters' heights).
  bool joined = true;
  while (joined) {
    joined = false;
    for (std::size_t i = 0; i < open.size() && !joined; ++i) {
      for (std::size_t j = i + 1; j < open.size() && !joined; ++j) {
        Box const& a = open[i].line.box;
        Box const& b = open[j].line.box;
        if (OverlapY(a, b) < kJoinOverlap * std::min(a.Height(), b.Height())) continue;
        // Pieces that overlap across were grown side by side from one line's letters (each
        // letter went to the piece whose last letter it matched best): centred together.
        if (OverlapX(a, b) > 0 && std::abs((a.t + a.b) - (b.t + b.b)) > typical) continue;
        TextLine& keep = open[i].line;
        keep.box.Add(b);
        keep.letters.insert(keep.letters.end(), open[j].line.letters.begin(),
                            open[j].line.letters.end());
        open.erase(open.begin() + std::ptrdiff_t(j));
        joined = true;
      }
    }
  }
  std::vector<TextLine> lines;
  lines.reserve(open.size());
  for (OpenLine& o : open) lines.push_back(std::move(o.line));
  // Marks join the nearest line within reach of their centre.
  for (Box const& m : marks) {
    int const cy = (m.t + m.b) / 2, cx = (m.l + m.r) / 2;
    int best = -1;
    long bestDistance = long(kMarkReach * typical) + 1;
    for (std::size_t i = 0; i < lines.size(); ++i) {
      Box const& b = lines[i].box;
      long const dy = cy < b.t ? b.t - cy : cy > b.b ? cy - b.b : 0;
      long const dx = cx < b.l ? b.l - cx : cx > b.r ? cx - b.r : 0;
      long const d = dy + dx;
      if (d < bestDistance) { bestDistance = d; best = int(i); }
    }
    if (best >= 0) {
      lines[std::size_t(best)].box.Add(m);
      lines[std::size_t(best)].letters.push_back(m);
    }
  }
  for (TextLine& l : lines)
    std::sort(l.letters.begin(), l.letters.end(), [](Box const& a, Box const& b) { return a.l < b.l; });
  std::sort(lines.begin(), lines.end(), [](TextLine const& a, TextLine const& b) {
    return a.box.t + a.box.b != b.box.t + b.box.b ? a.box.t + a.box.b < b.box.t + b.box.b
                                                  : a.box.l < b.box.l;
  });
  return lines;
}

}  // namespace quilp
