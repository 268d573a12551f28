// grey_skew.h - the grey working copy of any page and the skew measured on it, shared by
// deskewing and orientation detection.
#pragma once

#include <cstdint>
#include <vector>

#include "record/grey_image.h"
#include "record/view.h"

namespace quilp {


// Grey of a 1-, 8-, 24- or 32-bit area reduced by `factor` (>= 1) in both directions: each
// factor x factor block (cut at the right and bottom edges) becomes the rounded mean of its
// pixels' grey, where a set bit is 255 and a clear one 0, a grey byte is itself, and a colour
// pixel is (29 blue + 150 green + 77 red + 128) >> 8. False when memory runs out or the depth
// is another.
bool ReducedGrey(DibView const& src, int bitsPerPixel, int factor, GreyImage& out);

// The skew angle in radians of a grey image, as the whole-page path of the Hough skew
// estimate measures it: margins faded, Hough transform image, refined peak row. False when
// the image is empty, its transform scores nothing (a page without ink) or memory runs out.
bool HoughSkewOf(GreyImage const& grey, double& angle);

}  // namespace quilp
