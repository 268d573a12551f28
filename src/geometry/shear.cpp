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
  std::ptrdiff_t const stride = ((std::ptrdiff_t(width) * bitsPerPixel + 31) / 32) * 4;
  buffer.assign(std::size_t(stride) * std::size_t(height), 0);
  DibView v;
  v.base = v.top = buffer.data();
  v.step = stride;
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

void ShiftColumns(DibView const& dst, DibView const& src, ShearFormat const& f,
                  int const* shift, int dx) {
  // Runs of destination columns with one shift, cut to the source's columns.
  struct Run {
    int u0, u1, shift;
  };
  std::vector<Run> runs;
  int const from = std::max(0, -dx), to = std::min(dst.width, src.width - dx);
  for (int u = from; u < to;) {
    int e = u + 1;
    while (e < to && shift[e] == shift[u]) ++e;
    runs.push_back({u, e, shift[u]});
    u = e;
  }
  int const bitOffset = dst.left & 7;
  bool const bottomUp = dst.step < 0;
  for (int i = 0; i < dst.height; ++i) {
    int const v = bottomUp ? dst.height - 1 - i : i;
    uint8_t* out = dst.Row(v);
    FillPaper(out, 0, dst.width, f, bitOffset);
    for (Run const& r : runs) {
      int const y = v - r.shift;
      if (y < 0 || y >= src.height) continue;
      CopySpan(out, r.u0, dst, src.Row(y), r.u0 + dx, src, r.u1 - r.u0, f);
    }
  }
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
    ShiftColumns(two, one, f, s2.data(), 0);
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
