// bmp_files.h - writes records as BMP files into the CLI tests' work folder.
#pragma once

#include <memory>
#include <string>

#include "pages/page_maker.h"
#include "quilp32.h"

namespace cli_test {

// Writes `dib` (header, palette, rows as stored) as the file `name` of this process's work
// folder. Returns `name`, the file's path relative to the folder the tool runs in.
std::string WriteBmpFile(std::string const& name, DibInfo const* dib);

// Writes the made page as `name` and, when `bitsName` is given, its 1-bit threshold at 150
// as `bitsName`. Returns `name`.
std::string WritePageFile(std::string const& name, quilp_pages::PageSpec const& layout,
                          std::string const& bitsName = "");

}  // namespace cli_test

namespace cli_test {

struct DibDeleter {
  void operator()(DibInfo* d) const { DibFree(d); }
};
using DibPtr = std::unique_ptr<DibInfo, DibDeleter>;

// Reads a BMP file of the work folder as written by the tool (40-byte header, standard
// palette); null when it is missing or not such a file. Release with DibFree.
DibInfo* ReadBmpFile(std::string const& name);

}  // namespace cli_test
