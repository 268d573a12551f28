// bmp_files.h - writes records as BMP files into the CLI tests' work folder.
#pragma once

#include <string>

#include "quilp32.h"

namespace cli_test {

// Writes `dib` (header, palette, rows as stored) as the file `name` of this process's work
// folder. Returns `name`, the file's path relative to the folder the tool runs in.
std::string WriteBmpFile(std::string const& name, DibInfo const* dib);

}  // namespace cli_test
