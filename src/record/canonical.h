// canonical.h - grading a record from outside against the form the library's operations expect.
#pragma once

#include "quilp32.h"

namespace quilp {

// The grade of DibIsCanonical: -1 null, 0 canonical, 1 convertible, 2 malformed, 3 unsupported.
int CanonicalGrade(DibInfo const* dib, int direction);

}  // namespace quilp
