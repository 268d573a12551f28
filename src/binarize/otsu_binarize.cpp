// otsu_binarize.cpp - Otsu band binarization of an 8-bit view.
//
// Cost: one pass for the histogram, the threshold search (negligible), one pass for the band.
#include "binarize/otsu_binarize.h"

#include "binarize/histogram.h"
#include "binarize/otsu.h"

namespace quilp {

bool OtsuBandArgsValid(int classes, int from, int to) {
  return classes >= 2 && classes <= 3 && from >= 0 && to >= 0 && from < classes && to < classes;
}

bool OtsuBand(int const hist[256], int classes, int from, int to, bool invert, LevelBand& band) {
  int t[2] = {0, 0};
  if (classes == 2) {
    t[0] = DibOtsuThreshold(hist, 256, 0, 255, nullptr);
    if (t[0] < 0) return false;
  } else {
    bool outOfMemory = false;
    if (!OtsuPair(hist, t, &outOfMemory) && outOfMemory) return false;
  }
  int const lower = from > 0 ? t[from - 1] : 0;
  int const upper = to < classes - 1 ? t[to] : 255;
  band = invert ? LevelBand{upper, lower} : LevelBand{lower, upper};
  return true;
}

int DibOtsuBinarizeView(DibView const& dst, DibView const& src, int classes, int from, int to,
                        bool invert, bool ignoreExtremes) {
  if (!OtsuBandArgsValid(classes, from, to)) return 0;
  if (src.width > dst.width || src.height > dst.height || dst.left % 8 != 0) return 0;
  int hist[256];
  DibHistogram(src.top, src.step, src.width, src.height, ignoreExtremes, hist);
  LevelBand band;
  if (!OtsuBand(hist, classes, from, to, invert, band)) return 0;
  MarkBandRows(dst, src, band, true);
  return 1;
}

}  // namespace quilp
