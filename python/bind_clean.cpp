// quilp.clean: the tool's cleaning pipeline (tools/quilp/clean_pipeline.cpp, compiled into the
// module) on one array.
#include "module.h"
#include "quilp/clean_pipeline.h"

namespace quilp_py {

namespace {

py::object Clean(py::handle img, bool orient, bool deskew, bool margins, bool flatten,
                 bool despeckle, bool dropout, std::string const& output, double dpi, bool report) {
  Dib src = ToDib(img, kAny, dpi, "clean");
  quilp_cli::CleanSettings settings;
  settings.orient = orient, settings.deskew = deskew, settings.margins = margins;
  settings.flatten = flatten, settings.despeckle = despeckle, settings.dropout = dropout;
  if (output == "bits") settings.depth = quilp_cli::OutputDepth::Binary;
  else if (output == "grey") settings.depth = quilp_cli::OutputDepth::Grey;
  else if (output == "colour") settings.depth = quilp_cli::OutputDepth::Colour;
  else if (output == "auto") settings.depth = quilp_cli::OutputDepth::Auto;
  else throw py::value_error("clean: output is 'bits', 'grey', 'colour' or 'auto'");
  quilp_cli::PageReport r;
  quilp_cli::Dib cleaned;
  std::string error;
  {
    py::gil_scoped_release release;
    try {
      cleaned = quilp_cli::CleanPage(src.get(), settings, r);
    } catch (quilp_cli::CliError const& e) {
      error = e.what();
    }
  }
  if (!error.empty()) throw py::value_error("clean: " + error);
  py::array page = FromDib(cleaned.get());
  if (!report) return page;
  py::dict d;
  d["quarter_turns"] = r.quarterTurns;
  d["skew_degrees"] = r.skewMeasured ? py::object(py::float_(r.skewDegrees)) : py::object(py::none());
  d["deskewed"] = r.deskewed;
  d["border_pixels"] = r.borderPixels;
  d["holes"] = r.holes;
  d["colour_dropped"] = r.colourDropped;
  d["flattened"] = r.flattened;
  d["despeckled"] = r.despeckled;
  d["output_bits"] = r.outputBits;
  d["milliseconds"] = r.milliseconds;
  return py::make_tuple(page, d);
}

}  // namespace

void BindClean(py::module_& m) {
  using namespace pybind11::literals;
  m.def("clean", &Clean, "img"_a, py::kw_only(), "orient"_a = true, "deskew"_a = true,
        "margins"_a = true, "flatten"_a = true, "despeckle"_a = true, "dropout"_a = true,
        "output"_a = "bits", "dpi"_a = 300.0, "report"_a = false,
        "A scanned page made clean, straight and OCR-ready: the pipeline of `quilp clean`.\n\n"
        "Steps, each switchable: margins (dark scanner borders and punch holes painted white),\n"
        "orient (turned upright when the text says so confidently), deskew, flatten (uneven\n"
        "light), dropout (colour pages: coloured ink made light in the grey that the steps and\n"
        "the 'bits' and 'grey' outputs use), the output ('bits': the recommended adaptive\n"
        "binarization; 'grey'; 'colour';\n"
        "'auto': the smallest depth that keeps the content), despeckle (1-bit output).\n"
        "report=True returns (page, dict of what was done).");
}

}  // namespace quilp_py
