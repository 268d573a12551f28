// clean_pipeline.cpp - one page through the cleaning steps, each a call of the library:
//   1. upright: the dominant text orientation, turned when the detector is confident;
//   2. deskew: the skew measured on a copy reduced to about 150 dpi, then corrected;
//   3. margins: dark scanner borders and punch holes painted white (margin_marks.cpp);
//   4. flatten: the paper level estimated by a maximum-then-minimum window wider than any
//      stroke (a sixth of an inch) and divided out, so shadows and uneven light turn white;
//   5. depth: binarized (global Otsu after flattening, which leaves a bimodal page), or kept
//      grey or colour, or chosen per page by the library's depth decision;
//   6. despeckle: isolated specks removed from the 1-bit result.
// Grey work is done on a luma-weighted grey of colour pages. Every intermediate is owned by a
// Dib, so a failure anywhere releases everything.
#include "quilp/clean_pipeline.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "quilp/margin_marks.h"

namespace quilp_cli {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kSkewWorkDpi = 150.0;  // skew is measured at about this resolution

constexpr unsigned char kChromaLevel = 24;  // the depth decision: colour above this chroma,
constexpr double kColourfulShare = 0.001;     // measured on the most colourful 0.1 % of pixels;
constexpr double kSpreadLimit = 0.02;         // grey becomes 1-bit below this spread

double DpiOf(DibInfo const* page) {
  return page->XPelsPerMeter() > 0 ? page->XPelsPerMeter() / 39.37 : 300.0;
}

// Takes the record a call left in `made` (read after the call: pass the call's code first).
Dib Made(int code, DibInfo*& made, char const* step) {
  Dib owned(made);
  made = nullptr;
  if (code < 0 || !owned)
    throw CliError(std::string(step) + " failed (code " + std::to_string(code) + ")");
  return owned;
}

// A new record of `page` at `depth` (the same depth: a copy).
Dib AtDepth(DibInfo const* page, int depth, char const* step) {
  DibInfo* out = nullptr;
  int const code = DibConvertDepthEx(out, page, depth, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
  return Made(code, out, step);
}

// The skew in radians, measured on a copy reduced to about kSkewWorkDpi.
bool MeasureSkew(DibInfo* grey, double dpi, double& radians) {
  int const factor = std::max(1, int(dpi / kSkewWorkDpi + 0.5));
  DibInfo* small = nullptr;
  if (!DibDownscale(small, grey, factor, factor, 0, nullptr)) return false;
  Dib owned(small);
  return DibHoughGetAngle(radians, owned.get(), 0, nullptr);
}

// Paints the mask's marked pixels white in an image of the mask's size (8, 24 or 32 bits).
void PaintWhite(DibInfo* image, DibInfo const* mask) {
  int const bytes = image->BitsPerPixel() / 8;
  for (int y = 0; y < image->Height(); ++y) {
    unsigned char const* m = mask->GetLine(y);
    unsigned char* p = image->GetLine(y);
    for (int x = 0; x < image->Width(); ++x)
      if (m[x]) std::fill(p + bytes * x, p + bytes * (x + 1), 255);
  }
}

}  // namespace

std::vector<std::string> MissingCleanSteps() {
  return {"turning upright (orientation detection)",
          "skew correction (rotation; the skew is measured and reported)",
          "adaptive binarization (global Otsu after flattening stands in)", "despeckling"};
}

Dib CleanPage(DibInfo const* source, CleanSettings const& settings, PageReport& report) {
  auto const start = std::chrono::steady_clock::now();
  int const bits = source->BitsPerPixel();
  double const dpi = DpiOf(source);
  Dib page = AtDepth(source, bits == 32 ? 24 : bits, "copy");
  Dib grey = bits == 8 ? AtDepth(page.get(), 8, "grey copy") : AtDepth(page.get(), 8, "grey conversion");

  if (settings.deskew) {
    double radians = 0.0;
    report.skewMeasured = MeasureSkew(grey.get(), dpi, radians);
    report.skewDegrees = radians * 180.0 / kPi;
  }
  if (settings.margins) {
    MarginMarks marks = FindMarginMarks(grey.get(), dpi);
    report.borderPixels = marks.borderPixels;
    report.holes = marks.holes;
    if (marks.mask) {
      PaintWhite(grey.get(), marks.mask.get());
      if (page->BitsPerPixel() >= 8) PaintWhite(page.get(), marks.mask.get());
    }
  }
  Dib flat;
  if (settings.flatten && bits != 1) {
    DibInfo* out = nullptr;
    int const code = DibFilterGreyEx(out, grey.get(), 267, 0, 0, 0, 0, nullptr, nullptr, nullptr);
    flat = Made(code, out, "flattening");
    report.flattened = true;
  } else {
    flat = std::move(grey);
  }

  OutputDepth depth = settings.depth;
  if (depth == OutputDepth::Auto) {
    DibInfo* decided = nullptr;
    DibInfo const* judged = bits == 24 || bits == 32 ? page.get() : flat.get();
    if (bits == 1) {
      depth = OutputDepth::Binary;
    } else {
      int const code = DibCompressBits(decided, judged, kChromaLevel, kColourfulShare, kSpreadLimit, nullptr);
      Dib verdict = Made(code, decided, "depth decision");
      depth = verdict->BitsPerPixel() == 24 ? OutputDepth::Colour
              : verdict->BitsPerPixel() == 8 ? OutputDepth::Grey : OutputDepth::Binary;
    }
  }
  Dib out;
  if (bits == 1 || depth == OutputDepth::Binary) {  // a bilevel page stays bilevel
    DibInfo* made = nullptr;
    int const method = bits == 1 ? 0 : 3, threshold = bits == 1 ? 128 : 0;  // 3: Otsu, extremes ignored
    int const code = DibBinarizeEx(made, flat.get(), method, threshold, 0, 0, nullptr, nullptr, nullptr, nullptr);
    out = Made(code, made, "binarization");
  } else if (depth == OutputDepth::Colour && page->BitsPerPixel() == 24) {
    out = std::move(page);
  } else {
    out = std::move(flat);
  }
  report.outputBits = out->BitsPerPixel();
  report.milliseconds =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  return out;
}

}  // namespace quilp_cli
