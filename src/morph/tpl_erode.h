// tpl_erode.h - TplErode and TplDilate: the running minimum and maximum of one line.
//
// A pass replaces element i of a line of N by the extreme (minimum for erosion, maximum for
// dilation) of the span i - r .. i + r cut at both ends of the line: nothing beyond the line
// takes part. It follows van Herk and Gil-Werman: the line is cut into blocks of 2r elements,
// g runs forward through each block (g at a block start is the input, each later g is the
// extreme of the previous g and the input), h runs backward (h at a block end is the input).
// A span whose ends lo and hi lie in two consecutive blocks is extreme(h[lo], g[hi]); a span
// inside one block is g[hi] when it starts the block and h[lo] when it ends the line. That is
// three combinations per element whatever r is.
//
// The element types are the lanes the drivers work on:
//  - unsigned char: one grey level (minimum, maximum);
//  - PackedBits: eight pixels of a 1-bit row (AND, OR of whole bytes: set bits are shapes);
//  - Rgb<unsigned char>: one colour pixel, each byte a lane of its own.
// The vector drivers run the same RunningExtreme with registers as elements.
#pragma once

#include <cstddef>

namespace quilp {

template <class T>
struct Rgb {
  T b, g, r;
};

// Eight pixels of a packed 1-bit row, leftmost in the most significant bit.
struct PackedBits {
  unsigned char bits;
};

// The extreme of two elements, and the pass's identity element, per element type.
template <class T>
struct MinOf;
template <class T>
struct MaxOf;

template <>
struct MinOf<unsigned char> {
  static unsigned char Of(unsigned char a, unsigned char b) { return b < a ? b : a; }
  static constexpr unsigned char Identity() { return 255; }
};
template <>
struct MaxOf<unsigned char> {
  static unsigned char Of(unsigned char a, unsigned char b) { return b > a ? b : a; }
  static constexpr unsigned char Identity() { return 0; }
};
template <>
struct MinOf<PackedBits> {
  static PackedBits Of(PackedBits a, PackedBits b) {
    return PackedBits{static_cast<unsigned char>(a.bits & b.bits)};
  }
  static constexpr PackedBits Identity() { return PackedBits{255}; }
};
template <>
struct MaxOf<PackedBits> {
  static PackedBits Of(PackedBits a, PackedBits b) {
    return PackedBits{static_cast<unsigned char>(a.bits | b.bits)};
  }
  static constexpr PackedBits Identity() { return PackedBits{0}; }
};
template <>
struct MinOf<Rgb<unsigned char>> {
  using L = MinOf<unsigned char>;
  static Rgb<unsigned char> Of(Rgb<unsigned char> a, Rgb<unsigned char> b) {
    return {L::Of(a.b, b.b), L::Of(a.g, b.g), L::Of(a.r, b.r)};
  }
  static constexpr Rgb<unsigned char> Identity() { return {255, 255, 255}; }
};
template <>
struct MaxOf<Rgb<unsigned char>> {
  using L = MaxOf<unsigned char>;
  static Rgb<unsigned char> Of(Rgb<unsigned char> a, Rgb<unsigned char> b) {
    return {L::Of(a.b, b.b), L::Of(a.g, b.g), L::Of(a.r, b.r)};
  }
  static constexpr Rgb<unsigned char> Identity() { return {0, 0, 0}; }
};

// The pass, streaming block by block: block k of the line is read into g (forward) and h
// (backward), then every output whose span ends in block k is written. g holds the current
// block only (slots 0 .. 2r - 1) and h the current and the previous one (slots 0 .. 4r - 1,
// by block parity); a slot never exceeds its element's index, so lines of n elements also do.
// Output i is written only after all of its inputs and before any input beyond i + r is read,
// so out may write over the input line. The operations on slots are the caller's:
//   LoadG(s, i): g[s] = in(i)          ExtG(s, i): g[s] = ext(g[s - 1], in(i))
//   LoadH(s, i): h[s] = in(i)          ExtH(s, i): h[s] = ext(h[s + 1], in(i))
//   OutG(i, s): out(i) = g[s]          OutH(i, s): out(i) = h[s]
//   OutHG(i, hs, gs): out(i) = ext(h[hs], g[gs])
template <class Ops>
void RunningExtremeSlots(Ops& ops, int n, int r) {
  int const block = 2 * r;
  for (int start = 0, k = 0; start < n; start += block, ++k) {
    int const end = n - start > block ? start + block : n;
    int const hBase = (k & 1) * block, hPrev = block - hBase;
    ops.LoadG(0, start);
    for (int i = start + 1; i < end; ++i) ops.ExtG(i - start, i);
    ops.LoadH(hBase + end - 1 - start, end - 1);
    for (int i = end - 2; i >= start; --i) ops.ExtH(hBase + i - start, i);
    // Outputs whose span ends in this block: i + r in it, or every rest at the line's end.
    int const from = start - r > 0 ? start - r : 0;
    int const to = end == n ? n : end - r;
    int const split = to < start + r ? to : start + r;
    for (int i = from; i < split; ++i) {  // the span starts in the previous block (or is cut)
      int const hi = i + r < n ? i + r : n - 1;
      if (k == 0) ops.OutG(i, hi - start);
      else ops.OutHG(i, hPrev + i - r - (start - block), hi - start);
    }
    for (int i = split > from ? split : from; i < to; ++i)  // the span ends the line
      ops.OutH(i, hBase + i - r - start);
  }
}

// The pass over a line of values read through in(i) and written through out(i, value), with
// scratch lines g and h of at least min(n, 2r) and min(n, 4r) elements.
template <class T, class Ext, class In, class Out>
void RunningExtreme(In in, Out out, T* g, T* h, int n, int r, Ext ext) {
  struct Ops {
    In& in;
    Out& out;
    T* g;
    T* h;
    Ext& ext;
    T last;  // the running extreme, kept out of memory between steps
    void LoadG(int s, int i) { g[s] = last = in(i); }
    void ExtG(int s, int i) { g[s] = last = ext(last, in(i)); }
    void LoadH(int s, int i) { h[s] = last = in(i); }
    void ExtH(int s, int i) { h[s] = last = ext(last, in(i)); }
    void OutG(int i, int s) { out(i, g[s]); }
    void OutH(int i, int s) { out(i, h[s]); }
    void OutHG(int i, int hs, int gs) { out(i, ext(h[hs], g[gs])); }
  } ops{in, out, g, h, ext, T{}};
  RunningExtremeSlots(ops, n, r);
}

template <class T, template <class> class Extreme>
struct TplMorph {
  // One pass over a line of n contiguous elements (out may equal in). Returns 0 when a line
  // pointer is null, n < 0 or r < 1, else 1.
  static int Pass(T* out, T const* in, T* g, T* h, int n, int r) {
    if (!out || !in || !g || !h || n < 0 || r < 1) return 0;
    if (r > n) r = n;  // the span covers the whole line either way (and 2r stays an int)
    RunningExtreme(
        [in](int i) { return in[i]; }, [out](int i, T v) { out[i] = v; }, g, h, n, r,
        [](T a, T b) { return Extreme<T>::Of(a, b); });
    return 1;
  }
  static constexpr T Identity() { return Extreme<T>::Identity(); }
};

template <class T>
struct TplErode : TplMorph<T, MinOf> {};
template <class T>
struct TplDilate : TplMorph<T, MaxOf> {};

}  // namespace quilp
