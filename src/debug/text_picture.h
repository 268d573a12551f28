// text_picture.h - a text rendering of a 1-bit or grey area, for logs (DibSprintBW,
// DibSprintGrey).
#pragma once

#include "record/view.h"

namespace quilp {

// Writes the picture of a 1-bit (bits) or 8-bit area into buffer (at most size - 1
// characters and a terminating zero when size >= 1) and returns the length the whole picture
// needs. columns 0: one character per pixel; else blocks of ceil(width / columns) pixels a
// side. In a 1-bit area the first pixel is bit `bitOffset` of each row's first byte, counted
// from the most significant bit.
int DibTextPicture(DibView const& area, int bits, int bitOffset, int columns, char* buffer,
                   int size);

}  // namespace quilp
