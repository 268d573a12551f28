// fuzz_read_image.cpp - the tool's image readers (BMP, PNG, TIFF, JPEG, PNM, picked by the
// file's first bytes) on arbitrary file bytes. A refusal is an error string in the result;
// anything else (a crash, a sanitizer report, an exception) is a finding.
#include "quilp/image_formats.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
  // A small pixel cap keeps a declared size from costing the run its memory.
  quilp_cli::DecodeImage(data, size, uint64_t{1} << 22);
  return 0;
}
