// fuzz_grey.cpp - grey conversion, colour suppression and the depth decision.
#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  Input in(data, size);
  Dib src = in.Image(in.Flag() ? 24 : in.Depth());
  if (!src) return 0;
  tagRect32 r;
  unsigned char colours[4][3];
  for (auto& c : colours)
    for (auto& b : c) b = in.Byte();
  unsigned char const (*colour)[3] = in.Flag() ? &colours[0] : nullptr;
  Dib(DibRGB2Grey(src.get(), colour, in.Rect(src.get(), r)));
  Dib(DibRGB2GreyN(src.get(), colour, in.Rect(src.get(), r)));
  Dib(DibRGB2GreyX(src.get(), colour, in.Int(-2, 40), in.Rect(src.get(), r)));
  Dib(DibSupressColor(src.get(), colour, in.Rect(src.get(), r)));
  int const keep = in.Int(-1, 2), drop = in.Int(-1, 2);
  Dib(DibSupressColors(src.get(), keep, colours, drop, colours + 2, in.Rect(src.get(), r)));
  char const* names[3];
  char const* values[3];
  int const n = in.Keys(names, values);
  DibInfo* out = nullptr;
  int code = DibSuppressColorsEx(out, src.get(), in.Int(-1, 4), in.Flag() ? colours : nullptr,
                                 in.Int(-1, 9), in.Int(-1, 9), in.Int(-1, 256), in.Int(-1, 256),
                                 in.Int(-1, 256), n, names, values, in.Rect(src.get(), r), nullptr);
  if (code >= 0) Drop(out);
  out = nullptr;
  DibCompressBits(out, src.get(), in.Byte(), in.Int(-2, 2) / 2.0, in.Int(-2, 300) / 4.0,
                  in.Rect(src.get(), r));
  Drop(out);  // null on failure
  return 0;
}
