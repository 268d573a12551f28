// pages.h - the pages every benchmark measures on, made once per process, and the conventions
// that put a benchmark in the closing table of scripts/bench.sh.
//
// Row order. Pages are bottom-up records (positive height, what DibCreate makes and most files
// and hosts hold) unless the environment says QUILP_BENCH_ORDER=top-down; scripts/bench.sh runs
// the binary in both orders, interleaved, so every benchmark is measured on both. Benchmarks
// take their pages from here and never pick an order themselves.
//
// Peers. A peer (OpenCV, Leptonica) works on the same pixels in their storage order (AsMat): on
// a bottom-up page that is the picture upside down, which costs a point or window operation the
// same. Our side may keep a record alive across iterations only where the peer does the same.
//
// The table. A benchmark of ours joins the table by calling Versus(state, "PEER") once, where
// PEER is the full name of the peer's benchmark run as Google Benchmark prints it (for example
// "BM_OpenCV_Erode/3"). Versus labels the run "<tier> vs PEER" and only at the processor's best
// tier, so a family measured on several tiers contributes one row. Versus sets the whole label
// (a note such as "8 bits" goes through its third argument). The peer's own benchmark needs
// nothing. scripts/bench_table.py reads the runs of both orders and prints the table.
#pragma once

#include <benchmark/benchmark.h>

#include "quilp32.h"

namespace bench_support {

// True when this process measures top-down records (QUILP_BENCH_ORDER=top-down).
bool TopDownPages();
// The sign a benchmark gives a height to make a record in this process's row order.
inline int OrderedHeight(int height) { return TopDownPages() ? -height : height; }

// A4 at 300 dpi (2480 x 3508): text, stamp, photo, slight skew and noise; in this process's
// row order.
DibInfo* ColourPage();  // 24-bit
DibInfo* GreyPage();    // 8-bit, the colour page through equal-thirds grey

// Labels the run with the active tier, the note if any and, at the processor's best tier, the
// peer it is measured against (see above); an empty peer puts the run in the table alone.
void Versus(benchmark::State& state, char const* peer, char const* note = "");

}  // namespace bench_support

#if defined(QUILP_HAVE_OPENCV)
#include <opencv2/core.hpp>
namespace bench_support {
// A cv::Mat header over a record's pixels in storage order (a cv::Mat cannot step backwards):
// the picture itself for a top-down record, upside down for a bottom-up one.
cv::Mat AsMat(DibInfo* dib);
}  // namespace bench_support
#endif
