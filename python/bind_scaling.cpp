// Zoomed previews and upscaling.
#include <cmath>

#include "module.h"

namespace quilp_py {

namespace {

py::array Zoom(py::handle img, double factor, bool grey, double dpi) {
  Dib src = ToDib(img, kAny, dpi, "zoom");
  if (!(factor > 0) || !std::isfinite(factor)) throw py::value_error("zoom: factor must be positive");
  DibInfo* out = Unlocked([&] {
    return grey ? DibMakeZoom8(src.get(), factor, nullptr) : DibMakeZoom(src.get(), factor, nullptr);
  });
  return FromDib(Require(out, "zoom", "the result would be too large").get());
}

py::array Upscale(py::handle img, double factor, double dpi) {
  Dib src = ToDib(img, kAny, dpi, "upscale");
  DibInfo* out = nullptr;
  int const code = Unlocked([&] { return DibUpscale(out, src.get(), factor, nullptr); });
  Dib result(out);
  if (code == -1)
    throw py::value_error(src->BitsPerPixel() == 1 ? "upscale: 1-bit images take factors 2, 3 or 4"
                                                   : "upscale: factor must be 1 or more");
  CheckCode(code, "upscale");
  return FromDib(result.get());
}

}  // namespace

void BindScaling(py::module_& m) {
  using namespace pybind11::literals;
  m.def("zoom", &Zoom, "img"_a, "factor"_a, "grey"_a = false, "dpi"_a = 300.0,
        "A preview of round(size * factor) pixels per axis: exact area averages when reducing,\n"
        "bilinear when enlarging. grey=True gives uint8 grey of any image (a 1-bit page becomes\n"
        "anti-aliased grey text); otherwise the kind is kept and a 1-bit preview keeps thin\n"
        "strokes.");
  m.def("upscale", &Upscale, "img"_a, "factor"_a, "dpi"_a = 300.0,
        "Enlargement for OCR: grey and colour by any factor >= 1 (cubic), 1-bit by 2, 3 or 4\n"
        "with smooth edges (never pixel replication); the result keeps the kind.");
}

}  // namespace quilp_py
