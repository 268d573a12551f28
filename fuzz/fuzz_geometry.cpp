// fuzz_geometry.cpp - quarter turns, accurate and three-shear rotation, shears, deskewing,
// perspective correction, orientation detection and the canonical form.
#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  return OnImage(data, size, [](Input& in, DibInfo* source) {
    tagRect32 r;
    Dib(DibRotateBy90(source, in.Int(-5, 5), in.Rect(source, r)));
    Dib(DibRotateAccurate(source, in.Real(-7, 7), in.Int(-1, 8), in.Rect(source, r)));
    Dib(DibRotate3Skew(source, in.Real(-7, 7), in.Int(-1, 2), in.Rect(source, r)));
    Dib(DibSkew(source, in.Real(-40, 40), in.Flag(), in.Rect(source, r)));
    double angle;
    Dib(DibDeskew(source, in.Flag() ? &angle : nullptr, in.Rect(source, r)));
    // Corners near the image, now and then a degenerate or crossed quadrilateral.
    double corners[8];
    int const w = source->Width(), h = source->Height();
    for (int i = 0; i < 8; ++i) corners[i] = in.Real(-8, (i % 2 ? h : w) + 8);
    Dib(DibDistort(source, in.Flag() ? corners : nullptr, in.Int(-2, 120), in.Int(-2, 120),
                   in.Int(-1, 7)));
    int confidence;
    DibDetectDominantOrientation(source, in.Flag() ? &confidence : nullptr, in.Rect(source, r));
    char const* names[3];
    char const* values[3];
    static char const* const keys[] = {"direction", "upright", "x"};
    int const n = in.Keys(names, values, &keys);
    DibInfo* out = nullptr;
    if (DibCanonize(out, source, in.Int(-1, 3), n, names, values) >= 0) Drop(out);
  });
}
