// rules.cpp - long thin components as horizontal or vertical rules (see rules.h).
#include "segment/rules.h"

namespace quilp {

namespace {

constexpr double kMinRuleInches = 0.4;
constexpr double kMaxThicknessInches = 0.04;
constexpr double kSkewDrift = 0.035;  // tan(2 degrees)

bool Thin(int64_t area, int length, int across, LayoutScale const& scale) {
  if (length < scale.In(kMinRuleInches)) return false;
  double const thickness = double(area) / length;
  return thickness <= scale.In(kMaxThicknessInches) + 0.5 &&
         across <= thickness + length * kSkewDrift + 2 && length >= 6 * across;
}

}  // namespace

int RuleKind(InkComponent const& c, LayoutScale const& scale) {
  int const w = c.right - c.left + 1, h = c.bottom - c.top + 1;
  if (Thin(c.area, w, h, scale)) return kZoneHRule;
  if (Thin(c.area, h, w, scale)) return kZoneVRule;
  return kZoneUnknown;
}

}  // namespace quilp
