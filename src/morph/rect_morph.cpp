// rect_morph.cpp - erosion and dilation by a rectangle: drivers and the scalar kernels.
//
// The vertical pass runs TplErode / TplDilate down strips of 64 byte columns (each byte a lane
// of its own). The horizontal pass of 8-bit rows runs the pass along each row, of 24-bit rows
// on Rgb<unsigned char> pixels. The horizontal pass of 1-bit rows works on runs instead: the
// dilation of a row is the union of its runs of set bits, each widened by r on both sides
// (merged as they meet, so every output word is written once), and erosion is the dilation of
// the complement. Scanning with count-leading-zeros costs one step per 64 pixels plus one per
// run, whatever r is. Scratch lines are allocated per call.
#include "morph/rect_morph.h"

#include <bit>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "morph/tpl_erode.h"
#include "simd/dispatch.h"

namespace quilp {
namespace {

template <class T>
std::unique_ptr<T[]> Lines(std::size_t n) {
  return std::unique_ptr<T[]>(new (std::nothrow) T[n ? n : 1]);
}

// ---- Scalar vertical pass --------------------------------------------------------------

constexpr int kStrip = 64;
struct Lanes {
  uint8_t v[kStrip];
};

template <ByteOp kOp>
inline uint8_t Combine(uint8_t a, uint8_t b) {
  if constexpr (kOp == ByteOp::kMin) return b < a ? b : a;
  else if constexpr (kOp == ByteOp::kMax) return b > a ? b : a;
  else if constexpr (kOp == ByteOp::kAnd) return a & b;
  else return a | b;
}

template <ByteOp kOp>
void VerticalStrips(uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                    std::ptrdiff_t srcStep, int bytes, int n, int r, Lanes* g, Lanes* h) {
  auto ext = [](Lanes a, Lanes const& b) {
    for (int k = 0; k < kStrip; ++k) a.v[k] = Combine<kOp>(a.v[k], b.v[k]);
    return a;
  };
  for (int x0 = 0; x0 < bytes; x0 += kStrip) {
    int const w = bytes - x0 < kStrip ? bytes - x0 : kStrip;
    auto in = [&](int i) {
      Lanes l{};
      std::memcpy(l.v, src + srcStep * i + x0, std::size_t(w));
      return l;
    };
    auto out = [&](int i, Lanes const& l) { std::memcpy(dst + dstStep * i + x0, l.v, std::size_t(w)); };
    RunningExtreme(in, out, g, h, n, r, ext);
  }
}

bool VerticalScalar(ByteOp op, uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                    std::ptrdiff_t srcStep, int bytes, int n, int r) {
  auto g = Lines<Lanes>(std::size_t(n)), h = Lines<Lanes>(std::size_t(n));
  if (!g || !h) return false;
  switch (op) {
    case ByteOp::kMin: VerticalStrips<ByteOp::kMin>(dst, dstStep, src, srcStep, bytes, n, r, g.get(), h.get()); break;
    case ByteOp::kMax: VerticalStrips<ByteOp::kMax>(dst, dstStep, src, srcStep, bytes, n, r, g.get(), h.get()); break;
    case ByteOp::kAnd: VerticalStrips<ByteOp::kAnd>(dst, dstStep, src, srcStep, bytes, n, r, g.get(), h.get()); break;
    case ByteOp::kOr: VerticalStrips<ByteOp::kOr>(dst, dstStep, src, srcStep, bytes, n, r, g.get(), h.get()); break;
  }
  return true;
}

// ---- Scalar horizontal passes of 8- and 24-bit rows -----------------------------------

template <class T>
bool HorizontalRows(MorphOp op, uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                    std::ptrdiff_t srcStep, int width, int rows, int r) {
  auto g = Lines<T>(std::size_t(width)), h = Lines<T>(std::size_t(width));
  auto line = Lines<T>(std::size_t(width));
  if (!g || !h || !line) return false;
  for (int y = 0; y < rows; ++y) {
    std::memcpy(line.get(), src + srcStep * y, sizeof(T) * std::size_t(width));
    if (op == MorphOp::kErode) TplErode<T>::Pass(line.get(), line.get(), g.get(), h.get(), width, r);
    else TplDilate<T>::Pass(line.get(), line.get(), g.get(), h.get(), width, r);
    std::memcpy(dst + dstStep * y, line.get(), sizeof(T) * std::size_t(width));
  }
  return true;
}

bool Horizontal8Scalar(MorphOp op, uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                       std::ptrdiff_t srcStep, int width, int rows, int r) {
  return HorizontalRows<unsigned char>(op, dst, dstStep, src, srcStep, width, rows, r);
}

// ---- Horizontal pass of 1-bit rows, by runs ------------------------------------------

// A packed row as 64-bit words, pixel x at bit 63 - x % 64 of word x / 64 (bits past the
// width clear).
struct BitRow {
  std::vector<uint64_t> words;
  int width = 0;

  void Load(uint8_t const* p, int bitOffset, int w, bool complement) {
    width = w;
    int const nBytes = (bitOffset + w + 7) / 8;
    std::size_t const nWords = std::size_t(w + 63) / 64;
    std::fill(words.begin(), words.begin() + std::ptrdiff_t(nWords), 0);
    for (int i = 0; i * 8 < w; ++i) {  // output byte i = pixels 8i .. 8i + 7
      unsigned v = unsigned(p[i]) << bitOffset;
      if (bitOffset && i + 1 < nBytes) v |= unsigned(p[i + 1]) >> (8 - bitOffset);
      if (complement) v = ~v;
      words[std::size_t(i / 8)] |= uint64_t(v & 0xFF) << (56 - 8 * (i % 8));
    }
    if (w % 64) words[nWords - 1] &= ~uint64_t(0) << (64 - w % 64);
  }

  // First pixel at or after x whose bit equals `set`, or width.
  int Next(int x, bool set) const {
    while (x < width) {
      uint64_t w = words[std::size_t(x / 64)];
      if (!set) w = ~w;
      w &= ~uint64_t(0) >> (x % 64);
      if (w) {
        int const found = (x & ~63) + std::countl_zero(w);
        return found < width ? found : width;
      }
      x = (x & ~63) + 64;
    }
    return width;
  }
};

// Sets pixels lo..hi (inclusive) of a word row.
void FillBits(std::vector<uint64_t>& words, int lo, int hi) {
  for (int x = lo; x <= hi;) {
    int const bit = x % 64, last = hi - x + bit < 63 ? hi - x + bit : 63;
    uint64_t const mask = (~uint64_t(0) >> bit) & (~uint64_t(0) << (63 - last));
    words[std::size_t(x / 64)] |= mask;
    x += last - bit + 1;
  }
}

// out = the runs of `in` widened by r on both sides, cut at the row's ends.
void DilateRuns(BitRow const& in, std::vector<uint64_t>& out, int r) {
  int const w = in.width;
  std::fill(out.begin(), out.begin() + std::ptrdiff_t((w + 63) / 64), 0);
  int pendingLo = -1, pendingHi = -1;
  for (int x = in.Next(0, true); x < w;) {
    int const end = in.Next(x, false);  // one past the run
    int const lo = x - r < 0 ? 0 : x - r;
    int const hi = end - 1 + r >= w ? w - 1 : end - 1 + r;
    if (pendingHi >= 0 && lo <= pendingHi + 1) {
      pendingHi = hi;
    } else {
      if (pendingHi >= 0) FillBits(out, pendingLo, pendingHi);
      pendingLo = lo;
      pendingHi = hi;
    }
    x = in.Next(end, true);
  }
  if (pendingHi >= 0) FillBits(out, pendingLo, pendingHi);
}

void StoreBits(std::vector<uint64_t> const& words, uint8_t* p, int width, bool complement) {
  int const full = width / 8;
  for (int i = 0; i < full; ++i) {
    uint8_t v = uint8_t(words[std::size_t(i / 8)] >> (56 - 8 * (i % 8)));
    p[i] = complement ? uint8_t(~v) : v;
  }
  if (int const rest = width % 8) {
    uint8_t v = uint8_t(words[std::size_t(full / 8)] >> (56 - 8 * (full % 8)));
    if (complement) v = uint8_t(~v);
    uint8_t const keep = uint8_t(0xFF >> rest);  // pixels beyond the area
    p[full] = uint8_t((p[full] & keep) | (v & ~keep));
  }
}

bool Horizontal1(MorphOp op, DibPlane const& dst, DibPlane const& src, int r) {
  BitRow row;
  std::vector<uint64_t> out;
  try {
    row.words.resize(std::size_t(src.width + 63) / 64 + 1);
    out.resize(row.words.size());
  } catch (std::bad_alloc const&) {
    return false;
  }
  bool const erode = op == MorphOp::kErode;  // erosion: dilate the clear pixels
  for (int y = 0; y < src.height; ++y) {
    row.Load(src.Row(y), src.bitOffset, src.width, erode);
    DilateRuns(row, out, r);
    StoreBits(out, dst.Row(y), dst.width, erode);
  }
  return true;
}

// Copies an area (1-bit: from any bit offset to offset 0, keeping the destination's bits
// beyond the width).
void CopyArea(DibPlane const& dst, DibPlane const& src) {
  if (dst.data == src.data && dst.bitOffset == src.bitOffset) return;
  if (src.format == kDibFormat1) {
    BitRow row;
    row.words.resize(std::size_t(src.width + 63) / 64 + 1);
    for (int y = 0; y < src.height; ++y) {
      row.Load(src.Row(y), src.bitOffset, src.width, false);
      StoreBits(row.words, dst.Row(y), dst.width, false);
    }
    return;
  }
  std::size_t const bytes = std::size_t(src.width) * std::size_t(BytesPerPixel(src.format));
  for (int y = 0; y < src.height; ++y) std::memmove(dst.Row(y), src.Row(y), bytes);
}

}  // namespace

MorphKernels const& MorphKernelsScalar() {
  static MorphKernels const table = {VerticalScalar, Horizontal8Scalar};
  return table;
}

MorphKernels const& MorphKernelsActive() {
  return simd::Pick(MorphKernelsScalar(), QUILP_VECTOR_TABLE(MorphKernelsSse41()),
                    QUILP_VECTOR_TABLE(MorphKernelsAvx2()));
}

namespace {

bool MorphRectChecked(DibPlane const& dst, DibPlane const& src, int hSize, int vSize,
                      MorphOp op) {
  MorphKernels const& k = MorphKernelsActive();
  bool const erode = op == MorphOp::kErode;
  // Horizontal pass into dst (or a plain copy), then the vertical pass in place.
  if (hSize == 0) {
    if (vSize == 0 || src.format == kDibFormat1) CopyArea(dst, src);
  } else if (src.format == kDibFormat1) {
    if (!Horizontal1(op, dst, src, hSize)) return false;
  } else if (src.format == kDibFormat8) {
    if (!k.horizontal8(op, dst.data, dst.stride, src.data, src.stride, src.width, src.height, hSize))
      return false;
  } else if (!HorizontalRows<Rgb<unsigned char>>(op, dst.data, dst.stride, src.data, src.stride,
                                                 src.width, src.height, hSize)) {
    return false;
  }
  if (vSize == 0) return true;
  // A 1-bit source was already brought to the destination's offset; 8- and 24-bit rows go
  // straight from the source when there was no horizontal pass.
  bool const fromSrc = hSize == 0 && src.format != kDibFormat1;
  uint8_t const* from = fromSrc ? src.data : dst.data;
  std::ptrdiff_t const fromStep = fromSrc ? src.stride : dst.stride;
  if (src.format != kDibFormat1)
    return k.vertical(erode ? ByteOp::kMin : ByteOp::kMax, dst.data, dst.stride, from, fromStep,
                      src.width * BytesPerPixel(src.format), dst.height, vSize);
  int const bytes = (dst.width + 7) / 8, rest = dst.width % 8;
  // The bits of the last byte beyond the area take part in the byte-wise pass: keep them.
  std::vector<uint8_t> kept;
  if (rest) {
    kept.resize(std::size_t(dst.height));
    for (int y = 0; y < dst.height; ++y) kept[std::size_t(y)] = dst.Row(y)[bytes - 1];
  }
  if (!k.vertical(erode ? ByteOp::kAnd : ByteOp::kOr, dst.data, dst.stride, from, fromStep,
                  bytes, dst.height, vSize))
    return false;
  uint8_t const keep = uint8_t(0xFF >> rest);
  if (rest)
    for (int y = 0; y < dst.height; ++y) {
      uint8_t& b = dst.Row(y)[bytes - 1];
      b = uint8_t((kept[std::size_t(y)] & keep) | (b & ~keep));
    }
  return true;
}

}  // namespace

bool MorphRect(DibPlane const& dst, DibPlane const& src, int hSize, int vSize, MorphOp op) {
  if (dst.width != src.width || dst.height != src.height || dst.format != src.format ||
      hSize < 0 || vSize < 0)
    return false;
  if (src.format != kDibFormat1 && src.format != kDibFormat8 && src.format != kDibFormat24)
    return false;
  if (src.format == kDibFormat1 && dst.bitOffset != 0) return false;
  if (src.width <= 0 || src.height <= 0) return true;
  try {
    return MorphRectChecked(dst, src, hSize, vSize, op);
  } catch (std::bad_alloc const&) {
    return false;
  }
}

}  // namespace quilp
