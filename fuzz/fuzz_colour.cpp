// fuzz_colour.cpp - colour-set dropout with tolerances, keyed colour transforms, background
// suppression, colour matching, ink-layer separation, smoothing, gradients and texture.
#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  return OnImage(data, size, [](Input& in, DibInfo* source) {
    tagRect32 r;
    unsigned char colours[4][3];
    in.Colours(colours);
    double tolerances[4];
    for (double& t : tolerances) t = in.Real(-0.2, 1.6);
    // Counts stay within the colours given: a larger count is the caller's overrun.
    int const keep = in.Byte() % 3 - 1, drop = in.Byte() % 3 - 1;
    Dib(DibSupressColorsCommon(source, keep, in.Flag() ? colours : nullptr,
                               in.Flag() ? tolerances : nullptr, drop, colours + 2,
                               in.Flag() ? tolerances + 2 : nullptr, in.Int(-1, 25),
                               in.Rect(source, r)));
    char const* names[3];
    char const* values[3];
    static char const* const keys[] = {"black",  "white",  "gamma",  "blackB", "whiteG",
                                       "gammaR", "paperB", "paperG", "paperR", "mulB",
                                       "mulG",   "mulR"};
    int const n = in.Keys(names, values, &keys);
    Dib target = in.Flag() ? in.Image() : Dib();
    DibInfo* out = target.get();
    tagPoint32 p;
    if (DibTransformColorsEx(out, source, in.Int(-1, 5), in.Int(-1, 256), in.Int(-1, 256),
                             in.Int(-1, 300), n, names, values, in.Rect(source, r),
                             in.Point(p)) >= 0)
      Drop(out, target.get());
    Dib(DibSuppress(source, in.Int(-1, 60), in.Int(-1, 256), in.Rect(source, r)));
    Dib(DibMatchColor(source, in.Flag() ? colours : nullptr, in.Real(-1, 60), in.Flag(),
                      in.Rect(source, r)));
    // Separation: every output optional; the mask array holds the most layers allowed.
    DibInfo* masks[kDibMaxInks] = {};
    unsigned char inks[kDibMaxInks][3];
    DibInfo* labels = nullptr;
    bool const want_masks = in.Flag(), want_labels = in.Flag();
    DibSeparate(source, in.Int(-1, kDibMaxInks + 1), in.Int(0, kDibMaxInks), want_masks ? masks
                : nullptr, in.Flag() ? inks : nullptr, want_labels ? &labels : nullptr,
                in.Rect(source, r));
    for (DibInfo*& m : masks) Drop(m);
    Drop(labels);
    Dib(DibSmooth(source, in.Int(-1, 2), in.Int(-1, 9), in.Int(-1, 256), in.Rect(source, r)));
    Dib(DibGradientMap(source, in.Int(-1, 2), in.Int(-1, 130), in.Int(-1, 256),
                       in.Rect(source, r)));
    Dib(DibGetTexture(source, in.Int(0, 9), in.Int(-1, 2), in.Rect(source, r)));
  }, [](Input& in) { return in.Flag() ? 24 : in.Depth(); });
}
