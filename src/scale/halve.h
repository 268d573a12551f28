// halve.h - the 2 x 2 reduction of 8-bit areas, the factors skew estimation asks for most.
#pragma once

#include "record/view.h"

namespace quilp {

// Writes the 2 x 2 area-averaging reduction of the 8-bit area src into dst (ceil(w/2) x
// ceil(h/2)): the same result as the general reduction, (sum + n/2) / n over the n pixels of
// each block, the last column and row possibly covering one pixel across.
void DibHalve8(DibView const& dst, DibView const& src);

}  // namespace quilp
