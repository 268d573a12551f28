// histogram_sse41.cpp - the pair-table / partial-table histogram compiled for SSE4.1 (the
// final fold of the pair table is vectorised by the compiler).
#include "binarize/histogram.h"
#include "binarize/histogram_tables.h"

namespace quilp {

HistogramKernels const& HistogramKernelsSse41() {
  static HistogramKernels const table = {histogram_detail::AddArea};
  return table;
}

}  // namespace quilp
