// fuzz_segment.cpp - every segmentation export: blocks, the hierarchy, pre-segmentation,
// refinement of a zone list made from the input, the flow map and the watershed.
#include <vector>

#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  Input in(data, size);
  Dib page = in.Image();
  if (!page) return 0;
  tagRect32 r;
  // The extremes of the capacity go with a null array: a larger capacity than the array holds
  // is the caller's overrun.
  int const capacity = in.Int(-2, 40);
  std::vector<SDibZone> zones(std::size_t(capacity > 0 && capacity <= 40 ? capacity : 0));
  SDibZone* array = in.Flag() && !zones.empty() ? zones.data() : nullptr;
  DibSegmentLev1(page.get(), array, capacity, in.Rect(page.get(), r));
  DibSegmentLev1Hier(page.get(), array, capacity, in.Rect(page.get(), r));
  DibPreSegment(page.get(), array, capacity, in.Rect(page.get(), r));
  int const count = in.Int(-1, capacity);
  for (int i = 0; i < count && std::size_t(i) < zones.size(); ++i) {
    SDibZone& z = zones[std::size_t(i)];
    z.rect = {in.Int(-4, 80), in.Int(-4, 50), in.Int(-4, 80), in.Int(-4, 50)};
    z.kind = in.Int(-1, 8);
    z.parent = in.Int(-1, capacity);
    z.level = in.Int(-1, 3);
  }
  DibRePresegment(page.get(), array, count, capacity, in.Rect(page.get(), r));
  Dib map(DibCalcFlowMap(page.get(), in.Rect(page.get(), r)));
  int regions = 0;
  DibInfo* source = map && in.Flag() ? map.get() : page.get();
  Dib labels(DibWaterSegment(source, in.Int(-2, 256), in.Flag() ? &regions : nullptr,
                             in.Rect(source, r)));
  return 0;
}
