// Skew, difference and variance: operations that measure rather than make a page.
#include <cmath>

#include "module.h"

namespace quilp_py {

namespace {

double SkewAngle(py::handle img, std::string const& method, double dpi) {
  Dib src = ToDib(img, kGrey, dpi, "skew_angle");
  if (method == "hough") {
    double radians = 0;
    bool const ok = Unlocked([&] { return DibHoughGetAngle(radians, src.get(), 0, nullptr); });
    if (!ok) throw std::bad_alloc();
    return radians * 180.0 / M_PI;
  }
  if (method == "edges") {
    int tangent = 0;
    bool const ok = Unlocked([&] { return DibSmartGetAngle(tangent, src.get(), 1, 1, nullptr); });
    if (!ok) throw std::bad_alloc();
    return std::atan(tangent / 1024.0) * 180.0 / M_PI;
  }
  throw py::value_error("skew_angle: method is 'hough' or 'edges'");
}

py::object Difference(py::handle a, py::handle b, std::string const& method, int offset,
                      bool total) {
  Dib test = ToDib(a, kGrey | kColour, 300, "difference");
  Dib ref = ToDib(b, kGrey | kColour, 300, "difference");
  if (test->BitsPerPixel() != ref->BitsPerPixel())
    throw py::value_error("difference: both images must be grey or both colour");
  if (test->Width() < ref->Width() || test->Height() < ref->Height())
    throw py::value_error("difference: the first image must be at least as large as the second");
  if (method != "abs" && method != "over")
    throw py::value_error("difference: method is 'abs' or 'over'");
  if (offset < -510 || offset > 510) throw py::value_error("difference: offset is -510..510");
  SDibDifferSetup const setup = {-1, -1, method == "over", offset, 0, 0, 0};
  if (total)
    return py::int_(Unlocked([&] { return DibDiffer(test.get(), ref.get(), nullptr, nullptr, setup); }));
  DibInfo* out = nullptr;
  int const code = Unlocked([&] { return DibDiffer(out, test.get(), ref.get(), nullptr, nullptr, setup); });
  Dib result(out);
  if (code != 1 || !result) throw std::bad_alloc();
  return FromDib(result.get());
}

py::object Variance(py::handle img) {
  Dib src = ToDib(img, kGrey | kColour, 300, "variance");
  double v[3];
  Unlocked([&] { return DibComputeVariance(src.get(), nullptr, v); });
  if (src->BitsPerPixel() == 8) return py::float_(v[0]);
  return py::make_tuple(v[2], v[1], v[0]);  // red, green, blue
}

}  // namespace

void BindMeasures(py::module_& m) {
  using namespace pybind11::literals;
  m.def("skew_angle", &SkewAngle, "img"_a, "method"_a = "hough", "dpi"_a = 300.0,
        "The skew of a grey page in degrees; positive means lines descend to the right.\n\n"
        "method 'hough' (the accurate one) or 'edges' (upper edges of dark shapes).");
  m.def("difference", &Difference, "a"_a, "b"_a, "method"_a = "abs", "offset"_a = 0,
        "total"_a = false,
        "Per-byte difference of a and b (both grey or both colour), over b's size.\n\n"
        "method 'abs': min(|a + offset - b|, 255); 'over': min(max(a + offset - b, 0), 255).\n"
        "total=True returns the sum of the differences instead of the image.");
  m.def("variance", &Variance, "img"_a,
        "Sample variance of a grey image, or (red, green, blue) variances of a colour one.");
}

}  // namespace quilp_py
