// fuzz_read_bmp.cpp - the tool's BMP reader on arbitrary file bytes. A refusal is a CliError;
// anything else (a crash, a sanitizer report, another exception) is a finding.
#include <vector>

#include "quilp/cli.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  try {
    quilp_cli::DecodeBmp(std::vector<unsigned char>(data, data + size), "'fuzz'");
  } catch (quilp_cli::CliError const&) {
  }
  return 0;
}
