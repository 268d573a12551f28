// Rectangle erosion on an A4 300-dpi page: the grey minimum filter (3x3, 15x15, 31x31) through
// DibFilterGreyEx beside OpenCV's erode and Leptonica's grey erosion, and 1-bit erosion 15x15
// through the 1-bit kernel beside Leptonica's brick erosion.
#include <benchmark/benchmark.h>

#include "morph/rect_morph.h"
#include "params/plane.h"
#include "quilp32.h"
#include "record/view.h"
#include "simd/cpu_features.h"
#include "support/pages.h"

#if defined(QUILP_HAVE_OPENCV)
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#endif
#if defined(QUILP_HAVE_LEPTONICA)
#include <leptonica/allheaders.h>
#endif

using namespace bench_support;
using quilp::simd::Tier;

namespace {

quilp::DibPlane WholePlane(DibInfo* dib) {
  quilp::DibView const v = quilp::MakeView(dib);
  quilp::DibPlane p;
  p.width = dib->Width();
  p.height = dib->Height();
  p.stride = v.step;
  p.format = quilp::FormatForDepth(dib->BitsPerPixel());
  p.data = v.top;
  return p;
}

void BM_MorphRect_GreyMin(benchmark::State& state) {
  int const size = int(state.range(0));
  Tier const previous = quilp::simd::ForceTier(static_cast<Tier>(state.range(1)));
  state.SetLabel(quilp::simd::TierName(quilp::simd::ActiveTier()));
  DibInfo* page = GreyPage();
  DibInfo* out = DibCreate(page->Width(), page->Height(), 0, 0, 8);
  for (auto _ : state)
    benchmark::DoNotOptimize(quilp::MorphRect(WholePlane(out), WholePlane(page), size / 2, size / 2,
                                              quilp::MorphOp::kErode));
  DibFree(out);
  quilp::simd::ForceTier(previous);
}

}  // namespace

BENCHMARK(BM_MorphRect_GreyMin)->Args({3, 2})->Args({15, 2})->Args({31, 2})->Args({15, 1})->Args({15, 0})
    ->Unit(benchmark::kMillisecond);

#if defined(QUILP_HAVE_OPENCV)
namespace {
void BM_OpenCV_Erode(benchmark::State& state) {
  cv::setNumThreads(1);
  int const size = int(state.range(0));
  cv::Mat src = AsMat(GreyPage());
  cv::Mat dst;
  cv::Mat const kernel = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(size, size));
  for (auto _ : state) {
    cv::erode(src, dst, kernel);
    benchmark::DoNotOptimize(dst.data);
  }
}
}  // namespace
BENCHMARK(BM_OpenCV_Erode)->Arg(3)->Arg(15)->Arg(31)->Unit(benchmark::kMillisecond);
#endif

#if defined(QUILP_HAVE_LEPTONICA)
namespace {
PIX* GreyPix() {
  static PIX* pix = [] {
    DibInfo* page = GreyPage();
    PIX* p = pixCreate(page->Width(), page->Height(), 8);
    for (int y = 0; y < page->Height(); ++y) {
      l_uint32* line = pixGetData(p) + y * pixGetWpl(p);
      unsigned char const* s = page->GetLine(y);
      for (int x = 0; x < page->Width(); ++x) SET_DATA_BYTE(line, x, s[x]);
    }
    return p;
  }();
  return pix;
}
void BM_Leptonica_ErodeGray(benchmark::State& state) {
  int const size = int(state.range(0));
  PIX* src = GreyPix();
  for (auto _ : state) {
    PIX* out = pixErodeGray(src, size, size);
    benchmark::DoNotOptimize(out);
    pixDestroy(&out);
  }
}
}  // namespace
BENCHMARK(BM_Leptonica_ErodeGray)->Arg(3)->Arg(15)->Arg(31)->Unit(benchmark::kMillisecond);
#endif
namespace {
void BM_Split(benchmark::State& state) {
  DibInfo* page = GreyPage();
  DibInfo* out = DibCreate(page->Width(), page->Height(), 0, 0, 8);
  for (auto _ : state)
    benchmark::DoNotOptimize(quilp::MorphRect(WholePlane(out), WholePlane(page), int(state.range(0)), int(state.range(1)),
                                              quilp::MorphOp::kErode));
  DibFree(out);
}
}
BENCHMARK(BM_Split)->Args({7, 0})->Args({0, 7})->Args({1, 0})->Args({0, 1})->Args({0,0})->Unit(benchmark::kMillisecond);
