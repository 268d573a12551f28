// The tool's cleaning pipeline (CleanPage, tools/quilp/clean_pipeline.cpp) on an A4 300-dpi
// scan, colour and grey, in this process's row order: skewed 3 degrees, unevenly lit, noisy,
// with a dark scanner border on two sides and a punch hole in the left margin. The whole page
// first, then each step on its own input, so the profile is in the output. No file input or
// output; processor time per page. The peer, unpaper, is a program that reads and writes
// files, so it is measured end to end by scripts/ocr_check.py instead.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>

#include "pages/page_maker.h"
#include "quilp/clean_pipeline.h"
#include "quilp/clean_work.h"
#include "quilp/margin_marks.h"
#include "support/pages.h"

using namespace bench_support;
using quilp_cli::Dib;

namespace {

constexpr int kDpi = 300;

// Dark level `level` over the pixels of `page` for which `inside(x, y)` holds (y counts from
// the top of the picture).
template <typename Inside>
void Darken(DibInfo* page, unsigned char level, Inside inside) {
  int const bytes = page->BitsPerPixel() / 8;
  for (int y = 0; y < page->Height(); ++y) {
    int const fromTop = page->Height() > 0 && !TopDownPages() ? page->Height() - 1 - y : y;
    unsigned char* row = page->GetLine(y);
    for (int x = 0; x < page->Width(); ++x)
      if (inside(x, fromTop)) std::fill(row + bytes * x, row + bytes * (x + 1), level);
  }
}

// The scan: a two-column page of text with a stamp and a photo, then the scanner's marks.
DibInfo* ScanPage(int bits) {
  static DibInfo* pages[2] = {};
  DibInfo*& page = pages[bits == 24 ? 1 : 0];
  if (page) return page;
  quilp_pages::PageSpec layout;  // A4 at 300 dpi
  layout.bitCount = bits;
  layout.topDown = TopDownPages();
  layout.skewDegrees = 3.0;
  layout.noise = 8;
  layout.unevenness = 0.35;
  layout.latinShapes = true;
  page = quilp_pages::MakePage(layout);
  int const w = page->Width(), h = page->Height();
  // A border: the scanner's lid along the left edge (wavy) and the bottom.
  Darken(page, 28, [h](int x, int y) { return x < 40 + int(12 * std::sin(y * 0.004)) || y >= h - 55; });
  // A punch hole 6 mm across, a third of an inch from the left edge at mid-height.
  double const r = 3.0 / 25.4 * kDpi, cx = kDpi / 3.0 + 40, cy = h / 2.0;
  Darken(page, 20, [=](int x, int y) { return (x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r; });
  (void)w;
  return page;
}

char const* Depth(int bits) { return bits == 24 ? "colour" : "grey"; }

void Label(benchmark::State& state, int bits) {
  state.SetLabel(std::string(Depth(bits)) + (TopDownPages() ? " top-down" : " bottom-up"));
}

// The whole page, default settings (1-bit result).
void BM_Clean_Page(benchmark::State& state) {
  int const bits = int(state.range(0));
  DibInfo* page = ScanPage(bits);
  Label(state, bits);
  for (auto _ : state) {
    quilp_cli::PageReport report;
    Dib out = quilp_cli::CleanPage(page, quilp_cli::CleanSettings{}, report);
    benchmark::DoNotOptimize(out.get());
  }
}
BENCHMARK(BM_Clean_Page)->Arg(24)->Arg(8)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

// The inputs of the steps after the first, made once per depth as the pipeline makes them.
struct Stages {
  Dib grey, upright, binary;
  double skew = 0;
};

// The pipeline's grey by default: colour pages with their coloured ink dropped.
Dib Grey(DibInfo const* page) {
  if (page->BitsPerPixel() == 24 || page->BitsPerPixel() == 32)
    return Dib(DibDropoutGrey(page, DibDropoutStrength, DibDropoutTolerance, nullptr));
  DibInfo* out = nullptr;
  DibConvertDepthEx(out, page, 8, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
  return Dib(out);
}

Stages& StagesOf(int bits) {
  static Stages stages[2];
  Stages& s = stages[bits == 24 ? 1 : 0];
  if (s.grey) return s;
  s.grey = Grey(ScanPage(bits));
  quilp_cli::WorkCopy(s.grey.get(), kDpi).MeasureSkew(s.skew);
  s.upright = quilp_cli::Straightened(s.grey.get(), -s.skew);
  DibInfo* made = nullptr;
  DibBinarizeEx(made, s.upright.get(), 7, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
  s.binary.reset(made);
  return s;
}

void BM_Clean_Step_Grey(benchmark::State& state) {
  int const bits = int(state.range(0));
  Label(state, bits);
  for (auto _ : state) benchmark::DoNotOptimize(Grey(ScanPage(bits)).get());
}

void BM_Clean_Step_Reduce(benchmark::State& state) {
  int const bits = int(state.range(0));
  Stages& s = StagesOf(bits);
  Label(state, bits);
  for (auto _ : state) benchmark::DoNotOptimize(quilp_cli::WorkCopy(s.grey.get(), kDpi).Image());
}

// Finding the marks on the reduced copy and clearing them on the page.
void BM_Clean_Step_Margins(benchmark::State& state) {
  int const bits = int(state.range(0));
  Stages& s = StagesOf(bits);
  quilp_cli::WorkCopy work(s.grey.get(), kDpi);
  Dib page = Grey(s.grey.get());
  Label(state, bits);
  for (auto _ : state) {
    quilp_cli::MarginMarks const marks = quilp_cli::FindMarginMarks(work.Image(), work.Dpi());
    quilp_cli::ClearMarks(page.get(), marks, work.Factor());
  }
}

void BM_Clean_Step_Orient(benchmark::State& state) {
  int const bits = int(state.range(0));
  quilp_cli::WorkCopy work(StagesOf(bits).grey.get(), kDpi);
  Label(state, bits);
  for (auto _ : state) {
    int confidence = 0;
    benchmark::DoNotOptimize(work.Orientation(confidence));
  }
}

void BM_Clean_Step_Skew(benchmark::State& state) {
  int const bits = int(state.range(0));
  quilp_cli::WorkCopy work(StagesOf(bits).grey.get(), kDpi);
  Label(state, bits);
  for (auto _ : state) {
    double radians = 0;
    benchmark::DoNotOptimize(work.MeasureSkew(radians));
  }
}

void BM_Clean_Step_Rotate(benchmark::State& state) {
  int const bits = int(state.range(0));
  Stages& s = StagesOf(bits);
  Label(state, bits);
  for (auto _ : state) benchmark::DoNotOptimize(quilp_cli::Straightened(s.grey.get(), -s.skew).get());
}

void BM_Clean_Step_Binarize(benchmark::State& state) {
  int const bits = int(state.range(0));
  Stages& s = StagesOf(bits);
  Label(state, bits);
  for (auto _ : state) {
    DibInfo* made = nullptr;
    DibBinarizeEx(made, s.upright.get(), 7, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
    DibFree(made);
  }
}

void BM_Clean_Step_Despeckle(benchmark::State& state) {
  int const bits = int(state.range(0));
  Stages& s = StagesOf(bits);
  Label(state, bits);
  for (auto _ : state) Dib(DibCleanPimples(s.binary.get(), 0, 0, nullptr));
}

#define CLEAN_STEP(name) \
  BENCHMARK(name)->Arg(24)->Arg(8)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()
CLEAN_STEP(BM_Clean_Step_Grey);
CLEAN_STEP(BM_Clean_Step_Reduce);
CLEAN_STEP(BM_Clean_Step_Margins);
CLEAN_STEP(BM_Clean_Step_Orient);
CLEAN_STEP(BM_Clean_Step_Skew);
CLEAN_STEP(BM_Clean_Step_Rotate);
CLEAN_STEP(BM_Clean_Step_Binarize);
CLEAN_STEP(BM_Clean_Step_Despeckle);

}  // namespace
