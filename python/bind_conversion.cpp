// Grey conversion, colour dropout and the depth decision.
#include <vector>

#include "module.h"

namespace quilp_py {

namespace {

py::array ToGrey(py::handle img, py::object colour, std::string const& mode, int weight,
                 double dpi) {
  Dib src = ToDib(img, kColour, dpi, "to_grey");
  unsigned char ref[1][3];
  unsigned char const(*pref)[3] = nullptr;
  if (!colour.is_none()) ColourBytes(colour, ref[0], "to_grey"), pref = ref;
  DibInfo* out = nullptr;
  if (mode == "plain") {
    out = Unlocked([&] { return DibRGB2Grey(src.get(), pref, nullptr); });
  } else if (mode == "centred") {
    out = Unlocked([&] { return DibRGB2GreyN(src.get(), pref, nullptr); });
  } else if (mode == "x") {
    if (weight < 1) throw py::value_error("to_grey: weight must be 1 or more");
    out = Unlocked([&] { return DibRGB2GreyX(src.get(), pref, weight, nullptr); });
  } else {
    throw py::value_error("to_grey: mode is 'plain', 'centred' or 'x'");
  }
  return FromDib(Require(out, "to_grey", "no grey direction (a black image, or a grey colour)").get());
}

std::vector<std::array<unsigned char, 3>> Colours(py::handle list, char const* what) {
  std::vector<std::array<unsigned char, 3>> out;
  if (py::isinstance<py::str>(list)) {
    out.emplace_back();
    ColourBytes(list, reinterpret_cast<unsigned char(&)[3]>(*out.back().data()), what);
    return out;
  }
  for (py::handle c : py::iter(list)) {
    out.emplace_back();
    ColourBytes(c, reinterpret_cast<unsigned char(&)[3]>(*out.back().data()), what);
  }
  return out;
}

py::array DropColours(py::handle img, py::handle drop, py::handle keep, double dpi) {
  Dib src = ToDib(img, kColour, dpi, "drop_colours");
  auto const dropped = Colours(drop, "drop_colours");
  auto const kept = Colours(keep, "drop_colours");
  if (dropped.empty()) throw py::value_error("drop_colours: name at least one colour to drop");
  using Triple = unsigned char const(*)[3];
  auto const* d = reinterpret_cast<Triple>(dropped.data());
  auto const* k = reinterpret_cast<Triple>(kept.data());
  DibInfo* out = Unlocked([&] {
    return kept.empty() && dropped.size() == 1
               ? DibSupressColor(src.get(), d, nullptr)
               : DibSupressColors(src.get(), int(kept.size()), kept.empty() ? nullptr : k,
                                  int(dropped.size()), d, nullptr);
  });
  if (!out && kept.empty() && dropped.size() > 1)
    throw py::value_error("drop_colours: several dropped colours need at least one kept colour");
  return FromDib(Require(out, "drop_colours", "white or neutral colours cannot be dropped").get());
}

py::tuple CompressDepth(py::handle img, int chroma, double share, double spread, double dpi) {
  Dib src = ToDib(img, kAny, dpi, "compress_depth");
  if (chroma < 0 || chroma > 255) throw py::value_error("compress_depth: chroma is 0..255");
  DibInfo* out = nullptr;
  int const code = Unlocked([&] {
    return DibCompressBits(out, src.get(), static_cast<unsigned char>(chroma), share, spread,
                           nullptr);
  });
  Dib result(out);
  if (!result || code < 0) CheckCode(code < 0 ? code : -2, "compress_depth");
  return py::make_tuple(result->BitsPerPixel(), FromDib(result.get()));
}

}  // namespace

void BindConversion(py::module_& m) {
  using namespace pybind11::literals;
  m.def("to_grey", &ToGrey, "img"_a, "colour"_a = py::none(), "mode"_a = "plain",
        "weight"_a = 16, "dpi"_a = 300.0,
        "Colour to grey by projection on a direction stretched over 0..255.\n\n"
        "colour: the reference colour (r, g, b) or 'RRGGBB'; None takes the main axis of the\n"
        "image's colours. mode 'plain' stretches over the colour cube; 'centred' centres the\n"
        "reference colour on mid-grey; 'x' also lifts colourful pixels toward white by\n"
        "weight/16 level per unit of distance from the grey axis. Raises ValueError for a\n"
        "non-colour image or when there is no direction (a black image, a grey colour).");
  m.def("drop_colours", &DropColours, "img"_a, "drop"_a, "keep"_a = py::tuple(), "dpi"_a = 300.0,
        "Grey image in which the dropped colours turn white.\n\n"
        "drop, keep: colours as (r, g, b) or 'RRGGBB' (one, or a list). One dropped colour\n"
        "and nothing kept removes it by linear projection; otherwise pixels near a kept colour\n"
        "keep their darkness and pixels near a dropped one turn white (at least one kept\n"
        "colour is then needed). White and neutral colours cannot be dropped.");
  m.def("compress_depth", &CompressDepth, "img"_a, "chroma"_a = 24, "share"_a = 0.001,
        "spread"_a = 0.02, "dpi"_a = 300.0,
        "The smallest depth that keeps the image's content: returns (depth, image).\n\n"
        "Colour stays colour when the mean chroma of its most colourful `share` of pixels\n"
        "exceeds `chroma`; otherwise it becomes grey, and grey becomes 1-bit when the spread\n"
        "of its local extremum levels around their Otsu classes is below `spread`.");
}

}  // namespace quilp_py
