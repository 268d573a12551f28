// resample.h - fills a destination area from a source area under a coordinate map: the one
// resampler behind rotation, perspective correction and zooming.
//
// Coordinates are pixel centres: pixel (x, y) of either area sits at (x, y), so the source's
// pixels cover -0.5 .. W - 0.5. The map takes each destination centre (u, v) to the source
// point it shows; outside the source everything is `paper`, and pixels near the source's
// edges blend with it (an edge pixel half covered by the image is half paper).
#pragma once

#include <cstdint>

#include "record/view.h"

namespace quilp {

enum class Interpolation : int { kBilinear = 0, kBicubic = 1, kNearest = 2 };

// x = xx * u + xy * v + x0,  y = yx * u + yy * v + y0.
struct AffineMap {
  double xx = 1.0, xy = 0.0, x0 = 0.0;
  double yx = 0.0, yy = 1.0, y0 = 0.0;
};

// x = (m0 u + m1 v + m2) / w,  y = (m3 u + m4 v + m5) / w,  w = m6 u + m7 v + m8.
struct ProjectiveMap {
  double m[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
};

// The map that shows the source turned by `angle` radians (positive: clockwise as seen,
// rows counted down) about its centre (sx, sy) with that centre landing on (dx, dy) of the
// destination.
AffineMap RotationMap(double angle, double sx, double sy, double dx, double dy);

// Byte-depth resampling (bytesPerPixel 1, 3 or 4; every byte of a pixel is interpolated on
// its own, paper[c] outside the source). Rows of dst are visited in storage order.
// Fixed point: source positions in 1/2^32 pixel, interpolation weights in 1/256 (bilinear,
// results rounded) or 1/4096 (bicubic, Keys a = -1/2, results rounded and clamped);
// nearest takes the pixel whose centre is nearest, halves rounding up.
// False (dst untouched) when a corner of dst maps farther than 2^29 pixels away or the
// depth is not 1, 3 or 4 bytes.
bool ResampleAffine(DibView const& dst, DibView const& src, int bytesPerPixel,
                    AffineMap const& map, Interpolation interp, uint8_t const paper[4]);
bool ResampleProjective(DibView const& dst, DibView const& src, int bytesPerPixel,
                        ProjectiveMap const& map, Interpolation interp,
                        uint8_t const paper[4]);

// 1-bit resampling by nearest pixel (no grey levels exist): outside the source is white
// (a set bit). The views' `left` give the bit offsets within their first bytes.
bool ResampleAffineBits(DibView const& dst, DibView const& src, AffineMap const& map);
bool ResampleProjectiveBits(DibView const& dst, DibView const& src, ProjectiveMap const& map);

// The paper of a byte-depth area: per byte of the pixel, the median of every fourth pixel of
// every fourth row (all pixels of areas smaller than 4 x 4). On a document page the paper
// covers most of the area, so this is its level.
void MeasurePaper(DibView const& src, int bytesPerPixel, uint8_t paper[4]);

}  // namespace quilp
