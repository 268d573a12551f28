// differ.cpp - image difference: scalar kernels (the definition) and the row loops.
//
// Cost: one read of each area and, for the image form, one write; the sum form stops early
// when a limit is given. Sums are exact 64-bit integers, so any order of addition gives the
// same result as the plain per-pixel loop.
#include "compare/differ.h"

#include "simd/dispatch.h"

namespace quilp {

DifferRule MakeDifferRule(int64_t o0, int64_t o1, int64_t o2, int method) {
  auto bound = [](int64_t o) {
    return static_cast<int16_t>(o < -kDifferOffsetBound ? -kDifferOffsetBound
                                : o > kDifferOffsetBound ? kDifferOffsetBound
                                                         : o);
  };
  DifferRule rule;
  rule.offset[0] = bound(o0);
  rule.offset[1] = bound(o1);
  rule.offset[2] = bound(o2);
  rule.method = method;
  rule.zeroOffsets = rule.offset[0] == 0 && rule.offset[1] == 0 && rule.offset[2] == 0;
  for (int i = 0; i < kDifferPatternLength; ++i) rule.pattern[i] = rule.offset[i % 3];
  return rule;
}

namespace {

// Bytes begin..end-1 in order, with the method fixed at compile time so that the per-byte
// work has no branch on it.
template <int kMethod, class Emit>
void EachDifference(uint8_t const* t, uint8_t const* e, std::ptrdiff_t begin, std::ptrdiff_t end,
                    DifferRule const& rule, Emit emit) {
  if (rule.offset[0] == rule.offset[1] && rule.offset[1] == rule.offset[2]) {  // 8-bit rows
    int const o = rule.offset[0];
    for (std::ptrdiff_t i = begin; i < end; ++i) emit(i, Difference(t[i], e[i], o, kMethod));
    return;
  }
  int k = static_cast<int>(begin % 3);
  for (std::ptrdiff_t i = begin; i < end; ++i) {
    emit(i, Difference(t[i], e[i], rule.offset[k], kMethod));
    k = k == 2 ? 0 : k + 1;
  }
}

template <class Emit>
void EachDifference(uint8_t const* t, uint8_t const* e, std::ptrdiff_t begin, std::ptrdiff_t end,
                    DifferRule const& rule, Emit emit) {
  if (rule.method == kDifferAbsolute) EachDifference<kDifferAbsolute>(t, e, begin, end, rule, emit);
  else EachDifference<kDifferOneSided>(t, e, begin, end, rule, emit);
}

}  // namespace

void DifferImageBytes(uint8_t const* t, uint8_t const* e, uint8_t* out, std::ptrdiff_t begin,
                      std::ptrdiff_t end, DifferRule const& rule) {
  EachDifference(t, e, begin, end, rule,
                 [out](std::ptrdiff_t i, int d) { out[i] = static_cast<uint8_t>(d); });
}

uint64_t DifferSumBytes(uint8_t const* t, uint8_t const* e, std::ptrdiff_t begin,
                        std::ptrdiff_t end, DifferRule const& rule) {
  uint64_t sum = 0;
  EachDifference(t, e, begin, end, rule,
                 [&sum](std::ptrdiff_t, int d) { sum += static_cast<uint64_t>(d); });
  return sum;
}

namespace {

void ImageRow(uint8_t const* t, uint8_t const* e, uint8_t* out, std::ptrdiff_t bytes,
              DifferRule const& rule) {
  DifferImageBytes(t, e, out, 0, bytes, rule);
}

uint64_t SumRow(uint8_t const* t, uint8_t const* e, std::ptrdiff_t bytes, DifferRule const& rule) {
  return DifferSumBytes(t, e, 0, bytes, rule);
}

}  // namespace

DifferKernels const& DifferKernelsScalar() {
  static DifferKernels const table = {ImageRow, SumRow};
  return table;
}

DifferKernels const& DifferKernelsActive() {
  return simd::Pick(DifferKernelsScalar(), QUILP_VECTOR_TABLE(DifferKernelsSse41()),
                    QUILP_VECTOR_TABLE(DifferKernelsAvx2()));
}

void DibDifferImage(DibView out, DibView test, DibView ref, int bytesPerPixel,
                    DifferRule const& rule) {
  InStorageOrder(ref, test, out);
  DifferKernels const& k = DifferKernelsActive();
  std::ptrdiff_t const bytes = std::ptrdiff_t(ref.width) * bytesPerPixel;
  for (int y = 0; y < ref.height; ++y) k.image(test.Row(y), ref.Row(y), out.Row(y), bytes, rule);
}

int64_t DibDifferSum(DibView test, DibView ref, int bytesPerPixel, DifferRule const& rule,
                     int64_t stopLimit) {
  // Without a stop limit the exact sum does not care about the row order; with one, the rows
  // are added from the top, as the contract counts them.
  if (stopLimit < 0) InStorageOrder(ref, test);
  DifferKernels const& k = DifferKernelsActive();
  std::ptrdiff_t const bytes = std::ptrdiff_t(ref.width) * bytesPerPixel;
  int64_t sum = 0;
  for (int y = 0; y < ref.height; ++y) {
    sum += static_cast<int64_t>(k.sum(test.Row(y), ref.Row(y), bytes, rule));
    if (stopLimit >= 0 && sum > stopLimit) break;
  }
  return sum;
}

}  // namespace quilp
