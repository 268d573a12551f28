// The morphology family on an A4 300-dpi page, one thread, each beside its peer in the same
// binary, our exports on bottom-up (arg 0) and top-down (arg 1) records:
//  - Euclidean distance transform (32-bit squared distances of the ink) beside OpenCV's
//    distanceTransform (DIST_L2, DIST_MASK_PRECISE) of the same ink;
//  - DibSkelet beside OpenCV's ximgproc::thinning and Leptonica's pixThinConnected;
//  - DibCleanPimples beside OpenCV's connectedComponentsWithStats of the ink;
//  - 1-bit 15 x 15 erosion through DibMorphEx beside Leptonica's pixErodeBrickDwa;
//  - grey 3 x 3 gradient (DibGradientMorpho) beside OpenCV's morphologyEx MORPH_GRADIENT.
// The peers' inputs are converted once, outside the timing; their outputs are reused where
// their interfaces allow.
#include <benchmark/benchmark.h>

#include <cstring>

#include "quilp32.h"
#include "support/pages.h"

#if defined(QUILP_HAVE_OPENCV)
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#endif
#if defined(QUILP_HAVE_OPENCV_XIMGPROC)
#include <opencv2/ximgproc.hpp>
#endif
#if defined(QUILP_HAVE_LEPTONICA)
#include <leptonica/allheaders.h>
#endif

using namespace bench_support;

namespace {

// The same pixels in the other row order.
DibInfo* Reordered(DibInfo* dib) {
  DibInfo* out = DibCreate(dib->Width(), -dib->biHeight, dib->XPelsPerMeter(), dib->YPelsPerMeter(),
                           dib->BitsPerPixel());
  for (int y = 0; y < dib->Height(); ++y)
    std::memcpy(out->GetLine(y), dib->GetLine(y), std::size_t(dib->ByteWidth()));
  return out;
}

// The grey page thresholded (ink black), and the grey page, in either row order.
DibInfo* InkPage(bool topDown) {
  static DibInfo* bottomUp = DibBinarizeSimple(GreyPage(), 160, false, nullptr);
  static DibInfo* flipped = Reordered(bottomUp);
  return (bottomUp->biHeight > 0) != topDown ? bottomUp : flipped;
}
DibInfo* Grey(bool topDown) {
  static DibInfo* flipped = Reordered(GreyPage());
  return (GreyPage()->biHeight > 0) != topDown ? GreyPage() : flipped;
}

void Label(benchmark::State& state) { state.SetLabel(state.range(0) ? "top-down" : "bottom-up"); }

void BM_Distance(benchmark::State& state) {
  Label(state);
  DibInfo* page = InkPage(state.range(0) != 0);
  for (auto _ : state) {
    DibInfo* out = DibDistanceTransform(page, DibMetricEuclid, 32, 0, nullptr);
    benchmark::DoNotOptimize(out);
    DibFree(out);
  }
}

void BM_Skelet(benchmark::State& state) {
  Label(state);
  DibInfo* page = InkPage(state.range(0) != 0);
  for (auto _ : state) {
    DibInfo* out = DibSkelet(page, nullptr);
    benchmark::DoNotOptimize(out);
    DibFree(out);
  }
}

void BM_CleanPimples(benchmark::State& state) {
  Label(state);
  DibInfo* page = InkPage(state.range(0) != 0);
  for (auto _ : state) {
    DibInfo* out = DibCleanPimples(page, 0, 0, nullptr);
    benchmark::DoNotOptimize(out);
    DibFree(out);
  }
}

void BM_MorphEx1Bit15(benchmark::State& state) {
  Label(state);
  DibInfo* page = InkPage(state.range(0) != 0);
  SDibMorphSetup const setup = {DibMorphErode, DibShapeRect, 15, 15, 0.0, nullptr, nullptr};
  for (auto _ : state) {
    DibInfo* out = nullptr;
    benchmark::DoNotOptimize(DibMorphEx(out, page, &setup, 0, nullptr, nullptr, nullptr, nullptr));
    DibFree(out);
  }
}

void BM_Gradient3(benchmark::State& state) {
  Label(state);
  DibInfo* page = Grey(state.range(0) != 0);
  for (auto _ : state) {
    DibInfo* out = DibGradientMorpho(page, 0, 3, nullptr);
    benchmark::DoNotOptimize(out);
    DibFree(out);
  }
}

}  // namespace

BENCHMARK(BM_Distance)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Skelet)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CleanPimples)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MorphEx1Bit15)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Gradient3)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

#if defined(QUILP_HAVE_OPENCV)
namespace {
// Ink as 255 on 0, the form OpenCV's binary operations take.
cv::Mat InkMat() {
  static cv::Mat m = [] {
    DibInfo* page = InkPage(true);
    cv::Mat out(page->Height(), page->Width(), CV_8UC1);
    for (int y = 0; y < page->Height(); ++y)
      for (int x = 0; x < page->Width(); ++x)
        out.at<uint8_t>(y, x) = ((page->GetLine(y)[x / 8] >> (7 - x % 8)) & 1) ? 0 : 255;
    return out;
  }();
  return m;
}

void BM_OpenCV_Distance(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat const ink = InkMat();
  cv::Mat dist;
  for (auto _ : state) {
    cv::distanceTransform(ink, dist, cv::DIST_L2, cv::DIST_MASK_PRECISE, CV_32F);
    benchmark::DoNotOptimize(dist.data);
  }
}

void BM_OpenCV_Components(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat const ink = InkMat();
  cv::Mat labels, stats, centroids;
  for (auto _ : state) {
    benchmark::DoNotOptimize(cv::connectedComponentsWithStats(ink, labels, stats, centroids, 8, CV_32S));
  }
}

void BM_OpenCV_Gradient3(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat src = AsMat(GreyPage());
  cv::Mat dst;
  cv::Mat const kernel = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(3, 3));
  for (auto _ : state) {
    cv::morphologyEx(src, dst, cv::MORPH_GRADIENT, kernel);
    benchmark::DoNotOptimize(dst.data);
  }
}
}  // namespace
BENCHMARK(BM_OpenCV_Distance)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenCV_Components)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenCV_Gradient3)->Unit(benchmark::kMillisecond);

#if defined(QUILP_HAVE_OPENCV_XIMGPROC)
namespace {
void BM_OpenCV_Thinning(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat const ink = InkMat();
  cv::Mat out;
  for (auto _ : state) {
    cv::ximgproc::thinning(ink, out, cv::ximgproc::THINNING_ZHANGSUEN);
    benchmark::DoNotOptimize(out.data);
  }
}
}  // namespace
BENCHMARK(BM_OpenCV_Thinning)->Unit(benchmark::kMillisecond)->Iterations(1);
#endif
#endif

#if defined(QUILP_HAVE_LEPTONICA)
namespace {
// The ink page as a Leptonica image, ink ON.
PIX* InkPix() {
  static PIX* pix = [] {
    DibInfo* page = InkPage(true);
    PIX* p = pixCreate(page->Width(), page->Height(), 1);
    for (int y = 0; y < page->Height(); ++y) {
      l_uint32* line = pixGetData(p) + y * pixGetWpl(p);
      for (int x = 0; x < page->Width(); ++x)
        if (!((page->GetLine(y)[x / 8] >> (7 - x % 8)) & 1)) SET_DATA_BIT(line, x);
    }
    return p;
  }();
  return pix;
}

void BM_Leptonica_ThinConnected(benchmark::State& state) {
  PIX* src = InkPix();
  for (auto _ : state) {
    PIX* out = pixThinConnected(src, L_THIN_FG, 8, 0);
    benchmark::DoNotOptimize(out);
    pixDestroy(&out);
  }
}

void BM_Leptonica_ErodeBrickDwa15(benchmark::State& state) {
  PIX* src = InkPix();
  for (auto _ : state) {
    PIX* out = pixErodeBrickDwa(nullptr, src, 15, 15);
    benchmark::DoNotOptimize(out);
    pixDestroy(&out);
  }
}
}  // namespace
BENCHMARK(BM_Leptonica_ThinConnected)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_Leptonica_ErodeBrickDwa15)->Unit(benchmark::kMillisecond);
#endif
