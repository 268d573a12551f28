// Rotation, right-angle turns, deskewing and orientation.
#include <cmath>

#include "module.h"

namespace quilp_py {

namespace {

py::array Rotate(py::handle img, double degrees, bool expand, std::string const& interp,
                 double dpi) {
  Dib src = ToDib(img, kAny, dpi, "rotate");
  int mode;
  if (interp == "bilinear") mode = 0;
  else if (interp == "bicubic") mode = 1;
  else if (interp == "nearest") mode = 2;
  else throw py::value_error("rotate: interp is 'bilinear', 'bicubic' or 'nearest'");
  if (!std::isfinite(degrees)) throw py::value_error("rotate: the angle must be finite");
  int const flags = int(expand) | mode << 1;
  double const radians = degrees * M_PI / 180.0;
  DibInfo* out = Unlocked([&] { return DibRotateAccurate(src.get(), radians, flags, nullptr); });
  return FromDib(Require(out, "rotate", "out of memory").get());
}

py::array Turn(py::handle img, int quarters, double dpi) {
  Dib src = ToDib(img, kAny, dpi, "turn");
  DibInfo* out = Unlocked([&] { return DibRotateBy90(src.get(), quarters, nullptr); });
  return FromDib(Require(out, "turn", "out of memory").get());
}

py::tuple Deskew(py::handle img, double dpi) {
  Dib src = ToDib(img, kAny, dpi, "deskew");
  double angle = 0;
  DibInfo* out = Unlocked([&] { return DibDeskew(src.get(), &angle, nullptr); });
  Dib result = Require(out, "deskew", "out of memory");
  return py::make_tuple(FromDib(result.get()), angle * 180.0 / M_PI);
}

py::tuple Orientation(py::handle img, double dpi) {
  Dib src = ToDib(img, kAny, dpi, "orientation");
  int confidence = 0;
  int const k = Unlocked([&] { return DibDetectDominantOrientation(src.get(), &confidence, nullptr); });
  if (k < -1) throw std::bad_alloc();
  return py::make_tuple(k < 0 ? py::object(py::none()) : py::object(py::int_(k)), confidence);
}

}  // namespace

void BindGeometry(py::module_& m) {
  using namespace pybind11::literals;
  m.def("rotate", &Rotate, "img"_a, "degrees"_a, "expand"_a = false, "interp"_a = "bilinear",
        "dpi"_a = 300.0,
        "The image turned clockwise by `degrees` about its centre (so horizontal lines come\n"
        "to descend to the right); a page of skew a is straightened by rotate(page, -a).\n\n"
        "expand=False keeps the size; True makes the result just large enough for the whole\n"
        "turned image. interp: 'bilinear', 'bicubic' or 'nearest' (1-bit images always stay\n"
        "1-bit). Uncovered corners get the paper: white for 1-bit, the measured paper level\n"
        "for grey and colour.");
  m.def("turn", &Turn, "img"_a, "quarters"_a, "dpi"_a = 300.0,
        "The image turned clockwise by quarters * 90 degrees (any integer; negative turns go\n"
        "anticlockwise). Lossless.");
  m.def("deskew", &Deskew, "img"_a, "dpi"_a = 300.0,
        "The page straightened: returns (image, degrees), the skew that was measured and\n"
        "corrected (positive: lines descended to the right). Same size and kind as the input;\n"
        "a page with nothing to measure comes back unchanged with 0.");
  m.def("orientation", &Orientation, "img"_a, "dpi"_a = 300.0,
        "(quarters, confidence): turn(img, quarters) makes the text upright; quarters is None\n"
        "when the page has no text to decide by. confidence is 0..100.");
}

}  // namespace quilp_py
