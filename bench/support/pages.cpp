#include "support/pages.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "pages/page_maker.h"
#include "simd/cpu_features.h"

namespace bench_support {

bool TopDownPages() {
  static bool const topDown = [] {
    char const* env = std::getenv("QUILP_BENCH_ORDER");
    return env && !std::strcmp(env, "top-down");
  }();
  return topDown;
}

DibInfo* ColourPage() {
  static DibInfo* page = [] {
    quilp_pages::PageSpec layout;  // A4, 300 dpi
    layout.topDown = TopDownPages();
    layout.skewDegrees = 0.8;
    layout.noise = 10;
    layout.unevenness = 0.2;
    return quilp_pages::MakePage(layout);
  }();
  return page;
}

DibInfo* GreyPage() {
  static DibInfo* page = [] {
    DibInfo* colour = ColourPage();
    DibInfo* grey = DibCreate(colour->Width(), OrderedHeight(colour->Height()),
                              colour->XPelsPerMeter(), colour->YPelsPerMeter(), 8);
    for (int y = 0; y < colour->Height(); ++y) {
      unsigned char const* s = colour->GetLine(y);
      unsigned char* d = grey->GetLine(y);
      for (int x = 0; x < colour->Width(); ++x)
        d[x] = static_cast<unsigned char>((s[3 * x] + s[3 * x + 1] + s[3 * x + 2]) / 3);
    }
    return grey;
  }();
  return page;
}

void Versus(benchmark::State& state, char const* peer, char const* note) {
  quilp::simd::Tier const tier = quilp::simd::ActiveTier();
  std::string label = quilp::simd::TierName(tier);
  if (*note) label += std::string(" ") + note;
  if (tier == quilp::simd::DetectedTier()) label += std::string(" vs ") + (*peer ? peer : "-");
  state.SetLabel(label);
}

#if defined(QUILP_HAVE_OPENCV)
cv::Mat AsMat(DibInfo* dib) {
  int const type = dib->BitsPerPixel() == 8 ? CV_8UC1 : dib->BitsPerPixel() == 24 ? CV_8UC3 : CV_8UC4;
  return cv::Mat(dib->Height(), dib->Width(), type, dib->BitsPtr(), size_t(dib->ByteWidth()));
}
#endif

}  // namespace bench_support
