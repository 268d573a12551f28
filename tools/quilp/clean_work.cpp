// clean_work.cpp - the shared reduced copy (DibDownscale: one read of the page, a quarter of
// its pixels kept at 300 dpi) and the measurements made on it.
#include "quilp/clean_work.h"

#include <algorithm>

namespace quilp_cli {
namespace {

constexpr double kWorkDpi = 150.0;

}  // namespace

WorkCopy::WorkCopy(DibInfo* grey, double dpi) {
  factor_ = std::max(1, int(dpi / kWorkDpi + 0.5));
  dpi_ = dpi / factor_;
  DibInfo* small = nullptr;
  if (!DibDownscale(small, grey, factor_, factor_, 0, nullptr))
    throw CliError("reducing the page failed (out of memory)");
  small_.reset(small);
}

int WorkCopy::Orientation(int& confidence) const {
  return DibDetectDominantOrientation(small_.get(), &confidence, nullptr);
}

void WorkCopy::Turn(int quarters) {
  DibInfo* turned = DibRotateBy90(small_.get(), quarters, nullptr);
  if (!turned) throw CliError("turning upright failed (out of memory)");
  small_.reset(turned);
}

bool WorkCopy::MeasureSkew(double& radians) const {
  return DibHoughGetAngle(radians, small_.get(), 0, nullptr);
}

Dib Straightened(DibInfo* image, double radians) {
  DibInfo* out = DibRotateAccurate(image, radians, 0, nullptr);
  if (!out) throw CliError("deskewing failed (out of memory)");
  return Dib(out);
}

}  // namespace quilp_cli
