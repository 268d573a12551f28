// bmp_files.h - writes records as BMP files into the CLI tests' work folder.
#pragma once

#include <string>

#include "quilp32.h"

namespace cli_test {

// Writes `dib` (header, palette, rows as stored) to a file of the work folder whose name is
// `name` prefixed with this process's id, so parallel test processes never share an input.
// Returns the file name relative to the work folder.
std::string WriteBmpFile(std::string const& name, DibInfo const* dib);

}  // namespace cli_test
