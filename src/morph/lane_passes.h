// lane_passes.h - the vector drivers of the rectangle erosion, written once for any register.
//
// Included by the SSE4.1 and AVX2 files only, each with its own register type V (in an
// unnamed namespace, so each file gets its own instantiations):
//   V::Reg, V::kBytes (16 or 32), Load / Store (unaligned), Min / Max / And / Or (per byte),
//   Unpack{Lo,Hi}{8,16,32,64} (per 128-bit lane), LoadTile / StoreTile (see below).
// Vertical pass: the elements of RunningExtreme are strips of 2 * kBytes bytes of a row, so
// each lane is one byte column; the pass reads the whole strip into g and h before writing.
// Horizontal pass of 8-bit rows: a band of kBytes rows is transposed, 16 x 16 bytes at a time,
// into a line whose element x holds pixel x of every row of the band (the band's rows become
// lanes), the pass runs along that line, and the line is transposed back. A width that is not
// a multiple of 16 ends with a tile that overlaps the one before it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "morph/rect_morph.h"
#include "morph/tpl_erode.h"

namespace quilp {
namespace lanes {

template <class V, ByteOp kOp>
inline typename V::Reg Ext(typename V::Reg a, typename V::Reg b) {
  if constexpr (kOp == ByteOp::kMin) return V::Min(a, b);
  else if constexpr (kOp == ByteOp::kMax) return V::Max(a, b);
  else if constexpr (kOp == ByteOp::kAnd) return V::And(a, b);
  else return V::Or(a, b);
}

template <class V>
struct Pair {
  typename V::Reg a, b;
};
template <class V>
struct Single {  // one register: an element of the horizontal pass
  typename V::Reg a;
};

// Byte columns [0, return value) of the vertical pass; the caller finishes the rest.
template <class V, ByteOp kOp>
int VerticalStrips(uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                   std::ptrdiff_t srcStep, int bytes, int n, int r, Pair<V>* g, Pair<V>* h) {
  constexpr int K = V::kBytes;
  int x0 = 0;
  for (; x0 + 2 * K <= bytes; x0 += 2 * K) {
    auto in = [&](int i) {
      uint8_t const* p = src + srcStep * i + x0;
      return Pair<V>{V::Load(p), V::Load(p + K)};
    };
    auto out = [&](int i, Pair<V> const& v) {
      uint8_t* p = dst + dstStep * i + x0;
      V::Store(p, v.a);
      V::Store(p + K, v.b);
    };
    auto ext = [](Pair<V> const& a, Pair<V> const& b) {
      return Pair<V>{Ext<V, kOp>(a.a, b.a), Ext<V, kOp>(a.b, b.b)};
    };
    RunningExtreme(in, out, g, h, n, r, ext);
  }
  if (x0 + K <= bytes) {  // one register wide: the second half of the pair idles
    auto in = [&](int i) {
      typename V::Reg const v = V::Load(src + srcStep * i + x0);
      return Pair<V>{v, v};
    };
    auto out = [&](int i, Pair<V> const& v) { V::Store(dst + dstStep * i + x0, v.a); };
    auto ext = [](Pair<V> const& a, Pair<V> const& b) {
      return Pair<V>{Ext<V, kOp>(a.a, b.a), a.b};
    };
    RunningExtreme(in, out, g, h, n, r, ext);
    x0 += K;
  }
  return x0;
}

// The vertical pass: vector strips, the last narrow columns by `rest` (a narrower table).
template <class V>
bool Vertical(ByteOp op, uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
              std::ptrdiff_t srcStep, int bytes, int n, int r, MorphKernels const& rest) {
  int done = 0;
  if (bytes >= V::kBytes) {
    std::unique_ptr<Pair<V>[]> g(new (std::nothrow) Pair<V>[std::size_t(n)]);
    std::unique_ptr<Pair<V>[]> h(new (std::nothrow) Pair<V>[std::size_t(n)]);
    if (!g || !h) return false;
    switch (op) {
      case ByteOp::kMin: done = VerticalStrips<V, ByteOp::kMin>(dst, dstStep, src, srcStep, bytes, n, r, g.get(), h.get()); break;
      case ByteOp::kMax: done = VerticalStrips<V, ByteOp::kMax>(dst, dstStep, src, srcStep, bytes, n, r, g.get(), h.get()); break;
      case ByteOp::kAnd: done = VerticalStrips<V, ByteOp::kAnd>(dst, dstStep, src, srcStep, bytes, n, r, g.get(), h.get()); break;
      case ByteOp::kOr: done = VerticalStrips<V, ByteOp::kOr>(dst, dstStep, src, srcStep, bytes, n, r, g.get(), h.get()); break;
    }
  }
  if (done == bytes) return true;
  return rest.vertical(op, dst + done, dstStep, src + done, srcStep, bytes - done, n, r);
}

// 16 x 16 bytes per 128-bit lane: register k holds row k, afterwards register j column j.
template <class V>
inline void Transpose(typename V::Reg t[16]) {
  typename V::Reg a[16], b[16];
  for (int i = 0; i < 8; ++i) {
    a[2 * i] = V::UnpackLo8(t[2 * i], t[2 * i + 1]);      // rows 2i, 2i+1: columns 0..7
    a[2 * i + 1] = V::UnpackHi8(t[2 * i], t[2 * i + 1]);  // columns 8..15
  }
  for (int q = 0; q < 4; ++q) {  // rows 4q .. 4q+3: b[4q + m] holds columns 4m .. 4m+3
    b[4 * q + 0] = V::UnpackLo16(a[4 * q + 0], a[4 * q + 2]);
    b[4 * q + 1] = V::UnpackHi16(a[4 * q + 0], a[4 * q + 2]);
    b[4 * q + 2] = V::UnpackLo16(a[4 * q + 1], a[4 * q + 3]);
    b[4 * q + 3] = V::UnpackHi16(a[4 * q + 1], a[4 * q + 3]);
  }
  for (int s = 0; s < 2; ++s)  // rows 8s .. 8s+7: a[8s + k] holds columns 2k, 2k+1
    for (int m = 0; m < 4; ++m) {
      a[8 * s + 2 * m] = V::UnpackLo32(b[8 * s + m], b[8 * s + 4 + m]);
      a[8 * s + 2 * m + 1] = V::UnpackHi32(b[8 * s + m], b[8 * s + 4 + m]);
    }
  for (int k = 0; k < 8; ++k) {
    t[2 * k] = V::UnpackLo64(a[k], a[8 + k]);
    t[2 * k + 1] = V::UnpackHi64(a[k], a[8 + k]);
  }
}

template <class V, MorphOp kOp>
void HorizontalBands(uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                     std::ptrdiff_t srcStep, int width, int rows, int r, Single<V>* line,
                     Single<V>* g, Single<V>* h) {
  constexpr int L = V::kBytes;  // rows per band
  auto ext = [](Single<V> const& a, Single<V> const& b) {
    return Single<V>{kOp == MorphOp::kErode ? V::Min(a.a, b.a) : V::Max(a.a, b.a)};
  };
  for (int y0 = 0; y0 < rows; y0 += L) {
    int const nr = rows - y0 < L ? rows - y0 : L;
    uint8_t const* in[L];
    uint8_t* out[L];
    for (int k = 0; k < L; ++k) {
      in[k] = src + srcStep * (y0 + (k < nr ? k : nr - 1));  // missing rows repeat the last
      out[k] = dst + dstStep * (y0 + (k < nr ? k : nr - 1));
    }
    typename V::Reg t[16];
    for (int x = 0;; x += 16) {
      if (x > width - 16) x = width - 16;
      V::LoadTile(in, x, t);
      Transpose<V>(t);
      for (int j = 0; j < 16; ++j) line[x + j].a = t[j];
      if (x == width - 16) break;
    }
    RunningExtreme([line](int i) { return line[i]; },
                   [line](int i, Single<V> const& v) { line[i] = v; }, g, h, width, r, ext);
    for (int x = 0;; x += 16) {
      if (x > width - 16) x = width - 16;
      for (int j = 0; j < 16; ++j) t[j] = line[x + j].a;
      Transpose<V>(t);
      V::StoreTile(out, x, t, nr);
      if (x == width - 16) break;
    }
  }
}

template <class V>
bool Horizontal8(MorphOp op, uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                 std::ptrdiff_t srcStep, int width, int rows, int r) {
  if (width < 16)
    return MorphKernelsScalar().horizontal8(op, dst, dstStep, src, srcStep, width, rows, r);
  std::size_t const n = std::size_t(width);
  std::unique_ptr<Single<V>[]> line(new (std::nothrow) Single<V>[n]);
  std::unique_ptr<Single<V>[]> g(new (std::nothrow) Single<V>[n]);
  std::unique_ptr<Single<V>[]> h(new (std::nothrow) Single<V>[n]);
  if (!line || !g || !h) return false;
  if (op == MorphOp::kErode)
    HorizontalBands<V, MorphOp::kErode>(dst, dstStep, src, srcStep, width, rows, r, line.get(), g.get(), h.get());
  else
    HorizontalBands<V, MorphOp::kDilate>(dst, dstStep, src, srcStep, width, rows, r, line.get(), g.get(), h.get());
  return true;
}

}  // namespace lanes
}  // namespace quilp
