// fuzz_grey.cpp - grey conversion, the dropout grey, colour suppression and the depth decision.
#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  return OnImage(data, size, [](Input& in, DibInfo* source) {
    tagRect32 r;
    unsigned char colours[4][3];
    in.Colours(colours);
    unsigned char const (*colour)[3] = in.Flag() ? &colours[0] : nullptr;
    Dib(DibRGB2Grey(source, colour, in.Rect(source, r)));
    Dib(DibRGB2GreyN(source, colour, in.Rect(source, r)));
    Dib(DibRGB2GreyX(source, colour, in.Int(-2, 40), in.Rect(source, r)));
    Dib(DibDropoutGrey(source, in.Int(-1, 257), in.Int(-1, 256), in.Rect(source, r)));
    Dib(DibSupressColor(source, colour, in.Rect(source, r)));
    // Counts stay within the four colours given: a larger count is the caller's overrun.
    int const keep = in.Byte() % 4 - 1, drop = in.Byte() % 4 - 1;
    Dib(DibSupressColors(source, keep, colours, drop, colours + 2, in.Rect(source, r)));
    char const* names[3];
    char const* values[3];
    int const n = in.Keys(names, values);
    DibInfo* out = nullptr;
    int code = DibSuppressColorsEx(out, source, in.Byte() % 6 - 1, in.Flag() ? colours : nullptr,
                                   in.Int(-1, 9), in.Int(-1, 9), in.Int(-1, 256), in.Int(-1, 256),
                                   in.Int(-1, 256), n, names, values, in.Rect(source, r), nullptr);
    if (code >= 0) Drop(out);
    out = nullptr;
    DibCompressBits(out, source, in.Byte(), in.Int(-2, 2) / 2.0, in.Int(-2, 300) / 4.0,
                    in.Rect(source, r));
    Drop(out);  // null on failure
  }, [](Input& in) { return in.Flag() ? 24 : in.Depth(); });
}
