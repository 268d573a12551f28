// fuzz_record.cpp - creators, zone copy, depth conversion and the canonical check on decoded
// images, rectangles and placement points.
#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  Input in(data, size);
  Dib src = in.Image();
  if (!src) return 0;
  tagRect32 r;
  tagPoint32 p;
  char const* names[3];
  char const* values[3];
  Dib like(DibCreate(src.get(), in.Depth()));
  DibInfo* out = nullptr;
  if (DibCopyZone(out, src.get(), in.Rect(src.get(), r))) Drop(out);
  Dib base = in.Flag() ? in.Image(src->BitsPerPixel()) : Dib();
  out = base.get();
  int n = in.Keys(names, values);
  int code = DibCopyZoneEx(out, src.get(), n, names, values, in.Rect(src.get(), r), in.Point(p));
  if (code >= 0) Drop(out, base.get());
  out = nullptr;
  n = in.Keys(names, values);
  code = DibConvertDepthEx(out, src.get(), in.Depth(), in.Int(0, 4), in.Int(0, 255),
                           in.Int(0, 255), n, names, values, in.Rect(src.get(), r), in.Point(p));
  if (code >= 0) Drop(out);
  DibIsCanonical(src.get(), DibDirection(in.Byte() % 4));
  return 0;
}
