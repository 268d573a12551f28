// dropout_tolerance.h - the general colour-set dropout: kept and suppressed colours with an
// angular tolerance each, grey or colour output.
#pragma once

#include "record/view.h"

namespace quilp {

struct ToleranceSets {
  unsigned char const (*keep)[3] = nullptr;
  double const* keepTolerance = nullptr;  // radians per kept colour; null: all 0
  int keepCount = 0;
  unsigned char const (*drop)[3] = nullptr;
  double const* dropTolerance = nullptr;
  int dropCount = 0;
};

// From a 24-bit area into an 8- or 24-bit area (outputBits) of the same size. With no
// tolerance above 0 and grey output this is exactly DibSuppressColorSets. False for the
// failures of DibSuppressColorSets, a negative or NaN tolerance, another outputBits or no
// memory.
bool DibSuppressColorSetsCommon(DibView const& dst, DibView const& src, ToleranceSets const& sets,
                                int outputBits);

}  // namespace quilp
