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

// The pass over a line read through in(i) and written through out(i, value); g and h are
// scratch lines of n elements. Every input is read (into g and h) before the first output is
// written, so out may write over the input line.
template <class T, class Ext, class In, class Out>
void RunningExtreme(In in, Out out, T* g, T* h, int n, int r, Ext ext) {
  if (n <= 0) return;
  int const block = 2 * r;
  for (int start = 0; start < n; start += block) {
    int const end = start + block < n ? start + block : n;  // one past the block
    g[start] = in(start);
    for (int i = start + 1; i < end; ++i) g[i] = ext(g[i - 1], in(i));
    h[end - 1] = in(end - 1);
    for (int i = end - 2; i >= start; --i) h[i] = ext(h[i + 1], in(i));
  }
  int const left = r < n ? r : n;           // i < r: the span starts the line (and block 0)
  for (int i = 0; i < left; ++i) out(i, g[i + r < n ? i + r : n - 1]);
  for (int i = r; i < n - r; ++i) out(i, ext(h[i - r], g[i + r]));  // two consecutive blocks
  int const lastBlock = (n - 1) / block;
  for (int i = (n - r > r ? n - r : r); i < n; ++i) {  // the span ends the line
    int const lo = i - r;
    out(i, lo / block == lastBlock ? h[lo] : ext(h[lo], g[n - 1]));
  }
}

template <class T, template <class> class Extreme>
struct TplMorph {
  // One pass over a line of n contiguous elements (out may equal in). Returns 0 when a line
  // pointer is null, n < 0 or r < 1, else 1.
  static int Pass(T* out, T const* in, T* g, T* h, int n, int r) {
    if (!out || !in || !g || !h || n < 0 || r < 1) return 0;
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
