// rect.cpp - the clamping and exact-fit rectangle rules.
#include "record/rect.h"

#include <algorithm>
#include <cstdint>

namespace quilp {
namespace {

int64_t Clamp64(int64_t v, int64_t lo, int64_t hi) { return std::min(std::max(v, lo), hi); }

}  // namespace

bool ClampRect(DibInfo const* dib, tagRect32 const* rect, Area& area) {
  int64_t const w = dib->Width(), h = dib->Height();
  int64_t l = 0, t = 0, r = w - 1, b = h - 1;
  if (rect) {
    l = std::max<int64_t>(rect->left, 0);
    t = std::max<int64_t>(rect->top, 0);
    r = std::min<int64_t>(rect->right, w - 1);
    b = std::min<int64_t>(rect->bottom, h - 1);
  }
  if (r < l || b < t) return false;
  area = {static_cast<int>(l), static_cast<int>(t), static_cast<int>(r - l + 1),
          static_cast<int>(b - t + 1)};
  return true;
}

bool ExactFitRect(DibInfo const* dib, tagRect32 const* rect, Area& area) {
  int64_t const w = dib->Width(), h = dib->Height();
  tagRect32 const whole = {0, 0, static_cast<int32_t>(w - 1), static_cast<int32_t>(h - 1)};
  tagRect32 const& r = rect ? *rect : whole;
  int64_t const wantW = int64_t(r.right) - r.left + 1, wantH = int64_t(r.bottom) - r.top + 1;
  int64_t const l = Clamp64(std::min(r.left, r.right), 0, w);
  int64_t const t = Clamp64(std::min(r.top, r.bottom), 0, h);
  int64_t const rr = Clamp64(std::max(r.left, r.right), 0, w);
  int64_t const bb = Clamp64(std::max(r.top, r.bottom), 0, h);
  if (rr - l + 1 != wantW || bb - t + 1 != wantH) return false;
  area = {static_cast<int>(l), static_cast<int>(t), static_cast<int>(wantW),
          static_cast<int>(wantH)};
  return true;
}

}  // namespace quilp
