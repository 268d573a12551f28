// bmp_files.h - writes records as BMP files into the CLI tests' work folder, and reads them.
#pragma once

#include <string>

#include "cli_runner.h"
#include "pages/page_maker.h"
#include "quilp32.h"
#include "support/images.h"

namespace cli_test {

// Writes `dib` (header, palette, rows as stored) as the file `name` of this process's work
// folder. Returns `name`, the file's path relative to the folder the tool runs in.
std::string WriteBmpFile(std::string const& name, DibInfo const* dib);

// Writes the made page as `name` and, when `bitsName` is given, its 1-bit threshold at 150
// as `bitsName`. Returns `name`.
std::string WritePageFile(std::string const& name, quilp_pages::PageSpec const& layout,
                          std::string const& bitsName = "");

using testing_support::DibPtr;

// Reads a BMP file of the work folder as written by the tool (40-byte header, standard
// palette); null when it is missing or not such a file.
inline DibPtr ReadBmpFile(std::string const& name) { return testing_support::ReadBmp(WorkPath(name)); }

}  // namespace cli_test
