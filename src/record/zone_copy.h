// zone_copy.h - copying a zone of pixels between planes of the same format.
//
// Byte formats move each row with one block move. 1-bit rows are copied at any bit position
// of source and destination: the destination's bits outside the zone keep their values.
#pragma once

#include <cstdint>

#include "params/plane.h"

namespace quilp {

// Copies `width` bits starting at bit `srcBit` (0..7, most significant bit first) of src[0]
// to the bits starting at bit `dstBit` of dst[0]; every other destination bit is kept. Reads
// only the source bytes that hold copied bits and writes only the destination bytes that
// receive them. Whole destination bytes are built eight at a time from a big-endian word of
// source bytes shifted by the difference of the two offsets.
void CopyBitRun(uint8_t* dst, int dstBit, uint8_t const* src, int srcBit, int width);

// Copies the source plane into the top-left of the destination plane, row by row.
// -1 when a plane is missing, the formats differ or are not a plane format, or the source is
// wider or taller than the destination; 0 otherwise (at once for an empty source).
int DibCopyPlane(DibPlane const* dst, DibPlane const* src);

}  // namespace quilp
