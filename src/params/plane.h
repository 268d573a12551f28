// plane.h - DibPlane, the area descriptor keyed-parameter kernels receive, and its formats.
//
// A plane is the top-left pixel address of an area, its size, and a signed stride that always
// moves one visual row down (negative for bottom-up records). 1-bit planes also carry the bit
// offset of the first pixel within its byte (leftmost pixel in the most significant bit).
#pragma once

#include <cstddef>
#include <cstdint>

#include "record/view.h"

namespace quilp {

// Format codes by depth: low 4 bits samples per pixel, bits 16..23 bytes per sample.
enum DibFormat : int32_t {
  kDibFormatNone = 0,
  kDibFormat1 = 0x00000001,   // one bit-packed sample
  kDibFormat8 = 0x00010001,   // one 1-byte sample
  kDibFormat24 = 0x00010003,  // three 1-byte samples
  kDibFormat32 = 0x00040001,  // one 4-byte sample
};

// The format of a depth, or kDibFormatNone for a depth no plane can describe.
constexpr DibFormat FormatForDepth(int bitsPerPixel) {
  return bitsPerPixel == 1    ? kDibFormat1
         : bitsPerPixel == 8  ? kDibFormat8
         : bitsPerPixel == 24 ? kDibFormat24
         : bitsPerPixel == 32 ? kDibFormat32
                              : kDibFormatNone;
}

// Bytes per pixel of a byte format (samples times bytes per sample), at least 1.
constexpr int BytesPerPixel(int32_t format) {
  int const n = (format & 15) * ((format >> 16) & 0xFF);
  return n < 1 ? 1 : n;
}

struct DibPlane {
  int width = 0;
  int height = 0;
  std::ptrdiff_t stride = 0;    // bytes from one visual row to the next one down
  int bitOffset = 0;            // 1-bit planes: bit of the first pixel in its byte, else 0
  int32_t format = kDibFormatNone;
  unsigned char* data = nullptr;  // first pixel of the area (its byte, for 1-bit planes)

  unsigned char* Row(int y) const { return data + stride * y; }
};

// The same area upside down: its last visual row becomes row 0.
inline DibPlane UpsideDown(DibPlane p) {
  if (p.height > 0) p.data = p.Row(p.height - 1);
  p.stride = -p.stride;
  return p;
}

// When `lead` is stored bottom-up (negative stride), turns it and every other plane upside
// down, so its rows 0, 1, 2 ... lie at ascending addresses (see record/view.h: only for
// operations that commute with turning all their planes upside down together).
template <class... Planes>
inline void InStorageOrder(DibPlane& lead, Planes&... others) {
  if (lead.stride >= 0) return;
  lead = UpsideDown(lead);
  ((others = UpsideDown(others)), ...);
}

// An 8-bit plane over `width` x `height` bytes of scratch memory, rows packed top-down.
static inline DibPlane PackedPlane8(unsigned char* data, int width, int height) {
  DibPlane p;
  p.width = width;
  p.height = height;
  p.stride = width;
  p.format = kDibFormat8;
  p.data = data;
  return p;
}

// A plane's area as a view of rows (the record's own fields left empty).
static inline DibView ViewOfPlane(DibPlane const& p) {
  DibView v;
  v.top = p.data;
  v.step = p.stride;
  v.width = p.width;
  v.height = p.height;
  return v;
}

}  // namespace quilp
