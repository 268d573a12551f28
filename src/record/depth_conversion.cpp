// depth_conversion.cpp - the general depth conversion kernel and the routes to binarization
// and colour-weighted grey.
//
// The kernel expands or reorders pixels with no arithmetic beyond copying: each bit of a
// 1-bit row (read from its bit offset on) becomes 0 or 255, grey is replicated, colour bytes
// are copied. Cost: one read and one write per pixel; no memory is allocated.
#include "record/depth_conversion.h"

#include <cstddef>

#include "binarize/binarize_ex.h"
#include "params/flow_control.h"

namespace quilp {
namespace {

constexpr uint8_t kWhite = 255;

// One row of `width` pixels of a 1-bit row whose first pixel is bit `bitOffset` of bits[0].
void BitsToBytes(uint8_t const* bits, int bitOffset, uint8_t* dst, int width, int bytesPerPixel) {
  for (int x = 0; x < width; ++x) {
    std::ptrdiff_t const i = std::ptrdiff_t(x) + bitOffset;
    uint8_t const v = (bits[i >> 3] >> (7 - (i & 7))) & 1 ? kWhite : 0;
    uint8_t* p = dst + std::ptrdiff_t(x) * bytesPerPixel;
    p[0] = v;
    if (bytesPerPixel >= 3) p[1] = p[2] = v;
    if (bytesPerPixel == 4) p[3] = 0;
  }
}

void GreyToColour(uint8_t const* src, uint8_t* dst, int width, int bytesPerPixel) {
  for (int x = 0; x < width; ++x, dst += bytesPerPixel) {
    dst[0] = dst[1] = dst[2] = src[x];
    if (bytesPerPixel == 4) dst[3] = 0;
  }
}

void ColourToColour(uint8_t const* src, int srcBytes, uint8_t* dst, int dstBytes, int width) {
  for (int x = 0; x < width; ++x, src += srcBytes, dst += dstBytes) {
    dst[0] = src[0];
    dst[1] = src[1];
    dst[2] = src[2];
    if (dstBytes == 4) dst[3] = 0;
  }
}

}  // namespace

int DibConvertPlane(DibPlane const* dst, DibPlane const* src) {
  if (!dst || !src || !dst->data || !src->data) return -1;
  if (src->width > dst->width || src->height > dst->height) return -1;
  int32_t const from = src->format, to = dst->format;
  bool const known = (from == kDibFormat1 && (to == kDibFormat8 || to == kDibFormat24 ||
                                              to == kDibFormat32)) ||
                     (from == kDibFormat8 && (to == kDibFormat24 || to == kDibFormat32)) ||
                     (from == kDibFormat24 && to == kDibFormat32) ||
                     (from == kDibFormat32 && to == kDibFormat24);
  if (!known) return -1;
  if (src->width < 1 || src->height < 1) return 0;
  int const outBytes = BytesPerPixel(to);
  for (int y = 0; y < src->height; ++y) {
    uint8_t const* in = src->Row(y);
    uint8_t* out = dst->Row(y);
    if (from == kDibFormat1) {
      BitsToBytes(in, src->bitOffset, out, src->width, outBytes);
    } else if (from == kDibFormat8) {
      GreyToColour(in, out, src->width, outBytes);
    } else {
      ColourToColour(in, BytesPerPixel(from), out, outBytes, src->width);
    }
  }
  return 0;
}

// DibBinarizeEx with the three integers as method, p1 and p2.
int ConvertDepthByBinarization(DibInfo*& dest, DibInfo const* src, int p1, int p2, int p3,
                               int count, char const* const* names, char const* const* values,
                               tagRect32 const* rect, tagPoint32 const* origin) {
  return BinarizeEx(dest, src, p1, p2, p3, count, names, values, rect, origin);
}

// Equal-thirds grey: DibSuppressColorsEx with its default weights 85, 85, 85, no reference
// colours and no flattening; p1, p2, p3 are its levels (black point, white point, mid-tone).
int ConvertDepthBySuppression(DibInfo*& dest, DibInfo const* src, int p1, int p2, int p3,
                              int count, char const* const* names, char const* const* values,
                              tagRect32 const* rect, tagPoint32 const* origin) {
  return DibSuppressColorsEx(dest, src, 0, nullptr, 0, 0, p1, p2, p3, count, names, values,
                             rect, origin);
}

}  // namespace quilp
