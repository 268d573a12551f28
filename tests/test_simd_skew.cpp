// Every vector kernel of the skew estimators equals the scalar one, at awkward lengths.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "geometry/edge_rows.h"
#include "geometry/fast_hough.h"
#include "geometry/hough_rows.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::simd::Tier;

namespace {

quilp::FhtKernels const& Fht(Tier t) {
  return t == Tier::kAvx2 ? quilp::FhtKernelsAvx2() : quilp::FhtKernelsSse41();
}
quilp::HoughRowKernels const& Rows(Tier t) {
  return t == Tier::kAvx2 ? quilp::HoughRowKernelsAvx2() : quilp::HoughRowKernelsSse41();
}
quilp::EdgeKernels const& Edges(Tier t) {
  return t == Tier::kAvx2 ? quilp::EdgeKernelsAvx2() : quilp::EdgeKernelsSse41();
}

std::size_t Len(int n) { return static_cast<std::size_t>(n); }

constexpr int kLengths[] = {1, 7, 15, 16, 17, 31, 33, 47, 64, 77, 100, 1000};

template <class T>
std::vector<T> Random(std::mt19937& rng, std::size_t n, uint32_t top) {
  std::vector<T> v(n);
  for (auto& x : v) x = static_cast<T>(rng() % (top + 1));
  return v;
}

template <class T>
void CheckButterflies(quilp::FhtStages<T> const& want, quilp::FhtStages<T> const& got,
                      uint32_t top, std::mt19937& rng) {
  for (int count : kLengths)
    for (int k : {0, 1, 3, 20}) {
      std::size_t const room = std::size_t(count + 3 * k + 4);
      std::vector<T> a[4], b[4];
      for (int i = 0; i < 4; ++i) a[i] = b[i] = Random<T>(rng, room, top);
      want.radix2(a[0].data(), a[1].data(), k, count);
      got.radix2(b[0].data(), b[1].data(), k, count);
      EXPECT_EQ(a[0], b[0]) << "radix2 " << count << " k " << k;
      EXPECT_EQ(a[1], b[1]) << "radix2 " << count << " k " << k;
      want.radix4(a[0].data(), a[1].data(), a[2].data(), a[3].data(), k, count);
      got.radix4(b[0].data(), b[1].data(), b[2].data(), b[3].data(), k, count);
      for (int i = 0; i < 4; ++i) EXPECT_EQ(a[i], b[i]) << "radix4 " << count << " k " << k;
    }
}

}  // namespace

TEST(SkewSimd, ButterfliesMomentsAndVotes) {
  std::mt19937 rng(1);
  quilp::FhtKernels const& scalar = quilp::FhtKernelsScalar();
  for (Tier tier : VectorTiers()) {
    SCOPED_TRACE(quilp::simd::TierName(tier));
    quilp::FhtKernels const& k = Fht(tier);
    CheckButterflies(scalar.wide, k.wide, 1u << 20, rng);
    CheckButterflies(scalar.narrow, k.narrow, 65535, rng);  // 16-bit sums wrap alike
    for (int count : kLengths) {
      std::vector<int32_t> h = Random<int32_t>(rng, Len(count), 1u << 22);
      double s1a[4] = {1.5, 2.5, 3.5, 4.5}, s1b[4] = {1.5, 2.5, 3.5, 4.5};
      int64_t s2a = 7, s3a = 9, s2b = 7, s3b = 9;
      scalar.moments(h.data(), count, s1a, s2a, s3a);
      k.moments(h.data(), count, s1b, s2b, s3b);
      EXPECT_EQ(std::memcmp(s1a, s1b, sizeof s1a), 0) << count;  // bit for bit
      EXPECT_EQ(s2a, s2b);
      EXPECT_EQ(s3a, s3b);
      std::vector<uint8_t> bytes = Random<uint8_t>(rng, Len(count), 255);
      for (bool invert : {false, true}) {
        std::vector<int32_t> va(Len(count)), vb(Len(count));
        scalar.votes(bytes.data(), va.data(), count, invert);
        k.votes(bytes.data(), vb.data(), count, invert);
        EXPECT_EQ(va, vb);
        // Eight rows into `count` lanes at position 8.
        std::vector<std::vector<uint8_t>> rows(8);
        uint8_t const* rowPtr[8];
        for (int j = 0; j < 8; ++j) rows[std::size_t(j)] = Random<uint8_t>(rng, Len(count), 255), rowPtr[j] = rows[std::size_t(j)].data();
        std::vector<std::vector<int32_t>> la(Len(count), std::vector<int32_t>(16, -1)), lb = la;
        std::vector<int32_t*> pa, pb;
        for (int c = 0; c < count; ++c) pa.push_back(la[std::size_t(c)].data()), pb.push_back(lb[std::size_t(c)].data());
        scalar.votes8(rowPtr, pa.data(), 8, count, invert);
        k.votes8(rowPtr, pb.data(), 8, count, invert);
        EXPECT_EQ(la, lb) << "votes8 " << count;
      }
    }
  }
}

TEST(SkewSimd, PageTransformRows) {
  std::mt19937 rng(2);
  quilp::HoughRowKernels const& scalar = quilp::HoughRowKernelsScalar();
  for (Tier tier : VectorTiers()) {
    SCOPED_TRACE(quilp::simd::TierName(tier));
    quilp::HoughRowKernels const& k = Rows(tier);
    for (int count : kLengths) {
      std::vector<uint8_t> row = Random<uint8_t>(rng, Len(count), 255);
      // Lanes of 0 to 6 columns, or of whole groups of four (the grouped path), empty ones
      // first, inside and last, over `count` columns.
      for (int grain : {1, 4}) {
      std::vector<int> first(1, 0);
      while (first.back() < count)
        first.push_back(std::min(count, first.back() + grain * int(rng() % (grain == 1 ? 7 : 4))));
      first.push_back(count);
      int const lanes = int(first.size()) - 1;
      std::vector<uint16_t> scale = Random<uint16_t>(rng, Len(lanes), 65535);
      std::vector<std::vector<uint8_t>> rows(16);
      uint8_t const* rowPtr[16];
      for (int r = 0; r < 16; ++r) rows[std::size_t(r)] = Random<uint8_t>(rng, Len(count), 255), rowPtr[r] = rows[std::size_t(r)].data();
      for (int paper : {0, 1, 200, 255}) {
        std::vector<std::vector<uint16_t>> a(Len(lanes), std::vector<uint16_t>(16, 7)), b = a;
        std::vector<uint16_t*> pa, pb;
        for (int x = 0; x < lanes; ++x) pa.push_back(a[std::size_t(x)].data()), pb.push_back(b[std::size_t(x)].data());
        scalar.bandRows16(rowPtr, paper, first.data(), scale.data(), lanes, pa.data());
        k.bandRows16(rowPtr, paper, first.data(), scale.data(), lanes, pb.data());
        EXPECT_EQ(a, b) << "bandRows16 " << count << " paper " << paper << " grain " << grain;
      }
      }
      std::vector<uint16_t> lane = Random<uint16_t>(rng, Len(count), 60000), lane2 = lane;
      scalar.addInk(row.data(), count, 180, lane.data());
      k.addInk(row.data(), count, 180, lane2.data());
      EXPECT_EQ(lane, lane2);
      std::vector<uint16_t> src = Random<uint16_t>(rng, Len(count), 65535);
      std::vector<int32_t> wa(Len(count)), wb(Len(count));
      scalar.widen(src.data(), wa.data(), count);
      k.widen(src.data(), wb.data(), count);
      EXPECT_EQ(wa, wb);
      std::vector<uint16_t> acc = Random<uint16_t>(rng, Len(count), 65535), acc2 = acc;
      scalar.accumulate(src.data(), acc.data(), count);
      k.accumulate(src.data(), acc2.data(), count);
      EXPECT_EQ(acc, acc2);
      int topA = 3, topB = 3;
      EXPECT_EQ(scalar.rowScore(src.data(), count, topA), k.rowScore(src.data(), count, topB));
      EXPECT_EQ(topA, topB);
      std::vector<uint16_t> small = Random<uint16_t>(rng, Len(count), 5000);
      std::vector<uint8_t> ba(Len(count)), bb(Len(count));
      scalar.toBytes(small.data(), ba.data(), count, 255.0f / 5000.0f);
      k.toBytes(small.data(), bb.data(), count, 255.0f / 5000.0f);
      EXPECT_EQ(ba, bb);
      EXPECT_EQ(scalar.byteSharpness(row.data(), count), k.byteSharpness(row.data(), count));
      for (int times : {1, 3, 4}) {
        std::vector<uint8_t> sa(Len(count)), sb(Len(count));
        scalar.spread(row.data(), sa.data(), count, times);
        k.spread(row.data(), sb.data(), count, times);
        EXPECT_EQ(sa, sb) << "spread " << count << " x" << times;
      }
    }
  }
}

TEST(SkewSimd, UpperEdges) {
  std::mt19937 rng(3);
  quilp::EdgeKernels const& scalar = quilp::EdgeKernelsScalar();
  for (Tier tier : VectorTiers()) {
    SCOPED_TRACE(quilp::simd::TierName(tier));
    for (int count : kLengths) {
      // Three-level rows so that dark and light runs are common.
      std::vector<uint8_t> row(std::size_t(count + 2)), above(std::size_t(count + 2));
      for (auto& v : row) v = uint8_t(60 * (rng() % 4) + 10);
      for (auto& v : above) v = uint8_t(60 * (rng() % 4) + 10);
      for (int dark : {0, 1, 100, 255, 256})
        for (int light : {0, 130, 255, 256}) {
          std::vector<int32_t> a(Len(count)), b(Len(count));
          int const na = scalar.upperEdges(row.data(), above.data(), 1, count + 1, dark, light, a.data());
          int const nb = Edges(tier).upperEdges(row.data(), above.data(), 1, count + 1, dark, light, b.data());
          ASSERT_EQ(na, nb) << count << " " << dark << " " << light;
          a.resize(std::size_t(na));
          b.resize(std::size_t(nb));
          EXPECT_EQ(a, b);
        }
    }
  }
}
