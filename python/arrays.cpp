// Arrays <-> records: strided reads into bottom-up records, and records into new C-ordered
// arrays. Cost: one pass over the pixels each way.
#include "arrays.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

namespace quilp_py {

namespace {

[[noreturn]] void Fail(char const* what, std::string const& why) {
  throw py::value_error(std::string(what) + ": " + why);
}

int PelsPerMetre(double dpi) {
  return dpi > 0 && dpi < 1e6 ? int(dpi * 39.37 + 0.5) : 0;
}

}  // namespace

Dib Require(DibInfo* dib, char const* what, char const* why) {
  if (!dib) Fail(what, why);
  return Dib(dib);
}

double DpiOf(DibInfo const* dib) {
  int const ppm = dib->XPelsPerMeter();
  return ppm > 0 ? std::round(ppm / 39.37) : 300.0;
}

Dib ToDib(py::handle object, unsigned accept, double dpi, char const* what) {
  py::array array = py::array::ensure(object);
  if (!array) Fail(what, "expected a numpy array");
  if (!(dpi > 0) || !std::isfinite(dpi)) Fail(what, "dpi must be positive");
  py::dtype const dtype = array.dtype();
  int const nd = int(array.ndim());
  unsigned kind = 0;
  if (dtype.is(py::dtype::of<bool>()) && nd == 2) kind = kBits;
  else if (dtype.is(py::dtype::of<uint8_t>()) && nd == 2) kind = kGrey;
  else if (dtype.is(py::dtype::of<uint8_t>()) && nd == 3 && array.shape(2) == 3) kind = kColour;
  if (!kind)
    Fail(what, "expected H x W bool (1-bit), H x W uint8 (grey) or H x W x 3 uint8 (RGB), got " +
                   py::str(static_cast<py::handle>(dtype)).cast<std::string>() + " with " + std::to_string(nd) + " dimensions");
  if (!(kind & accept)) {
    std::string allowed;
    if (accept & kBits) allowed += "1-bit ";
    if (accept & kGrey) allowed += "grey ";
    if (accept & kColour) allowed += "colour ";
    Fail(what, "this operation takes " + allowed + "images");
  }
  py::ssize_t const h = array.shape(0), w = array.shape(1);
  if (h <= 0 || w <= 0) Fail(what, "the image is empty");
  if (h > 65535 || w > 65535) Fail(what, "the image is larger than 65535 pixels a side");
  int const depth = kind == kBits ? 1 : kind == kGrey ? 8 : 24;
  int const ppm = PelsPerMetre(dpi);
  Dib dib(DibCreate(int(w), int(h), ppm, ppm, depth));
  if (!dib) throw std::bad_alloc();
  auto const* base = static_cast<unsigned char const*>(array.data());
  py::ssize_t const sy = array.strides(0), sx = array.strides(1);
  py::ssize_t const sc = nd == 3 ? array.strides(2) : 0;
  for (py::ssize_t y = 0; y < h; ++y) {
    unsigned char const* in = base + y * sy;
    unsigned char* out = dib->GetLine(int(y));
    if (depth == 1) {
      // Ink is black, palette index 0: the bit is set for paper. Contiguous rows pack eight
      // bools (bytes of 0 or 1) at a time: the product gathers byte i's bit at bit 63 - i.
      py::ssize_t x = 0;
      if (sx == 1)
        for (; x + 8 <= w; x += 8) {
          uint64_t v;
          std::memcpy(&v, in + x, 8);
          out[x >> 3] = uint8_t(~((v * 0x8040201008040201ull) >> 56));
        }
      for (; x < w; ++x)
        if (!in[x * sx]) out[x >> 3] |= uint8_t(0x80u >> (x & 7));
    } else if (depth == 8) {
      for (py::ssize_t x = 0; x < w; ++x) out[x] = in[x * sx];
    } else {
      for (py::ssize_t x = 0; x < w; ++x) {
        unsigned char const* p = in + x * sx;
        out[3 * x] = p[2 * sc];
        out[3 * x + 1] = p[sc];
        out[3 * x + 2] = p[0];
      }
    }
  }
  return dib;
}

py::array FromDib(DibInfo const* dib) {
  int const w = dib->Width(), h = dib->Height(), bits = dib->BitsPerPixel();
  if (bits == 1) {
    // Eight bools per stored byte from a table: True (ink) where the bit is clear.
    static uint64_t const* const kInk = [] {
      static uint64_t table[256];
      for (int b = 0; b < 256; ++b)
        for (int i = 0; i < 8; ++i)
          if (!((b << i) & 0x80)) table[b] |= uint64_t{1} << (8 * i);
      return table;
    }();
    py::array_t<bool> out({h, w});
    bool* o = out.mutable_data();
    for (int y = 0; y < h; ++y) {
      unsigned char const* in = dib->GetLine(y);
      int x = 0;
      for (; x + 8 <= w; x += 8, o += 8) std::memcpy(o, &kInk[in[x >> 3]], 8);
      for (; x < w; ++x) *o++ = !((in[x >> 3] << (x & 7)) & 0x80);
    }
    return out;
  }
  if (bits == 8) {
    py::array_t<uint8_t> out({h, w});
    for (int y = 0; y < h; ++y)
      std::copy_n(dib->GetLine(y), w, out.mutable_data() + std::size_t(y) * w);
    return out;
  }
  if (bits != 24 && bits != 32) throw py::value_error("unexpected result depth");
  int const step = bits / 8;
  py::array_t<uint8_t> out({h, w, 3});
  uint8_t* o = out.mutable_data();
  for (int y = 0; y < h; ++y) {
    unsigned char const* in = dib->GetLine(y);
    for (int x = 0; x < w; ++x, o += 3, in += step) {
      o[0] = in[2];
      o[1] = in[1];
      o[2] = in[0];
    }
  }
  return out;
}

}  // namespace quilp_py
