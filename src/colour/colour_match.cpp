// colour_match.cpp - the colour match mask.
//
// Delta E 2000 is costly (a hundred operations, cube roots and trigonometry), but it depends
// on the pixel's colour alone and a page holds few distinct colours compared with its pixels,
// so each colour is decided once: two bit sets over the 2^24 colours (4 MiB) record which
// colours are decided and which match. Rows go in storage order.
#include "colour/colour_match.h"

#include <cstdint>
#include <memory>
#include <new>

#include "colour/lab.h"

namespace quilp {

bool DibColourMatchMask(DibView const& dst, DibView const& src, unsigned char const colour[3],
                        double tolerance, bool ignoreLightness) {
  std::size_t const words = (std::size_t(1) << 24) / 64;
  std::unique_ptr<uint64_t[]> known(new (std::nothrow) uint64_t[words]());
  std::unique_ptr<uint64_t[]> match(new (std::nothrow) uint64_t[words]());
  if (!known || !match) return false;
  Lab const target = ToLab(colour);
  for (int i = 0; i < src.height; ++i) {
    int const y = src.step < 0 ? src.height - 1 - i : i;
    uint8_t const* s = src.Row(y);
    uint8_t* d = dst.Row(y);
    uint8_t acc = 0;
    for (int x = 0; x < src.width; ++x, s += 3) {
      uint32_t const key = uint32_t(s[0]) | uint32_t(s[1]) << 8 | uint32_t(s[2]) << 16;
      uint64_t const bit = uint64_t(1) << (key & 63);
      if (!(known[key >> 6] & bit)) {
        known[key >> 6] |= bit;
        if (DeltaE2000(target, ToLab(s), !ignoreLightness) <= tolerance) match[key >> 6] |= bit;
      }
      acc = static_cast<uint8_t>(acc << 1 | ((match[key >> 6] & bit) ? 0 : 1));
      if ((x & 7) == 7) {
        d[x >> 3] = acc;
        acc = 0;
      }
    }
    if (src.width & 7) d[src.width >> 3] = static_cast<uint8_t>(acc << (8 - (src.width & 7)));
  }
  return true;
}

}  // namespace quilp
