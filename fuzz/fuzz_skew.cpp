// fuzz_skew.cpp - the Hough block transform, the transform image and its peak, both skew
// estimators and downscaling.
#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  Input in(data, size);
  Dib src = in.Image(in.Flag() ? 8 : in.Depth());
  if (!src) return 0;
  tagRect32 r;
  if (DibHoughPrepare(in.Int(-1, 7), in.Flag(), in.Flag())) {
    int zero, slope, score;
    DibHoughCompute(src.get(), zero, slope, score, in.Rect(src.get(), r));
  }
  DibHoughDone();
  Dib transform(DibHoughTransform(src.get(), in.Int(0, 3), in.Flag() ? 8 : 32));
  int position, value;
  if (transform) DibFindHoughPeak(transform.get(), in.Int(-1, 9), in.Int(-1, 2), position, value);
  double angle;
  DibHoughGetAngle(angle, src.get(), 0, in.Rect(src.get(), r));
  int skew;
  DibSmartGetAngle(skew, src.get(), in.Int(-1, 9), in.Int(-1, 9), in.Rect(src.get(), r));
  DibInfo* out = nullptr;
  if (DibDownscale(out, src.get(), in.Int(-1, 80), in.Int(-1, 50), in.Int(0, 1),
                   in.Rect(src.get(), r)))
    Drop(out);
  return 0;
}
