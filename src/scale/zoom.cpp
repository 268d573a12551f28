// zoom.cpp - zoomed previews of 1-, 8-, 24- and 32-bit areas.
//
// Separable and exact: for each result row, the source rows of its vertical taps are added
// column by column with their integer weights (bits as 0 / 1, colour as b + g + r when the
// result is grey), then each result pixel adds its horizontal taps over those column sums
// and divides by the product of both units (times 3 for colour to grey), rounding half up.
// No step rounds before the last, so an area result is the exact mean of its footprint.
// Cost: about one multiply-add per source byte and footprint it touches (a source row feeds
// at most two result rows when shrinking), plus one per horizontal tap.
//
// Whole-number factors (each source pixel in exactly one footprint) take faster routes: the
// block reduction for grey and colour that keeps its depth, bit counts for 1-bit areas.
// Result rows are written in storage order.
#include "scale/zoom.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "scale/bits_to_grey.h"
#include "scale/downscale.h"
#include "scale/zoom_axis.h"

namespace quilp {

int InkLevel(double scale) {
  double const share = std::min(scale, 1.0) / 2.0;
  return int(std::floor(255.0 * (1.0 - share) + 0.5));
}

namespace {

// How source rows become column sums, and how sums become result bytes.
struct Layout {
  int bitCount;
  int sums;          // column sums per source pixel: 1, or the channels when kept
  int channels;      // source bytes per pixel (0 for 1-bit)
  uint64_t scale;    // a sum times this ...
  uint64_t divisor;  // ... divided by this (times both units) is the level
};

Layout MakeLayout(int bitCount, ZoomResult result) {
  Layout l{bitCount, 1, bitCount / 8, 1, 1};
  if (bitCount == 1) l.scale = 255;
  else if (result == ZoomResult::kSameDepth) l.sums = l.channels;
  else if (bitCount >= 24) l.divisor = 3;
  return l;
}

template <class Acc>
void AddSourceRow(Acc* sums, DibView const& src, int y, Layout const& l, uint32_t w) {
  uint8_t const* row = src.Row(y);
  int const width = src.width;
  if (l.bitCount == 1) {
    int const offset = src.left & 7;
    for (int x = 0; x < width; ++x) {
      int const b = offset + x;
      sums[x] += Acc(w * ((row[b >> 3] >> (7 - (b & 7))) & 1u));  // w <= unit
    }
  } else if (l.sums == l.channels) {
    std::size_t const n = std::size_t(width) * std::size_t(l.channels);
    for (std::size_t i = 0; i < n; ++i) sums[i] += Acc(w) * row[i];
  } else if (l.channels == 1) {
    for (int x = 0; x < width; ++x) sums[x] += Acc(w) * row[x];
  } else {
    std::size_t const c = std::size_t(l.channels);
    for (int x = 0; x < width; ++x) {
      uint8_t const* p = row + std::size_t(x) * c;
      sums[x] += Acc(w) * uint32_t(p[0] + p[1] + p[2]);
    }
  }
}

// (value + divisor / 2) / divisor, by a shift when the divisor is a power of two.
class Divider {
 public:
  explicit Divider(uint64_t d) : d_(d), half_(d / 2) {
    if ((d & (d - 1)) == 0)
      while ((uint64_t(1) << shift_) < d) ++shift_;
    else
      shift_ = -1;
  }
  uint64_t operator()(uint64_t v) const {
    return shift_ >= 0 ? (v + half_) >> shift_ : (v + half_) / d_;
  }

 private:
  uint64_t d_, half_;
  int shift_ = 0;
};

template <class Acc>
void ZoomSeparable(DibView const& dst, DibView const& src, Layout const& l, ZoomResult result,
                   ZoomAxis const& ax, ZoomAxis const& ay) {
  std::size_t const sumCount = std::size_t(src.width) * std::size_t(l.sums);
  std::vector<Acc> sums(sumCount);
  bool const bits = l.bitCount == 1 && result == ZoomResult::kSameDepth;
  std::vector<uint8_t> levels(bits ? std::size_t(dst.width) : 0);
  int const inkLevel = InkLevel(std::min(double(dst.width) / src.width, double(dst.height) / src.height));
  Divider const divide(uint64_t(ax.unit) * ay.unit * l.divisor);
  std::size_t const ch = std::size_t(l.sums);
  bool const upward = dst.step < 0;  // bottom-up result: its last visual row is stored first
  for (int k = 0; k < dst.height; ++k) {
    int const Y = upward ? dst.height - 1 - k : k;
    std::fill(sums.begin(), sums.end(), Acc(0));
    uint32_t const t0 = ay.first[std::size_t(Y)], t1 = ay.first[std::size_t(Y) + 1];
    for (uint32_t t = 0; t < t1 - t0; ++t) {
      ZoomTap const& tap = ay.taps[upward ? t1 - 1 - t : t0 + t];
      AddSourceRow(sums.data(), src, tap.index, l, tap.weight);
    }
    uint8_t* out = bits ? levels.data() : dst.Row(Y);
    for (int X = 0; X < dst.width; ++X) {
      uint32_t const x0 = ax.first[std::size_t(X)], x1 = ax.first[std::size_t(X) + 1];
      for (std::size_t c = 0; c < ch; ++c) {
        uint64_t total = 0;
        for (uint32_t t = x0; t < x1; ++t)
          total += uint64_t(ax.taps[t].weight) * sums[std::size_t(ax.taps[t].index) * ch + c];
        out[std::size_t(X) * ch + c] = uint8_t(divide(total * l.scale));
      }
    }
    if (bits) PackInk(dst.Row(Y), levels.data(), dst.width, inkLevel);
  }
}

}  // namespace

bool DibZoomView(DibView const& dst, DibView const& src, int bitCount, ZoomResult result) {
  try {
    ZoomAxis const ax = MakeZoomAxis(src.width, dst.width);
    ZoomAxis const ay = MakeZoomAxis(src.height, dst.height);
    if (ax.boxes && ay.boxes) {
      int const kx = int(ax.unit), ky = int(ay.unit);
      if (bitCount == 1 && DibBitsBoxes(dst, src, kx, ky, result == ZoomResult::kGrey
                                                               ? -1
                                                               : InkLevel(1.0 / std::max(kx, ky))))
        return true;
      if ((bitCount == 8 || (bitCount == 24 && result == ZoomResult::kSameDepth))) {
        // Whole blocks: read upside down, a bottom-up area is visited in storage order and
        // the blocks are the same.
        bool const flip = src.step < 0;
        DibDownscaleArea(flip ? UpsideDown(dst) : dst, flip ? UpsideDown(src) : src, bitCount, kx, ky);
        return true;
      }
    }
    Layout const l = MakeLayout(bitCount, result);
    // Column sums stay below 2^32 while 765 * unit does.
    if (uint64_t(ay.unit) * 765 < (uint64_t(1) << 32))
      ZoomSeparable<uint32_t>(dst, src, l, result, ax, ay);
    else
      ZoomSeparable<uint64_t>(dst, src, l, result, ax, ay);
  } catch (std::exception const&) {  // bad_alloc, or length_error for huge sizes
    return false;
  }
  return true;
}

}  // namespace quilp
