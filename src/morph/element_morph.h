// element_morph.h - erosion and dilation by any structuring element, 1-bit and 8-bit.
//
// The element is covered by bars (struct_element.h); per bar the result is a window extreme
// over a rectangle of offsets, separable into a pass along rows and one along columns, each
// computed by doubling: the extreme over 2p pixels is the extreme of two spans of p, so a span
// of L takes log2(L) + 1 steps whatever L is. 1-bit rows do it on 64-bit words (a shift and an
// AND or OR per word and step), 8-bit rows on bytes (loops the compiler vectorises). The bars'
// results are combined by AND / min (erosion) or OR / max (dilation).
// Definitions, with B the element's offsets: erosion(p) = extreme over s in B of in(p + s),
// dilation(p) = extreme over s in B of in(p - s), so opening (dilation of the erosion) keeps
// the union of the translates of B that fit.
// Beyond the area: 1-bit pixels read as `fill`; 8-bit pixels do not take part (neutral).
// Cost per pixel: about (log2 width + log2 height + 3) operations per bar, per 64 pixels for
// 1-bit images.
#pragma once

#include <cstdint>
#include <vector>

#include "record/grey_image.h"
#include "morph/ink_bits.h"
#include "morph/struct_element.h"

namespace quilp {


// dst = erosion (dilate false) or dilation of src by the union of the bars (at least one).
// False when memory runs out.
bool MorphBits(InkBits& dst, InkBits const& src, std::vector<ElementBar> const& bars,
               bool dilate, bool fill);
bool MorphGrey(GreyImage& dst, GreyImage const& src, std::vector<ElementBar> const& bars,
               bool dilate);

}  // namespace quilp
