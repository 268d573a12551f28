// morph_ops.cpp - opening, closing, top-hats, gradients and hit-or-miss (see morph_ops.h).
#include "morph/morph_ops.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <new>

#include "morph/element_morph.h"

namespace quilp {
namespace {

constexpr bool kPaperBeyond = true;  // 1-bit: set bits lie beyond the area

bool LoadGrey(GreyImage& g, DibView const& v) {
  if (uint64_t(v.width) * uint64_t(v.height) > SIZE_MAX / 4) return false;  // 32-bit builds
  g.width = v.width;
  g.height = v.height;
  g.pixels.resize(std::size_t(v.width) * std::size_t(v.height));
  for (int i = 0; i < v.height; ++i) {
    int const y = StorageRow(v.step, i, v.height);
    std::copy(v.Row(y), v.Row(y) + v.width, g.Row(y));
  }
  return true;
}

void StoreGrey(GreyImage const& g, DibView const& v) {
  for (int i = 0; i < v.height; ++i) {
    int const y = StorageRow(v.step, i, v.height);
    std::copy(g.Row(y), g.Row(y) + v.width, v.Row(y));
  }
}

// dst = a - b: 1-bit "set in a and clear in b", 8-bit levels (b <= a by construction). dst
// may be a or b.
bool Minus(InkBits& dst, InkBits const& a, InkBits const& b) {
  if ((dst.Width() != a.Width() || dst.Height() != a.Height()) && !dst.Reset(a.Width(), a.Height()))
    return false;
  for (int y = 0; y < a.Height(); ++y)
    for (int k = 0; k < a.Words(); ++k) dst.Row(y)[k] = a.Row(y)[k] & ~b.Row(y)[k];
  return true;
}
bool Minus(GreyImage& dst, GreyImage const& a, GreyImage const& b) {
  dst.width = a.width;
  dst.height = a.height;
  dst.pixels.resize(a.pixels.size());
  for (std::size_t i = 0; i < a.pixels.size(); ++i) dst.pixels[i] = uint8_t(a.pixels[i] - b.pixels[i]);
  return true;
}

// Every operation but hit-or-miss from erosion, dilation and differences.
template <class Image, class Erode, class Dilate>
bool Compose(Image& out, Image const& src, MorphOperation op, Erode erode, Dilate dilate) {
  Image t;
  switch (op) {
    case MorphOperation::kErode: return erode(out, src);
    case MorphOperation::kDilate: return dilate(out, src);
    case MorphOperation::kOpen: return erode(t, src) && dilate(out, t);
    case MorphOperation::kClose: return dilate(t, src) && erode(out, t);
    case MorphOperation::kTopHat: return erode(t, src) && dilate(out, t) && Minus(out, src, out);
    case MorphOperation::kBotHat: return dilate(t, src) && erode(out, t) && Minus(out, out, src);
    case MorphOperation::kGradient: return dilate(out, src) && erode(t, src) && Minus(out, out, t);
    case MorphOperation::kGradientIn: return erode(t, src) && Minus(out, src, t);
    case MorphOperation::kGradientOut: return dilate(out, src) && Minus(out, out, src);
    case MorphOperation::kHitMiss: break;
  }
  return false;
}

// Hit-or-miss of 1-bit images: the erosion of the set bits by the hits AND the erosion of
// the clear bits by the misses (beyond the area nothing is clear).
int HitOrMiss(InkBits& out, InkBits const& src, StructElement const& el) {
  auto const hitBars = CoverByBars(el.hits), missBars = CoverByBars(el.misses);
  if (!out.Reset(src.Width(), src.Height())) return -3;
  if (hitBars.empty()) {  // misses only: every pixel passes the hits
    for (int y = 0; y < out.Height(); ++y) std::fill(out.Row(y), out.Row(y) + out.Words(), ~uint64_t(0));
    out.ClearTails();
  } else if (!MorphBits(out, src, hitBars, false, kPaperBeyond)) {
    return -3;
  }
  if (missBars.empty()) return 0;
  InkBits clear, passed;
  if (!clear.Reset(src.Width(), src.Height())) return -3;
  for (int y = 0; y < clear.Height(); ++y)
    for (int k = 0; k < clear.Words(); ++k) clear.Row(y)[k] = ~src.Row(y)[k];
  clear.ClearTails();
  if (!MorphBits(passed, clear, missBars, false, !kPaperBeyond)) return -3;
  for (int y = 0; y < out.Height(); ++y)
    for (int k = 0; k < out.Words(); ++k) out.Row(y)[k] &= passed.Row(y)[k];
  return 0;
}

int BitsOperation(InkBits& out, InkBits const& src, StructElement const& el, MorphOperation op) {
  if (op == MorphOperation::kHitMiss) return HitOrMiss(out, src, el);
  auto const bars = CoverByBars(el.hits);
  if (bars.empty()) return -1;
  auto erode = [&](InkBits& d, InkBits const& s) { return MorphBits(d, s, bars, false, kPaperBeyond); };
  auto dilate = [&](InkBits& d, InkBits const& s) { return MorphBits(d, s, bars, true, kPaperBeyond); };
  return Compose(out, src, op, erode, dilate) ? 0 : -3;
}

int GreyOperation(GreyImage& out, GreyImage const& src, StructElement const& el, MorphOperation op) {
  auto const bars = CoverByBars(el.hits);
  if (bars.empty() || op == MorphOperation::kHitMiss) return -1;
  auto erode = [&](GreyImage& d, GreyImage const& s) { return MorphGrey(d, s, bars, false); };
  auto dilate = [&](GreyImage& d, GreyImage const& s) { return MorphGrey(d, s, bars, true); };
  return Compose(out, src, op, erode, dilate) ? 0 : -3;
}

}  // namespace

int MorphArea(DibView const& dst, int dstOffset, DibView const& src, int srcOffset, int depth,
              MorphRequest const& request) {
  if (request.operation < 0 || request.operation > 9 || request.shape < 0 || request.shape > 5)
    return -1;
  try {
    StructElement el;
    if (!BuildElement(el, static_cast<ElementShape>(request.shape), request.width, request.height,
                      request.angle, request.image, request.text))
      return -1;
    MorphOperation const op = static_cast<MorphOperation>(request.operation);
    if (depth == 1) {
      InkBits in, out;
      if (!LoadInk(in, src, srcOffset, false)) return -3;
      int const status = BitsOperation(out, in, el, op);
      if (status == 0) StoreInk(out, dst, dstOffset, false);
      return status;
    }
    GreyImage in, out;
    if (!LoadGrey(in, src)) return -3;
    int const status = GreyOperation(out, in, el, op);
    if (status == 0) StoreGrey(out, dst);
    return status;
  } catch (std::exception const&) {  // no memory, or more than a vector holds
    return -3;
  }
}

}  // namespace quilp
