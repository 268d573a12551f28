// flow_map.cpp - distance to ink on the reduced page (see flow_map.h).
#include "segment/flow_map.h"

#include <new>

#include "morph/distance_transform.h"

namespace quilp {

bool FlowMap(InkBits const& small, std::vector<uint8_t>& map) {
  std::vector<uint32_t> squared;
  if (!DistanceMap(squared, small, false, DistanceMetric::kEuclid)) return false;
  try {
    map.resize(squared.size());
  } catch (std::bad_alloc const&) {
    return false;
  }
  for (std::size_t i = 0; i < squared.size(); ++i) {
    uint32_t const d = squared[i] == kDistanceFar ? 255u : RoundedRoot(squared[i]);
    map[i] = uint8_t(d > 255 ? 255 : d);
  }
  return true;
}

}  // namespace quilp
