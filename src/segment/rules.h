// rules.h - horizontal and vertical rules among the components of the reduced page.
//
// A rule is a long thin component: at least 0.4 inch long, at most about 0.04 inch thick on
// average (its area over its length), and no taller (wider) than that thickness plus the
// drift of a line skewed by two degrees. Cost: a few operations per component.
#pragma once

#include "morph/components.h"
#include "segment/layout_types.h"

namespace quilp {

// kZoneHRule, kZoneVRule, or kZoneUnknown when the component is no rule.
int RuleKind(InkComponent const& c, LayoutScale const& scale);

}  // namespace quilp
