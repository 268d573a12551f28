// shear.cpp - exact shears and the three-shear rotation.
//
// A shear moves whole rows (or columns) by integer amounts, so no pixel is interpolated and
// 1-bit pages stay 1-bit with every stroke intact. Rows are copied as spans (bit spans for
// 1-bit, a byte at a time); a vertical shear moves runs of columns that share a shift, each
// destination row (in storage order) taking its run pieces from the source rows above or
// below. The rotation R(a) = X(-tan a/2) Y(sin a) X(-tan a/2) (Paeth) holds for |a| <= 45
// degrees; the middle image is kept whole, the last shear writes straight into the result.
// Cost: about three span copies per row and run, independent of the angle's size.
#include "geometry/shear.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

#include "geometry/bit_span.h"

namespace quilp {
namespace {

// Fills pixels u0 .. u1-1 of a row with paper.
void FillPaper(uint8_t* row, int u0, int u1, ShearFormat const& f, int bitOffset) {
  if (u1 <= u0) return;
  if (f.bitsPerPixel == 1) {
    FillBits(row, bitOffset + int64_t(u0), u1 - u0, true);
    return;
  }
  int const b = f.bitsPerPixel / 8;
  if (b == 1) {
    std::memset(row + u0, f.paper[0], std::size_t(u1 - u0));
    return;
  }
  for (int u = u0; u < u1; ++u)
    for (int c = 0; c < b; ++c) row[std::ptrdiff_t(u) * b + c] = f.paper[c];
}

// Copies n pixels from source pixel sx to destination pixel dx.
void CopySpan(uint8_t* out, int dx, DibView const& dst, uint8_t const* in, int sx,
              DibView const& src, int n, ShearFormat const& f) {
  if (n <= 0) return;
  if (f.bitsPerPixel == 1) {
    int64_t const sOff = src.left & 7;
    CopyBits(out, (dst.left & 7) + int64_t(dx), in, sOff + sx, n, sOff + src.width);
    return;
  }
  int const b = f.bitsPerPixel / 8;
  std::memcpy(out + std::ptrdiff_t(dx) * b, in + std::ptrdiff_t(sx) * b, std::size_t(n) * b);
}

// A view over a buffer of our own, top-down.
DibView BufferView(std::vector<uint8_t>& buffer, int width, int height, int bitsPerPixel) {
  uint64_t const stride = ((uint64_t(width) * uint64_t(bitsPerPixel) + 31) / 32) * 4;
  if (stride * uint64_t(height) > uint64_t(std::numeric_limits<std::ptrdiff_t>::max()))
    throw std::bad_alloc();  // more than the address space holds
  buffer.assign(std::size_t(stride) * std::size_t(height), 0);
  DibView v;
  v.base = v.top = buffer.data();
  v.step = std::ptrdiff_t(stride);
  v.width = width;
  v.height = height;
  return v;
}

}  // namespace

void ShiftRows(DibView const& dst, DibView const& src, ShearFormat const& f, int const* shift,
               int dy) {
  int const bitOffset = dst.left & 7;
  bool const bottomUp = dst.step < 0;
  for (int i = 0; i < dst.height; ++i) {
    int const v = bottomUp ? dst.height - 1 - i : i;
    uint8_t* out = dst.Row(v);
    int const y = v + dy;
    if (y < 0 || y >= src.height) {
      FillPaper(out, 0, dst.width, f, bitOffset);
      continue;
    }
    int const s = shift[v];
    int const u0 = std::clamp(s, 0, dst.width);
    int const u1 = int(std::clamp(int64_t(src.width) + s, int64_t(u0), int64_t(dst.width)));
    FillPaper(out, 0, u0, f, bitOffset);
    CopySpan(out, u0, dst, src.Row(y), u0 - s, src, u1 - u0, f);
    FillPaper(out, u1, dst.width, f, bitOffset);
  }
}

namespace {

// 1-bit vertical shear: each destination bit comes from its column's source row, or is
// white beyond the source. Aligned areas (both starting at the same bit of a byte) work on
// 64-bit words: a word is the OR of its segments (bits sharing one shift), each a masked
// load from that shift's source row, the rows looked up once per destination row; at small
// angles a word has two or three segments. Other areas gather byte by byte.
void ShiftColumnBits(DibView const& dst, DibView const& src, int const* shift) {
  struct Segment {
    int unit;       // word (or byte) index
    uint64_t mask;  // bits of the unit taken from the shift's row, in memory order
    int shift;
  };
  int const off = dst.left & 7, srcOff = src.left & 7;
  bool const aligned = srcOff == off;
  int const bytes = (off + dst.width + 7) >> 3;
  int const words = aligned && off == 0 ? bytes / 8 : 0;  // whole 64-bit words; the rest by bytes
  std::vector<Segment> wordSegments, byteSegments;
  int maxShift = 0;
  for (int u = 0; u < dst.width;) {
    int e = u + 1;
    while (e < dst.width && shift[e] == shift[u]) ++e;
    maxShift = std::max(maxShift, shift[u]);
    // The run's bits p0 .. p1-1 of the row, cut into the units they cross.
    int64_t const p0 = off + int64_t(u), p1 = off + int64_t(e);
    for (int64_t p = p0; p < p1;) {
      bool const inWord = (p >> 6) < words;
      int64_t const unitBits = inWord ? 64 : 8;
      int64_t const unit = p / unitBits, q = std::min(p1, (unit + 1) * unitBits);
      uint8_t m[8] = {};
      for (int64_t b = p; b < q; ++b) m[(b % unitBits) >> 3] |= uint8_t(0x80u >> (b & 7));
      uint64_t mask = 0;
      if (inWord) std::memcpy(&mask, m, 8); else mask = m[0];
      (inWord ? wordSegments : byteSegments).push_back({int(unit), mask, shift[u]});
      p = q;
    }
    u = e;
  }
  int64_t const srcValid = srcOff + int64_t(src.width);
  std::vector<uint8_t> white(std::size_t(bytes) + 8, 0xFF);
  std::vector<uint8_t const*> rows(std::size_t(maxShift) + 1);
  bool const bottomUp = dst.step < 0;
  for (int i = 0; i < dst.height; ++i) {
    int const v = bottomUp ? dst.height - 1 - i : i;
    uint8_t* out = dst.Row(v);
    for (int s = 0; s <= maxShift; ++s) {
      int const y = v - s;
      rows[std::size_t(s)] = y >= 0 && y < src.height ? src.Row(y) : white.data();
    }
    for (std::size_t k = 0; k < wordSegments.size();) {
      int const w = wordSegments[k].unit;
      uint64_t acc = 0;
      for (; k < wordSegments.size() && wordSegments[k].unit == w; ++k) {
        uint64_t word;
        std::memcpy(&word, rows[std::size_t(wordSegments[k].shift)] + 8 * std::ptrdiff_t(w), 8);
        acc |= word & wordSegments[k].mask;
      }
      std::memcpy(out + 8 * std::ptrdiff_t(w), &acc, 8);
    }
    for (std::size_t k = 0; k < byteSegments.size();) {
      int const byte = byteSegments[k].unit;
      unsigned bits = 0, covered = 0;
      for (; k < byteSegments.size() && byteSegments[k].unit == byte; ++k) {
        uint8_t const* r = rows[std::size_t(byteSegments[k].shift)];
        unsigned const word = r == white.data() ? 0xFFu
                              : aligned ? r[byte]
                                        : Load8Bits(r, srcOff - off + 8 * int64_t(byte), srcValid);
        bits |= word & unsigned(byteSegments[k].mask);
        covered |= unsigned(byteSegments[k].mask);
      }
      out[byte] = uint8_t((out[byte] & ~covered) | bits);
    }
  }
}

}  // namespace

bool ShiftColumns(DibView const& dst, DibView const& src, ShearFormat const& f,
                  int const* shift) try {
  if (f.bitsPerPixel == 1) {
    ShiftColumnBits(dst, src, shift);
    return true;
  }
  // Runs of columns with one shift, each copied from its source row or painted paper.
  struct Run {
    int u0, u1, shift;
  };
  std::vector<Run> runs;
  for (int u = 0; u < dst.width;) {
    int e = u + 1;
    while (e < dst.width && shift[e] == shift[u]) ++e;
    runs.push_back({u, e, shift[u]});
    u = e;
  }
  int const b = f.bitsPerPixel / 8;
  bool const bottomUp = dst.step < 0;
  for (int i = 0; i < dst.height; ++i) {
    int const v = bottomUp ? dst.height - 1 - i : i;
    uint8_t* out = dst.Row(v);
    for (Run const& r : runs) {
      int const y = v - r.shift;
      if (y < 0 || y >= src.height)
        FillPaper(out, r.u0, r.u1, f, 0);
      else
        std::memcpy(out + std::ptrdiff_t(r.u0) * b, src.Row(y) + std::ptrdiff_t(r.u0) * b,
                    std::size_t(r.u1 - r.u0) * b);
    }
  }
  return true;
} catch (std::bad_alloc const&) {
  return false;
}

int ShearShifts(double tangent, int n, double centre, std::vector<int>& shift, int& low) {
  shift.resize(std::size_t(n > 0 ? n : 0));
  int lo = 0, hi = 0;
  for (int i = 0; i < n; ++i) {
    int const s = int(std::lround(tangent * (i - centre)));
    shift[std::size_t(i)] = s;
    lo = i == 0 ? s : std::min(lo, s);
    hi = i == 0 ? s : std::max(hi, s);
  }
  for (int& s : shift) s -= lo;
  low = lo;
  return hi - lo;
}

bool RotateByShears(DibView const& dst, DibView const& src, ShearFormat const& f, double angle) {
  double const a = -std::tan(angle / 2.0), b = std::sin(angle);
  int const W = src.width, H = src.height;
  double const cx = (W - 1) / 2.0, cy = (H - 1) / 2.0;
  try {
    // First shear: rows move sideways, the image widens by the span; the source centre
    // moves right by -low.
    std::vector<int> s1, s2, s3;
    int low1 = 0, low2 = 0;
    int const span1 = ShearShifts(a, H, cy, s1, low1);
    std::vector<uint8_t> buffer1, buffer2;
    DibView const one = BufferView(buffer1, W + span1, H, f.bitsPerPixel);
    ShiftRows(one, src, f, s1.data(), 0);
    double const cx1 = cx - low1;
    // Second shear: columns move up or down about that centre; the image grows by the span.
    int const span2 = ShearShifts(b, one.width, cx1, s2, low2);
    DibView const two = BufferView(buffer2, one.width, H + span2, f.bitsPerPixel);
    if (!ShiftColumns(two, one, f, s2.data())) return false;
    double const cy2 = cy - low2;
    // Third shear straight into dst, whose centre takes the source's: dst row v is row
    // v + oy of `two`, moved by round(a * (v + oy - cy2)) plus the centring offset.
    int const oy = int(std::lround(cy2 - (dst.height - 1) / 2.0));
    int const ox = int(std::lround((dst.width - 1) / 2.0 - cx1));
    s3.resize(std::size_t(dst.height > 0 ? dst.height : 0));
    for (int v = 0; v < dst.height; ++v)
      s3[std::size_t(v)] = int(std::lround(a * (v + oy - cy2))) + ox;
    ShiftRows(dst, two, f, s3.data(), oy);
  } catch (std::bad_alloc const&) {
    return false;
  }
  return true;
}

}  // namespace quilp
