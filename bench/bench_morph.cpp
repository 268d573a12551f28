// Erosion on an A4 300-dpi page, each beside its peers in the same binary:
//  - grey minimum filter 3x3, 15x15, 31x31 through DibFilterGreyEx (258, result made by the
//    call) beside OpenCV's erode (rectangular kernel, one thread, result reused) and
//    Leptonica's pixErodeGray;
//  - 1-bit erosion 15x15 through the 1-bit kernel beside Leptonica's pixErodeBrick;
//  - DibErodeDilate by +-4 beside Leptonica's pixDistanceFunction plus a threshold.
#include <benchmark/benchmark.h>

#include <string>

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

// The grey page thresholded: set (white) paper, clear (black) ink.
DibInfo* BitPage() {
  static DibInfo* page = DibBinarizeSimple(GreyPage(), 160, false, nullptr);
  return page;
}

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

void BM_FilterGreyMin(benchmark::State& state) {
  int const size = int(state.range(0));
  Tier const previous = quilp::simd::ForceTier(static_cast<Tier>(state.range(1)));
  Versus(state, ("BM_OpenCV_Erode/" + std::to_string(size)).c_str());
  DibInfo* page = GreyPage();
  for (auto _ : state) {
    DibInfo* out = nullptr;
    benchmark::DoNotOptimize(DibFilterGreyEx(out, page, 258, 0, size, size, 0, nullptr, nullptr, nullptr));
    DibFree(out);
  }
  quilp::simd::ForceTier(previous);
}

void BM_Erode1Bit15(benchmark::State& state) {
  Tier const previous = quilp::simd::ForceTier(static_cast<Tier>(state.range(0)));
  Versus(state, "BM_Leptonica_ErodeBrick15");
  DibInfo* page = BitPage();
  DibInfo* out = DibCreate(page->Width(), OrderedHeight(page->Height()), 0, 0, 1);
  for (auto _ : state)  // set bits are the shapes: erode the ink, as the peer does
    benchmark::DoNotOptimize(quilp::MorphRect(WholePlane(out), WholePlane(page), 7, 7, quilp::MorphOp::kDilate));
  DibFree(out);
  quilp::simd::ForceTier(previous);
}

void BM_ErodeDilate(benchmark::State& state) {
  int const amount = int(state.range(0));
  Tier const previous = quilp::simd::ForceTier(static_cast<Tier>(state.range(1)));
  Versus(state, "BM_Leptonica_DistanceThreshold");
  DibInfo* page = BitPage();
  for (auto _ : state) {
    DibInfo* out = nullptr;
    benchmark::DoNotOptimize(DibErodeDilate(out, page, amount, nullptr));
    DibFree(out);
  }
  quilp::simd::ForceTier(previous);
}

}  // namespace

BENCHMARK(BM_FilterGreyMin)->Args({3, 3})->Args({15, 3})->Args({31, 3})->Args({15, 2})->Args({15, 1})
    ->Args({15, 0})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Erode1Bit15)->Arg(3)->Arg(2)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ErodeDilate)->Args({4, 3})->Args({-4, 3})->Args({4, 2})->Args({4, 1})->Args({4, 0})
    ->Unit(benchmark::kMillisecond);

#if defined(QUILP_HAVE_OPENCV)
namespace {
void BM_OpenCV_Erode(benchmark::State& state) {
  cv::setNumThreads(1);
  int const size = int(state.range(0));
  cv::Mat src = AsMat(GreyPage());
  cv::Mat dst;  // reused: the peer pays no allocation
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
// A Leptonica copy of a record: 8-bit levels, or 1-bit with ink (our clear bits) as ON.
PIX* ToPix(DibInfo* dib) {
  int const w = dib->Width(), h = dib->Height(), depth = dib->BitsPerPixel();
  PIX* p = pixCreate(w, h, depth);
  for (int y = 0; y < h; ++y) {
    l_uint32* line = pixGetData(p) + y * pixGetWpl(p);
    unsigned char const* s = dib->GetLine(y);
    for (int x = 0; x < w; ++x) {
      if (depth == 8) SET_DATA_BYTE(line, x, s[x]);
      else if (!((s[x / 8] >> (7 - x % 8)) & 1)) SET_DATA_BIT(line, x);
    }
  }
  return p;
}
PIX* GreyPix() {
  static PIX* pix = ToPix(GreyPage());
  return pix;
}
PIX* BitPix() {
  static PIX* pix = ToPix(BitPage());
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
void BM_Leptonica_ErodeBrick15(benchmark::State& state) {
  PIX* src = BitPix();
  for (auto _ : state) {
    PIX* out = pixErodeBrick(nullptr, src, 15, 15);
    benchmark::DoNotOptimize(out);
    pixDestroy(&out);
  }
}
// Distance of the paper (OFF pixels of the ink image: invert first) to the ink, then a
// threshold at 4 pixels: the same job as thickening the strokes.
void BM_Leptonica_DistanceThreshold(benchmark::State& state) {
  PIX* paper = pixInvert(nullptr, BitPix());
  for (auto _ : state) {
    PIX* dist = pixDistanceFunction(paper, 4, 8, L_BOUNDARY_FG);
    PIX* out = pixThresholdToBinary(dist, 5);
    benchmark::DoNotOptimize(out);
    pixDestroy(&out);
    pixDestroy(&dist);
  }
  pixDestroy(&paper);
}
}  // namespace
BENCHMARK(BM_Leptonica_ErodeGray)->Arg(3)->Arg(15)->Arg(31)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Leptonica_ErodeBrick15)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Leptonica_DistanceThreshold)->Unit(benchmark::kMillisecond);
#endif
