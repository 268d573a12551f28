// cmd_info.cpp - "quilp info": the header fields of a BMP file's record.
#include <cstdio>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

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
  return 0;
}

Registrar const info{Command{"info", "info IN.bmp", "header fields, depth, size and resolution",
                             {}, {}, RunInfo}};

}  // namespace
}  // namespace quilp_cli
