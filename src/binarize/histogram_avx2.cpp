// histogram_avx2.cpp - the pair-table / partial-table histogram compiled for AVX2 (the final
// fold of the pair table is vectorised by the compiler, eight counters at a time).
#include "binarize/histogram.h"
#include "binarize/histogram_tables.h"

namespace quilp {

HistogramKernels const& HistogramKernelsAvx2() {
  static HistogramKernels const table = {histogram_detail::AddArea};
  return table;
}

}  // namespace quilp
