// Otsu levels and binarization.
#include <cmath>
#include <map>
#include <vector>

#include "module.h"

namespace quilp_py {

namespace {

py::object OtsuLevels(py::handle img, int classes, double dpi) {
  Dib src = ToDib(img, kGrey | kColour, dpi, "otsu_levels");
  if (classes != 2 && classes != 3) throw py::value_error("otsu_levels: classes is 2 or 3");
  int levels[2] = {0, 0};
  bool const ok = Unlocked([&] { return DibGetOtsuLevels(levels, src.get(), classes, nullptr); });
  if (!ok) throw py::value_error("otsu_levels failed: the colour image has no grey axis");
  if (classes == 2) return py::int_(levels[0]);
  return py::make_tuple(levels[0], levels[1]);
}

// Method names and their keyed-binarization codes.
std::map<std::string, int> const kMethods = {
    {"threshold", 0}, {"band", 1}, {"otsu", 2}, {"otsu-r", 3},
    {"niblack", 4}, {"sauvola", 4}, {"wolf", 4}, {"niglob", 5}, {"stat", 6}, {"auto", 7}};

py::array Binarize(py::handle img, std::string const& method, double dpi, py::kwargs kwargs) {
  Dib src = ToDib(img, kGrey | kColour, dpi, "binarize");
  auto const it = kMethods.find(method);
  if (it == kMethods.end())
    throw py::value_error("binarize: method is threshold, band, otsu, otsu-r, niblack, sauvola, "
                          "wolf, niglob, stat or auto");
  int const code = it->second;
  int p1 = 0, p2 = 0;
  std::vector<std::string> names, values;
  bool const invert = Take(kwargs, "invert", false);
  if (code == 0) {
    p1 = Take(kwargs, "threshold", 128);
    if (p1 < 0 || p1 > 256) throw py::value_error("binarize: threshold is 0..256");
    p2 = invert;
  } else if (code == 1) {
    p1 = Take(kwargs, "classes", 2);
    int const from = Take(kwargs, "low", 0), to = Take(kwargs, "high", 0);
    if (from < 0 || from > 2 || to < 0 || to > 2) throw py::value_error("binarize: low and high are class numbers");
    p2 = from | to << 8 | int(invert) << 16 | int(Take(kwargs, "ignore_extremes", false)) << 17;
  } else if (code <= 3) {
    p2 = invert;
  } else {
    p1 = Take(kwargs, "window", 0);
    p2 = int(std::lround(Take(kwargs, "k", 0.0) * 100.0));
    if (code == 4 || code == 5) {
      std::string const variant = code == 5 ? Take(kwargs, "variant", std::string("niblack")) : method;
      int const v = variant == "niblack" ? 0 : variant == "sauvola" ? 1 : variant == "wolf" ? 2 : -1;
      if (v < 0) throw py::value_error("binarize: variant is niblack, sauvola or wolf");
      names.push_back("variant"), values.push_back(std::to_string(v));
    }
  }
  RefuseLeftovers(kwargs, "binarize");
  std::vector<char const*> n, v;
  for (auto const& s : names) n.push_back(s.c_str());
  for (auto const& s : values) v.push_back(s.c_str());
  DibInfo* out = nullptr;
  int const status = Unlocked([&] {
    return DibBinarizeEx(out, src.get(), code, p1, p2, int(n.size()), n.data(), v.data(),
                         nullptr, nullptr);
  });
  Dib result(out);
  CheckCode(status, "binarize");
  return FromDib(result.get());
}

}  // namespace

void BindBinarize(py::module_& m) {
  using namespace pybind11::literals;
  m.def("otsu_levels", &OtsuLevels, "img"_a, "classes"_a = 2, "dpi"_a = 300.0,
        "Otsu's threshold of a grey (or colour, through its main grey axis) image.\n\n"
        "classes=2 returns t: levels 0..t-1 against t..255. classes=3 returns (t1, t2), each\n"
        "the last level of its lower class.");
  m.def("binarize", &Binarize, "img"_a, "method"_a = "auto", py::kw_only(), "dpi"_a = 300.0,
        "A 1-bit image (True = ink) of a grey or colour image.\n\n"
        "method:\n"
        "  'auto'       the recommended adaptive method, windows scaled by dpi;\n"
        "  'threshold'  threshold=T: ink below T (invert=True: at or above);\n"
        "  'otsu'       ink below Otsu's threshold; 'otsu-r' ignores levels 0, 1, 254, 255;\n"
        "  'band'       classes=2|3, low, high: ink over that band of Otsu classes;\n"
        "  'niblack', 'sauvola', 'wolf' (window, k: local mean and deviation), 'niglob'\n"
        "               (variant, window, k: Otsu settles the clear pixels, the local rule the\n"
        "               rest), 'stat' (window, k: contrast to the paper surface); window 0 and\n"
        "               k 0 take each method's defaults.\n"
        "Unknown keywords raise TypeError.");
}

}  // namespace quilp_py
