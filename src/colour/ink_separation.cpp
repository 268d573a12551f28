// ink_separation.cpp - ink layers from the direction of each pixel's darkness.
//
// A pixel partly covered by an ink of darkness a (relative to the paper) has darkness alpha a:
// the coverage changes its length, not its direction. So the layers are directions:
// 1. Darkness relative to the paper: p_c = (paper_c - v_c) * 255 / paper_c, at least 0, so a
//    tinted sheet is white and its ink keeps its own direction.
// 2. Pixels of length at least kVoteLength vote with their length into a 64 x 64 histogram of
//    chromaticity (p0 / s, p1 / s), s = p0 + p1 + p2, each bin also summing the unit vectors.
// 3. Peaks of the 3 x 3 smoothed histogram (strict maxima, the first of equals) are the seed
//    directions, strongest first; seeds closer than kMergeDegrees to a stronger one are
//    dropped. Five rounds of weighted spherical k-means over the bins refine them.
// 4. A layer's full darkness is the 90th percentile of the projections of the pixels nearest
//    its direction (within kMaxDegrees); a pixel is ink of its nearest layer when its
//    projection reaches half of that, which is where half of the pixel is covered.
// Three passes over the area, one square root and k dot products per pixel in each.
#include "colour/ink_separation.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "colour/paper_colour.h"

namespace quilp {
namespace {

constexpr int kBins = 64;
constexpr double kVoteLength = 48.0;
constexpr double kMinShare = 0.01;
constexpr double kMergeDegrees = 12.0;
constexpr double kMaxDegrees = 30.0;
constexpr int kRounds = 5;
constexpr int kLengthBins = 443;  // lengths 0..441.7 in steps of 1

struct Bin {
  double weight = 0.0;
  double u[3] = {0.0, 0.0, 0.0};
};

int StorageY(DibView const& v, int i) { return v.step < 0 ? v.height - 1 - i : i; }

// Darkness relative to the paper, and its length.
double Darkness(uint8_t const* s, double const scale[3], uint8_t const paper[3], double p[3]) {
  for (int c = 0; c < 3; ++c) p[c] = s[c] < paper[c] ? (paper[c] - s[c]) * scale[c] : 0.0;
  return std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
}

// The nearest of k unit directions by dot product, and that dot product.
int Nearest(double const p[3], double const (*dir)[3], int k, double& best) {
  int j = -1;
  best = -1e300;
  for (int i = 0; i < k; ++i) {
    double const d = p[0] * dir[i][0] + p[1] * dir[i][1] + p[2] * dir[i][2];
    if (d > best) best = d, j = i;
  }
  return j;
}

void Normalise(double u[3]) {
  double const n = std::sqrt(u[0] * u[0] + u[1] * u[1] + u[2] * u[2]);
  if (n > 0.0)
    for (int c = 0; c < 3; ++c) u[c] /= n;
}

// Seed directions from the histogram's peaks, strongest first.
int Seeds(std::vector<Bin> const& bins, double total, int wanted, bool chooseCount,
          double (*dir)[3]) {
  std::vector<double> smooth(kBins * kBins, 0.0);
  for (int i = 0; i < kBins; ++i)
    for (int j = 0; j < kBins; ++j)
      for (int di = -1; di <= 1; ++di)
        for (int dj = -1; dj <= 1; ++dj) {
          int const a = i + di, b = j + dj;
          if (a >= 0 && a < kBins && b >= 0 && b < kBins) smooth[i * kBins + j] += bins[a * kBins + b].weight;
        }
  struct Peak {
    double weight;
    int index;
  };
  std::vector<Peak> peaks;
  for (int i = 0; i < kBins; ++i)
    for (int j = 0; j < kBins; ++j) {
      int const k = i * kBins + j;
      double const w = smooth[k];
      if (!(w > 0.0)) continue;
      bool peak = true;
      for (int di = -1; di <= 1 && peak; ++di)
        for (int dj = -1; dj <= 1 && peak; ++dj) {
          int const a = i + di, b = j + dj;
          if ((di == 0 && dj == 0) || a < 0 || a >= kBins || b < 0 || b >= kBins) continue;
          double const o = smooth[a * kBins + b];
          int const ok = a * kBins + b;
          if (o > w || (o == w && ok < k)) peak = false;
        }
      if (peak && (!chooseCount || w >= kMinShare * total)) peaks.push_back({w, k});
    }
  std::stable_sort(peaks.begin(), peaks.end(),
                   [](Peak const& x, Peak const& y) { return x.weight > y.weight; });
  double const mergeCos = std::cos(kMergeDegrees * M_PI / 180.0);
  int n = 0;
  for (Peak const& pk : peaks) {
    if (n == wanted) break;
    int const i = pk.index / kBins, j = pk.index % kBins;
    double u[3] = {0.0, 0.0, 0.0};
    for (int di = -1; di <= 1; ++di)
      for (int dj = -1; dj <= 1; ++dj) {
        int const a = i + di, b = j + dj;
        if (a < 0 || a >= kBins || b < 0 || b >= kBins) continue;
        for (int c = 0; c < 3; ++c) u[c] += bins[a * kBins + b].u[c];
      }
    Normalise(u);
    bool close = false;
    for (int m = 0; m < n; ++m)
      if (u[0] * dir[m][0] + u[1] * dir[m][1] + u[2] * dir[m][2] > mergeCos) close = true;
    if (close) continue;
    for (int c = 0; c < 3; ++c) dir[n][c] = u[c];
    ++n;
  }
  return n;
}

// Weighted spherical k-means over the bins (each bin stands for the mean of its votes).
void Refine(std::vector<Bin> const& bins, int k, double (*dir)[3]) {
  for (int round = 0; round < kRounds; ++round) {
    double sum[kMaxInkLayers][3] = {};
    for (Bin const& b : bins) {
      if (!(b.weight > 0.0)) continue;
      double best;
      int const j = Nearest(b.u, dir, k, best);
      for (int c = 0; c < 3; ++c) sum[j][c] += b.u[c];
    }
    for (int j = 0; j < k; ++j) {
      if (sum[j][0] == 0.0 && sum[j][1] == 0.0 && sum[j][2] == 0.0) continue;
      Normalise(sum[j]);
      for (int c = 0; c < 3; ++c) dir[j][c] = sum[j][c];
    }
  }
}

}  // namespace

bool DibSeparateInks(DibView const& labels, DibView const& src, int inkCount, int maxLayers,
                     InkLayers& layers) {
  layers.count = 0;
  DibPlane plane;
  plane.width = src.width;
  plane.height = src.height;
  plane.stride = src.step;
  plane.format = kDibFormat24;
  plane.data = src.top;
  uint8_t paper[3];
  if (!MeasurePaper(plane, paper)) return false;
  double scale[3];
  for (int c = 0; c < 3; ++c) scale[c] = paper[c] > 0 ? 255.0 / paper[c] : 0.0;

  std::vector<Bin> bins(kBins * kBins);
  double total = 0.0;
  double p[3];
  for (int i = 0; i < src.height; ++i) {
    uint8_t const* s = src.Row(StorageY(src, i));
    for (int x = 0; x < src.width; ++x, s += 3) {
      double const len = Darkness(s, scale, paper, p);
      if (len < kVoteLength) continue;
      double const sum = p[0] + p[1] + p[2];
      int const a = std::min(kBins - 1, int(p[0] / sum * kBins));
      int const b = std::min(kBins - 1, int(p[1] / sum * kBins));
      Bin& bin = bins[a * kBins + b];
      bin.weight += len;
      for (int c = 0; c < 3; ++c) bin.u[c] += p[c];  // length times the unit vector
      total += len;
    }
  }
  double dir[kMaxInkLayers][3];
  int const wanted = inkCount > 0 ? inkCount : maxLayers;
  int const k = total > 0.0 ? Seeds(bins, total, wanted, inkCount == 0, dir) : 0;
  if (k > 0) Refine(bins, k, dir);

  // Full darkness of each layer: the 90th percentile of its pixels' projections.
  double const minCos = std::cos(kMaxDegrees * M_PI / 180.0);
  std::vector<uint64_t> lengths(std::size_t(kMaxInkLayers) * kLengthBins, 0);
  if (k > 0)
    for (int i = 0; i < src.height; ++i) {
      uint8_t const* s = src.Row(StorageY(src, i));
      for (int x = 0; x < src.width; ++x, s += 3) {
        double const len = Darkness(s, scale, paper, p);
        if (len < kVoteLength) continue;
        double proj;
        int const j = Nearest(p, dir, k, proj);
        if (proj < minCos * len) continue;
        ++lengths[std::size_t(j) * kLengthBins + std::min(kLengthBins - 1, int(proj))];
      }
    }
  double half[kMaxInkLayers];
  for (int j = 0; j < k; ++j) {
    uint64_t n = 0;
    for (int v = 0; v < kLengthBins; ++v) n += lengths[std::size_t(j) * kLengthBins + v];
    uint64_t acc = 0;
    int v = 0;
    for (; v < kLengthBins - 1; ++v) {
      acc += lengths[std::size_t(j) * kLengthBins + v];
      if (10 * acc >= 9 * n) break;
    }
    double const full = v + 0.5;
    half[j] = full / 2.0;
    for (int c = 0; c < 3; ++c) {
      double const ink = paper[c] - full * dir[j][c] * paper[c] / 255.0;
      layers.colour[j][c] = static_cast<unsigned char>(ink < 0.0 ? 0 : ink > 255.0 ? 255 : int(ink + 0.5));
    }
  }
  layers.count = k;

  for (int i = 0; i < src.height; ++i) {
    int const y = StorageY(src, i);
    uint8_t const* s = src.Row(y);
    uint8_t* d = labels.Row(y);
    for (int x = 0; x < src.width; ++x, s += 3) {
      d[x] = 0;
      if (k == 0) continue;
      double const len = Darkness(s, scale, paper, p);
      if (!(len > 0.0)) continue;
      double proj;
      int const j = Nearest(p, dir, k, proj);
      if (proj >= minCos * len && proj >= half[j]) d[x] = static_cast<uint8_t>(j + 1);
    }
  }
  return true;
}

void LabelMask(DibView const& mask, DibView const& labels, int label) {
  for (int y = 0; y < labels.height; ++y) {
    uint8_t const* l = labels.Row(y);
    uint8_t* d = mask.Row(y);
    uint8_t acc = 0;
    for (int x = 0; x < labels.width; ++x) {
      acc = static_cast<uint8_t>(acc << 1 | (l[x] == label ? 0 : 1));
      if ((x & 7) == 7) d[x >> 3] = acc, acc = 0;
    }
    if (labels.width & 7) d[labels.width >> 3] = static_cast<uint8_t>(acc << (8 - (labels.width & 7)));
  }
}

}  // namespace quilp
