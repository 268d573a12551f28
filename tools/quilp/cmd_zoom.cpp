// cmd_zoom.cpp - "quilp zoom" (previews by area averaging), "quilp upscale" (cubic
// enlargement, 1-bit pages with smooth edges) and the demo's preview step.
#include <cmath>
#include <cstdio>
#include <string>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDemoPreviewFactor = 0.25;

// What both commands read: the image, the output name, the factor and the rectangle.
struct Scaling {
  Dib image;
  std::string out;
  double factor = 0.0;
  tagRect32 rect = {0, 0, 0, 0};
  bool hasRect = false;
  int depth = 0;
  tagRect32* Rect() { return hasRect ? &rect : nullptr; }
};

Scaling ReadScaling(Args const& args) {
  Scaling job;
  job.image = ReadBmp(args.Positional(0, "input file"));
  job.out = args.Positional(1, "output file");
  if (!args.Has("factor")) throw CliError("--factor F is required");
  job.factor = args.GetDouble("factor", 0.0);
  if (!(job.factor > 0.0) || !std::isfinite(job.factor)) throw CliError("--factor must be a positive number");
  job.hasRect = args.GetRect("rect", job.rect);
  job.depth = job.image->BitsPerPixel();
  return job;
}

int RunZoom(Args const& args) {
  Scaling job = ReadScaling(args);
  if (job.depth != 1 && job.depth != 8 && job.depth != 24 && job.depth != 32)
    throw CliError("zoom needs a 1-, 8-, 24- or 32-bit image, not " + std::to_string(job.depth) + " bits");
  DibInfo* image = job.image.get();
  Dib preview(args.Has("grey") ? DibMakeZoom8(image, job.factor, job.Rect()) : DibMakeZoom(image, job.factor, job.Rect()));
  if (!preview) throw CliError("no preview: the rectangle holds nothing of the image, the result is too large, or memory ran out");
  WriteBmp(job.out, preview.get());
  return 0;
}

int RunUpscale(Args const& args) {
  Scaling job = ReadScaling(args);
  double const factor = job.factor;
  int const depth = job.depth;
  if (depth == 1 && factor != 2.0 && factor != 3.0 && factor != 4.0)
    throw CliError("1-bit images are enlarged by 2, 3 or 4 only");
  if (factor < 1.0) throw CliError("--factor must be 1 or more (use zoom to shrink)");
  DibInfo* result = nullptr;
  int const code = DibUpscale(result, job.image.get(), factor, job.Rect());
  if (code == -1) throw CliError("cannot enlarge: a " + std::to_string(depth) + "-bit image, or a rectangle outside it, or a result too large");
  if (code < 0) throw CliError("out of memory enlarging the image");
  Dib big(result);
  WriteBmp(job.out, big.get());
  return 0;
}

void DemoPreviews(DemoContext& demo) {
  Dib preview(DibMakeZoom8(demo.page, kDemoPreviewFactor, nullptr));
  if (preview) demo.Write("preview.bmp", preview.get(), "grey preview of the page at a quarter size (area averaging)");
  unsigned char const luma[3] = {29, 150, 77};
  Dib grey(DibRGB2Grey(demo.page, &luma, nullptr));
  double radians = 0.0;
  if (grey && DibHoughGetAngle(radians, grey.get(), 0, nullptr)) {
    Dib level(DibMakeZoomDeskewed(demo.page, kDemoPreviewFactor, radians, nullptr));
    char what[120];
    std::snprintf(what, sizeof what, "the preview as the page will look deskewed (turned back by %.2f degrees)",
                  radians * 180.0 / kPi);
    if (level) demo.Write("preview-deskewed.bmp", level.get(), what);
  }
  // A 1-bit crop of the text at half resolution brought back up: cubic edges, not steps.
  if (!grey) return;
  Dib bits(DibBinarizeOtsu(grey.get(), 2, 0, 0, false, nullptr));
  if (!bits) return;
  tagRect32 text = {bits->Width() / 8, bits->Height() / 8, bits->Width() / 2, bits->Height() / 3};
  Dib half(DibMakeZoom(bits.get(), 0.5, &text));
  DibInfo* up = nullptr;
  if (half && DibUpscale(up, half.get(), 2.0, nullptr) == 0) {
    Dib twice(up);
    demo.Write("upscaled.bmp", twice.get(), "a 1-bit crop reduced to half and enlarged twice again with smooth edges");
  }
}

Registrar const zoom{Command{
    "zoom", "zoom IN.bmp OUT.bmp --factor F [--grey] [--rect l,t,r,b]",
    "preview by exact area averaging (bilinear above 1); --grey writes 8-bit grey of any depth",
    {"factor", "rect"}, {"grey"}, RunZoom}};
Registrar const upscale{Command{
    "upscale", "upscale IN.bmp OUT.bmp --factor F [--rect l,t,r,b]",
    "cubic enlargement (F >= 1; 1-bit pages by 2, 3 or 4 with smooth edges), resolution scaled",
    {"factor", "rect"}, {}, RunUpscale}};
Registrar const previewDemo{DemoStep{80, "previews", DemoPreviews}};

}  // namespace
}  // namespace quilp_cli
