// fast_hough.h - the dyadic fast Hough transform over cyclic lanes, shared by the block
// transform (DibHoughCompute) and the page transform (DibHoughTransform).
//
// The data are 2^n lanes of P positions each. A digital line picks one position in every lane;
// its drift t (0..2^n - 1) is how far its position has moved between the first and the last
// lane. After the n butterfly stages, lane t position i holds the sum over the lanes x of
// value(x, (i + drift_t(x)) mod P), where drift_t is the dyadic line: over one lane it is 0;
// over 2w lanes slope t runs slope t/2 (truncated) over the first w lanes and the same line,
// started (t - t/2) positions further, over the second w lanes. Positions are cyclic, which
// is the same as laying the lines out on a 3P-position strip and folding the part that leaves
// one end into the other.
//
// Cost: n * 2^n * P additions. Stages are run two at a time (one read and one write of the
// lanes per pair), the first stages on groups of lanes small enough to stay in the level-2
// cache. Lanes are separately allocated arrays reached through a pointer table; a stage writes
// its results over its inputs and reorders the table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quilp {

// The butterflies of one element type: 32-bit sums (blocks) or 16-bit sums (pages, whose
// lanes are scaled so that no line sum exceeds 65535; 16-bit arithmetic wraps like the
// vector adds).
template <class T>
struct FhtStages {
  // One stage, one pair of lanes: for p < count, a = A[p]; A[p] = a + B[p + k];
  // B[p] = a + B[p + k + 1]. B holds count + k + 1 readable values.
  void (*radix2)(T* a, T* b, int k, int count);
  // Two stages, four lanes (quarters 0..3 of a block, slope k of each):
  //   h0 = Q0[p] + Q1[p + k],          h1 = Q0[p] + Q1[p + k + 1]
  //   Q0[p] = h0 + Q2[p + 2k]     + Q3[p + 3k]
  //   Q1[p] = h0 + Q2[p + 2k + 1] + Q3[p + 3k + 1]
  //   Q2[p] = h1 + Q2[p + 2k + 1] + Q3[p + 3k + 2]
  //   Q3[p] = h1 + Q2[p + 2k + 2] + Q3[p + 3k + 3]
  void (*radix4)(T* q0, T* q1, T* q2, T* q3, int k, int count);
};

// Row kernels of the transform; vector tables must equal the scalar one bit for bit.
struct FhtKernels {
  FhtStages<int32_t> wide;
  FhtStages<uint16_t> narrow;
  // Sums over count values h >= 0: s1[j] += sqrt(h[p]) for p = j mod 4 (four partial sums,
  // each in increasing p), s2 += h, s3 += h * h (exact, 64-bit).
  void (*moments)(int32_t const* h, int count, double s1[4], int64_t& s2, int64_t& s3);
  // dst[c] = invert ? 255 - src[c] : src[c] for c < count.
  void (*votes)(uint8_t const* src, int32_t* dst, int count, bool invert);
  // Eight rows into lanes: lanes[c][pos + j] = vote(rows[j][c]) for c < count, j < 8.
  void (*votes8)(uint8_t const* const* rows, int32_t* const* lanes, int pos, int count,
                 bool invert);
};
FhtKernels const& FhtKernelsScalar();
FhtKernels const& FhtKernelsSse41();
FhtKernels const& FhtKernelsAvx2();
FhtKernels const& FhtKernelsActive();

// The lanes and their pointer table. Each lane holds P positions plus room for the cyclic
// wrap of the widest shift and for vector reads past the end.
template <class T>
class FhtLanes {
 public:
  FhtLanes() = default;
  ~FhtLanes();
  FhtLanes(FhtLanes const&) = delete;
  FhtLanes& operator=(FhtLanes const&) = delete;

  // Allocates 2^logLanes lanes of `positions` values, left as they come (every user writes
  // all P positions before the stages run; the stages write the wrap room before reading it).
  // False on failure (nothing kept).
  bool Allocate(int logLanes, int positions);
  void Release();
  bool Allocated() const { return !lanes_.empty(); }

  int LogLanes() const { return log_; }
  int Lanes() const { return int(lanes_.size()); }
  int Positions() const { return positions_; }
  // Lane i in the current order: before Run, the input lane i; after, the sums of slope i.
  T* Lane(int i) const { return lanes_[std::size_t(i)]; }
  T* const* Table() const { return lanes_.data(); }
  // Reverses the order of the lanes (the mirror of the input).
  void ReverseOrder();

  // The n butterfly stages.
  void Run(FhtStages<T> const& k);

 private:
  void Radix2Stage(FhtStages<T> const& k, int s, int first, int count);
  void Radix4Stages(FhtStages<T> const& k, int s, int first, int count);
  void Wrap(T* lane, int extra) const;

  int log_ = 0;
  int positions_ = 0;
  std::vector<T*> lanes_;
  std::vector<T*> scratch_;  // the reordered table of one block
};

extern template class FhtLanes<int32_t>;
extern template class FhtLanes<uint16_t>;

// Score of one slope from its line sums (h >= 0): with S1 = sum sqrt(h), S2 = sum h,
// S3 = sum h^2 over the n values, mean = S1/n, variance = max(0, (S3 - S2^2/n)/n),
// score = sqrt(variance) / (mean^2 + 0.01).
double FhtSlopeScore(double const s1[4], int64_t s2, int64_t s3, int n);

}  // namespace quilp
