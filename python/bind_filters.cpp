// Grey filters, and erosion and dilation of 1-bit images.
#include <cmath>
#include <map>

#include "module.h"

namespace quilp_py {

namespace {

std::map<std::string, int> const kOps = {
    {"levels", 256}, {"min", 258},   {"max", 259},    {"open", 260},   {"close", 261},
    {"reduce", 262}, {"gain", 263},  {"gamma", 264},  {"smooth", 265}, {"local", 266},
    {"flatten", 267}, {"negative", 268}};

int Fixed256(double v, char const* key) {
  double const scaled = std::floor(v * 256.0 + 0.5);
  if (!(scaled >= -2147483648.0 && scaled <= 2147483647.0))
    throw py::value_error(std::string("filter: ") + key + " is out of range");
  return int(scaled);
}

py::array Filter(py::handle img, std::string const& op, double dpi, py::kwargs kwargs) {
  auto const it = kOps.find(op);
  if (it == kOps.end())
    throw py::value_error("filter: op is levels, min, max, open, close, reduce, gain, gamma, "
                          "smooth, local, flatten or negative");
  Dib src = ToDib(img, op == "reduce" ? unsigned(kAny) : unsigned(kGrey), dpi, "filter");
  int p1 = 0, p2 = 0, p3 = 0;
  if (it->second >= 258 && it->second <= 261) {
    int const size = Take(kwargs, "size", 3);
    p2 = Take(kwargs, "hsize", size);
    p3 = Take(kwargs, "vsize", size);
  } else if (op == "reduce") {
    p1 = p2 = Take(kwargs, "to_dpi", 0);
    p3 = int(std::lround(Take(kwargs, "factor", 0.0) * 100.0));
    if (p1 <= 0 && p3 < 100) throw py::value_error("filter: reduce needs to_dpi or factor >= 1");
  } else if (op == "gain") {
    p1 = Fixed256(Take(kwargs, "gain", 1.0), "gain");
    p2 = Fixed256(Take(kwargs, "offset", 0.0), "offset");
  } else if (op == "gamma") {
    p3 = Fixed256(Take(kwargs, "gamma", 1.0), "gamma");
  } else if (op == "smooth") {
    double const sigma = Take(kwargs, "sigma", 1.0);
    p1 = Fixed256(Take(kwargs, "hsigma", sigma), "hsigma");
    p2 = Fixed256(Take(kwargs, "vsigma", sigma), "vsigma");
  } else if (op == "local") {
    p1 = p2 = Take(kwargs, "window", 31);
    p3 = Take(kwargs, "noise", 0);
  } else if (op == "flatten") {
    p1 = Take(kwargs, "window", 0);
  }
  RefuseLeftovers(kwargs, "filter");
  DibInfo* out = nullptr;
  int const code = Unlocked([&] {
    return DibFilterGreyEx(out, src.get(), it->second, p1, p2, p3, 0, nullptr, nullptr, nullptr);
  });
  Dib result(out);
  CheckCode(code, ("filter " + op).c_str());
  return FromDib(result.get());
}

py::array ErodeDilate(py::handle bits, int amount, double dpi) {
  Dib src = ToDib(bits, kBits, dpi, "erode_dilate");
  if (amount < -127 || amount > 32) throw py::value_error("erode_dilate: amount is -127..32");
  DibInfo* out = nullptr;
  bool const ok = Unlocked([&] { return DibErodeDilate(out, src.get(), amount, nullptr); });
  Dib result(out);
  if (!ok) throw std::bad_alloc();
  return FromDib(result.get());
}

}  // namespace

void BindFilters(py::module_& m) {
  using namespace pybind11::literals;
  m.def("filter", &Filter, "img"_a, "op"_a, py::kw_only(), "dpi"_a = 300.0,
        "A grey filter of a grey image (reduce: any image).\n\n"
        "op and its keywords:\n"
        "  'min', 'max', 'open', 'close'  size=3 or hsize, vsize (odd window sizes);\n"
        "  'levels'    stretch, clipping the darkest and lightest 0.5%;\n"
        "  'gain'      gain=1.0, offset=0.0: v * gain + offset;\n"
        "  'gamma'     gamma=1.0: (v / 256) ** gamma * 256;\n"
        "  'smooth'    sigma=1.0 or hsigma, vsigma: Gaussian;\n"
        "  'local'     window=31, noise=0 (24): local contrast normalisation;\n"
        "  'flatten'   window=0 (a sixth of an inch): paper made white under uneven light;\n"
        "  'reduce'    to_dpi=N or factor=F >= 1: area-averaged reduction;\n"
        "  'negative'  255 - v.");
  m.def("erode_dilate", &ErodeDilate, "bits"_a, "amount"_a, "dpi"_a = 300.0,
        "Ink grown or shrunk evenly in every direction (city-block, half-pixel steps).\n\n"
        "amount > 0 thickens the ink by 2 * amount pixels; amount < 0 thins it by -amount half\n"
        "pixels (-127..32). Works on 1-bit images (True = ink).");
}

}  // namespace quilp_py
