// fuzz_scale.cpp - zoomed previews (grey, same depth, deskewed), upscaling, area-average
// downscaling and rank-order reduction.
#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  return OnImage(data, size, [](Input& in, DibInfo* source) {
    tagRect32 r;
    Dib(DibMakeZoom8(source, in.Real(-0.5, 6), in.Rect(source, r)));
    Dib(DibMakeZoom(source, in.Real(-0.5, 6), in.Rect(source, r)));
    Dib(DibMakeZoomDeskewed(source, in.Real(-0.5, 6), in.Real(-1, 1), in.Rect(source, r)));
    // Into a new record or a caller's target of any depth and size.
    Dib target = in.Flag() ? in.Image() : Dib();
    DibInfo* out = target.get();
    if (DibUpscale(out, source, in.Flag() ? in.Int(0, 5) : in.Real(0.5, 4.5),
                   in.Rect(source, r)) >= 0)
      Drop(out, target.get());
    out = nullptr;
    if (DibDownscale(out, source, in.Int(-1, 80), in.Int(-1, 50), in.Int(-1, 1),
                     in.Rect(source, r)))
      Drop(out);
    Dib(DibSqueeze(source, in.Int(-1, 5), in.Rect(source, r)));
  });
}
