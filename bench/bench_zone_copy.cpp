// Zone copy of an A4 300-dpi page beside memcpy of the same bytes, and the 1-bit shifted copy.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "quilp32.h"
#include "support/pages.h"

using namespace bench_support;

namespace {

// The whole colour page into a destination made beforehand: the copy alone.
void BM_CopyZone_PageIntoRecord(benchmark::State& state) {
  Versus(state, "BM_Memcpy_PageBytes");
  DibInfo* page = ColourPage();
  DibInfo* dest = DibCreate(page, 0);
  for (auto _ : state) {
    benchmark::DoNotOptimize(DibCopyZone(dest, page, nullptr));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * page->biSizeImage);
  DibFree(dest);
}

// The whole colour page into a new record each time (allocation and release included).
void BM_CopyZone_PageNewRecord(benchmark::State& state) {
  Versus(state, "BM_Memcpy_PageBytes");
  DibInfo* page = ColourPage();
  for (auto _ : state) {
    DibInfo* dest = nullptr;
    benchmark::DoNotOptimize(DibCopyZone(dest, page, nullptr));
    DibFree(dest);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * page->biSizeImage);
}

void BM_Memcpy_PageBytes(benchmark::State& state) {
  DibInfo* page = ColourPage();
  std::vector<unsigned char> dest(page->biSizeImage);
  for (auto _ : state) {
    std::memcpy(dest.data(), page->BitsPtr(), page->biSizeImage);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * page->biSizeImage);
}

// A 1-bit page copied from column 3 (every byte shifted) and from column 8 (block moves).
void BM_CopyZone_OneBitPage(benchmark::State& state) {
  static DibInfo* bits = [] {
    DibInfo* grey = GreyPage();
    DibInfo* b = DibCreate(grey->Width(), OrderedHeight(grey->Height()), 11811, 11811, 1);
    for (int y = 0; y < grey->Height(); ++y)
      for (int x = 0; x < grey->Width(); ++x)
        if (grey->GetLine(y)[x] > 128) b->GetLine(y)[x / 8] |= uint8_t(0x80 >> (x % 8));
    return b;
  }();
  int const left = static_cast<int>(state.range(0));
  tagRect32 rect{left, 0, bits->Width() - 1, bits->Height() - 1};
  DibInfo* dest = DibCreate(bits, 0);
  for (auto _ : state) {
    benchmark::DoNotOptimize(DibCopyZone(dest, bits, &rect));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * bits->biSizeImage);
  DibFree(dest);
}

}  // namespace

BENCHMARK(BM_CopyZone_PageIntoRecord)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CopyZone_PageNewRecord)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Memcpy_PageBytes)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CopyZone_OneBitPage)->Arg(3)->Arg(8)->Unit(benchmark::kMicrosecond);
