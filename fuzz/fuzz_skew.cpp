// fuzz_skew.cpp - the Hough block transform, the transform image and its peak, both skew
// estimators and downscaling.
#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  return OnImage(data, size, [](Input& in, DibInfo* source) {
    tagRect32 r;
    if (DibHoughPrepare(in.Int(-1, 7), in.Flag(), in.Flag())) {
      int zero, slope, score;
      DibHoughCompute(source, zero, slope, score, in.Rect(source, r));
    }
    DibHoughDone();
    Dib transform(DibHoughTransform(source, in.Int(0, 3), in.Flag() ? 8 : 32));
    int position, value;
    if (transform) DibFindHoughPeak(transform.get(), in.Int(-1, 9), in.Int(-1, 2), position, value);
    double angle;
    DibHoughGetAngle(angle, source, 0, in.Rect(source, r));
    int skew;
    DibSmartGetAngle(skew, source, in.Int(-1, 9), in.Int(-1, 9), in.Rect(source, r));
    DibInfo* out = nullptr;
    if (DibDownscale(out, source, in.Int(-1, 80), in.Int(-1, 50), in.Int(0, 1),
                     in.Rect(source, r)))
      Drop(out);
  }, [](Input& in) { return in.Flag() ? 8 : in.Depth(); });
}
