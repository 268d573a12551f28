// Skew estimation: the block transform beside OpenCV's fast Hough transform, the page
// estimators beside Leptonica's sweep-and-search, and their accuracy on made pages of every
// kind at 200 and 300 dpi, skewed anywhere within +-10 degrees.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "pages/page_maker.h"
#include "quilp32.h"
#include "simd/cpu_features.h"
#include "support/pages.h"

#if defined(QUILP_HAVE_OPENCV_XIMGPROC)
#include <opencv2/core/utility.hpp>
#include <opencv2/ximgproc.hpp>
#endif
#if defined(QUILP_HAVE_LEPTONICA)
#include <leptonica/allheaders.h>
#endif

using namespace bench_support;
using quilp::simd::Tier;

namespace {

constexpr double kDegrees = 180.0 / 3.14159265358979323846;

// Kinds of page the estimators are measured on.
enum Kind { kPlain, kTwoColumns, kTable, kPhoto, kSparse, kFaded, kNoisy, kKinds };
char const* const kKindNames[kKinds] = {"plain", "two-column", "table", "photo",
                                        "sparse", "faded", "noisy"};

quilp_pages::PageSpec LayoutOf(Kind kind, int dpi, double degrees, uint32_t seed) {
  quilp_pages::PageSpec s;
  s.dpi = dpi;
  s.width = dpi == 300 ? 2480 : 1654;
  s.height = dpi == 300 ? 3508 : 2339;
  s.bitCount = 8;
  s.topDown = TopDownPages();
  s.skewDegrees = degrees;
  s.seed = seed;
  s.noise = 6;
  s.stamp = false;
  s.photo = false;
  switch (kind) {
    case kTwoColumns: s.columns = 2; break;
    case kTable: s.table = true; s.columns = 2; break;
    case kPhoto: s.photo = true; s.stamp = true; break;
    case kSparse: s.sparse = true; break;
    case kFaded: s.fade = 0.7; s.unevenness = 0.4; break;
    case kNoisy: s.noise = 40; s.speckle = 0.01; s.unevenness = 0.3; break;
    default: break;
  }
  return s;
}

DibInfo* Page200() {
  static DibInfo* page = quilp_pages::MakePage(LayoutOf(kPhoto, 200, 0.8, 1));
  return page;
}

#if defined(QUILP_HAVE_LEPTONICA)
// The grey page as a 1-bit Pix, dark below its Otsu threshold.
PIX* ToBinaryPix(DibInfo const* grey) {
  int const w = grey->Width(), h = grey->Height();
  PIX* p8 = pixCreate(w, h, 8);
  l_uint32* data = pixGetData(p8);
  int const wpl = pixGetWpl(p8);
  std::vector<double> hist(256, 0.0);
  for (int y = 0; y < h; ++y) {
    unsigned char const* row = grey->GetLine(y);
    l_uint32* line = data + std::size_t(y) * std::size_t(wpl);
    for (int x = 0; x < w; ++x) {
      SET_DATA_BYTE(line, x, row[x]);
      hist[row[x]] += 1.0;
    }
  }
  // Otsu: the split t (dark below t) that maximises the between-class variance.
  double total = 0.0, sum = 0.0;
  for (int v = 0; v < 256; ++v) total += hist[std::size_t(v)], sum += v * hist[std::size_t(v)];
  double below = 0.0, sumBelow = 0.0, best = -1.0;
  int threshold = 128;
  for (int t = 1; t < 256; ++t) {
    below += hist[std::size_t(t - 1)];
    sumBelow += (t - 1) * hist[std::size_t(t - 1)];
    double const above = total - below;
    if (below == 0.0 || above == 0.0) continue;
    double const d = sumBelow / below - (sum - sumBelow) / above;
    double const between = below * above * d * d;
    if (between > best) best = between, threshold = t;
  }
  PIX* p1 = pixThresholdToBinary(p8, threshold);
  pixDestroy(&p8);
  return p1;
}

// Leptonica's skew, sweep over +-10 degrees then binary search, as a skew in our sign.
bool LeptonicaSkew(PIX* pix, double& degrees) {
  l_float32 angle = 0.0f, conf = 0.0f;
  if (pixFindSkewSweepAndSearch(pix, &angle, &conf, 4, 2, 10.0f, 1.0f, 0.01f) != 0) return false;
  degrees = -double(angle);  // Leptonica: positive when the text rises to the right
  return true;
}
#endif

// ---- The block transform ---------------------------------------------------------------

void BM_HoughCompute1024(benchmark::State& state) {
  Tier const previous = quilp::simd::ForceTier(static_cast<Tier>(state.range(0)));
  Versus(state, "BM_OpenCV_FastHoughTransform1024");
  DibInfo* page = GreyPage();
  tagRect32 block{600, 1000, 1623, 2023};
  DibHoughPrepare(10, false, false);
  int zero = 0, slope = 0, score = 0;
  for (auto _ : state) {
    DibHoughCompute(page, zero, slope, score, &block);
    benchmark::DoNotOptimize(slope);
  }
  DibHoughDone();
  state.counters["slope"] = slope;
  quilp::simd::ForceTier(previous);
}

// ---- The page estimators ---------------------------------------------------------------

void BM_HoughGetAngle(benchmark::State& state) {
  Tier const previous = quilp::simd::ForceTier(static_cast<Tier>(state.range(1)));
  Versus(state, state.range(0) == 300 ? "BM_Leptonica_FindSkewSweepAndSearch/300"
                                       : "BM_Leptonica_FindSkewSweepAndSearch/200");
  DibInfo* page = state.range(0) == 300 ? GreyPage() : Page200();
  double angle = 0.0;
  for (auto _ : state) {
    DibHoughGetAngle(angle, page, 0, nullptr);
    benchmark::DoNotOptimize(angle);
  }
  state.counters["degrees"] = angle * kDegrees;
  quilp::simd::ForceTier(previous);
}

void BM_SmartGetAngle(benchmark::State& state) {
  int const factor = int(state.range(0));
  Versus(state, "BM_Leptonica_ThresholdFindSkew");
  DibInfo* page = GreyPage();
  int skew = 0;
  for (auto _ : state) {
    DibSmartGetAngle(skew, page, factor, factor, nullptr);
    benchmark::DoNotOptimize(skew);
  }
  state.counters["degrees"] = std::atan(skew / 1024.0) * kDegrees;
}

void BM_HoughTransform(benchmark::State& state) {
  DibInfo* page = GreyPage();
  for (auto _ : state) {
    DibInfo* t = DibHoughTransform(page, 2, 8);
    benchmark::DoNotOptimize(t);
    DibFree(t);
  }
}

// ---- Accuracy: one pass over the made pages ----------------------------------------------

// Absolute errors in degrees; pages off by a degree or more (or refused) are also counted as
// misses, with the mean of the others beside the mean of all.
struct Errors {
  double sum = 0, worst = 0, sumHits = 0;
  int n = 0, hits = 0, misses = 0;
  void Add(bool ok, double err) {
    double const e = ok ? std::fabs(err) : 90.0;
    sum += e;
    worst = std::max(worst, e);
    ++n;
    if (e < 1.0) sumHits += e, ++hits;
    else ++misses;
  }
  double Mean() const { return n ? sum / n : 0.0; }
};

void Report(benchmark::State& state, char const* name, Errors const& e) {
  state.counters[std::string(name) + "_mean"] = e.Mean();
  state.counters[std::string(name) + "_worst"] = e.worst;
  if (e.misses) {
    state.counters[std::string(name) + "_misses"] = e.misses;
    state.counters[std::string(name) + "_mean_others"] = e.hits ? e.sumHits / e.hits : 0.0;
  }
}

// Pages per kind and resolution; the angles spread over +-10 degrees.
constexpr int kPagesPerKind = 4;

void BM_SkewAccuracy(benchmark::State& state) {
  for (auto _ : state) {
    Errors hough, smart[3], byKind[kKinds];
#if defined(QUILP_HAVE_LEPTONICA)
    Errors lept;
#endif
    int index = 0;
    for (int dpi : {200, 300})
      for (int kind = 0; kind < kKinds; ++kind)
        for (int i = 0; i < kPagesPerKind; ++i, ++index) {
          double const frac = index * 0.6180339887 + 0.25 - std::floor(index * 0.6180339887 + 0.25);
          double const degrees = -10.0 + 20.0 * frac;
          DibInfo* page = quilp_pages::MakePage(LayoutOf(Kind(kind), dpi, degrees, uint32_t(100 + index)));
          double angle = 0.0;
          bool const ok = DibHoughGetAngle(angle, page, 0, nullptr);
          hough.Add(ok, angle * kDegrees - degrees);
          byKind[kind].Add(ok, angle * kDegrees - degrees);
          for (int f = 0; f < 3; ++f) {
            int skew = 0;
            bool const sok = DibSmartGetAngle(skew, page, 1 << f, 1 << f, nullptr);
            smart[f].Add(sok, std::atan(skew / 1024.0) * kDegrees - degrees);
          }
#if defined(QUILP_HAVE_LEPTONICA)
          PIX* pix = ToBinaryPix(page);
          double lepDegrees = 0.0;
          bool const lok = LeptonicaSkew(pix, lepDegrees);
          lept.Add(lok, lepDegrees - degrees);
          pixDestroy(&pix);
#endif
          DibFree(page);
        }
    Report(state, "hough", hough);
    Report(state, "smart1", smart[0]);
    Report(state, "smart2", smart[1]);
    Report(state, "smart4", smart[2]);
    for (int kind = 0; kind < kKinds; ++kind)
      state.counters[std::string("hough_worst_") + kKindNames[kind]] = byKind[kind].worst;
#if defined(QUILP_HAVE_LEPTONICA)
    Report(state, "leptonica", lept);
#endif
    state.counters["pages"] = index;
  }
}

}  // namespace

BENCHMARK(BM_HoughCompute1024)->Arg(0)->Arg(1)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_HoughGetAngle)
    ->Args({300, 0})->Args({300, 1})->Args({300, 2})->Args({300, 3})->Args({200, 3})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_HoughTransform)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SmartGetAngle)->Arg(1)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SkewAccuracy)->Iterations(1)->Unit(benchmark::kSecond);

#if defined(QUILP_HAVE_OPENCV_XIMGPROC)
namespace {
void BM_OpenCV_FastHoughTransform1024(benchmark::State& state) {
  cv::setNumThreads(1);
  cv::Mat const block = AsMat(GreyPage())(cv::Rect(600, 1000, 1024, 1024)).clone();
  cv::Mat hough;  // reused: the peer pays no allocation
  for (auto _ : state) {
    cv::ximgproc::FastHoughTransform(block, hough, CV_32S, cv::ximgproc::ARO_45_135,
                                     cv::ximgproc::FHT_ADD, cv::ximgproc::HDO_DESKEW);
    benchmark::DoNotOptimize(hough.data);
  }
}
}  // namespace
BENCHMARK(BM_OpenCV_FastHoughTransform1024)->Unit(benchmark::kMillisecond);
#endif

#if defined(QUILP_HAVE_LEPTONICA)
namespace {
void BM_Leptonica_FindSkewSweepAndSearch(benchmark::State& state) {
  state.SetLabel(state.range(0) == 300 ? "300 dpi, binarized beforehand" : "200 dpi, binarized beforehand");
  PIX* pix = ToBinaryPix(state.range(0) == 300 ? GreyPage() : Page200());
  double degrees = 0.0;
  for (auto _ : state) {
    LeptonicaSkew(pix, degrees);
    benchmark::DoNotOptimize(degrees);
  }
  state.counters["degrees"] = degrees;
  pixDestroy(&pix);
}
// The whole job from a grey page, as DibSmartGetAngle does it: threshold (at the page's Otsu
// level, found beforehand) and pixFindSkew with its default sweep and search.
void BM_Leptonica_ThresholdFindSkew(benchmark::State& state) {
  DibInfo* grey = GreyPage();
  PIX* p8 = pixCreate(grey->Width(), grey->Height(), 8);
  for (int y = 0; y < grey->Height(); ++y) {
    l_uint32* line = pixGetData(p8) + std::size_t(y) * std::size_t(pixGetWpl(p8));
    for (int x = 0; x < grey->Width(); ++x) SET_DATA_BYTE(line, x, grey->GetLine(y)[x]);
  }
  int levels[2] = {128, 128};
  DibGetOtsuLevels(levels, grey, 2, nullptr);
  for (auto _ : state) {
    PIX* bw = pixThresholdToBinary(p8, levels[0]);
    l_float32 angle = 0.0f, conf = 0.0f;
    pixFindSkew(bw, &angle, &conf);
    benchmark::DoNotOptimize(angle);
    pixDestroy(&bw);
  }
  pixDestroy(&p8);
}
}  // namespace
BENCHMARK(BM_Leptonica_FindSkewSweepAndSearch)->Arg(300)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Leptonica_ThresholdFindSkew)->Unit(benchmark::kMillisecond);
#endif
