// fuzz_filter.cpp - the grey filters by code, the reserved filter export, erosion/dilation.
#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  return OnImage(data, size, [](Input& in, DibInfo* source) {
    tagRect32 r;
    char const* names[3];
    char const* values[3];
    int n = in.Keys(names, values);
    Dib base = in.Flag() ? in.Image(in.Flag() ? 8 : source->BitsPerPixel()) : Dib();
    DibInfo* out = base.get();
    int const code = DibFilterGreyEx(out, source, in.Int(250, 270), in.Int(-1, 600),
                                     in.Int(-1, 600), in.Int(-1, 600), n, names, values,
                                     in.Rect(source, r));
    if (code >= 0) Drop(out, base.get());
    out = nullptr;
    n = in.Keys(names, values);
    DibFilterEx(out, source, in.Int(0, 300), 1, 1, 1, n, names, values, nullptr);
    Drop(out);
    Dib target = in.Flag() ? in.Image() : Dib();
    out = target.get();
    if (DibErodeDilate(out, source, in.Int(-130, 34), in.Rect(source, r))) Drop(out, target.get());
  });
}
