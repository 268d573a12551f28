// Creation and release of an A4 page: the block layer recycles large blocks. DibCreate clears
// the pixels; the creator results use when they write every pixel leaves them as they were.
#include <benchmark/benchmark.h>

#include "quilp32.h"
#include "record/create.h"
#include "support/pages.h"

namespace {

void BM_CreateFreeA4(benchmark::State& state) {
  int const depth = static_cast<int>(state.range(0));
  bench_support::Versus(state, "");
  for (auto _ : state) {
    DibInfo* dib = DibCreate(2480, bench_support::OrderedHeight(3508), 11811, 11811, depth);
    benchmark::DoNotOptimize(dib);
    DibFree(dib);
  }
}

void BM_CreateForOverwriteFreeA4(benchmark::State& state) {
  int const depth = static_cast<int>(state.range(0));
  bench_support::Versus(state, "");
  for (auto _ : state) {
    DibInfo* dib = quilp::DibCreateForOverwrite(2480, bench_support::OrderedHeight(3508), 11811,
                                                11811, depth);
    benchmark::DoNotOptimize(dib);
    DibFree(dib);
  }
}

}  // namespace

BENCHMARK(BM_CreateFreeA4)->Arg(1)->Arg(8)->Arg(24)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CreateForOverwriteFreeA4)->Arg(8)->Arg(24)->Unit(benchmark::kMicrosecond);
