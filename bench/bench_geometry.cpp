// Geometry: rotation, quarter turns, deskewing and orientation on an A4 300-dpi page, both row
// orders, beside OpenCV (warpAffine, rotate) and Leptonica (pixRotateShear, pixRotate90,
// pixDeskew, pixOrientDetect), single thread.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "quilp32.h"
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

namespace {

constexpr double kAngle = 1.5 * 3.14159265358979323846 / 180.0;

// The same pixels stored bottom-up (order 0) or top-down (order 1).
DibInfo* InOrder(DibInfo* topDown, int order) {
  if (order == 1) return topDown;
  DibInfo* copy = DibCreate(topDown->Width(), topDown->Height(), topDown->XPelsPerMeter(),
                            topDown->YPelsPerMeter(), topDown->BitsPerPixel());
  for (int y = 0; y < copy->Height(); ++y)
    std::memcpy(copy->GetLine(y), topDown->GetLine(y), std::size_t(copy->ByteWidth()));
  return copy;
}

DibInfo* Page(int depth, int order) {
  static DibInfo* pages[2][3] = {};
  int const k = depth == 1 ? 0 : depth == 8 ? 1 : 2;
  if (!pages[order][k]) {
    DibInfo* top = depth == 24 ? ColourPage()
                   : depth == 8 ? GreyPage()
                                : DibBinarizeSimple(GreyPage(), 128, false, nullptr);
    pages[order][k] = InOrder(top, order);
  }
  return pages[order][k];
}

char const* OrderName(int order) { return order ? "top-down" : "bottom-up"; }


void BM_RotateAccurate_GreyBilinear(benchmark::State& state) {
  DibInfo* page = Page(8, int(state.range(0)));
  state.SetLabel(OrderName(int(state.range(0))));
  for (auto _ : state) {
    DibInfo* out = DibRotateAccurate(page, kAngle, 0, nullptr);
    benchmark::DoNotOptimize(out);
    DibFree(out);
  }
}
BENCHMARK(BM_RotateAccurate_GreyBilinear)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The same rotation under each vector tier of its run kernel (0 scalar, 1 SSE4.1, 2 AVX2,
// 3 AVX-512; a tier the processor lacks runs the widest one it has).
void BM_RotateAccurate_GreyBilinearTier(benchmark::State& state) {
  DibInfo* page = Page(8, int(state.range(1)));
  auto const tier = static_cast<quilp::simd::Tier>(state.range(0));
  quilp::simd::Tier const previous = quilp::simd::ForceTier(tier);
  state.SetLabel(std::string(quilp::simd::TierName(quilp::simd::ActiveTier())) + " " +
                 OrderName(int(state.range(1))));
  for (auto _ : state) {
    DibInfo* out = DibRotateAccurate(page, kAngle, 0, nullptr);
    benchmark::DoNotOptimize(out);
    DibFree(out);
  }
  quilp::simd::ForceTier(previous);
}
BENCHMARK(BM_RotateAccurate_GreyBilinearTier)
    ->ArgsProduct({{0, 1, 2, 3}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

void BM_RotateAccurate_Bits(benchmark::State& state) {
  DibInfo* page = Page(1, int(state.range(0)));
  state.SetLabel(OrderName(int(state.range(0))));
  for (auto _ : state) {
    DibInfo* out = DibRotateAccurate(page, kAngle, 0, nullptr);
    benchmark::DoNotOptimize(out);
    DibFree(out);
  }
}
BENCHMARK(BM_RotateAccurate_Bits)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// Arguments: depth, order.
void BM_RotateBy90(benchmark::State& state) {
  DibInfo* page = Page(int(state.range(0)), int(state.range(1)));
  state.SetLabel(OrderName(int(state.range(1))));
  for (auto _ : state) {
    DibInfo* out = DibRotateBy90(page, 1, nullptr);
    benchmark::DoNotOptimize(out);
    DibFree(out);
  }
}
BENCHMARK(BM_RotateBy90)->ArgsProduct({{1, 8, 24}, {0, 1}})->Unit(benchmark::kMillisecond);

void BM_Deskew_Bits(benchmark::State& state) {
  DibInfo* page = Page(1, int(state.range(0)));
  state.SetLabel(OrderName(int(state.range(0))));
  double angle = 0.0;
  for (auto _ : state) {
    DibInfo* out = DibDeskew(page, &angle, nullptr);
    benchmark::DoNotOptimize(out);
    DibFree(out);
  }
  state.counters["degrees"] = angle * 180.0 / 3.14159265358979323846;
}
BENCHMARK(BM_Deskew_Bits)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// Arguments: depth, order.
void BM_DetectOrientation(benchmark::State& state) {
  DibInfo* page = Page(int(state.range(0)), int(state.range(1)));
  state.SetLabel(OrderName(int(state.range(1))));
  int k = 0, confidence = 0;
  for (auto _ : state) {
    k = DibDetectDominantOrientation(page, &confidence, nullptr);
    benchmark::DoNotOptimize(k);
  }
  state.counters["quarters"] = k;
}
BENCHMARK(BM_DetectOrientation)->ArgsProduct({{1, 8}, {0, 1}})->Unit(benchmark::kMillisecond);

}  // namespace

#if defined(QUILP_HAVE_OPENCV)
namespace {

void BM_OpenCV_WarpAffineLinear(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat const src = AsMat(GreyPage());
  cv::Point2f const centre((src.cols - 1) / 2.0f, (src.rows - 1) / 2.0f);
  cv::Mat const m = cv::getRotationMatrix2D(centre, -1.5, 1.0);
  for (auto _ : state) {
    cv::Mat out;
    cv::warpAffine(src, out, m, src.size(), cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar(255));
    benchmark::DoNotOptimize(out.data);
  }
}
BENCHMARK(BM_OpenCV_WarpAffineLinear)->Unit(benchmark::kMillisecond);

void BM_OpenCV_Rotate90(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat const src = AsMat(state.range(0) == 8 ? GreyPage() : ColourPage());
  for (auto _ : state) {
    cv::Mat out;
    cv::rotate(src, out, cv::ROTATE_90_CLOCKWISE);
    benchmark::DoNotOptimize(out.data);
  }
}
BENCHMARK(BM_OpenCV_Rotate90)->Arg(8)->Arg(24)->Unit(benchmark::kMillisecond);

}  // namespace
#endif

#if defined(QUILP_HAVE_LEPTONICA)
namespace {

// The 1-bit page as a Leptonica image (1 = black there, clear = black here).
PIX* BitsPix() {
  static PIX* pix = nullptr;
  if (!pix) {
    setMsgSeverity(L_SEVERITY_ERROR);  // no progress notes in the timings
    DibInfo* page = Page(1, 1);
    pix = pixCreate(page->Width(), page->Height(), 1);
    l_uint32* data = pixGetData(pix);
    int const wpl = pixGetWpl(pix);
    for (int y = 0; y < page->Height(); ++y) {
      unsigned char const* row = page->GetLine(y);
      for (int x = 0; x < page->Width(); ++x)
        if (!((row[x / 8] >> (7 - x % 8)) & 1)) SET_DATA_BIT(data + y * wpl, x);
    }
  }
  return pix;
}

void BM_Leptonica_RotateShear(benchmark::State& state) {
  PIX* pix = BitsPix();
  for (auto _ : state) {
    PIX* out = pixRotateShear(pix, pixGetWidth(pix) / 2, pixGetHeight(pix) / 2, float(kAngle),
                              L_BRING_IN_WHITE);
    benchmark::DoNotOptimize(out);
    pixDestroy(&out);
  }
}
BENCHMARK(BM_Leptonica_RotateShear)->Unit(benchmark::kMillisecond);

void BM_Leptonica_Rotate90(benchmark::State& state) {
  PIX* pix = BitsPix();
  for (auto _ : state) {
    PIX* out = pixRotate90(pix, 1);
    benchmark::DoNotOptimize(out);
    pixDestroy(&out);
  }
}
BENCHMARK(BM_Leptonica_Rotate90)->Unit(benchmark::kMillisecond);

void BM_Leptonica_Deskew(benchmark::State& state) {
  PIX* pix = BitsPix();
  for (auto _ : state) {
    PIX* out = pixDeskew(pix, 0);
    benchmark::DoNotOptimize(out);
    pixDestroy(&out);
  }
}
BENCHMARK(BM_Leptonica_Deskew)->Unit(benchmark::kMillisecond);

void BM_Leptonica_OrientDetect(benchmark::State& state) {
  PIX* pix = BitsPix();
  l_float32 up = 0, left = 0;
  for (auto _ : state) {
    pixOrientDetect(pix, &up, &left, 0, 0);
    benchmark::DoNotOptimize(up);
  }
  state.counters["up"] = up;
  state.counters["left"] = left;
}
BENCHMARK(BM_Leptonica_OrientDetect)->Unit(benchmark::kMillisecond);

}  // namespace
#endif
