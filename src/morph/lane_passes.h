// lane_passes.h - the drivers of the rectangle erosion, written once for any register.
//
// Included by the scalar, SSE4.1 and AVX2 files, each with its own register type V (in an
// unnamed namespace, so each file gets its own instantiations):
//   V::Reg, V::kBytes (1, 16 or 32), Load / Store (unaligned), Min / Max / And / Or (per
//   byte); the vector ones also Unpack{Lo,Hi}{8,16,32,64} (per 128-bit lane) and LoadTile /
//   StoreTile for the transposition.
// Vertical pass: the elements of the running extremes are whole rows (each byte a lane), so
// every step streams through rows in order; it reads a block of 2r rows, then writes the rows
// whose spans end in it, and may write over its input.
// Horizontal pass of 8-bit rows: a band of kBytes rows is transposed, 16 x 16 bytes at a time,
// into a line whose element x holds pixel x of every row of the band (the band's rows become
// lanes), the pass runs along that line, and the line is transposed back. A width that is not
// a multiple of 16 ends with a tile that overlaps the one before it.
// Half sizes up to kSmallWindow are combined directly (2r combinations per element beat the
// running extremes' three plus their scratch traffic); when both are small the horizontal
// result of each row goes straight into the ring of rows the vertical pass combines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
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
struct Single {  // one register: an element of the horizontal pass
  typename V::Reg a;
};

// out[x] = ext(a[x], b[x]) for x < bytes; out is neither a nor b. A row that is not a whole
// number of registers ends with a register that overlaps the one before it.
template <class V, ByteOp kOp>
inline void CombineRow(uint8_t* out, uint8_t const* a, uint8_t const* b, int bytes) {
  constexpr int K = V::kBytes;
  int x = 0;
  for (; x + K <= bytes; x += K) V::Store(out + x, Ext<V, kOp>(V::Load(a + x), V::Load(b + x)));
  if (x == bytes) return;
  if (bytes >= K) {
    x = bytes - K;
    V::Store(out + x, Ext<V, kOp>(V::Load(a + x), V::Load(b + x)));
    return;
  }
  for (; x < bytes; ++x) {
    uint8_t const p = a[x], q = b[x];
    out[x] = kOp == ByteOp::kMin ? (q < p ? q : p) : kOp == ByteOp::kMax ? (q > p ? q : p)
             : kOp == ByteOp::kAnd ? uint8_t(p & q) : uint8_t(p | q);
  }
}

// The vertical pass with whole rows as elements: g and h hold rows in slots of `slot` bytes,
// and every step streams through rows in order, so the pass reads the area once.
template <class V, ByteOp kOp>
struct RowOps {
  uint8_t* dst;
  std::ptrdiff_t dstStep;
  uint8_t const* src;
  std::ptrdiff_t srcStep;
  int bytes, n, r;
  std::size_t slot;
  uint8_t* g;
  uint8_t* h;
  RowFeed const* feed;

  uint8_t const* In(int i) const { return src + srcStep * i; }
  uint8_t* G(int s) const { return g + slot * std::size_t(s); }
  uint8_t* H(int s) const { return h + slot * std::size_t(s); }
  void LoadG(int s, int i) {
    if (s == 0 && feed) feed->ready(feed->context, n - i > 2 * r ? i + 2 * r : n);
    std::memcpy(G(s), In(i), std::size_t(bytes));
  }
  void ExtG(int s, int i) { CombineRow<V, kOp>(G(s), G(s - 1), In(i), bytes); }
  void LoadH(int s, int i) { std::memcpy(H(s), In(i), std::size_t(bytes)); }
  void ExtH(int s, int i) { CombineRow<V, kOp>(H(s), H(s + 1), In(i), bytes); }
  void OutG(int i, int s) { std::memmove(dst + dstStep * i, G(s), std::size_t(bytes)); }
  void OutH(int i, int s) { std::memmove(dst + dstStep * i, H(s), std::size_t(bytes)); }
  void OutHG(int i, int hs, int gs) { CombineRow<V, kOp>(dst + dstStep * i, H(hs), G(gs), bytes); }
};

inline constexpr int kDirectMax = kSmallWindow;

// out[x] = ext over rows[0 .. count - 1] at x, for x < bytes.
template <class V, ByteOp kOp>
inline void CombineRows(uint8_t* out, uint8_t const* const* rows, int count, int bytes) {
  constexpr int K = V::kBytes;
  auto at = [&](int x) {
    typename V::Reg v = V::Load(rows[0] + x);
    for (int j = 1; j < count; ++j) v = Ext<V, kOp>(v, V::Load(rows[j] + x));
    V::Store(out + x, v);
  };
  int x = 0;
  for (; x + K <= bytes; x += K) at(x);
  if (x == bytes) return;
  if (bytes >= K) return at(bytes - K);
  for (; x < bytes; ++x) {  // narrower than one register
    uint8_t v = rows[0][x];
    for (int j = 1; j < count; ++j) {
      uint8_t const q = rows[j][x];
      v = kOp == ByteOp::kMin ? (q < v ? q : v) : kOp == ByteOp::kMax ? (q > v ? q : v)
          : kOp == ByteOp::kAnd ? uint8_t(v & q) : uint8_t(v | q);
    }
    out[x] = v;
  }
}

// Small horizontal windows, directly: every element combines its 2r + 1 neighbours. The
// interior reads the row itself; the two ends (or a short row, or a row written in place) go
// through a copy between r identity elements on both sides (and a register's worth more).
template <class V, ByteOp kOp>
void HorizontalDirectRow(uint8_t* out, uint8_t const* in, int width, int r, uint8_t* buf) {
  constexpr int K = V::kBytes;
  uint8_t const identity = kOp == ByteOp::kMin ? 255 : 0;
  if (K > 1 && out != in && width >= 2 * K + 2 * r) {
    auto at = [r](uint8_t const* p, uint8_t* o) {  // p: the first element of the window
      typename V::Reg v = V::Load(p);
      for (int d = 1; d <= 2 * r; ++d) v = Ext<V, kOp>(v, V::Load(p + d));
      V::Store(o, v);
    };
    std::memset(buf, identity, std::size_t(r));
    std::memcpy(buf + r, in, std::size_t(K + r));
    at(buf, out);
    for (int x = K; x < width - K; x += K) {
      int const at0 = x < width - K - r ? x : width - K - r;
      at(in + at0 - r, out + at0);
    }
    std::memcpy(buf, in + width - K - r, std::size_t(K + r));
    std::memset(buf + K + r, identity, std::size_t(r));
    at(buf, out + width - K);
    return;
  }
  uint8_t const* taps[2 * kDirectMax + 1];
  for (int d = 0; d <= 2 * r; ++d) taps[d] = buf + d;
  std::memset(buf, identity, std::size_t(r));
  std::memcpy(buf + r, in, std::size_t(width));
  std::memset(buf + r + width, identity, std::size_t(r + V::kBytes));
  CombineRows<V, kOp>(out, taps, 2 * r + 1, width);
}

// Small vertical windows: input rows enter a ring of 2r + 1 rows as they are first needed
// (copied, or filtered horizontally with a small window rh when rh > 0), so the output may
// overwrite the input.
template <class V, ByteOp kOp>
bool VerticalDirect(uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                    std::ptrdiff_t srcStep, int bytes, int n, int r, RowFeed const* feed,
                    int rh = 0) {
  int const slots = 2 * r + 1;
  std::size_t const slot = (std::size_t(bytes) + 2 * kDirectMax + 2 * V::kBytes + 63) & ~std::size_t(63);
  std::unique_ptr<uint8_t[]> ring(new (std::nothrow) uint8_t[slot * std::size_t(slots + 1)]);
  if (!ring) return false;
  uint8_t* const buf = ring.get() + slot * std::size_t(slots);
  uint8_t const* rows[2 * kDirectMax + 1];
  int loaded = 0;
  for (int i = 0; i < n; ++i) {
    int const lo = i - r > 0 ? i - r : 0, hi = i + r < n ? i + r : n - 1;
    for (; loaded <= hi; ++loaded) {
      if (feed) feed->ready(feed->context, loaded + 1);
      uint8_t* const to = ring.get() + slot * std::size_t(loaded % slots);
      if (rh > 0) HorizontalDirectRow<V, kOp>(to, src + srcStep * loaded, bytes, rh, buf);
      else std::memcpy(to, src + srcStep * loaded, std::size_t(bytes));
    }
    for (int j = lo; j <= hi; ++j) rows[j - lo] = ring.get() + slot * std::size_t(j % slots);
    CombineRows<V, kOp>(dst + dstStep * i, rows, hi - lo + 1, bytes);
  }
  return true;
}

// Both windows small (8-bit rows): each source row is filtered horizontally straight into
// the ring of the vertical pass, one read of the source and one write of the result.
template <class V>
bool Small8(MorphOp op, uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
            std::ptrdiff_t srcStep, int width, int rows, int rh, int rv) {
  if (op == MorphOp::kErode)
    return VerticalDirect<V, ByteOp::kMin>(dst, dstStep, src, srcStep, width, rows, rv, nullptr, rh);
  return VerticalDirect<V, ByteOp::kMax>(dst, dstStep, src, srcStep, width, rows, rv, nullptr, rh);
}

template <class V, ByteOp kOp>
bool VerticalRows(uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                  std::ptrdiff_t srcStep, int bytes, int n, int r, RowFeed const* feed) {
  if (n <= 0 || bytes <= 0) return true;
  if (r <= kDirectMax) return VerticalDirect<V, kOp>(dst, dstStep, src, srcStep, bytes, n, r, feed);
  std::size_t const slot = (std::size_t(bytes) + 63) & ~std::size_t(63);
  std::size_t const gRows = std::size_t(n < 2 * r ? n : 2 * r);
  std::size_t const hRows = std::size_t(n < 4 * r ? n : 4 * r);
  std::unique_ptr<uint8_t[]> scratch(new (std::nothrow) uint8_t[slot * (gRows + hRows)]);
  if (!scratch) return false;
  RowOps<V, kOp> ops{dst, dstStep, src, srcStep, bytes, n, r, slot,
                     scratch.get(), scratch.get() + slot * gRows, feed};
  RunningExtremeSlots(ops, n, r);
  return true;
}

template <class V>
bool Vertical(ByteOp op, uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
              std::ptrdiff_t srcStep, int bytes, int n, int r, RowFeed const* feed) {
  switch (op) {
    case ByteOp::kMin: return VerticalRows<V, ByteOp::kMin>(dst, dstStep, src, srcStep, bytes, n, r, feed);
    case ByteOp::kMax: return VerticalRows<V, ByteOp::kMax>(dst, dstStep, src, srcStep, bytes, n, r, feed);
    case ByteOp::kAnd: return VerticalRows<V, ByteOp::kAnd>(dst, dstStep, src, srcStep, bytes, n, r, feed);
    case ByteOp::kOr: return VerticalRows<V, ByteOp::kOr>(dst, dstStep, src, srcStep, bytes, n, r, feed);
  }
  return false;
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
    // Full bands address their rows from a base and a step (no table of row pointers).
    bool const full = nr == L;
    uint8_t const* const inBase = src + srcStep * y0;
    uint8_t* const outBase = dst + dstStep * y0;
    typename V::Reg t[16];
    for (int x = 0;; x += 16) {
      if (x > width - 16) x = width - 16;
      if (full) V::LoadTile(inBase, srcStep, x, t);
      else V::LoadTile(in, x, t);
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
      if (full) V::StoreTile(outBase, dstStep, x, t);
      else V::StoreTile(out, x, t, nr);
      if (x == width - 16) break;
    }
  }
}

// A template on the file's register type, so that each instruction-set file keeps its own.
template <class V>
constexpr std::size_t Align64(std::size_t n) { return (n + 63) & ~std::size_t(63); }

template <class V, ByteOp kOp>
void HorizontalDirect(uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                      std::ptrdiff_t srcStep, int width, int rows, int r, uint8_t* buf) {
  for (int y = 0; y < rows; ++y)
    HorizontalDirectRow<V, kOp>(dst + dstStep * y, src + srcStep * y, width, r, buf);
}

template <class V>
std::size_t HorizontalScratch(int width) {
  std::size_t const w = std::size_t(width > 0 ? width : 1);
  std::size_t const lane = sizeof(Single<V>) > 2 ? sizeof(Single<V>) : 2;
  return 64 + 3 * Align64<V>(lane * w) + Align64<V>(w + 2 * kDirectMax + V::kBytes);
}

// Small windows directly; otherwise the running extremes on transposed bands when a register
// holds 16 rows or more and the rows are 16 wide, else along each row.
template <class V>
void Horizontal8(MorphOp op, uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                 std::ptrdiff_t srcStep, int width, int rows, int r, void* scratch) {
  uint8_t* base = static_cast<uint8_t*>(scratch);
  base += (64 - reinterpret_cast<std::uintptr_t>(base) % 64) % 64;
  bool const erode = op == MorphOp::kErode;
  if (r <= kDirectMax) {
    if (erode) HorizontalDirect<V, ByteOp::kMin>(dst, dstStep, src, srcStep, width, rows, r, base);
    else HorizontalDirect<V, ByteOp::kMax>(dst, dstStep, src, srcStep, width, rows, r, base);
    return;
  }
  if constexpr (V::kBytes >= 16) {
    if (width < 16) {  // too narrow for a tile: the scalar kernel (scratch large enough)
      MorphKernelsScalar().horizontal8(op, dst, dstStep, src, srcStep, width, rows, r, scratch);
      return;
    }
    std::size_t const part = Align64<V>(sizeof(Single<V>) * std::size_t(width));
    auto* line = reinterpret_cast<Single<V>*>(base);
    auto* g = reinterpret_cast<Single<V>*>(base + part);
    auto* h = reinterpret_cast<Single<V>*>(base + 2 * part);
    if (erode) HorizontalBands<V, MorphOp::kErode>(dst, dstStep, src, srcStep, width, rows, r, line, g, h);
    else HorizontalBands<V, MorphOp::kDilate>(dst, dstStep, src, srcStep, width, rows, r, line, g, h);
  } else {
    // The scalar file alone instantiates the line template (a template shared with the vector
    // files would let the linker keep a copy compiled for a wider instruction set).
    uint8_t* g = base;
    uint8_t* h = base + width;
    for (int y = 0; y < rows; ++y) {
      uint8_t const* in = src + srcStep * y;
      uint8_t* out = dst + dstStep * y;
      if (erode) TplErode<unsigned char>::Pass(out, in, g, h, width, r);
      else TplDilate<unsigned char>::Pass(out, in, g, h, width, r);
    }
  }
}

}  // namespace lanes
}  // namespace quilp
