// Morphology: structuring-element operations, despeckling, rank reduction, distances and
// skeletons. On 1-bit arrays every operation speaks of the ink (True), as scikit-image does;
// the library's 1-bit morphology works on the set (paper) bits, so operations are mirrored
// here: eroding the ink is dilating the paper, a white top-hat of the ink is a black top-hat
// of the paper, and hit-or-miss patterns swap hits and misses. Differences and hit-or-miss
// matches come back as set bits and are turned into ink.
#include <cmath>
#include <cstdlib>
#include <map>

#include "module.h"

namespace quilp_py {

namespace {

struct Op {
  int grey, ink;  // the library's operation for grey images and for ink on 1-bit images
};
std::map<std::string, Op> const kOps = {
    {"erode", {DibMorphErode, DibMorphDilate}},   {"dilate", {DibMorphDilate, DibMorphErode}},
    {"open", {DibMorphOpen, DibMorphClose}},      {"close", {DibMorphClose, DibMorphOpen}},
    {"tophat", {DibMorphTopHat, DibMorphBotHat}}, {"bothat", {DibMorphBotHat, DibMorphTopHat}},
    {"hitmiss", {-1, DibMorphHitMiss}},           {"gradient", {DibMorphGradient, DibMorphGradient}},
    {"gradient-in", {DibMorphGradientIn, DibMorphGradientOut}},
    {"gradient-out", {DibMorphGradientOut, DibMorphGradientIn}}};

// "rect:W,H", "cross:N", "disc:R", "line:L,DEG" or a text pattern "010/111/010".
void ParseElement(std::string const& se, bool swap, SDibMorphSetup& s, std::string& pattern) {
  auto const colon = se.find(':');
  std::string const kind = se.substr(0, colon);
  std::vector<double> v;
  if (colon != std::string::npos) {
    char const* p = se.c_str() + colon + 1;
    while (*p) {
      char* end = nullptr;
      v.push_back(std::strtod(p, &end));
      if (end == p) throw py::value_error("morph: bad element '" + se + "'");
      p = *end == ',' ? end + 1 : end;
    }
  }
  auto need = [&](std::size_t n) {
    if (v.size() != n) throw py::value_error("morph: element '" + se + "' needs " + std::to_string(n) + " numbers");
  };
  if (kind == "rect") need(2), s.shape = DibShapeRect, s.hSize = int(v[0]), s.vSize = int(v[1]);
  else if (kind == "cross") need(1), s.shape = DibShapeCross, s.hSize = int(v[0]);
  else if (kind == "disc") need(1), s.shape = DibShapeDisc, s.hSize = int(v[0]);
  else if (kind == "line") need(2), s.shape = DibShapeLine, s.hSize = int(v[0]), s.angle = v[1] * M_PI / 180.0;
  else if (colon == std::string::npos) {
    pattern = se;
    if (swap)  // hit-or-miss: hits are ink, which the library stores as clear bits
      for (char& c : pattern) c = c == '1' || c == 'x' || c == 'X' || c == '#' ? '0' : c == '0' || c == 'o' || c == 'O' ? '1' : c;
    s.shape = DibShapeText;
    s.pattern = pattern.c_str();
  } else {
    throw py::value_error("morph: element is rect:W,H, cross:N, disc:R, line:L,DEG or a pattern like 010/111/010");
  }
}

py::array Morph(py::handle img, std::string const& op, std::string const& se, double dpi) {
  Dib src = ToDib(img, kBits | kGrey, dpi, "morph");
  auto const it = kOps.find(op);
  if (it == kOps.end())
    throw py::value_error("morph: op is erode, dilate, open, close, tophat, bothat, hitmiss, "
                          "gradient, gradient-in or gradient-out");
  bool const ink = src->BitsPerPixel() == 1;
  SDibMorphSetup setup{};
  setup.oper = ink ? it->second.ink : it->second.grey;
  if (setup.oper < 0) throw py::value_error("morph: hitmiss takes 1-bit images");
  std::string pattern;
  ParseElement(se, ink && setup.oper == DibMorphHitMiss, setup, pattern);
  DibInfo* out = Unlocked([&] { return DibMorphCommon(src.get(), &setup, nullptr); });
  Dib result = Require(out, "morph", "the element is empty, too large or malformed");
  py::array a = FromDib(result.get());
  // A difference of two ink images is set (white) where the library finds it: flip to ink.
  if (ink && setup.oper >= DibMorphTopHat) {
    auto* p = static_cast<bool*>(a.mutable_data());
    for (py::ssize_t i = 0; i < a.size(); ++i) p[i] = !p[i];
  }
  return a;
}

py::array Despeckle(py::handle bits, int size, int isolation, double dpi) {
  Dib src = ToDib(bits, kBits, dpi, "despeckle");
  if (size < 0 || isolation < 0) throw py::value_error("despeckle: sizes are 0 (by dpi) or more");
  DibInfo* out = Unlocked([&] { return DibCleanPimples(src.get(), size, isolation, nullptr); });
  return FromDib(Require(out, "despeckle", "out of memory").get());
}

py::array Squeeze(py::handle bits, int level) {
  Dib src = ToDib(bits, kBits, 300, "squeeze");
  if (level < 1 || level > 4) throw py::value_error("squeeze: level is 1..4");
  DibInfo* out = Unlocked([&] { return DibSqueeze(src.get(), level, nullptr); });
  return FromDib(Require(out, "squeeze", "out of memory").get());
}

py::array Distance(py::handle bits, std::string const& metric, bool of_paper) {
  Dib src = ToDib(bits, kBits, 300, "distance");
  int const m = metric == "euclid" ? DibMetricEuclid : metric == "city" ? DibMetricCity
              : metric == "chess" ? DibMetricChess : -1;
  if (m < 0) throw py::value_error("distance: metric is 'euclid', 'city' or 'chess'");
  DibInfo* out = Unlocked([&] { return DibDistanceTransform(src.get(), m, 32, of_paper, nullptr); });
  Dib result = Require(out, "distance", "out of memory");
  int const w = result->Width(), h = result->Height();
  py::array_t<double> a({h, w});
  double* o = a.mutable_data();
  for (int y = 0; y < h; ++y) {
    auto const* row = reinterpret_cast<int32_t const*>(result->GetLine(y));
    for (int x = 0; x < w; ++x, ++o)
      *o = row[x] == INT32_MAX ? INFINITY : m == DibMetricEuclid ? std::sqrt(double(row[x])) : row[x];
  }
  return a;
}

py::array Skeleton(py::handle bits, std::string const& kind) {
  Dib src = ToDib(bits, kBits, 300, "skeleton");
  DibInfo* (*call)(DibInfo*, tagRect32*) = kind == "thin" ? DibSkelet : kind == "weak" ? DibSkeletWeak
                                         : kind == "medial" ? DibSkeletize : nullptr;
  if (!call) throw py::value_error("skeleton: kind is 'thin', 'weak' or 'medial'");
  DibInfo* out = Unlocked([&] { return call(src.get(), nullptr); });
  return FromDib(Require(out, "skeleton", "out of memory").get());
}

}  // namespace

void BindMorphology(py::module_& m) {
  using namespace pybind11::literals;
  m.def("morph", &Morph, "img"_a, "op"_a, "se"_a = "rect:3,3", "dpi"_a = 300.0,
        "Morphology of the ink of a 1-bit image (True = ink) or of a grey image.\n\n"
        "op: erode, dilate, open, close, tophat, bothat, hitmiss (1-bit), gradient,\n"
        "gradient-in, gradient-out. se: 'rect:W,H', 'cross:N', 'disc:R', 'line:L,DEG', or a\n"
        "pattern such as '010/111/010' ('1' hit, '0' miss, '.' neither; rows by '/').\n"
        "Beyond the image lies paper (1-bit); grey borders do not take part.");
  m.def("despeckle", &Despeckle, "bits"_a, "size"_a = 0, "isolation"_a = 0, "dpi"_a = 300.0,
        "Dust, specks, white holes and one-pixel edge bumps removed from a 1-bit page.\n\n"
        "size: the largest speck side (0: dpi / 50); isolation: how far other ink must be for\n"
        "a small speck to go (0: dpi / 15). Full stops and i-dots beside letters stay.");
  m.def("squeeze", &Squeeze, "bits"_a, "level"_a = 1,
        "Rank-order reduction by two per axis: ink where at least `level` of 4 pixels are ink.");
  m.def("distance", &Distance, "bits"_a, "metric"_a = "euclid", "of_paper"_a = false,
        "Exact distance of every ink pixel to the nearest paper (of_paper=True: of every paper\n"
        "pixel to the nearest ink), as float64; 0 on the other class, inf when it is absent.\n"
        "metric: 'euclid', 'city' or 'chess'.");
  m.def("skeleton", &Skeleton, "bits"_a, "kind"_a = "thin",
        "The ink's skeleton: 'thin' (one pixel wide, topology kept), 'weak' (strokes keep\n"
        "their length) as 1-bit, or 'medial' as uint8 distances to the paper along it.");
}

}  // namespace quilp_py
