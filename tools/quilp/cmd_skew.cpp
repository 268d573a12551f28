// cmd_skew.cpp - "quilp skew" (the page's skew by both estimators), "quilp hough" (the fast
// Hough transform of one block) and the demo's skew step.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

constexpr double kPi = 3.14159265358979323846;

// The image as grey: 8-bit as it is, 24-bit through a luma-like projection.
Dib GreyOf(Dib image) {
  if (image->BitsPerPixel() == 8) return image;
  if (image->BitsPerPixel() != 24) throw CliError("skew needs an 8-bit grey or a 24-bit colour image");
  unsigned char const luma[3] = {29, 150, 77};  // blue, green, red weights
  Dib grey(DibRGB2Grey(image.get(), &luma, nullptr));
  if (!grey) throw CliError("the colour image could not be turned to grey");
  return grey;
}

// "H,V" factors, each at least 1.
void ParseFactors(std::string const& text, int& h, int& v) {
  std::vector<std::string> const parts = SplitList(text, ',');
  if (parts.size() != 2) throw CliError("--factors is H,V (for example 2,2)");
  h = ParseInt(parts[0], "horizontal factor");
  v = ParseInt(parts[1], "vertical factor");
  if (h < 1 || v < 1) throw CliError("--factors must be 1 or more");
}

int RunSkew(Args const& args) {
  Dib page = GreyOf(ReadBmp(args.Positional(0, "input file")));
  tagRect32 rect;
  tagRect32* r = args.GetRect("rect", rect) ? &rect : nullptr;
  int h = 2, v = 2;
  if (args.Has("factors")) ParseFactors(args.Get("factors"), h, v);
  double radians = 0.0;
  if (!DibHoughGetAngle(radians, page.get(), 0, r))
    throw CliError("no angle: the rectangle holds nothing of the image, or memory ran out");
  int tangent = 0;
  if (!DibSmartGetAngle(tangent, page.get(), h, v, r))
    throw CliError("no edge-pair skew: the rectangle holds nothing of the image, or memory ran out");
  std::printf("hough image: %8.4f degrees (%.6f rad)\n", radians * 180.0 / kPi, radians);
  std::printf("edge pairs:  %8.4f degrees (tangent %d/1024, factors %d x %d)\n",
              std::atan(tangent / 1024.0) * 180.0 / kPi, tangent, h, v);
  return 0;
}

int RunHough(Args const& args) {
  Dib image = ReadBmp(args.Positional(0, "input file"));
  if (image->BitsPerPixel() != 8) throw CliError("hough needs an 8-bit grey image");
  // The block: --rect, or the largest power-of-two square at the top left; --log defaults to
  // the block's size.
  tagRect32 rect;
  bool const hasRect = args.GetRect("rect", rect);
  int64_t const side = hasRect ? int64_t(rect.right) - rect.left + 1
                                : std::min(image->Width(), image->Height());
  int fit = 0;
  while (fit < 14 && (int64_t(2) << fit) <= side) ++fit;
  int const log = args.GetInt("log", fit);
  if (log < 0 || log > 14) throw CliError("--log is 0 to 14");
  int const n = 1 << log;
  if (!hasRect) rect = {0, 0, n - 1, n - 1};
  bool const vertical = args.Has("vertical");
  if (!DibHoughPrepare(log, vertical, args.Has("light"))) throw CliError("out of memory");
  int zero = 0, slope = 0, score = 0;
  bool const ok = DibHoughCompute(image.get(), zero, slope, score, &rect);
  DibHoughDone();
  if (!ok)
    throw CliError("the block must be " + std::to_string(n) + " x " + std::to_string(n) +
                   " pixels inside the image");
  std::printf("block %d,%d .. %d,%d (%d x %d), %s lines\n", rect.left, rect.top, rect.right,
              rect.bottom, n, n, vertical ? "nearly vertical" : "nearly horizontal");
  std::printf("slope %d: %s %d %s over %d %s\n", slope,
              vertical ? (slope >= 0 ? "right" : "left") : (slope >= 0 ? "down" : "up"),
              std::abs(slope), vertical ? "columns" : "rows", n, vertical ? "rows" : "columns");
  std::printf("score %d (%.4f)\n", score, score / 65536.0);
  return 0;
}

void DemoSkew(DemoContext& demo) {
  unsigned char const luma[3] = {29, 150, 77};  // the sample page is in colour
  Dib page(DibRGB2Grey(demo.page, &luma, nullptr));
  if (!page) return;
  double radians = 0.0;
  int tangent = 0;
  bool const hough = DibHoughGetAngle(radians, page.get(), 0, nullptr);
  bool const pairs = DibSmartGetAngle(tangent, page.get(), 2, 2, nullptr);
  char line[200];
  std::snprintf(line, sizeof line,
                "skew: drawn %.2f degrees; Hough image finds %.3f degrees, edge pairs %.3f degrees (%d/1024)",
                demo.drawnSkewDegrees, hough ? radians * 180.0 / kPi : 0.0,
                pairs ? std::atan(tangent / 1024.0) * 180.0 / kPi : 0.0, tangent);
  demo.Say(line);
  Dib transform(DibHoughTransform(page.get(), 2, 8));
  if (transform)
    demo.Write("hough.bmp", transform.get(),
               "Hough transform image: one row per drift across the page, the brightest rows the text lines'");
}

Registrar const skew{Command{
    "skew", "skew IN.bmp [--rect l,t,r,b] [--factors H,V]",
    "skew of a grey (or colour) page: Hough image angle and edge-pair tangent (default factors 2,2)",
    {"rect", "factors"}, {}, RunSkew}};
Registrar const hough{Command{
    "hough", "hough IN.bmp [--log N] [--rect l,t,r,b] [--vertical] [--light]",
    "fast Hough transform of one 2^N block of a grey image: best slope and score",
    {"log", "rect"}, {"vertical", "light"}, RunHough}};
Registrar const skewDemo{DemoStep{70, "skew", DemoSkew}};

}  // namespace
}  // namespace quilp_cli
