// grey_area.h - the 8-bit area a threshold query or a binarizer reads.
//
// An 8-bit image is read in place through the rectangle rule the operation names. A 24-bit
// image is projected to grey along the main colour axis of its rectangle (no reference colour)
// into a temporary 8-bit record, always under the exact-fit rule; the temporary lives as long
// as the GreyArea.
#pragma once

#include <memory>

#include "quilp32.h"
#include "record/create.h"
#include "record/rect.h"
#include "record/view.h"

namespace quilp {

using RectRuleFn = bool (*)(DibInfo const*, tagRect32 const*, Area&);

// A new 8-bit record (resolution xPels, yPels) holding the grey projection of a colour view,
// or null: *noMemory is then true when the record could not be made, false when the colours
// have no main axis (an all-black area).
DibInfo* GreyOfColour(DibView const& colour, int xPels, int yPels, bool* noMemory);

class GreyArea {
 public:
  // False for a null image, a depth other than 8 and 24, a rejected rectangle, or a failed
  // projection. greyRule applies to 8-bit images.
  bool Open(DibInfo const* dib, tagRect32 const* rect, RectRuleFn greyRule);
  DibView const& view() const { return view_; }

 private:
  struct Releaser {
    void operator()(DibInfo* dib) const { DibRelease(dib); }
  };
  std::unique_ptr<DibInfo, Releaser> temporary_;
  DibView view_;
};

}  // namespace quilp
