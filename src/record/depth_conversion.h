// depth_conversion.h - changing an area's depth: the general conversion kernel and the two
// routes that other operation families answer.
#pragma once

#include "params/plane.h"
#include "quilp32.h"

namespace quilp {

// Converts the source plane into the top-left of the destination plane. Pixel rules:
//   1 -> 8, 24, 32: a set bit is white (255 in every channel), a clear bit black (0);
//   8 -> 24, 32:    the grey value goes into blue, green and red (the palette is not read);
//   24 -> 32:       blue, green, red copied;   32 -> 24: the fourth byte is dropped;
//   every 32-bit result has its fourth byte 0.
// -1 when a plane is missing, the destination is smaller than the source, or the pair of
// formats is none of the seven above; 0 otherwise (at once for an empty source).
int DibConvertPlane(DibPlane const* dst, DibPlane const* src);

// Depth 1 from a deeper source: answered by the binarization export, whose status it returns.
int ConvertDepthByBinarization(DibInfo*& dest, DibInfo const* src, int p1, int p2, int p3,
                               int count, char const* const* names, char const* const* values,
                               tagRect32 const* rect, tagPoint32 const* origin);

// Grey (depth 8) from a 24- or 32-bit source: answered by the colour-weighted conversion with
// equal weights (p1, p2, p3 are its levels lvl0, lvl1, lvl2), whose status it returns.
int ConvertDepthBySuppression(DibInfo*& dest, DibInfo const* src, int p1, int p2, int p3,
                              int count, char const* const* names, char const* const* values,
                              tagRect32 const* rect, tagPoint32 const* origin);

}  // namespace quilp
