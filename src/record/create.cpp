// create.cpp - the creators and the release of records.
//
// Block layout: 40-byte header, palette, rows. The block carries zeroed slack of one row plus
// 64 bytes on either side, so an area that reaches one row or one pixel beyond the picture
// (which the exact-fit rectangle rule allows) still reads memory the library owns.
#include "record/create.h"

#include <cstdint>
#include <cstring>

#include "record/global_block.h"

namespace quilp {
namespace {

constexpr uint32_t kHeaderSize = 40;
constexpr uint64_t kMaxBlock = 0xFFFFFFFFull;  // biSizeImage is 32 bits
constexpr int64_t kMaxRowBytes = INT32_MAX / 4;  // 512 MiB: no page has such a row

int64_t StrideFor(int width, int bitCount) {
  return ((int64_t(width) * bitCount + 31) / 32) * 4;
}

DibInfo* Create(int width, int height, int xPels, int yPels, int bitCount, bool zeroPixels = true) {
  if (width < 0) return nullptr;
  int64_t const stride = StrideFor(width, bitCount);
  // ByteWidth() is an int and the slack holds a row: a row must fit both, even with no rows.
  if (stride > kMaxRowBytes) return nullptr;
  int64_t const rows = height < 0 ? -int64_t(height) : int64_t(height);
  int const colours = bitCount == 1 ? 2 : bitCount == 8 ? 256 : 0;
  uint64_t const pixels = uint64_t(stride) * uint64_t(rows);
  uint64_t const total = kHeaderSize + 4u * colours + pixels;
  if (total > kMaxBlock) return nullptr;  // the block layer refuses what the host cannot hold

  std::size_t const slack = static_cast<std::size_t>(stride) + block::kSlackMin;
  block::Handle const h =
      block::Alloc(block::kMoveable | (zeroPixels ? block::kZeroInit : 0), total, slack);
  if (!h) return nullptr;
  auto* dib = static_cast<DibInfo*>(block::Lock(h));
  if (!dib) {
    block::Free(h);
    return nullptr;
  }
  std::memset(static_cast<void*>(dib), 0, kHeaderSize + 4u * colours);
  if (!zeroPixels) {  // the row padding is part of the picture's bytes: keep it zero
    int64_t const used = (int64_t(width) * bitCount + 7) / 8;
    for (int64_t y = 0; y < rows && used < stride; ++y)
      std::memset(reinterpret_cast<unsigned char*>(dib) + kHeaderSize + 4 * colours + y * stride + used,
                  0, static_cast<std::size_t>(stride - used));
  }
  dib->biSize = kHeaderSize;
  dib->biWidth = width;
  dib->biHeight = height;
  dib->biPlanes = 1;
  dib->biBitCount = static_cast<uint16_t>(bitCount);
  dib->biCompression = 0;
  dib->biSizeImage = static_cast<uint32_t>(pixels);
  dib->biXPelsPerMeter = xPels;
  dib->biYPelsPerMeter = yPels;
  dib->biClrUsed = dib->biClrImportant = bitCount == 1 ? 2 : 0;
  tagRGBQUAD* pal = dib->PalPtr();
  if (bitCount == 1) {
    pal[0] = {0, 0, 0, 0};
    pal[1] = {255, 255, 255, 0};
  } else if (bitCount == 8) {
    for (int i = 0; i < 256; ++i) {
      auto const v = static_cast<uint8_t>(i);
      pal[i] = {v, v, v, 0};
    }
  }
  return dib;
}

}  // namespace

DibInfo* DibCreate1(int w, int h, int x, int y) { return Create(w, h, x, y, 1); }
DibInfo* DibCreate8(int w, int h, int x, int y) { return Create(w, h, x, y, 8); }
DibInfo* DibCreate24(int w, int h, int x, int y) { return Create(w, h, x, y, 24); }
DibInfo* DibCreate32(int w, int h, int x, int y) { return Create(w, h, x, y, 32); }

DibInfo* DibCreate8Like(DibInfo const* m) {
  return m ? DibCreate8(m->biWidth, m->biHeight, m->biXPelsPerMeter, m->biYPelsPerMeter)
           : nullptr;
}
DibInfo* DibCreate24Like(DibInfo const* m) {
  return m ? DibCreate24(m->biWidth, m->biHeight, m->biXPelsPerMeter, m->biYPelsPerMeter)
           : nullptr;
}
DibInfo* DibCreate32Like(DibInfo const* m) {
  return m ? DibCreate32(m->biWidth, m->biHeight, m->biXPelsPerMeter, m->biYPelsPerMeter)
           : nullptr;
}

DibInfo* DibCreateDepth(int width, int height, int xPels, int yPels, int bitCount) {
  switch (bitCount) {
    case 1: return DibCreate1(width, height, xPels, yPels);
    case 8: return DibCreate8(width, height, xPels, yPels);
    case 24: return DibCreate24(width, height, xPels, yPels);
    case 32: return DibCreate32(width, height, xPels, yPels);
    default: return nullptr;
  }
}

DibInfo* DibCreateForOverwrite(int width, int height, int xPels, int yPels, int bitCount) {
  if (bitCount != 1 && bitCount != 8 && bitCount != 24 && bitCount != 32) return nullptr;
  return Create(width, height, xPels, yPels, bitCount, false);
}

bool DibRelease(DibInfo*& dib) {
  if (!dib) return false;
  block::Handle const h = block::FromAddress(dib);
  if (!h) return false;
  unsigned const flags = block::Flags(h);
  if (flags == block::kInvalidHandle) return false;
  for (unsigned locks = flags & 0xFF; locks > 0; --locks) block::Unlock(h);
  if (!block::Free(h)) return false;
  dib = nullptr;
  return true;
}

}  // namespace quilp
