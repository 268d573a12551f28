// fuzz_binarize.cpp - Otsu levels and the binarizations, plain and keyed.
#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  return OnImage(data, size, [](Input& in, DibInfo* source) {
    tagRect32 r;
    tagPoint32 p;
    int levels[2];
    DibGetOtsuLevels(levels, source, in.Int(0, 4), in.Rect(source, r));
    Dib(DibBinarizeSimple(source, in.Int(-1, 257), in.Flag(), in.Rect(source, r)));
    int const classes = in.Int(0, 4), from = in.Int(-1, 3), to = in.Int(-1, 3);
    Dib(DibBinarizeOtsu(source, classes, from, to, in.Flag(), in.Rect(source, r)));
    Dib(DibBinarizeOtsuR(source, classes, from, to, in.Flag(), in.Rect(source, r)));
    char const* names[3];
    char const* values[3];
    int const n = in.Keys(names, values);
    Dib base = in.Flag() ? in.Image(1) : Dib();
    DibInfo* out = base.get();
    int const code = DibBinarizeEx(out, source, in.Int(-1, 5), in.Int(-1, 300),
                                   in.Int(-1, 0x40000), n, names, values, in.Rect(source, r),
                                   in.Point(p));
    if (code >= 0) Drop(out, base.get());
  });
}
