// Arrays <-> records at the module's boundary.
//
// numpy conventions: grey is H x W uint8; colour is H x W x 3 uint8 in red, green, blue order;
// 1-bit is H x W bool with True for ink. Records are made bottom-up (the common order) with
// the resolution of the `dpi` keyword; any strides are read, so slices and transposed views
// need no copy on the Python side. Each conversion is one pass over the pixels.
#pragma once

#include <memory>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "quilp32.h"

namespace quilp_py {

namespace py = pybind11;

struct DibDeleter {
  void operator()(DibInfo* dib) const { DibFree(dib); }
};
using Dib = std::unique_ptr<DibInfo, DibDeleter>;

// The kinds of array the module takes; `accept` lists those an operation allows.
enum Kind : unsigned { kBits = 1, kGrey = 2, kColour = 4, kAny = 7 };

// A record of the array's pixels. Raises ValueError naming `what` for another dtype or shape,
// an empty array or a kind outside `accept`.
Dib ToDib(py::handle array, unsigned accept, double dpi, char const* what);
// The record's pixels as a new array (1, 8, 24 or 32 bits; the fourth byte of 32 is dropped).
py::array FromDib(DibInfo const* dib);
// Raises ValueError("<what>: <why>") when dib is null; returns it otherwise.
Dib Require(DibInfo* dib, char const* what, char const* why);
// The record's horizontal resolution in dots per inch (300 when it has none).
double DpiOf(DibInfo const* dib);

}  // namespace quilp_py
