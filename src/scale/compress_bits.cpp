// compress_bits.cpp - the measurements of the depth decision: extremum levels of a grey zone
// and the chroma of a colour zone.
//
// Each builds one 256-bin histogram in a single pass over the zone and then reads it in
// constant time. Per row, a kernel first writes one byte per pixel (its chroma, or how often
// it counts as an extremum) into a stack buffer - vector kernels do 16 or 32 pixels a step -
// and the histogram takes the bytes through four interleaved tables, so that runs of equal
// values do not wait on one counter. Nothing is allocated except inside the Otsu search.
#include "scale/compress_bits.h"

#include <climits>

#include "binarize/otsu.h"
#include "simd/dispatch.h"

namespace quilp {
namespace {

constexpr int kChunk = 2048;  // pixels per pass through the stack buffer

void ChromaRow(uint8_t const* p, uint8_t* chroma, int width) {
  for (int x = 0; x < width; ++x, p += 3) {
    int const hi = p[0] > p[1] ? (p[0] > p[2] ? p[0] : p[2]) : (p[1] > p[2] ? p[1] : p[2]);
    int const lo = p[0] < p[1] ? (p[0] < p[2] ? p[0] : p[2]) : (p[1] < p[2] ? p[1] : p[2]);
    chroma[x] = static_cast<uint8_t>(hi - lo);
  }
}

void ExtremaRow(uint8_t const* up, uint8_t const* row, uint8_t const* down, uint8_t* count,
                int width) {
  for (int x = 1; x + 1 < width; ++x) {
    int const v = row[x], l = row[x - 1], r = row[x + 1], u = up[x], d = down[x];
    count[x] = static_cast<uint8_t>((v >= l && v >= r && v >= u && v >= d) +
                                    (v <= l && v <= r && v <= u && v <= d));
  }
}

// Four interleaved histograms, summed at the end.
struct Histogram {
  uint64_t part[4][256] = {};
  void Add(uint8_t const* bytes, int n) {  // one count per byte
    int i = 0;
    for (; i + 4 <= n; i += 4)
      for (int k = 0; k < 4; ++k) ++part[k][bytes[i + k]];
    for (; i < n; ++i) ++part[0][bytes[i]];
  }
  void AddWeighted(uint8_t const* levels, uint8_t const* weights, int n) {
    int i = 0;
    for (; i + 4 <= n; i += 4)
      for (int k = 0; k < 4; ++k) part[k][levels[i + k]] += weights[i + k];
    for (; i < n; ++i) part[0][levels[i]] += weights[i];
  }
  void Sum(int64_t out[256]) const {
    for (int v = 0; v < 256; ++v)
      out[v] = int64_t(part[0][v] + part[1][v] + part[2][v] + part[3][v]);
  }
};

// Count, mean and mean square of the levels lo..hi of a histogram; false when it is empty.
bool ClassMoments(int64_t const hist[256], int lo, int hi, double& mean, double& meanSquare) {
  int64_t n = 0;
  double s = 0, q = 0;
  for (int v = lo; v <= hi; ++v) {
    n += hist[v];
    s += double(v) * double(hist[v]);
    q += double(v) * double(v) * double(hist[v]);
  }
  if (n == 0) return false;
  mean = s / double(n);
  meanSquare = q / double(n);
  return true;
}

}  // namespace

MeasureKernels const& MeasureKernelsScalar() {
  static MeasureKernels const table = {ChromaRow, ExtremaRow};
  return table;
}

MeasureKernels const& MeasureKernelsActive() {
  return simd::Pick(MeasureKernelsScalar(), QUILP_VECTOR_TABLE(MeasureKernelsSse41()),
                    QUILP_VECTOR_TABLE(MeasureKernelsAvx2()));
}

bool DibGreyLevelsTest(DibView const& grey, double spreadLimit) {
  MeasureKernels const& kernels = MeasureKernelsActive();
  Histogram counted;
  uint8_t count[kChunk + 2];
  for (int y = 1; y + 1 < grey.height; ++y) {
    uint8_t const* up = grey.Row(y - 1);
    uint8_t const* row = grey.Row(y);
    uint8_t const* down = grey.Row(y + 1);
    // Interior pixels a .. b - 1 at a time, the kernel seeing one more on either side.
    for (int a = 1; a + 1 < grey.width; a += kChunk) {
      int const b = a + kChunk < grey.width - 1 ? a + kChunk : grey.width - 1;
      kernels.extrema(up + a - 1, row + a - 1, down + a - 1, count, b - a + 2);
      counted.AddWeighted(row + a, count + 1, b - a);
    }
  }
  int64_t hist[256];
  counted.Sum(hist);
  int counts[256];  // the Otsu search takes 32-bit counts: saturate (beyond 2^31 extrema)
  for (int v = 0; v < 256; ++v) counts[v] = hist[v] > INT_MAX ? INT_MAX : int(hist[v]);
  int const t = DibOtsuThreshold(counts, 256, 0, 255, nullptr);
  double m1, q1, m2, q2;
  if (t <= 0 || !ClassMoments(hist, 0, t - 1, m1, q1) || !ClassMoments(hist, t, 255, m2, q2))
    return false;  // an empty class: the spread is not a number, keep 8 bits
  double const spread = (q1 - m1 * m1) / t / t + (q2 - m2 * m2) / (256 - t) / (256 - t);
  return spread < spreadLimit;
}

bool DibColourTest(DibView const& colour, unsigned char chromaLevel, double colourfulShare) {
  MeasureKernels const& kernels = MeasureKernelsActive();
  Histogram counted;
  uint8_t chroma[kChunk];
  for (int y = 0; y < colour.height; ++y)
    for (int a = 0; a < colour.width; a += kChunk) {
      int const n = colour.width - a < kChunk ? colour.width - a : kChunk;
      kernels.chroma(colour.Row(y) + 3 * a, chroma, n);
      counted.Add(chroma, n);
    }
  int64_t hist[256];
  counted.Sum(hist);
  double const k = double(colour.width) * double(colour.height) * colourfulShare + 0.5;
  if (!(k > -1.0)) return false;  // (int)k < 0, or no number at all: grey
  int64_t const K = k >= 9.0e18 ? INT64_MAX : static_cast<int64_t>(k);
  int64_t n = 0, s = 0;
  for (int c = 255; c >= 0; --c) {
    n += hist[c];
    s += int64_t(c) * hist[c];
    if (n > K) break;
  }
  return n > 0 && chromaLevel < s / n;
}

}  // namespace quilp
