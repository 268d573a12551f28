// clean_pipeline.cpp - one page through the cleaning steps, each a call of the library:
//   1. margins: dark scanner borders and punch holes painted white (margin_marks.cpp), first,
//      because a border's long straight edge would mislead the orientation and skew;
//   2. upright: the dominant text orientation, turned by quarter turns when the detector is
//      confident (DibDetectDominantOrientation, DibRotateBy90);
//   3. deskew: the skew measured (DibHoughGetAngle), then turned back (DibRotateAccurate,
//      bilinear, same size);
//   4. flatten (grey results and the depth decision): the paper level estimated by a
//      maximum-then-minimum window wider than any stroke and divided out (DibFilterGreyEx 267);
//   5. depth: binarized by the recommended adaptive method (DibBinarizeEx 7, which estimates
//      the paper surface itself), or kept grey or colour, or chosen per page by the depth
//      decision (DibCompressBits);
//   6. despeckle: specks removed from the 1-bit result (DibCleanPimples).
// Steps 1-3 look at one copy reduced to about 150 dpi (clean_work.h), made once and turned
// with the page. The work is done on a grey of colour pages in which coloured ink is dropped
// (made light) or, with dropout off, the equal-weights grey; the colour page is turned and
// cleaned alongside only while it may become the result, and keeps its colours. Every
// intermediate is owned by a Dib, so a failure anywhere releases everything. Cost on an A4
// page at 300 dpi: bench/bench_clean.cpp measures the whole and each step.
#include "quilp/clean_pipeline.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>

#include "quilp/clean_work.h"
#include "quilp/margin_marks.h"

namespace quilp_cli {
namespace {

constexpr double kPi = 3.14159265358979323846;

constexpr unsigned char kChromaLevel = 24;  // the depth decision: colour above this chroma,
constexpr double kColourfulShare = 0.001;     // measured on the most colourful 0.1 % of pixels;
constexpr double kSpreadLimit = 0.02;         // grey becomes 1-bit below this spread
constexpr int kMinOrientConfidence = 30;      // turn a page only when the detector is this sure
constexpr int kRecommendedBinarization = 7;   // DibBinarizeEx's method without tuning

// Processor time of the calling thread: unlike the wall clock, not stretched by a busy machine.
double ThreadCpuMilliseconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}

double DpiOf(DibInfo const* page) {
  return page->XPelsPerMeter() > 0 ? page->XPelsPerMeter() / 39.37 : 300.0;
}

// Takes the record a call left in `made` (read after the call: pass the call's code first).
Dib Created(DibInfo* made, char const* step) {
  if (!made) throw CliError(std::string(step) + " failed (out of memory)");
  return Dib(made);
}

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

// The grey the steps work on. With dropout, a colour page's coloured ink (stamps, coloured
// pen, highlighter) turns light while black and grey text keep the equal-thirds grey
// (DibDropoutGrey), so the ink of a stamp over text is not read as text; otherwise the
// equal-thirds grey of every pixel.
Dib WorkGrey(DibInfo const* page, bool dropout, PageReport& report) {
  int const bits = page->BitsPerPixel();
  if (!dropout || (bits != 24 && bits != 32)) return AtDepth(page, 8, "grey conversion");
  report.colourDropped = true;
  return Created(DibDropoutGrey(page, DibDropoutStrength, DibDropoutTolerance, nullptr), "colour dropout");
}

}  // namespace

Dib CleanPage(DibInfo const* source, CleanSettings const& settings, PageReport& report) {
  auto const start = std::chrono::steady_clock::now();
  double const cpuStart = ThreadCpuMilliseconds();
  int const bits = source->BitsPerPixel();
  double const dpi = DpiOf(source);
  bool const colour = bits == 24 || bits == 32;
  OutputDepth depth = bits == 1 ? OutputDepth::Binary : settings.depth;  // bilevel stays bilevel
  if (!colour && depth == OutputDepth::Colour) depth = OutputDepth::Grey;
  // The grey work image; the colour page is carried along only while it may be the output.
  Dib grey = WorkGrey(source, settings.dropout, report);
  Dib page = colour && (depth == OutputDepth::Colour || depth == OutputDepth::Auto)
                 ? AtDepth(source, 24, "copy") : nullptr;
  auto both = [&](auto transform, char const* step) {
    grey = transform(grey.get(), step);
    if (page) page = transform(page.get(), step);
  };

  // Margins, orientation and skew are found on one reduced copy, kept in step with the page.
  std::unique_ptr<WorkCopy> work;
  if (settings.margins || settings.orient || settings.deskew) work = std::make_unique<WorkCopy>(grey.get(), dpi);
  if (settings.margins) {
    MarginMarks const marks = FindMarginMarks(work->Image(), work->Dpi());
    report.borderPixels = marks.borderPixels * work->Factor() * work->Factor();
    report.holes = marks.holes;
    ClearMarks(work->Image(), marks, 1);
    ClearMarks(grey.get(), marks, work->Factor());
    if (page) ClearMarks(page.get(), marks, work->Factor());
  }
  if (settings.orient) {
    int confidence = 0;
    int const turns = work->Orientation(confidence);
    if (turns == -2) throw CliError("orientation detection ran out of memory");
    report.orientChecked = true;
    if (turns > 0 && confidence >= kMinOrientConfidence) {
      both([turns](DibInfo* image, char const* step) { return Created(DibRotateBy90(image, turns, nullptr), step); },
           "turning upright");
      work->Turn(turns);
      report.quarterTurns = turns;
    }
  }
  if (settings.deskew) {
    double radians = 0.0;
    report.skewMeasured = work->MeasureSkew(radians);
    report.skewDegrees = radians * 180.0 / kPi;
    // Worth turning only when the far ends of the page move by half a pixel or more.
    if (report.skewMeasured && std::fabs(radians) * grey->Width() >= 1.0) {
      both([radians](DibInfo* image, char const*) { return Straightened(image, -radians); }, "deskewing");
      report.deskewed = true;
    }
  }
  // The flattened grey, made once when a grey result or the depth decision needs it.
  Dib flat;
  auto flattened = [&]() -> DibInfo* {
    if (flat) return flat.get();
    if (!settings.flatten) return grey.get();
    DibInfo* out = nullptr;
    int const code = DibFilterGreyEx(out, grey.get(), 267, 0, 0, 0, 0, nullptr, nullptr, nullptr);
    flat = Made(code, out, "flattening");
    report.flattened = true;
    return flat.get();
  };
  if (depth == OutputDepth::Auto) {
    DibInfo* decided = nullptr;
    DibInfo const* judged = page ? page.get() : flattened();
    int const code = DibCompressBits(decided, judged, kChromaLevel, kColourfulShare, kSpreadLimit, nullptr);
    int const verdict = Made(code, decided, "depth decision")->BitsPerPixel();
    depth = verdict == 24 ? OutputDepth::Colour : verdict == 8 ? OutputDepth::Grey : OutputDepth::Binary;
  }

  Dib out;
  if (depth == OutputDepth::Binary) {
    // The recommended adaptive method estimates the paper under each pixel itself, so the
    // binary result needs no separate flattening; a bilevel source is thresholded back.
    DibInfo* made = nullptr;
    int const method = bits == 1 ? 0 : kRecommendedBinarization, threshold = bits == 1 ? 128 : 0;
    int const code = DibBinarizeEx(made, grey.get(), method, threshold, 0, 0, nullptr, nullptr, nullptr, nullptr);
    out = Made(code, made, "binarization");
    if (settings.despeckle) {
      out = Created(DibCleanPimples(out.get(), 0, 0, nullptr), "despeckling");
      report.despeckled = true;
    }
  } else if (depth == OutputDepth::Colour) {
    out = std::move(page);
  } else {
    flattened();
    out = flat ? std::move(flat) : std::move(grey);
  }
  report.outputBits = out->BitsPerPixel();
  report.milliseconds =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  report.cpuMilliseconds = ThreadCpuMilliseconds() - cpuStart;
  return out;
}

}  // namespace quilp_cli
