// orientation.cpp - text orientation from line profiles: which axis the lines run along, and
// which side their ascenders stand on.
//
// 1. The area becomes grey at about 150 dpi (block means) and is looked at twice: as it is
//    and turned a quarter clockwise.
// 2. In each frame the lines' skew is measured (Hough transform image, on a copy halved again
//    when the small image has 120 dpi or more: a slope read at 75 dpi is still exact to a
//    fraction of a pixel across a strip) and the ink (darker than the Otsu threshold) is
//    projected along the skewed lines, separately in vertical strips about two inches wide,
//    so that columns with unaligned baselines keep sharp profiles. A column's pixels all
//    move by one whole shift, so the unturned frame adds one count per run of columns
//    sharing a shift, and the turned frame, read from the unturned image, adds each row's
//    ink to consecutive bins: no quarter turn of the small image is made for the profiles.
// 3. Line contrast of a frame: the variance of the text block's profile bins over their
//    squared mean. Text lines across the frame give profiles of tall peaks and empty gaps;
//    lines along it give flatter ones, even in monospaced type whose letters stack in
//    columns. The frame with more contrast has its lines horizontal.
// 4. Up or down: in each line (a run of bins above a noise floor) the core rows, at least
//    half as dense as the line's densest row, are the x-height band. Latin text has far more
//    ink above that band (ascenders, capitals, digits, accents) than below it (descenders),
//    so upright lines put more ink above. Upside-down lines mirror that.
// Cost: one read of the area; at 300 dpi, two Hough transforms of a 75-dpi copy, an Otsu
// histogram and two compare-and-count passes over the 150-dpi image (about 4 ms for A4).
#include "geometry/orientation.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

#include "binarize/otsu.h"
#include "geometry/grey_skew.h"
#include "geometry/quarter_turn.h"
#include "scale/halve.h"

namespace quilp {
namespace {

constexpr int kWorkDpi = 150;           // resolution of the small image
constexpr int kHalveSkewDpi = 120;     // skew measured at half this resolution and above
constexpr int kStripInches = 2;         // width of a profile strip
constexpr double kCoreShare = 0.5;      // core rows: at least this share of the line's peak
constexpr double kLineShare = 0.08;     // line rows: above this share of the strip's peak
constexpr int kMinInk = 200;            // fewer ink pixels: no text to judge
constexpr int kMinLines = 2;            // fewer lines: no text to judge
// Full confidence from this ink asymmetry (above less below, over their sum) and this axis
// margin (the line frame's contrast less the other's, over the first).
constexpr double kSureAsymmetry = 0.3;
constexpr double kSureAxis = 0.5;

// The visual row met i-th in memory: the rows of a bottom-up view are read from the last up.
int StorageRow(DibView const& v, int i) { return v.step < 0 ? v.height - 1 - i : i; }

struct FrameScore {
  double contrast = 0.0, weight = 0.0;  // summed over strips, each weighed by its peak
  double above = 0.0, below = 0.0;
  int lines = 0;
  long ink = 0;
};

// Otsu threshold of the small image; four histograms, so that runs of one level (the paper)
// do not wait on one counter.
int OtsuOf(DibView const& g) {
  int part[4][256] = {};
  for (int i = 0; i < g.height; ++i) {
    uint8_t const* row = g.Row(StorageRow(g, i));
    int x = 0;
    for (; x + 3 < g.width; x += 4)
      for (int k = 0; k < 4; ++k) ++part[k][row[x + k]];
    for (; x < g.width; ++x) ++part[0][row[x]];
  }
  int hist[256];
  for (int v = 0; v < 256; ++v) hist[v] = part[0][v] + part[1][v] + part[2][v] + part[3][v];
  int const t = DibOtsuThreshold(hist, 256, 0, 255, nullptr);
  return t < 0 ? 0 : t;
}

// Lines of one strip's profile: ink above and below the cores, summed into s.
void ScoreProfile(std::vector<double> const& p, FrameScore& s) {
  // The floor is the lower quartile of the bins (the gaps between lines), the peak the top.
  std::vector<double> sorted(p);
  auto const quartile = sorted.begin() + std::ptrdiff_t(sorted.size() / 4);
  std::nth_element(sorted.begin(), quartile, sorted.end());
  double const floor = *quartile;
  double const peak = *std::max_element(quartile, sorted.end()) - floor;
  if (peak < 3.0) return;
  // Contrast of the text block's bins (first line row to last): variance over squared mean.
  double const lineLevel = kLineShare * peak;
  std::size_t first = 0, last = p.size();
  while (first < last && p[first] - floor <= lineLevel) ++first;
  while (last > first && p[last - 1] - floor <= lineLevel) --last;
  double sum = 0.0, squares = 0.0;
  for (std::size_t k = first; k < last; ++k) {
    double const v = std::max(0.0, p[k] - floor);
    sum += v;
    squares += v * v;
  }
  if (sum > 0.0) {
    s.contrast += (squares * double(last - first) / (sum * sum) - 1.0) * peak;
    s.weight += peak;
  }
  std::size_t i = 0;
  while (i < p.size()) {
    if (p[i] - floor <= lineLevel) { ++i; continue; }
    std::size_t e = i;
    double top = 0.0;
    while (e < p.size() && p[e] - floor > lineLevel) top = std::max(top, p[e++] - floor);
    if (e - i >= 3) {
      std::size_t c0 = i, c1 = e - 1;
      while (p[c0] - floor < kCoreShare * top) ++c0;
      while (p[c1] - floor < kCoreShare * top) --c1;
      for (std::size_t k = i; k < c0; ++k) s.above += p[k] - floor;
      for (std::size_t k = c1 + 1; k < e; ++k) s.below += p[k] - floor;
      ++s.lines;
    }
    i = e;
  }
}

// The profile strips of a frame `width` x `height` whose lines drop by `slope` rows a column:
// strips about kStripInches wide, and per column the whole shift that takes a pixel to the
// bin of the row its line crosses the strip's centre at. A pixel at (x, y) lands in bin
// floor(y - drop(x) + 0.5) = y + floor(0.5 - drop(x)), so the shift is one number per column.
struct Strips {
  int count = 1, pad = 1, bins = 0, width = 0;
  double slope = 0.0;
  Strips(int frameWidth, int frameHeight, double lineSlope, int dpiOfSmall)
      : width(frameWidth), slope(lineSlope) {
    int const stripWidth = std::max(32, kStripInches * dpiOfSmall);
    count = std::max(1, (width + stripWidth / 2) / stripWidth);
    pad = int(std::ceil(std::fabs(slope) * (width / count + 1))) + 1;
    bins = frameHeight + 2 * pad;
  }
  int Of(int x) const { return std::min(count - 1, int(int64_t(x) * count / width)); }
  int Shift(int x) const {
    double const centre = (Of(x) + 0.5) * width / count;
    return int(std::floor(0.5 - slope * (x - centre))) + pad;
  }
};

// Frame as it is: each row adds its ink to the bins of its runs of columns that share a strip
// and a shift (about 1 / slope columns long), one count per run.
void ProjectRows(DibView const& g, int threshold, Strips const& st, std::vector<uint32_t>& counts, long& ink) {
  struct Run {
    int x0, x1, strip, shift;
  };
  std::vector<Run> runs;
  for (int x = 0; x < g.width; ++x) {
    int const strip = st.Of(x), shift = st.Shift(x);
    if (runs.empty() || runs.back().strip != strip || runs.back().shift != shift)
      runs.push_back(Run{x, x + 1, strip, shift});
    else
      runs.back().x1 = x + 1;
  }
  for (int i = 0; i < g.height; ++i) {
    int const y = StorageRow(g, i);
    uint8_t const* row = g.Row(y);
    for (Run const& r : runs) {
      uint32_t n = 0;
      for (int x = r.x0; x < r.x1; ++x) n += row[x] < threshold ? 1u : 0u;
      int const bin = y + r.shift;
      if (bin >= 0 && bin < st.bins) counts[std::size_t(r.strip) * std::size_t(st.bins) + std::size_t(bin)] += n;
      ink += long(n);
    }
  }
}

// Frame turned a quarter clockwise, read from the unturned image: its pixel (x, y) sits at
// (H-1-y, x) of the turned frame, so the whole row y lies in one column of that frame and
// adds its ink to consecutive bins of one strip, from the column's shift on.
void ProjectColumns(DibView const& g, int threshold, Strips const& st, std::vector<uint32_t>& counts, long& ink) {
  for (int i = 0; i < g.height; ++i) {
    int const y = StorageRow(g, i);
    uint8_t const* row = g.Row(y);
    int const column = g.height - 1 - y, shift = st.Shift(column);
    uint32_t* bin = counts.data() + std::size_t(st.Of(column)) * std::size_t(st.bins);
    // Bins shift .. shift + W - 1, cut to the profile (they always fit: |drop| < pad).
    int const x0 = std::max(0, -shift), x1 = std::min(g.width, st.bins - shift);
    uint32_t n = 0;
    for (int x = x0; x < x1; ++x) {
      uint32_t const dark = row[x] < threshold ? 1u : 0u;
      bin[shift + x] += dark;
      n += dark;
    }
    for (int x = 0; x < x0; ++x) n += row[x] < threshold ? 1u : 0u;
    for (int x = std::max(x0, x1); x < g.width; ++x) n += row[x] < threshold ? 1u : 0u;
    ink += long(n);
  }
}

// The frame's score: its ink projected along lines of the measured skew, per strip.
FrameScore ScoreFrame(DibView const& g, bool turned, double angle, int threshold, int dpiOfSmall) {
  FrameScore s;
  Strips const st(turned ? g.height : g.width, turned ? g.width : g.height, std::tan(angle), dpiOfSmall);
  std::vector<uint32_t> counts(std::size_t(st.count) * std::size_t(st.bins), 0u);
  if (turned)
    ProjectColumns(g, threshold, st, counts, s.ink);
  else
    ProjectRows(g, threshold, st, counts, s.ink);
  std::vector<double> profile;
  for (int k = 0; k < st.count; ++k) {
    auto const first = counts.begin() + std::ptrdiff_t(k) * st.bins;
    profile.assign(first, first + st.bins);
    ScoreProfile(profile, s);
  }
  return s;
}

// The skew of a frame's lines (0 when it cannot be measured).
double SkewOf(GreyImage const& g) {
  double angle = 0.0;
  return HoughSkewOf(g, angle) ? angle : 0.0;
}

}  // namespace

int DominantOrientation(DibView const& src, int bitsPerPixel, int dpi, int& confidence) {
  confidence = 0;
  int const longest = std::max(src.width, src.height);
  int const factor = dpi > 0 ? std::max(1, int(std::lround(double(dpi) / kWorkDpi)))
                             : std::max(1, int(std::lround(longest / 1750.0)));
  int const smallDpi = dpi > 0 ? std::max(1, dpi / factor) : kWorkDpi;
  try {
    // The small image: an 8-bit area at about 150 dpi is read in place.
    GreyImage reduced;
    DibView small = src;
    if (bitsPerPixel != 8 || factor != 1) {
      if (!ReducedGrey(src, bitsPerPixel, factor, reduced)) return -2;
      small = reduced.View();
    }
    // The skew of each frame is measured on a copy halved again when the small image is fine
    // enough (a quarter of the pixels: the Hough transform is most of the cost), and the
    // quarter turn is made of that copy only; the profiles read the small image itself.
    GreyImage skewed;
    if (smallDpi >= kHalveSkewDpi) {
      skewed.width = (small.width + 1) / 2;
      skewed.height = (small.height + 1) / 2;
      skewed.pixels.resize(std::size_t(skewed.width) * std::size_t(skewed.height));
      DibHalve8(skewed.View(), small);
    } else {
      skewed.width = small.width;
      skewed.height = small.height;
      skewed.pixels.resize(std::size_t(small.width) * std::size_t(small.height));
      QuarterTurn(skewed.View(), small, 8, 0);
    }
    GreyImage turned;
    turned.width = skewed.height;
    turned.height = skewed.width;
    turned.pixels.resize(skewed.pixels.size());
    QuarterTurn(turned.View(), skewed.View(), 8, 1);
    int const threshold = OtsuOf(small);  // the same pixels in both frames
    FrameScore const a = ScoreFrame(small, false, SkewOf(skewed), threshold, smallDpi);
    FrameScore const b = ScoreFrame(small, true, SkewOf(turned), threshold, smallDpi);
    double const ca = a.weight > 0.0 ? a.contrast / a.weight : 0.0;
    double const cb = b.weight > 0.0 ? b.contrast / b.weight : 0.0;
    bool const sideways = cb > ca;
    FrameScore const& s = sideways ? b : a;
    if (s.ink < kMinInk || s.lines < kMinLines || s.above + s.below <= 0.0) return -1;
    bool const up = s.above >= s.below;
    double const asymmetry = std::fabs(s.above - s.below) / (s.above + s.below);
    double const lo = std::min(ca, cb), hi = std::max(ca, cb);
    double const axis = hi > 0.0 ? (hi - lo) / hi : 0.0;
    double const c = std::min(1.0, asymmetry / kSureAsymmetry) * std::min(1.0, axis / kSureAxis);
    confidence = int(std::lround(100.0 * c));
    return sideways ? (up ? 1 : 3) : (up ? 0 : 2);
  } catch (std::bad_alloc const&) {
    return -2;
  }
}

}  // namespace quilp
