// Image difference: both forms against the per-byte formula, the messages byte for byte, the
// stop limit, the fitting rules, and every vector path against the scalar one.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <tuple>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "compare/differ.h"
#include "quilp32.h"
#include "support/images.h"
#include "support/tiers.h"

using namespace testing_support;
using quilp::simd::Tier;

namespace {

SDibDifferSetup MakeSetup(int method, int offset = 0, int o0 = 0, int o1 = 0, int o2 = 0,
                      int64_t limit = -1) {
  uint64_t const u = uint64_t(limit);
  return SDibDifferSetup{int32_t(uint32_t(u)), int32_t(uint32_t(u >> 32)), method, offset, o0, o1, o2};
}

// The difference of one byte, written from its definition in 64-bit integers.
int64_t Literal(int t, int e, int64_t o, int method) {
  int64_t const d = t + o - e;
  int64_t const v = method == 0 ? (d < 0 ? -d : d) : (d < 0 ? 0 : d);
  return v > 255 ? 255 : v;
}

int64_t OffsetOf(SDibDifferSetup const& s, int depth, int k) {
  if (depth == 8) return (int64_t(s.offset0) + s.offset1 + s.offset2 + 1) / 3 + s.offset;
  int32_t const c[3] = {s.offset0, s.offset1, s.offset2};
  return int64_t(c[k]) + s.offset;
}

// Captures what the comparison operations write to the log stream during `run`.
template <class F>
std::string Logged(F run) {
  FILE* f = std::tmpfile();
  FILE* previous = DibSetLogStream(f);
  run();
  DibSetLogStream(previous);
  std::string text;
  std::rewind(f);
  for (int c; (c = std::fgetc(f)) != EOF;) text += char(c);
  std::fclose(f);
  return text;
}

std::string Message(int line, char const* descr) {
  return std::string("\nfile=..\\..\\..\\..\\prj\\image\\quilp32\\src\\quilp32 line=") +
         std::to_string(line) + " func=DibDiffer code=-1 descr=" + descr;
}

}  // namespace

TEST(Differ, BothFormsFollowTheFormula) {
  uint32_t seed = 1;
  SDibDifferSetup const setups[] = {MakeSetup(0), MakeSetup(1), MakeSetup(0, 7, 1, 1, 1), MakeSetup(1, -3, 4, -9, 20),
                                    MakeSetup(0, 0, -1, -1, -1), MakeSetup(1, 600, 0, 0, -2000),
                                    MakeSetup(0, INT32_MAX, INT32_MAX, INT32_MAX, INT32_MIN)};
  for (int depth : {8, 24})
    for (bool topDown : {false, true})
      for (SDibDifferSetup const& s : setups) {
        SCOPED_TRACE(testing::Message() << "depth " << depth << " top-down " << topDown
                                        << " method " << s.method << " offset " << s.offset);
        DibPtr test = RandomDib(41, 9, depth, topDown, seed++);
        DibPtr ref = RandomDib(37, 12, depth, !topDown, seed++);
        tagRect32 tr{3, 1, 39, 8}, er{-2, 4, 33, 40};  // reference region 34 x 8 after clipping
        DibInfo* out = nullptr;
        ASSERT_EQ(DibDiffer(out, test.get(), ref.get(), &tr, &er, s), 1);
        DibPtr owned(out);
        ASSERT_EQ(out->Width(), 36);  // the reference rectangle as given
        ASSERT_EQ(out->Height(), 37);
        int const n = depth / 8;
        int64_t sum = 0;
        for (int y = 0; y < 8; ++y)
          for (int x = 0; x < 34; ++x)
            for (int k = 0; k < n; ++k) {
              int64_t const want = Literal(Px(test.get(), 3 + x, 1 + y, k),
                                           Px(ref.get(), x, 4 + y, k), OffsetOf(s, depth, k), s.method);
              sum += want;
              ASSERT_EQ(Px(out, x, y, k), want) << x << "," << y << " byte " << k;
            }
        EXPECT_EQ(Px(out, 34, 0), 0);  // beyond the region: as created
        EXPECT_EQ(DibDiffer(test.get(), ref.get(), &tr, &er, s), sum);
      }
}

TEST(Differ, OffsetsAndMethodsOnSinglePixels) {
  DibPtr t(DibCreate(1, 1, 0, 0, 8)), e(DibCreate(1, 1, 0, 0, 8));
  Px(t.get(), 0, 0) = 100;
  Px(e.get(), 0, 0) = 160;  // reference brighter
  EXPECT_EQ(DibDiffer(t.get(), e.get(), nullptr, nullptr, MakeSetup(1)), 0);  // never negative
  EXPECT_EQ(DibDiffer(t.get(), e.get(), nullptr, nullptr, MakeSetup(0)), 60);
  Px(e.get(), 0, 0) = 100;
  EXPECT_EQ(DibDiffer(t.get(), e.get(), nullptr, nullptr, MakeSetup(0, 0, 1, 1, 1)), 1);    // (3+1)/3
  EXPECT_EQ(DibDiffer(t.get(), e.get(), nullptr, nullptr, MakeSetup(0, 0, -1, -1, -1)), 0); // (-3+1)/3
  EXPECT_EQ(DibDiffer(t.get(), e.get(), nullptr, nullptr, MakeSetup(0, -300)), 255);
  EXPECT_EQ(DibDiffer(t.get(), e.get(), nullptr, nullptr, MakeSetup(1, -300)), 0);
  DibPtr tc(DibCreate(1, 1, 0, 0, 24)), ec(DibCreate(1, 1, 0, 0, 24));
  // Channel offsets apply to blue, green, red in that order, each plus the common offset.
  EXPECT_EQ(DibDiffer(tc.get(), ec.get(), nullptr, nullptr, MakeSetup(1, 2, 1, 10, 100)), 3 + 12 + 102);
  EXPECT_EQ(DibDiffer(tc.get(), ec.get(), nullptr, nullptr, MakeSetup(1, 0, 0, 0, 5)), 5);  // red only
}

TEST(Differ, MessagesAreWrittenExactlyAndOnlyToTheStream) {
  DibPtr a = RandomDib(4, 4, 8, false, 1), b = RandomDib(4, 4, 24, false, 2);
  DibPtr c = RandomDib(4, 4, 24, false, 3), bw = RandomDib(4, 4, 1, false, 4);
  DibPtr bw2 = RandomDib(4, 4, 1, false, 5), deep = RandomDib(4, 4, 32, false, 6);
  struct Case {
    DibInfo* t;
    DibInfo* e;
    int method;
    int imageLine, sumLine;
    char const* descr;
  };
  Case const cases[] = {
      {nullptr, a.get(), 0, 2861, 2944, "!pTstDib||!pEtaDib"},
      {a.get(), nullptr, 0, 2861, 2944, "!pTstDib||!pEtaDib"},
      {a.get(), b.get(), 0, 2863, 2946, "pTstDib->BitsPerPixel()!=pEtaDib->BitsPerPixel()"},
      {a.get(), a.get(), 2, 2902, 2980, "Wrong Method value"},
      {b.get(), c.get(), -1, 2922, 2999, "Wrong Method value"},
      {bw.get(), bw2.get(), 0, 2926, 3003, "Wrong pTstDib->BitsPerPixel() value"},
      {deep.get(), deep.get(), 0, 2926, 3003, "Wrong pTstDib->BitsPerPixel() value"},
  };
  for (Case const& k : cases) {
    SCOPED_TRACE(k.imageLine);
    DibPtr given = RandomDib(4, 4, k.e ? k.e->BitsPerPixel() : 8, false, 9);
    DibInfo* out = given.get();
    int imageResult = 0;
    int64_t sumResult = 0;
    EXPECT_EQ(Logged([&] { imageResult = DibDiffer(out, k.t, k.e, nullptr, nullptr, MakeSetup(k.method)); }),
              Message(k.imageLine, k.descr));
    EXPECT_EQ(imageResult, -1);
    EXPECT_EQ(Logged([&] { sumResult = DibDiffer(k.t, k.e, nullptr, nullptr, MakeSetup(k.method)); }),
              Message(k.sumLine, k.descr));
    EXPECT_EQ(sumResult, -1);
  }
  // No stream: nothing is written anywhere, the result is the same.
  FILE* previous = DibSetLogStream(nullptr);
  EXPECT_EQ(DibDiffer(nullptr, a.get(), nullptr, nullptr, MakeSetup(0)), -1);
  EXPECT_EQ(DibSetLogStream(previous), nullptr);
  // Regions that do not fit are not misuse: no message.
  tagRect32 big{0, 0, 3, 3}, small{0, 0, 2, 2};
  DibInfo* out = nullptr;
  EXPECT_EQ(Logged([&] { EXPECT_EQ(DibDiffer(a.get(), a.get(), &small, &big, MakeSetup(0)), -1); }), "");
  EXPECT_EQ(Logged([&] { EXPECT_EQ(DibDiffer(out, a.get(), a.get(), &small, &big, MakeSetup(0)), 0); }), "");
  DibFree(out);
}

// The output is made before the depth is checked: a 1- or 32-bit pair leaves it in `out`.
TEST(Differ, OutputMadeBeforeTheDepthCheckStaysWithTheCaller) {
  for (int depth : {1, 32}) {
    DibPtr t = RandomDib(9, 5, depth, false, 1), e = RandomDib(9, 5, depth, true, 2);
    tagRect32 er{1, 1, 6, 3};
    DibInfo* out = nullptr;
    EXPECT_EQ(DibDiffer(out, t.get(), e.get(), nullptr, &er, MakeSetup(0)), -1);
    ASSERT_NE(out, nullptr);
    DibPtr owned(out);
    EXPECT_EQ(out->Width(), 6);
    EXPECT_EQ(out->Height(), 3);
    EXPECT_EQ(out->BitsPerPixel(), depth);
    for (uint32_t i = 0; i < out->biSizeImage; ++i) ASSERT_EQ(out->BitsPtr()[i], 0);
  }
  DibPtr t = RandomDib(9, 5, 8, false, 3);
  tagRect32 negative{5, 0, 1, 2};  // no record can be that wide
  DibInfo* out = nullptr;
  EXPECT_EQ(DibDiffer(out, t.get(), t.get(), nullptr, &negative, MakeSetup(0)), -2);
  EXPECT_EQ(out, nullptr);
}

TEST(Differ, FittingRulesAndEmptyRegions) {
  DibPtr t = RandomDib(10, 10, 24, false, 1), e = RandomDib(10, 10, 24, true, 2);
  tagRect32 big{0, 0, 9, 9}, wide{0, 0, 9, 4}, tall{0, 0, 4, 9};
  DibInfo* out = nullptr;
  EXPECT_EQ(DibDiffer(out, t.get(), e.get(), &wide, &big, MakeSetup(0)), 0);
  DibFree(out);
  EXPECT_EQ(DibDiffer(out, t.get(), e.get(), &tall, &big, MakeSetup(0)), 0);
  DibFree(out);
  EXPECT_EQ(DibDiffer(t.get(), e.get(), &wide, &big, MakeSetup(0)), -1);
  // A given output must hold the reference region and have the pair's depth.
  for (auto [w, h, depth] : {std::tuple{9, 10, 24}, std::tuple{10, 9, 24}, std::tuple{10, 10, 8}}) {
    DibPtr given = RandomDib(w, h, depth, false, 3);
    DibInfo* g = given.get();
    EXPECT_EQ(DibDiffer(g, t.get(), e.get(), nullptr, nullptr, MakeSetup(0)), 0) << w << "x" << h;
  }
  DibPtr larger = RandomDib(12, 11, 24, true, 4);
  DibInfo* g = larger.get();
  EXPECT_EQ(DibDiffer(g, t.get(), e.get(), nullptr, nullptr, MakeSetup(0)), 1);
  EXPECT_EQ(g, larger.get());
  // A reference rectangle wholly outside its image has no rows.
  tagRect32 outside{20, 20, 25, 25};
  DibPtr target = RandomDib(6, 6, 24, false, 5);
  g = target.get();
  EXPECT_EQ(DibDiffer(g, t.get(), e.get(), nullptr, &outside, MakeSetup(0)), 1);
  EXPECT_EQ(DibDiffer(t.get(), e.get(), nullptr, &outside, MakeSetup(0)), 0);
  // An inverted rectangle far out does not make a record of its size.
  tagRect32 inverted{0, 100, 0, -700000000};
  DibInfo* none = nullptr;
  EXPECT_EQ(DibDiffer(none, t.get(), e.get(), nullptr, &inverted, MakeSetup(0)), -2);
  EXPECT_EQ(none, nullptr);
}

TEST(Differ, StopLimit) {
  DibPtr t(DibCreate(4, 3, 0, 0, 8)), e(DibCreate(4, 3, 0, 0, 8));
  Px(t.get(), 1, 1) = 5;  // row 0 sums to 0, row 1 to 5, row 2 to 7
  Px(t.get(), 2, 2) = 7;
  EXPECT_EQ(DibDiffer(t.get(), e.get(), nullptr, nullptr, MakeSetup(0, 0, 0, 0, 0, -1)), 12);
  EXPECT_EQ(DibDiffer(t.get(), e.get(), nullptr, nullptr, MakeSetup(0, 0, 0, 0, 0, 0)), 5);
  EXPECT_EQ(DibDiffer(t.get(), e.get(), nullptr, nullptr, MakeSetup(0, 0, 0, 0, 0, 5)), 12);
  EXPECT_EQ(DibDiffer(t.get(), e.get(), nullptr, nullptr, MakeSetup(0, 0, 0, 0, 0, 4)), 5);
  // The high word counts: limit 2^32 never stops here; a set sign bit means no limit.
  EXPECT_EQ(DibDiffer(t.get(), e.get(), nullptr, nullptr, SDibDifferSetup{0, 1, 0, 0, 0, 0, 0}), 12);
  EXPECT_EQ(DibDiffer(t.get(), e.get(), nullptr, nullptr, SDibDifferSetup{0, INT32_MIN, 0, 0, 0, 0, 0}), 12);
}

// Vector row kernels against the scalar ones: awkward lengths, every offset phase.
TEST(Differ, VectorKernelsEqualScalar) {
  std::mt19937 rng(3);
  quilp::DifferRule const rules[] = {
      quilp::MakeDifferRule(0, 0, 0, 0),     quilp::MakeDifferRule(0, 0, 0, 1),
      quilp::MakeDifferRule(5, 5, 5, 0),     quilp::MakeDifferRule(-7, 300, 0, 1),
      quilp::MakeDifferRule(-510, 510, 1, 0), quilp::MakeDifferRule(2, -2, 0, 1)};
  auto const& scalar = quilp::DifferKernelsScalar();
  for (Tier tier : VectorTiers()) {
    auto const& vec = tier == Tier::kAvx2 ? quilp::DifferKernelsAvx2() : quilp::DifferKernelsSse41();
    for (quilp::DifferRule const& rule : rules)
      for (int len : {1, 7, 15, 16, 17, 31, 32, 33, 47, 48, 49, 77, 95, 96, 97, 200, 1001}) {
        std::vector<uint8_t> t(len), e(len), want(len), got(len);
        for (int i = 0; i < len; ++i) {
          t[i] = uint8_t(rng());
          e[i] = uint8_t(rng());
        }
        scalar.image(t.data(), e.data(), want.data(), len, rule);
        vec.image(t.data(), e.data(), got.data(), len, rule);
        ASSERT_EQ(got, want) << quilp::simd::TierName(tier) << " length " << len;
        ASSERT_EQ(vec.sum(t.data(), e.data(), len, rule), scalar.sum(t.data(), e.data(), len, rule))
            << quilp::simd::TierName(tier) << " length " << len;
      }
  }
}

// Through the exports, bottom-up and top-down, awkward widths: every tier gives the same.
TEST(Differ, ExportsGiveTheSameOnEveryTier) {
  for (int depth : {8, 24})
    for (int width : kAwkwardWidths)
      for (bool topDown : {false, true}) {
        DibPtr t = RandomDib(width + 2, 5, depth, topDown, uint32_t(width));
        DibPtr e = RandomDib(width, 4, depth, !topDown, uint32_t(width + 1000));
        tagRect32 tr{2, 1, width + 1, 4};
        ExpectSameOnEveryTier([&] {
          std::vector<DibPtr> out;
          for (SDibDifferSetup const& s : {MakeSetup(0), MakeSetup(1, 3, -4, 9, 1)}) {
            DibInfo* image = nullptr;
            EXPECT_EQ(DibDiffer(image, t.get(), e.get(), &tr, nullptr, s), 1);
            out.emplace_back(image);
            // The sum form, as a one-pixel record of its low bits, compared alike.
            int64_t const sum = DibDiffer(t.get(), e.get(), &tr, nullptr, s);
            out.emplace_back(DibCreate(1, 1, 0, 0, 32));
            std::memcpy(out.back()->BitsPtr(), &sum, 4);
          }
          return out;
        }, WidthAndOrder(width, topDown));
      }
}
