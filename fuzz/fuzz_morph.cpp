// fuzz_morph.cpp - structuring-element morphology (every shape, text and image elements),
// its keyed form, the grey gradient, despeckling, distance transforms and skeletons.
#include <string>

#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  return OnImage(data, size, [](Input& in, DibInfo* source) {
    tagRect32 r;
    // A text element of the pattern alphabet and a few strays, rows of any length.
    std::string pattern;
    static char const alphabet[] = "01xX#oO.-/\n2 ";
    for (int i = in.Byte() % 24; i > 0; --i) pattern += alphabet[in.Byte() % 13];
    Dib element = in.Flag() ? in.Image(in.Flag() ? 1 : 8) : Dib();
    SDibMorphSetup const setup = {in.Int(-1, 10), in.Int(-1, 6), in.Int(-1, 60),
                                  in.Int(-1, 60), in.Real(-4, 4), element.get(),
                                  in.Flag() ? pattern.c_str() : nullptr};
    Dib(DibMorphCommon(source, in.Flag() ? &setup : nullptr, in.Rect(source, r)));
    char const* names[3];
    char const* values[3];
    static char const* const keys[] = {"oper", "type", "hSize", "vSize", "x"};
    int const n = in.Keys(names, values, &keys);
    Dib target = in.Flag() ? in.Image() : Dib();
    DibInfo* out = target.get();
    tagPoint32 p;
    if (DibMorphEx(out, source, &setup, n, names, values, in.Rect(source, r), in.Point(p)) >= 0)
      Drop(out, target.get());
    Dib(DibGradientMorpho(source, in.Int(-1, 3), in.Int(-1, 9), in.Rect(source, r)));
    Dib(DibCleanPimples(source, in.Int(-1, 12), in.Int(-1, 30), in.Rect(source, r)));
    Dib(DibDistanceTransform(source, in.Int(-1, 3), in.Flag() ? 8 : in.Int(0, 33), in.Int(-1, 2),
                             in.Rect(source, r)));
    Dib(DibSkelet(source, in.Rect(source, r)));
    Dib(DibSkeletWeak(source, in.Rect(source, r)));
    Dib(DibSkeletize(source, in.Rect(source, r)));
  }, [](Input& in) { return in.Flag() ? 1 : in.Depth(); });
}
