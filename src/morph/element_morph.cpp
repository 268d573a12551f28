// element_morph.cpp - window extremes by doubling, and erosion / dilation by bars (see
// element_morph.h).
#include "morph/element_morph.h"

#include <algorithm>
#include <exception>
#include <new>

namespace quilp {
namespace {

// ---- 1-bit ---------------------------------------------------------------------------

// Extreme over p pixels to extreme over 2p: v[i] = v[i] op (v shifted by p)[i], in place
// (word j reads words j and beyond, not yet rewritten), words past the end reading `fill`.
template <bool kOr>
void DoubleWords(uint64_t* v, int n, int p, uint64_t fill) {
  for (int j = 0; j < n; ++j) {
    uint64_t const s = WordAt(v, n, 64 * j + p, fill);
    v[j] = kOr ? v[j] | s : v[j] & s;
  }
}

// out[0 .. words) = extreme of in over the pixel offsets a .. b (b - a + 1 = L) of each pixel.
// `ext` is scratch of pad + words + pad words, pad covering |a| and |b| pixels.
template <bool kOr>
void RowExtreme(uint64_t* out, uint64_t const* in, int width, int words, int a, int b,
                uint64_t fill, uint64_t* ext, int pad) {
  int const n = 2 * pad + words;
  for (int j = 0; j < pad; ++j) ext[j] = ext[pad + words + j] = fill;
  std::copy(in, in + words, ext + pad);
  if (width % 64) {  // bits past the width are outside too
    uint64_t const tail = ~uint64_t(0) << (64 - width % 64);
    ext[pad + words - 1] = (ext[pad + words - 1] & tail) | (fill & ~tail);
  }
  int const length = b - a + 1;
  int p = 1;
  for (; 2 * p <= length; p *= 2) DoubleWords<kOr>(ext, n, p, fill);
  int const origin = 64 * pad + a;  // buffer position of pixel 0's window start
  for (int k = 0; k < words; ++k) {
    uint64_t const u = WordAt(ext, n, origin + 64 * k, fill);
    uint64_t const v = WordAt(ext, n, origin + 64 * k + length - p, fill);
    out[k] = kOr ? u | v : u & v;
  }
}

template <bool kOr>
void CombineRows(uint64_t* dst, uint64_t const* a, uint64_t const* b, int words) {
  for (int k = 0; k < words; ++k) dst[k] = kOr ? a[k] | b[k] : a[k] & b[k];
}

// dst = window extreme of src over offsets [dx0, dx1] x [dy0, dy1]; rows scratch.
template <bool kOr>
bool BarExtremeBits(InkBits& dst, InkBits const& src, ElementBar const& bar, uint64_t fill) {
  int const w = src.Width(), h = src.Height(), words = src.Words();
  int const padX = (std::max({0, -bar.dx0, bar.dx1, -bar.dx1, bar.dx0}) + 63) / 64 + 1;
  int const padT = std::max(0, -bar.dy0), padB = std::max(0, bar.dy1);
  int const rows = padT + h + padB;
  std::vector<uint64_t> ext(std::size_t(2 * padX + words));
  std::vector<uint64_t> col(std::size_t(rows) * std::size_t(words));
  auto colRow = [&](int r) { return col.data() + std::size_t(r) * std::size_t(words); };
  // Rows: the horizontal extreme of every source row, fill rows above and below.
  for (int r = 0; r < rows; ++r) {
    int const y = r - padT;
    if (y < 0 || y >= h) std::fill(colRow(r), colRow(r) + words, fill);
    else RowExtreme<kOr>(colRow(r), src.Row(y), w, words, bar.dx0, bar.dx1, fill, ext.data(), padX);
  }
  // Columns: doubling over whole rows, rows past the end reading fill.
  int const length = bar.dy1 - bar.dy0 + 1;
  int p = 1;
  std::vector<uint64_t> fillRow(std::size_t(words), fill);
  for (; 2 * p <= length; p *= 2)
    for (int r = 0; r < rows; ++r)
      CombineRows<kOr>(colRow(r), colRow(r), r + p < rows ? colRow(r + p) : fillRow.data(), words);
  for (int y = 0; y < h; ++y) {
    int const r0 = y + bar.dy0 + padT, r1 = r0 + length - p;
    CombineRows<kOr>(dst.Row(y), colRow(r0), r1 < rows ? colRow(r1) : fillRow.data(), words);
  }
  dst.ClearTails();
  return true;
}

// ---- 8-bit ---------------------------------------------------------------------------

template <bool kMax>
inline uint8_t Ext(uint8_t a, uint8_t b) { return kMax ? (a > b ? a : b) : (a < b ? a : b); }

template <bool kMax>
void CombineBytes(uint8_t* dst, uint8_t const* a, uint8_t const* b, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) dst[i] = Ext<kMax>(a[i], b[i]);
}

// dst = window extreme over [a, b] of a row of n levels, cut at the row's ends; buffers of
// n + 2 pad bytes (pad >= |a|, |b|).
template <bool kMax>
void RowExtremeGrey(uint8_t* dst, uint8_t const* in, int n, int a, int b, uint8_t* u,
                    uint8_t* v, int pad) {
  uint8_t const identity = kMax ? 0 : 255;
  int const m = n + 2 * pad;
  std::fill(u, u + pad, identity);
  std::copy(in, in + n, u + pad);
  std::fill(u + pad + n, u + m, identity);
  int const length = b - a + 1;
  int p = 1;
  for (; 2 * p <= length; p *= 2) {
    CombineBytes<kMax>(v, u, u + p, std::size_t(m - p));
    std::copy(u + m - p, u + m, v + m - p);
    std::swap(u, v);
  }
  CombineBytes<kMax>(dst, u + pad + a, u + pad + a + length - p, std::size_t(n));
}

template <bool kMax>
bool BarExtremeGrey(GreyImage& dst, GreyImage const& src, ElementBar const& bar) {
  int const w = src.width, h = src.height;
  uint8_t const identity = kMax ? 0 : 255;
  int const pad = std::max({0, -bar.dx0, bar.dx1, -bar.dx1, bar.dx0}) + 1;
  int const padT = std::max(0, -bar.dy0), padB = std::max(0, bar.dy1);
  int const rows = padT + h + padB;
  std::vector<uint8_t> u(std::size_t(w) + 2 * std::size_t(pad)), v(u.size());
  std::vector<uint8_t> col(std::size_t(rows) * std::size_t(w), identity);
  auto colRow = [&](int r) { return col.data() + std::size_t(r) * std::size_t(w); };
  for (int y = 0; y < h; ++y)
    RowExtremeGrey<kMax>(colRow(y + padT), src.Row(y), w, bar.dx0, bar.dx1, u.data(), v.data(), pad);
  int const length = bar.dy1 - bar.dy0 + 1;
  int p = 1;
  for (; 2 * p <= length; p *= 2)
    for (int r = 0; r + p < rows; ++r) CombineBytes<kMax>(colRow(r), colRow(r), colRow(r + p), std::size_t(w));
  for (int y = 0; y < h; ++y) {
    int const r0 = y + bar.dy0 + padT, r1 = r0 + length - p;
    if (r1 < rows) CombineBytes<kMax>(dst.Row(y), colRow(r0), colRow(r1), std::size_t(w));
    else std::copy(colRow(r0), colRow(r0) + w, dst.Row(y));
  }
  return true;
}

// The window of a bar for erosion (offsets as they are) or dilation (reflected).
ElementBar Window(ElementBar const& bar, bool dilate) {
  return dilate ? ElementBar{-bar.dx1, -bar.dx0, -bar.dy1, -bar.dy0} : bar;
}

}  // namespace

bool MorphBits(InkBits& dst, InkBits const& src, std::vector<ElementBar> const& bars,
               bool dilate, bool fill) {
  try {
    uint64_t const f = fill ? ~uint64_t(0) : 0;
    if (!dst.Reset(src.Width(), src.Height())) return false;
    InkBits part;
    if (bars.size() > 1 && !part.Reset(src.Width(), src.Height())) return false;
    for (std::size_t i = 0; i < bars.size(); ++i) {
      InkBits& to = i == 0 ? dst : part;
      ElementBar const win = Window(bars[i], dilate);
      if (dilate) BarExtremeBits<true>(to, src, win, f);
      else BarExtremeBits<false>(to, src, win, f);
      if (i == 0) continue;
      for (int y = 0; y < src.Height(); ++y)
        if (dilate) CombineRows<true>(dst.Row(y), dst.Row(y), part.Row(y), src.Words());
        else CombineRows<false>(dst.Row(y), dst.Row(y), part.Row(y), src.Words());
    }
    return true;
  } catch (std::exception const&) {
    return false;
  }
}

bool MorphGrey(GreyImage& dst, GreyImage const& src, std::vector<ElementBar> const& bars,
               bool dilate) {
  try {
    dst.width = src.width;
    dst.height = src.height;
    dst.pixels.assign(src.pixels.size(), 0);
    GreyImage part = dst;
    for (std::size_t i = 0; i < bars.size(); ++i) {
      GreyImage& to = i == 0 ? dst : part;
      ElementBar const win = Window(bars[i], dilate);
      if (dilate) BarExtremeGrey<true>(to, src, win);
      else BarExtremeGrey<false>(to, src, win);
      if (i == 0) continue;
      if (dilate) CombineBytes<true>(dst.pixels.data(), dst.pixels.data(), part.pixels.data(), dst.pixels.size());
      else CombineBytes<false>(dst.pixels.data(), dst.pixels.data(), part.pixels.data(), dst.pixels.size());
    }
    return true;
  } catch (std::exception const&) {
    return false;
  }
}

}  // namespace quilp
