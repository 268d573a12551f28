// Shared pieces of the module's binding files: calls without the GIL, keyed results, colours.
#pragma once

#include <string>
#include <utility>

#include "arrays.h"

namespace quilp_py {

// Runs a library call with the GIL released, so threads over pages use every core.
template <class F>
auto Unlocked(F&& call) {
  py::gil_scoped_release release;
  return call();
}

// The words for a keyed export's negative result code.
char const* CodeMeaning(int code);
// Raises ValueError("<what> failed: <meaning> (code N)") for a negative code.
void CheckCode(int code, char const* what);
// A colour given as (r, g, b) or "RRGGBB"/"#RRGGBB", as the library's blue-first bytes.
void ColourBytes(py::handle colour, unsigned char (&bgr)[3], char const* what);
// The value of `key` in kwargs, or `fallback`; the key is removed, so leftovers can be refused.
template <class T>
T Take(py::kwargs& kwargs, char const* key, T fallback) {
  if (!kwargs.contains(key)) return fallback;
  T value = kwargs[key].cast<T>();
  PyDict_DelItemString(kwargs.ptr(), key);
  return value;
}
// Raises TypeError naming the first keyword that was not taken.
void RefuseLeftovers(py::kwargs const& kwargs, char const* what);

void BindConversion(py::module_& m);  // grey, colour dropout, depth decision
void BindBinarize(py::module_& m);
void BindFilters(py::module_& m);     // grey filters, erosion and dilation
void BindMeasures(py::module_& m);    // skew, difference, variance
void BindGeometry(py::module_& m);    // rotation, turns, deskewing, orientation
void BindScaling(py::module_& m);     // previews and upscaling
void BindMorphology(py::module_& m);  // elements, despeckling, distances, skeletons
void BindClean(py::module_& m);       // the cleaning pipeline of the tool

}  // namespace quilp_py
