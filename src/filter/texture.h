// texture.h - texture maps: one value per block of a grey area, for telling photographs and
// halftone from text and paper (DibGetTexture, and page segmentation).
#pragma once

#include <cstdint>

#include "record/view.h"

namespace quilp {

enum class TextureMeasure : int {
  kDeviation = 0,  // standard deviation of the block's levels, rounded, at most 255
  kEdgeEnergy = 1, // mean of (|right - left| + |below - above|) / 2 over the block, rounded
};

// Blocks across and down for an area: ceil(size / block).
inline int TextureCells(int size, int block) { return (size + block - 1) / block; }

// The map of an 8-bit area into an 8-bit area of TextureCells(width) x TextureCells(height)
// cells; block >= 1. Neighbours beyond the area repeat its edge. False when memory runs out.
bool DibTextureMap(DibView const& dst, DibView const& src, int block, TextureMeasure measure);

}  // namespace quilp
