// page_ink.cpp - the ink of a page for segmentation: binarization of grey and colour areas
// and the OR-reduction to the layout scale (see page_ink.h).
#include "segment/page_ink.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "binarize/adaptive.h"
#include "filter/gradient.h"
#include "morph/squeeze.h"
#include "record/grey_image.h"

namespace quilp {

namespace {

constexpr double kPelsPerMetrePerDpi = 39.37;
constexpr int kToneDepth = 24;  // grey levels under the paper that always count as ink

// Receives 1-bit rows (white set) and stores their ink as set bits.
class InkSink final : public BitRowSink {
 public:
  explicit InkSink(InkBits& ink) : ink_(ink) {}
  void Put(int y, uint8_t const* bits) override {
    uint64_t* row = ink_.Row(y);
    int const bytes = (ink_.Width() + 7) / 8;
    for (int w = 0; w < ink_.Words(); ++w) {
      uint64_t word = 0;
      for (int k = 0; k < 8; ++k) {
        int const i = w * 8 + k;
        word = (word << 8) | (i < bytes ? uint8_t(~bits[i]) : 0u);
      }
      row[w] = word;
    }
    row[ink_.Words() - 1] &= ink_.TailMask();
  }

 private:
  InkBits& ink_;
};

// The paper level: the most common level of the lighter half.
int PaperLevel(DibView const& grey) {
  std::vector<int64_t> histogram(256, 0);
  for (int y = 0; y < grey.height; ++y) {
    unsigned char const* row = grey.Row(y);
    for (int x = 0; x < grey.width; ++x) ++histogram[row[x]];
  }
  int paper = 255;
  for (int v = 255; v >= 128; --v)
    if (histogram[std::size_t(v)] > histogram[std::size_t(paper)]) paper = v;
  return paper;
}

// Pixels clearly darker than the paper are ink too: the adaptive threshold follows the level
// of a large dark area (a photograph) and leaves its inside white, where layout must see it
// solid.
void AddDarkTones(DibView const& grey, InkBits& ink) {
  int const limit = PaperLevel(grey) - kToneDepth;
  for (int y = 0; y < grey.height; ++y) {
    unsigned char const* row = grey.Row(y);
    uint64_t* bits = ink.Row(y);
    for (int x = 0; x < grey.width; ++x)
      if (row[x] < limit) bits[x >> 6] |= uint64_t(1) << (63 - (x & 63));
  }
}

}  // namespace

int LayoutDpi(DibInfo const* dib) {
  int dpi = int(dib->YPelsPerMeter() / kPelsPerMetrePerDpi + 0.5);
  if (dpi <= 0) dpi = kLayoutDefaultDpi;
  return std::clamp(dpi, kLayoutMinDpi, kLayoutMaxDpi);
}

bool LoadPageInk(DibInfo const* dib, Area const& area, InkBits& ink) {
  DibView const view = MakeView(dib, area);
  if (dib->BitsPerPixel() == 1) return LoadInk(ink, view, area.left % 8);
  if (!ink.Reset(area.width, area.height)) return false;
  try {
    GreyImage grey;
    DibView greyView = view;
    if (dib->BitsPerPixel() == 24) {
      grey.width = area.width;
      grey.height = area.height;
      grey.pixels.resize(std::size_t(area.width) * std::size_t(area.height));
      greyView = grey.View();
      DibMeanGrey(greyView, view);
    }
    AdaptiveSetup setup;
    setup.method = kAdaptiveAuto;
    if (ResolveAdaptiveSetup(setup, area.width, area.height, dib->XPelsPerMeter()) != 0)
      return false;
    InkSink sink(ink);
    if (!AdaptiveBinarize(greyView, setup, sink)) return false;
    AddDarkTones(greyView, ink);
    return true;
  } catch (std::bad_alloc const&) {
    return false;
  }
}

int LayoutReduction(int dpi) { return dpi < 225 ? 2 : dpi < 450 ? 4 : 8; }

bool ReduceInk(InkBits const& ink, int factor, InkBits& small) {
  InkBits half;
  InkBits const* from = &ink;
  for (int f = 1; f < factor; f *= 2) {
    InkBits next;
    if (!next.Reset((from->Width() + 1) / 2, (from->Height() + 1) / 2)) return false;
    SqueezeInk(next, *from, 1);
    half = std::move(next);
    from = &half;
  }
  small = std::move(half);
  return true;
}

}  // namespace quilp
