// text_picture.cpp - text pictures of image areas.
//
// Each character stands for a block of f x f pixels (f = 1 when the area fits the columns):
// 1-bit blocks show '#' when more than half of their pixels are black, '+' when some are,
// '.' when none are; grey blocks show their rounded mean level through a ten-step ramp, dark
// to light. Every line ends with '\n'. The picture is written while it fits and measured to
// the end, so a caller can size its buffer from a first call with size 0.
#include "debug/text_picture.h"

#include <cstdint>

namespace quilp {
namespace {

constexpr char kRamp[] = "@%#*+=-:. ";

// Appends characters while room is left; counts them all.
struct Writer {
  char* buffer;
  int64_t size, length = 0;
  void Put(char c) {
    if (length < size - 1) buffer[length] = c;
    ++length;
  }
};

}  // namespace

int DibTextPicture(DibView const& area, int bits, int bitOffset, int columns, char* buffer,
                   int size) {
  int const f = columns > 0 && area.width > columns
                    ? static_cast<int>((int64_t(area.width) + columns - 1) / columns)
                    : 1;
  Writer out{buffer, size};
  for (int by = 0; by < area.height; by += f) {
    int const rows = by + f <= area.height ? f : area.height - by;
    for (int bx = 0; bx < area.width; bx += f) {
      int const cols = bx + f <= area.width ? f : area.width - bx;
      int64_t total = 0;
      for (int y = by; y < by + rows; ++y) {
        uint8_t const* row = area.Row(y);
        for (int x = bx; x < bx + cols; ++x) {
          if (bits == 1) {
            int const b = bitOffset + x;
            total += ((row[b >> 3] >> (7 - (b & 7))) & 1) ? 0 : 1;  // black pixels
          } else {
            total += row[x];
          }
        }
      }
      int64_t const n = int64_t(rows) * cols;
      if (bits == 1) {
        out.Put(2 * total > n ? '#' : total > 0 ? '+' : '.');
      } else {
        int64_t const level = (total + n / 2) / n;
        out.Put(kRamp[level * 10 / 256]);
      }
    }
    out.Put('\n');
  }
  if (size >= 1) buffer[out.length < size - 1 ? out.length : size - 1] = '\0';
  return out.length > INT32_MAX ? INT32_MAX : static_cast<int>(out.length);
}

}  // namespace quilp
