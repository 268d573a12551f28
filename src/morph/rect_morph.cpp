// rect_morph.cpp - erosion and dilation by a rectangle: the driver and the scalar kernels.
//
// MorphRect runs the horizontal pass a band of rows ahead of the vertical pass, which follows
// in place in the destination, so the area is read once and written once (lane_passes.h has
// the row drivers; the scalar table instantiates them with one byte per "register"). The
// horizontal pass of 8-bit rows runs TplErode / TplDilate along each row, of 24-bit rows on
// Rgb<unsigned char> pixels. The horizontal pass of 1-bit rows works on runs instead: the
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

#include "morph/lane_passes.h"
#include "morph/tpl_erode.h"
#include "simd/dispatch.h"

namespace quilp {
namespace {

// ---- Scalar kernels ---------------------------------------------------------------------

// One byte per "register": the shared row drivers then read as plain loops.
struct Bytes {
  using Reg = uint8_t;
  static constexpr int kBytes = 1;
  static Reg Load(uint8_t const* p) { return *p; }
  static void Store(uint8_t* p, Reg v) { *p = v; }
  static Reg Min(Reg a, Reg b) { return b < a ? b : a; }
  static Reg Max(Reg a, Reg b) { return b > a ? b : a; }
  static Reg And(Reg a, Reg b) { return Reg(a & b); }
  static Reg Or(Reg a, Reg b) { return Reg(a | b); }
};

template <class T>
void HorizontalRows(MorphOp op, uint8_t* dst, std::ptrdiff_t dstStep, uint8_t const* src,
                    std::ptrdiff_t srcStep, int width, int rows, int r, T* g, T* h) {
  for (int y = 0; y < rows; ++y) {
    T const* in = reinterpret_cast<T const*>(src + srcStep * y);
    T* out = reinterpret_cast<T*>(dst + dstStep * y);
    if (op == MorphOp::kErode) TplErode<T>::Pass(out, in, g, h, width, r);
    else TplDilate<T>::Pass(out, in, g, h, width, r);
  }
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

// Rows y0 .. y1 - 1 of a 1-bit area, by runs; out is scratch of the row's word count.
void Horizontal1(MorphOp op, DibPlane const& dst, DibPlane const& src, int r, int y0, int y1,
                 BitRow& row, std::vector<uint64_t>& out) {
  bool const erode = op == MorphOp::kErode;  // erosion: dilate the clear pixels
  for (int y = y0; y < y1; ++y) {
    row.Load(src.Row(y), src.bitOffset, src.width, erode);
    DilateRuns(row, out, r);
    StoreBits(out, dst.Row(y), dst.width, erode);
  }
}

// Copies rows y0 .. y1 - 1 of an area (1-bit: from any bit offset to offset 0, keeping the
// destination's bits beyond the width).
void CopyRows(DibPlane const& dst, DibPlane const& src, int y0, int y1, BitRow& row) {
  if (dst.data == src.data && dst.bitOffset == src.bitOffset) return;
  if (src.format == kDibFormat1) {
    for (int y = y0; y < y1; ++y) {
      row.Load(src.Row(y), src.bitOffset, src.width, false);
      StoreBits(row.words, dst.Row(y), dst.width, false);
    }
    return;
  }
  std::size_t const bytes = std::size_t(src.width) * std::size_t(BytesPerPixel(src.format));
  for (int y = y0; y < y1; ++y) std::memmove(dst.Row(y), src.Row(y), bytes);
}

// The horizontal pass (or the copy that brings a 1-bit source to the destination's bit
// offset), run ahead of the vertical pass a band of rows at a time.
class HorizontalFeed {
 public:
  static constexpr int kBand = 32;

  HorizontalFeed(MorphKernels const& k, DibPlane const& dst, DibPlane const& src, int r,
                 MorphOp op)
      : k_(k), dst_(dst), src_(src), r_(r), op_(op) {}

  bool Prepare() {
    if (src_.format == kDibFormat1) {
      row_.words.resize(std::size_t(src_.width + 63) / 64 + 1);
      words_.resize(row_.words.size());
    } else if (src_.format == kDibFormat24 && r_ > 0) {
      std::size_t const n = std::size_t(src_.width);
      pixels_.resize(2 * n);
    } else if (r_ > 0) {
      scratch_.reset(new (std::nothrow) uint8_t[k_.horizontalScratch(src_.width)]);
      if (!scratch_) return false;
    }
    return true;
  }

  void Ready(int rowEnd) {
    while (done_ < rowEnd) {
      int const y1 = src_.height - done_ > kBand ? done_ + kBand : src_.height;
      Rows(done_, y1);
      done_ = y1;
    }
  }

  static void ReadyThunk(void* self, int rowEnd) { static_cast<HorizontalFeed*>(self)->Ready(rowEnd); }

 private:
  void Rows(int y0, int y1) {
    if (r_ == 0) return CopyRows(dst_, src_, y0, y1, row_);
    if (src_.format == kDibFormat1) return Horizontal1(op_, dst_, src_, r_, y0, y1, row_, words_);
    if (src_.format == kDibFormat8)
      return k_.horizontal8(op_, dst_.Row(y0), dst_.stride, src_.Row(y0), src_.stride,
                            src_.width, y1 - y0, r_, scratch_.get());
    using P = Rgb<unsigned char>;
    std::size_t const n = std::size_t(src_.width);
    HorizontalRows<P>(op_, dst_.Row(y0), dst_.stride, src_.Row(y0), src_.stride, src_.width,
                      y1 - y0, r_, pixels_.data(), pixels_.data() + n);
  }

  MorphKernels const& k_;
  DibPlane dst_, src_;
  int r_;
  MorphOp op_;
  int done_ = 0;
  BitRow row_;
  std::vector<uint64_t> words_;
  std::vector<Rgb<unsigned char>> pixels_;
  std::unique_ptr<uint8_t[]> scratch_;
};

}  // namespace

MorphKernels const& MorphKernelsScalar() {
  static MorphKernels const table = {lanes::Vertical<Bytes>, lanes::HorizontalScratch<Bytes>,
                                    lanes::Horizontal8<Bytes>, lanes::Small8<Bytes>};
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
  bool const bits = src.format == kDibFormat1;
  HorizontalFeed feed(k, dst, src, hSize, op);
  if (!feed.Prepare()) return false;
  if (vSize == 0) {
    feed.Ready(src.height);
    return true;
  }
  ByteOp const byteOp = op == MorphOp::kErode ? (bits ? ByteOp::kAnd : ByteOp::kMin)
                                              : (bits ? ByteOp::kOr : ByteOp::kMax);
  if (src.format == kDibFormat8 && hSize > 0 && hSize <= kSmallWindow && vSize <= kSmallWindow)
    return k.small8(op, dst.data, dst.stride, src.data, src.stride, src.width, src.height, hSize,
                    vSize);
  if (hSize == 0 && !bits)  // straight from the source
    return k.vertical(byteOp, dst.data, dst.stride, src.data, src.stride,
                      src.width * BytesPerPixel(src.format), dst.height, vSize, nullptr);
  // The horizontal pass writes dst a band ahead; the vertical pass follows in place.
  RowFeed const rows{HorizontalFeed::ReadyThunk, &feed};
  if (!bits)
    return k.vertical(byteOp, dst.data, dst.stride, dst.data, dst.stride,
                      src.width * BytesPerPixel(src.format), dst.height, vSize, &rows);
  int const bytes = (dst.width + 7) / 8, rest = dst.width % 8;
  // The bits of the last byte beyond the area take part in the byte-wise pass: keep them.
  std::vector<uint8_t> kept;
  if (rest) {
    kept.resize(std::size_t(dst.height));
    for (int y = 0; y < dst.height; ++y) kept[std::size_t(y)] = dst.Row(y)[bytes - 1];
  }
  if (!k.vertical(byteOp, dst.data, dst.stride, dst.data, dst.stride, bytes, dst.height, vSize,
                  &rows))
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
  // A span reaching past both ends of its line is the whole line: larger sizes change nothing.
  if (hSize > src.width) hSize = src.width;
  if (vSize > src.height) vSize = src.height;
  // Both spans are centred, so the result upside down is the same: walk memory forwards.
  DibPlane d = dst, s = src;
  InStorageOrder(s, d);
  try {
    return MorphRectChecked(d, s, hSize, vSize, op);
  } catch (std::bad_alloc const&) {
    return false;
  }
}

}  // namespace quilp
