// pictures.h - pictures, ruled tables and line art among the large components of the reduced
// page.
//
// At the layout scale (about 75 dpi, OR-reduced) a photograph, a dithered photo or a halftone
// is one solid blob: most of its box is ink and no row of it is mostly paper. A paragraph
// whose lines touch through ascenders and descenders also makes a large component, but paper
// rows cross it at every line pitch and its fill stays lower. A ruled table is a grid: long
// runs along rows and along columns with little ink between. What is large, sparse and none
// of these is line art. Cost: one visit of the component's runs for its profiles.
#pragma once

#include <vector>

#include "morph/components.h"
#include "morph/ink_bits.h"
#include "segment/layout_types.h"

namespace quilp {

// Ink per row and per column of a component's bounding box.
struct ComponentProfile {
  std::vector<int> rows, cols;
};
void ProfileComponent(ComponentMap const& map, int label, ComponentProfile& profile);

// True when the component is large enough to be a picture, a table or line art.
bool IsLargeComponent(InkComponent const& c, LayoutScale const& scale);

// kZonePicture, kZoneTable, kZoneGraphics, or kZoneText for a component that is a mass of
// touching text lines.
int LargeComponentKind(InkComponent const& c, ComponentProfile const& profile,
                       LayoutScale const& scale);

}  // namespace quilp

namespace quilp {

// The solid parts of the reduced ink inside `box`: the opening of the ink by a square of
// about 0.09 inch (what remains where such a square fits wholly in ink, grown back), cut
// into 8-connected pieces, those at least 0.4 inch each way and at least half filled. Text
// never holds such a square at the layout scale, a photograph or halftone is one, so a
// picture is found whole even when its caption or a paragraph touches it. Cost: a few
// passes over the box.
std::vector<Box> SolidParts(InkBits const& ink, Box const& box, LayoutScale const& scale);

}  // namespace quilp
