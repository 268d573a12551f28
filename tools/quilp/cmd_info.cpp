// cmd_info.cpp - "quilp info": the header fields of a BMP file's record.
#include <cstdio>
#include <cstring>
#include <fstream>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

// The grade of the file's own header and palette (the record read from it always carries the
// library's standard palettes, so it is graded from the file, not from that record).
char const* CanonicalGradeInWords(std::string const& path) {
  struct {
    DibInfo header;
    tagRGBQUAD palette[256];
  } raw{};
  std::ifstream in(path, std::ios::binary);
  unsigned char file[14 + 40 + sizeof raw.palette] = {};
  in.read(reinterpret_cast<char*>(file), sizeof file);
  if (file[0] != 'B' || file[1] != 'M') return "not graded: the file holds no record (not BMP)";
  std::memcpy(static_cast<tagBITMAPINFOHEADER*>(&raw.header), file + 14, 40);
  std::memcpy(raw.palette, file + 14 + 40, sizeof raw.palette);
  switch (DibIsCanonical(&raw.header, static_cast<DibDirection>(0))) {
    case 0: return "yes";
    case 1: return "no: well formed, but its palette or colour count differ from the standard form";
    case 2: return "no: malformed header";
    case 3: return "no: a kind the library's operations do not take";
    default: return "unknown";
  }
}

int RunInfo(Args const& args) {
  Dib dib = ReadBmp(args.Positional(0, "input file"));
  std::printf("size:        %d x %d pixels\n", dib->Width(), dib->Height());
  std::printf("depth:       %d bits per pixel\n", dib->BitsPerPixel());
  std::printf("row order:   %s\n", dib->biHeight > 0 ? "bottom-up" : "top-down");
  std::printf("stride:      %d bytes\n", dib->ByteWidth());
  std::printf("palette:     %d entries\n", dib->NumColors());
  std::printf("resolution:  %.1f x %.1f dpi (%d x %d pixels per metre)\n",
              dib->XPelsPerMeter() / 39.37, dib->YPelsPerMeter() / 39.37, dib->XPelsPerMeter(),
              dib->YPelsPerMeter());
  std::printf("image bytes: %u\n", dib->biSizeImage);
  std::printf("canonical:   %s\n", CanonicalGradeInWords(args.Positional(0, "input file")));
  return 0;
}

Registrar const info{Command{"info", "info IN.bmp", "header fields, depth, size, resolution and whether the record is canonical",
                             {}, {}, RunInfo}};

}  // namespace
}  // namespace quilp_cli
