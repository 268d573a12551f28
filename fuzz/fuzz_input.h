// fuzz_input.h - turns a fuzzer's bytes into the arguments of the library's exports: an image
// of any depth and row order, rectangles, points and integers. Values mostly stay near the
// image (where the edge cases are), and now and then take the extremes of their type.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>

#include "quilp32.h"

namespace quilp_fuzz {

struct Release {
  void operator()(DibInfo* dib) const { DibFree(dib); }
};
using Dib = std::unique_ptr<DibInfo, Release>;

class Input {
 public:
  Input(uint8_t const* data, std::size_t size) : data_(data), size_(size) {}

  uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }
  bool Flag() { return Byte() & 1; }
  // lo..hi, with the type's extremes one time in sixteen.
  int Int(int lo, int hi) {
    if (hi <= lo) return lo;
    uint8_t const pick = Byte();
    if (pick == 0xF0) return INT_MIN;
    if (pick == 0xF1) return INT_MAX;
    if (pick == 0xF2) return -1;
    uint32_t const v = uint32_t(Byte()) << 8 | Byte();
    return lo + int(v % uint32_t(int64_t(hi) - lo + 1));
  }
  // lo..hi in 65536 steps, with NaN, an infinity or a tiny value now and then.
  double Real(double lo, double hi) {
    uint8_t const pick = Byte();
    if (pick == 0xF0) return std::numeric_limits<double>::quiet_NaN();
    if (pick == 0xF1) return (Flag() ? 1 : -1) * std::numeric_limits<double>::infinity();
    if (pick == 0xF2) return 1e-12;
    uint32_t const v = uint32_t(Byte()) << 8 | Byte();
    return lo + (hi - lo) * v / 65535.0;
  }
  // Four colours (blue, green, red), any bytes.
  void Colours(unsigned char (&colours)[4][3]) {
    for (auto& c : colours)
      for (auto& b : c) b = Byte();
  }
  int Depth() {
    static int const depths[] = {1, 8, 24, 32, 8, 24, 4, 16};
    return depths[Byte() % 8];
  }
  // A small image; its pixels repeat the rest of the input.
  Dib Image(int depth) {
    int const w = 1 + Byte() % 70, h = 1 + Byte() % 40;
    Dib dib(DibCreate(w, Flag() ? h : -h, 11811, 11811, depth == 4 || depth == 16 ? 8 : depth));
    if (!dib) return dib;
    for (int y = 0; y < h; ++y) {
      unsigned char* row = dib->GetLine(y);
      for (int i = 0; i < dib->ByteWidth(); ++i) row[i] = Byte();
    }
    if (depth == 4 || depth == 16) dib->biBitCount = uint16_t(depth);  // a depth nobody takes
    return dib;
  }
  Dib Image() { return Image(Depth()); }
  // A rectangle around an image of w x h, or none.
  tagRect32* Rect(DibInfo const* dib, tagRect32& r) {
    if (!dib || Byte() % 4 == 0) return nullptr;
    int const w = dib->Width(), h = dib->Height();
    r = {Int(-4, w + 4), Int(-4, h + 4), Int(-4, w + 4), Int(-4, h + 4)};
    return &r;
  }
  tagPoint32* Point(tagPoint32& p) {
    if (Byte() % 2 == 0) return nullptr;
    p = {Int(-2, 40), Int(-2, 40)};
    return &p;
  }
  // Up to three key/value pairs from a small vocabulary of the keys the exports read (or
  // from the caller's own keys).
  template <std::size_t N = 10>
  int Keys(char const* names[3], char const* values[3], char const* const (*own)[N] = nullptr) {
    static char const* const keys[] = {"oper", "hSize", "vSize", "xDPI", "yDPI", "method",
                                       "threshold", "level", "p1", "x"};
    static char const* const texts[] = {"0", "1", "-1", "3", "255", "300", "2147483648",
                                        "-99999999999", "12px", "", " 7", "x"};
    int const n = Byte() % 4;
    for (int i = 0; i < n; ++i) {
      names[i] = own ? (*own)[Byte() % N] : keys[Byte() % 10];
      values[i] = texts[Byte() % 12];
    }
    return n;
  }

 private:
  uint8_t const* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
};

// The body of a family target: decodes a source image (of a decoded depth, or of the depth
// `pick` returns) and runs `body(in, src)` on it. Returns 0, as the fuzzer wants.
template <class Body>
int OnImage(uint8_t const* data, std::size_t size, Body body, int (*pick)(Input&) = nullptr) {
  Input in(data, size);
  Dib src = in.Image(pick ? pick(in) : in.Depth());
  if (src) body(in, src.get());
  return 0;
}

// Releases whatever a call left in `out` (a record made by the library), keeping `keep`.
inline void Drop(DibInfo*& out, DibInfo const* keep = nullptr) {
  if (out && out != keep) DibFree(out);
  out = nullptr;
}

}  // namespace quilp_fuzz
