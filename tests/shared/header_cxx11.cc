// Compiled as C++11 -pedantic: the public header must need nothing newer.
#include "quilp32.h"

static_assert(sizeof(BITMAPINFOHEADER) == 40, "the header is 40 bytes");
static_assert(sizeof(RGBQUAD) == 4, "a palette entry is 4 bytes");
static_assert(sizeof(DibInfo) == 40, "the record adds no data to the header");
