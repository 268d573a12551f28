// words.cpp - a text line cut into words at its wide gaps (see text_lines.h).
#include <algorithm>

#include "segment/text_lines.h"

namespace quilp {

namespace {

constexpr double kWordGapShare = 0.33;  // of the line's middle letter height

}  // namespace

std::vector<Box> SplitWords(TextLine const& line) {
  std::vector<Box> words;
  if (line.letters.empty()) return words;
  std::vector<int> heights;
  for (Box const& b : line.letters) heights.push_back(b.Height());
  std::nth_element(heights.begin(), heights.begin() + std::ptrdiff_t(heights.size() / 2),
                   heights.end());
  int const gap = std::max(2, int(kWordGapShare * heights[heights.size() / 2] + 0.5));
  // Letters arrive left to right; a word reaches as far right as any of its letters.
  for (Box const& b : line.letters) {
    if (!words.empty() && b.l - words.back().r - 1 < gap) {
      words.back().Add(b);
    } else {
      words.push_back(b);
    }
  }
  return words;
}

}  // namespace quilp
