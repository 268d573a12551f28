// morph_ops.cpp - opening, closing, top-hats, gradients and hit-or-miss (see morph_ops.h).
#include "morph/morph_ops.h"

#include <algorithm>
#include <new>

#include "morph/element_morph.h"

namespace quilp {
namespace {

constexpr bool kPaperBeyond = true;  // 1-bit: set bits lie beyond the area

bool LoadGrey(GreyImage& g, DibView const& v) {
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

// a = a AND NOT b (difference of 1-bit results).
void Without(InkBits& a, InkBits const& b) {
  for (int y = 0; y < a.Height(); ++y)
    for (int k = 0; k < a.Words(); ++k) a.Row(y)[k] &= ~b.Row(y)[k];
}

// a = a - b, per level (b <= a by construction).
void Minus(GreyImage& a, GreyImage const& b) {
  for (std::size_t i = 0; i < a.pixels.size(); ++i) a.pixels[i] = uint8_t(a.pixels[i] - b.pixels[i]);
}

int BitsOperation(InkBits& out, InkBits const& src, StructElement const& el, MorphOperation op) {
  auto bars = CoverByBars(el.hits);
  InkBits t;
  auto erode = [&](InkBits& d, InkBits const& s) { return MorphBits(d, s, bars, false, kPaperBeyond); };
  auto dilate = [&](InkBits& d, InkBits const& s) { return MorphBits(d, s, bars, true, kPaperBeyond); };
  auto copy = [&](InkBits& d, InkBits const& s) {
    if (!d.Reset(s.Width(), s.Height())) return false;
    std::copy(s.Row(0), s.Row(0) + std::size_t(s.Words()) * std::size_t(s.Height()), d.Row(0));
    return true;
  };
  if (op != MorphOperation::kHitMiss && bars.empty()) return -1;
  bool ok = true;
  switch (op) {
    case MorphOperation::kErode: ok = erode(out, src); break;
    case MorphOperation::kDilate: ok = dilate(out, src); break;
    case MorphOperation::kOpen: ok = erode(t, src) && dilate(out, t); break;
    case MorphOperation::kClose: ok = dilate(t, src) && erode(out, t); break;
    case MorphOperation::kTopHat: ok = erode(t, src) && dilate(out, t) && copy(t, out) && copy(out, src); if (ok) Without(out, t); break;
    case MorphOperation::kBotHat: ok = dilate(t, src) && erode(out, t); if (ok) Without(out, src); break;
    case MorphOperation::kGradient: ok = dilate(out, src) && erode(t, src); if (ok) Without(out, t); break;
    case MorphOperation::kGradientIn: ok = erode(t, src) && copy(out, src); if (ok) Without(out, t); break;
    case MorphOperation::kGradientOut: ok = dilate(out, src); if (ok) Without(out, src); break;
    case MorphOperation::kHitMiss: {
      if (bars.empty()) {  // misses only: every pixel passes the hits
        if (!copy(out, src)) return -3;
        for (int y = 0; y < out.Height(); ++y) std::fill(out.Row(y), out.Row(y) + out.Words(), ~uint64_t(0));
        out.ClearTails();
      } else if (!erode(out, src)) {
        return -3;
      }
      auto const missBars = CoverByBars(el.misses);
      if (missBars.empty()) return 0;
      InkBits clear;
      if (!copy(clear, src)) return -3;
      for (int y = 0; y < clear.Height(); ++y)
        for (int k = 0; k < clear.Words(); ++k) clear.Row(y)[k] = ~clear.Row(y)[k];
      clear.ClearTails();
      if (!MorphBits(t, clear, missBars, false, !kPaperBeyond)) return -3;
      for (int y = 0; y < out.Height(); ++y)
        for (int k = 0; k < out.Words(); ++k) out.Row(y)[k] &= t.Row(y)[k];
      return 0;
    }
  }
  return ok ? 0 : -3;
}

int GreyOperation(GreyImage& out, GreyImage const& src, StructElement const& el, MorphOperation op) {
  auto const bars = CoverByBars(el.hits);
  if (bars.empty() || op == MorphOperation::kHitMiss) return -1;
  GreyImage t;
  auto erode = [&](GreyImage& d, GreyImage const& s) { return MorphGrey(d, s, bars, false); };
  auto dilate = [&](GreyImage& d, GreyImage const& s) { return MorphGrey(d, s, bars, true); };
  bool ok = true;
  switch (op) {
    case MorphOperation::kErode: ok = erode(out, src); break;
    case MorphOperation::kDilate: ok = dilate(out, src); break;
    case MorphOperation::kOpen: ok = erode(t, src) && dilate(out, t); break;
    case MorphOperation::kClose: ok = dilate(t, src) && erode(out, t); break;
    case MorphOperation::kTopHat: ok = erode(t, src) && dilate(out, t); if (ok) { t = out; out = src; Minus(out, t); } break;
    case MorphOperation::kBotHat: ok = dilate(t, src) && erode(out, t); if (ok) Minus(out, src); break;
    case MorphOperation::kGradient: ok = dilate(out, src) && erode(t, src); if (ok) Minus(out, t); break;
    case MorphOperation::kGradientIn: ok = erode(t, src); if (ok) { out = src; Minus(out, t); } break;
    case MorphOperation::kGradientOut: ok = dilate(out, src); if (ok) Minus(out, src); break;
    case MorphOperation::kHitMiss: return -1;
  }
  return ok ? 0 : -3;
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
    LoadGrey(in, src);
    int const status = GreyOperation(out, in, el, op);
    if (status == 0) StoreGrey(out, dst);
    return status;
  } catch (std::bad_alloc const&) {
    return -3;
  }
}

}  // namespace quilp
