// grey_filter.h - DibFilterGreyEx: every grey filter behind one keyed-parameter entry.
#pragma once

#include "quilp32.h"

namespace quilp {

// Operation codes of DibFilterGreyEx.
enum GreyFilterOper : int {
  kFilterAutoLevels = 256,
  kFilterPixelOp = 257,
  kFilterMinimum = 258,
  kFilterMaximum = 259,
  kFilterOpening = 260,
  kFilterClosing = 261,
  kFilterReduce = 262,
  kFilterLinear = 263,
  kFilterPower = 264,
  kFilterGauss = 265,
  kFilterLocalContrast = 266,
  kFilterFlatten = 267,
  kFilterNegative = 268,
};

// The export's implementation (contract in quilp32.h).
int DibFilterGrey(DibInfo*& dst, DibInfo const* src, int oper, int p1, int p2, int p3, int count,
                  char const* const* names, char const* const* values, tagRect32 const* rect);

}  // namespace quilp
