// The `quilp` Python module: quilp32's operations on numpy arrays. Each binding file adds one
// family; this file holds the helpers they share and the module's entry.
#include "module.h"

#include <cctype>
#include <cstdlib>

namespace quilp_py {

char const* CodeMeaning(int code) {
  switch (code) {
    case -1: return "invalid argument";
    case -2: return "the operation failed on this image";
    case -3: return "out of memory";
    case -4: return "not provided";
    case -5: return "destination requested before a source";
    default: return "failure";
  }
}

void CheckCode(int code, char const* what) {
  if (code < 0)
    throw py::value_error(std::string(what) + " failed: " + CodeMeaning(code) + " (code " +
                          std::to_string(code) + ")");
}

void ColourBytes(py::handle colour, unsigned char (&bgr)[3], char const* what) {
  int rgb[3];
  if (py::isinstance<py::str>(colour)) {
    std::string text = colour.cast<std::string>();
    if (!text.empty() && text[0] == '#') text.erase(0, 1);
    bool ok = text.size() == 6;
    for (char c : text) ok = ok && std::isxdigit(static_cast<unsigned char>(c));
    if (!ok) throw py::value_error(std::string(what) + ": colours are RRGGBB hex or (r, g, b)");
    long const v = std::strtol(text.c_str(), nullptr, 16);
    rgb[0] = int(v >> 16), rgb[1] = int((v >> 8) & 255), rgb[2] = int(v & 255);
  } else {
    py::sequence seq = py::reinterpret_borrow<py::sequence>(colour);
    if (!py::isinstance<py::sequence>(colour) || seq.size() != 3)
      throw py::value_error(std::string(what) + ": colours are RRGGBB hex or (r, g, b)");
    for (int i = 0; i < 3; ++i) rgb[i] = seq[i].cast<int>();
  }
  for (int v : rgb)
    if (v < 0 || v > 255) throw py::value_error(std::string(what) + ": colour bytes are 0..255");
  bgr[0] = uint8_t(rgb[2]), bgr[1] = uint8_t(rgb[1]), bgr[2] = uint8_t(rgb[0]);
}

void RefuseLeftovers(py::kwargs const& kwargs, char const* what) {
  for (auto item : kwargs)
    throw py::type_error(std::string(what) + ": unexpected keyword '" +
                         item.first.cast<std::string>() + "'");
}

}  // namespace quilp_py

PYBIND11_MODULE(quilp, m) {
  m.doc() =
      "quilp32's image operations for scanned document pages, on numpy arrays.\n\n"
      "Grey images are H x W uint8, colour images H x W x 3 uint8 in RGB order, 1-bit images\n"
      "H x W bool with True for ink. Any strides are accepted; results are new arrays. The\n"
      "`dpi` keyword gives the resolution operations scale their defaults by (300). Every\n"
      "failure raises ValueError with the reason. Calls release the GIL, so a thread pool\n"
      "over pages uses every core.";
  quilp_py::BindConversion(m);
  quilp_py::BindBinarize(m);
  quilp_py::BindFilters(m);
  quilp_py::BindMeasures(m);
  quilp_py::BindGeometry(m);
  quilp_py::BindScaling(m);
  quilp_py::BindMorphology(m);
  quilp_py::BindClean(m);
}
