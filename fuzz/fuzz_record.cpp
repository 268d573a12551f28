// fuzz_record.cpp - creators, zone copy, depth conversion and the canonical check on decoded
// images, rectangles and placement points.
#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  return OnImage(data, size, [](Input& in, DibInfo* source) {
    tagRect32 r;
    tagPoint32 p;
    char const* names[3];
    char const* values[3];
    Dib like(DibCreate(source, in.Depth()));
    DibInfo* out = nullptr;
    if (DibCopyZone(out, source, in.Rect(source, r))) Drop(out);
    Dib base = in.Flag() ? in.Image(source->BitsPerPixel()) : Dib();
    out = base.get();
    int n = in.Keys(names, values);
    int code = DibCopyZoneEx(out, source, n, names, values, in.Rect(source, r), in.Point(p));
    if (code >= 0) Drop(out, base.get());
    out = nullptr;
    n = in.Keys(names, values);
    code = DibConvertDepthEx(out, source, in.Depth(), in.Int(0, 4), in.Int(0, 255),
                             in.Int(0, 255), n, names, values, in.Rect(source, r), in.Point(p));
    if (code >= 0) Drop(out);
    DibIsCanonical(source, DibDirection(in.Byte() % 4));
  });
}
