// fuzz_compare.cpp - image differences (both forms) and the sample statistics.
#include "fuzz_input.h"

using namespace quilp_fuzz;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  Input in(data, size);
  int const depth = in.Depth();
  Dib test = in.Image(depth);
  Dib ref = in.Image(in.Flag() ? depth : in.Depth());
  if (!test || !ref) return 0;
  tagRect32 r1, r2;
  SDibDifferSetup const setup = {in.Int(-1, 9999), in.Int(-1, 1), in.Int(-1, 2),
                                 in.Int(-300, 300), in.Int(-300, 300), in.Int(-300, 300),
                                 in.Int(-300, 300)};
  Dib base = in.Flag() ? in.Image(depth) : Dib();
  DibInfo* out = base.get();
  DibDiffer(out, test.get(), ref.get(), in.Rect(test.get(), r1), in.Rect(ref.get(), r2), setup);
  Drop(out, base.get());
  DibDiffer(test.get(), ref.get(), in.Rect(test.get(), r1), in.Rect(ref.get(), r2), setup);
  double result[3];
  DibComputeVariance(test.get(), in.Rect(test.get(), r1), result);
  DibComputeCovariance(test.get(), in.Rect(test.get(), r1), ref.get(), in.Rect(ref.get(), r2),
                       result);
  return 0;
}
