// fuzz_canonical.cpp - the canonical check and the record accessors on arbitrary headers and
// palettes. The record is the input laid over a block as large as any palette needs.
#include <vector>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  if (size < 1) return 0;
  std::vector<uint64_t> block((40 + 1024) / 8, 0);  // aligned as a record
  std::memcpy(block.data(), data + 1, std::min<std::size_t>(size - 1, 40 + 1024));
  auto const* dib = reinterpret_cast<DibInfo const*>(block.data());
  DibIsCanonical(dib, DibDirection(data[0] % 4));
  volatile int sink = dib->PaletteSize() ^ dib->NumColors() ^ dib->ByteWidth() ^ dib->Height() ^
                      dib->BitsPerPixel();
  (void)sink;
  return 0;
}
