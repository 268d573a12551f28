// smooth.cpp - Gaussian smoothing (265) and local contrast normalisation (266).
//
// Smoothing: sampled Gaussian weights out to 3 sigma, in 16.16 fixed point (every weight but
// the centre rounded down, the centre taking the rest, so they sum to exactly 65536), a
// horizontal pass into a scratch image and a vertical pass out of it, each rounded to the
// nearest level. Cost: 2 (2R + 1) multiply-adds per pixel for a radius R = ceil(3 sigma).
// Local contrast: the window's minimum and maximum come from the rectangle erosion and
// dilation (cost independent of the window), then one division per pixel.
#include "filter/smooth.h"

#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "morph/rect_morph.h"

namespace quilp {
namespace {

// Weights w[0..R] (w[0] the centre) of a Gaussian of sigma256 / 256 pixels.
std::vector<int32_t> Weights(int sigma256) {
  if (sigma256 > kMaxSigma256) sigma256 = kMaxSigma256;
  double const sigma = sigma256 / 256.0;
  int const radius = sigma256 > 0 ? int(std::ceil(3.0 * sigma)) : 0;
  std::vector<double> w(std::size_t(radius) + 1);
  double sum = 0.0;
  for (int k = 0; k <= radius; ++k) {
    w[std::size_t(k)] = std::exp(-(k * k) / (2.0 * sigma * sigma));
    sum += k == 0 ? w[0] : 2.0 * w[std::size_t(k)];
  }
  std::vector<int32_t> out(w.size());
  int64_t rest = 65536;
  for (int k = radius; k >= 1; --k) {
    out[std::size_t(k)] = int32_t(std::floor(w[std::size_t(k)] / sum * 65536.0));
    rest -= 2 * int64_t(out[std::size_t(k)]);
  }
  out[0] = int32_t(rest);
  return out;
}

}  // namespace

bool DibGaussSmooth(DibPlane const& dst, DibPlane const& src, int hSigma256, int vSigma256) {
  if (hSigma256 < 0 || vSigma256 < 0) return false;
  int const w = src.width, h = src.height;
  if (w <= 0 || h <= 0) return true;
  try {
    std::vector<int32_t> const wx = Weights(hSigma256), wy = Weights(vSigma256);
    int const rx = int(wx.size()) - 1, ry = int(wy.size()) - 1;
    std::vector<uint16_t> mid(std::size_t(w) * std::size_t(h));  // levels in 8.8 fixed point
    std::vector<uint8_t> padded(std::size_t(w) + 2 * std::size_t(rx));
    for (int y = 0; y < h; ++y) {  // horizontal, edges repeated
      uint8_t const* s = src.Row(y);
      for (int x = -rx; x < w + rx; ++x) padded[std::size_t(x + rx)] = s[x < 0 ? 0 : x >= w ? w - 1 : x];
      uint16_t* m = mid.data() + std::size_t(y) * std::size_t(w);
      uint8_t const* c = padded.data() + rx;
      for (int x = 0; x < w; ++x) {
        int64_t acc = int64_t(wx[0]) * c[x];
        for (int k = 1; k <= rx; ++k) acc += int64_t(wx[std::size_t(k)]) * (c[x - k] + c[x + k]);
        m[x] = uint16_t((acc + 128) >> 8);
      }
    }
    std::vector<uint32_t> acc(static_cast<std::size_t>(w));
    for (int y = 0; y < h; ++y) {  // vertical, edges repeated (65536 * 65535 fits 32 bits)
      uint16_t const* c = mid.data() + std::size_t(y) * std::size_t(w);
      for (int x = 0; x < w; ++x) acc[std::size_t(x)] = uint32_t(wy[0]) * c[x];
      for (int k = 1; k <= ry; ++k) {
        int const up = y - k < 0 ? 0 : y - k, down = y + k >= h ? h - 1 : y + k;
        uint16_t const* a = mid.data() + std::size_t(up) * std::size_t(w);
        uint16_t const* b = mid.data() + std::size_t(down) * std::size_t(w);
        uint32_t const wk = uint32_t(wy[std::size_t(k)]);
        for (int x = 0; x < w; ++x) acc[std::size_t(x)] += wk * (uint32_t(a[x]) + b[x]);
      }
      uint8_t* d = dst.Row(y);
      for (int x = 0; x < w; ++x) d[x] = uint8_t((uint64_t(acc[std::size_t(x)]) + (1u << 23)) >> 24);
    }
  } catch (std::bad_alloc const&) {
    return false;
  }
  return true;
}

bool DibLocalContrast(DibPlane const& dst, DibPlane const& src, int hWindow, int vWindow,
                      int noise) {
  if (hWindow < 0 || vWindow < 0 || noise < 0) return false;
  int const w = src.width, h = src.height;
  if (w <= 0 || h <= 0) return true;
  std::size_t const n = std::size_t(w) * std::size_t(h);
  std::unique_ptr<uint8_t[]> buf(new (std::nothrow) uint8_t[2 * n]);
  if (!buf) return false;
  DibPlane const lo = PackedPlane8(buf.get(), w, h);
  DibPlane const hi = PackedPlane8(buf.get() + n, w, h);
  // Even sizes are taken one smaller, so a window is always centred; 0 is one pixel.
  int const rx = hWindow > 0 ? (hWindow - 1) / 2 : 0, ry = vWindow > 0 ? (vWindow - 1) / 2 : 0;
  if (!MorphRect(lo, src, rx, ry, MorphOp::kErode) || !MorphRect(hi, src, rx, ry, MorphOp::kDilate))
    return false;
  for (int y = 0; y < h; ++y) {
    uint8_t const* s = src.Row(y);
    uint8_t const* l = lo.Row(y);
    uint8_t const* u = hi.Row(y);
    uint8_t* d = dst.Row(y);
    for (int x = 0; x < w; ++x) {
      int const range = u[x] - l[x] - noise > kContrastFloor ? u[x] - l[x] - noise : kContrastFloor;
      int const depth = u[x] - s[x] - noise > 0 ? u[x] - s[x] - noise : 0;
      int const dark = (depth * 255 + range / 2) / range;
      d[x] = uint8_t(255 - (dark > 255 ? 255 : dark));
    }
  }
  return true;
}

}  // namespace quilp
