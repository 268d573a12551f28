// The keyed colour-to-grey conversion against its literal definition: weighted grey, dropout of
// chromatic colours, levels, placement and every failure code.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "quilp32.h"
#include "record/global_block.h"
#include "support/images.h"

using namespace testing_support;

namespace {

using Ref = std::function<int(int, int, int)>;

struct Keys {
  std::vector<std::string> names, values;
  std::vector<char const*> n, v;
  Keys(std::initializer_list<std::pair<char const*, char const*>> pairs) {
    for (auto const& p : pairs) {
      names.push_back(p.first);
      values.push_back(p.second);
    }
    for (auto& s : names) n.push_back(s.c_str());
    for (auto& s : values) v.push_back(s.c_str());
  }
  int count() const { return int(n.size()); }
};

// round(N / S) with halves upward, clamped: floor((2N + S) / 2S) by exact integer steps.
int RoundedGrey(int64_t mB, int64_t mG, int64_t mR, int64_t mS, int b, int g, int r) {
  int64_t const num = 2 * (mB * b + mG * g + mR * r) + mS, den = 2 * mS;
  int64_t q = num / den;
  if (num % den < 0) --q;
  return int(std::clamp<int64_t>(q, 0, 255));
}

int Thirds(int b, int g, int r) { return RoundedGrey(85, 85, 85, 255, b, g, r); }

int Convert(DibInfo*& out, DibInfo const* src, std::vector<std::array<unsigned char, 3>> const& colours,
            int l0, int l1, int l2, Keys const& keys, tagRect32 const* rect = nullptr,
            tagPoint32 const* at = nullptr, int hSize = 0, int vSize = 0) {
  return DibSuppressColorsEx(out, src, int(colours.size()),
                             reinterpret_cast<unsigned char const(*)[3]>(colours.data()), hSize,
                             vSize, l0, l1, l2, keys.count(), keys.n.data(), keys.v.data(), rect,
                             at);
}

// Every pixel of the result area at (ox, oy) against ref over the source area at (left, top).
void ExpectArea(DibInfo const* src, DibInfo const* out, int left, int top, int w, int h, int ox,
                int oy, Ref const& ref) {
  ASSERT_NE(out, nullptr);
  ASSERT_EQ(out->BitsPerPixel(), 8);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int const sx = left + x, sy = top + y;
      ASSERT_EQ(Px(out, ox + x, oy + y),
                ref(Px(src, sx, sy, 0), Px(src, sx, sy, 1), Px(src, sx, sy, 2)))
          << "at " << x << "," << y;
    }
}

}  // namespace

TEST(SuppressColorsEx, DefaultsGiveTheEqualThirdsGrey) {
  for (int depth : {24, 32})
    for (bool topDown : {false, true}) {
      SCOPED_TRACE(testing::Message() << depth << " bits, top-down " << topDown);
      DibPtr src = RandomDib(29, 11, depth, topDown, uint32_t(depth + topDown));
      tagRect32 rect{3, 2, 25, 9};
      DibInfo* plain = nullptr;
      ASSERT_EQ(Convert(plain, src.get(), {}, 0, 0, 0, Keys{}, &rect), 0);
      DibPtr own(plain);
      EXPECT_EQ(plain->Width(), 23);
      EXPECT_EQ(plain->Height(), 8);
      ExpectArea(src.get(), plain, 3, 2, 23, 8, 0, 0, Thirds);
      // What the depth decision passes: two neutral reference colours change nothing.
      DibInfo* referenced = nullptr;
      ASSERT_EQ(Convert(referenced, src.get(), {{85, 85, 85}, {0, 0, 0}}, 0, 255, 0, Keys{}, &rect), 0);
      DibPtr own2(referenced);
      ExpectArea(src.get(), referenced, 3, 2, 23, 8, 0, 0, Thirds);
    }
}

TEST(SuppressColorsEx, WeightKeysAndTheirDivisor) {
  DibPtr src = RandomDib(40, 7, 24, false, 4);
  struct Case {
    Keys keys;
    int64_t b, g, r, s;
  };
  Case const cases[] = {
      {Keys{{"mulB", "29"}, {"mulG", "150"}, {"mulR", "77"}}, 29, 150, 77, 256},
      {Keys{{"mulR", "1"}, {"mulG", "0"}, {"mulB", "0"}}, 0, 0, 1, 1},
      {Keys{{"mulS", "100"}}, 85, 85, 85, 100},                                // brighter, clamped
      {Keys{{"mulB", "-60"}, {"mulG", "100"}, {"mulR", "100"}}, -60, 100, 100, 140},  // clamped at 0
      {Keys{{"mulB", "3"}, {"mulG", "3"}, {"mulR", "3"}, {"mulS", "7"}}, 3, 3, 3, 7},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(testing::Message() << c.b << "," << c.g << "," << c.r << " / " << c.s);
    DibInfo* out = nullptr;
    ASSERT_EQ(Convert(out, src.get(), {}, 0, 0, 0, c.keys), 0);
    DibPtr own(out);
    ExpectArea(src.get(), out, 0, 0, 40, 7, 0, 0, [&](int b, int g, int r) {
      return RoundedGrey(c.b, c.g, c.r, c.s, b, g, r);
    });
  }
  // Halves round upward: (1 + 2 + 2) / 2 with mulS 2 is 2.5, stored 3.
  DibPtr one(DibCreate(1, 1, 0, 0, 24));
  Px(one.get(), 0, 0, 0) = 1;
  Px(one.get(), 0, 0, 1) = 2;
  Px(one.get(), 0, 0, 2) = 2;
  DibInfo* out = nullptr;
  ASSERT_EQ(Convert(out, one.get(), {}, 0, 0, 0, Keys{{"mulB", "1"}, {"mulG", "1"}, {"mulR", "1"}, {"mulS", "2"}}), 0);
  EXPECT_EQ(Px(out, 0, 0), 3);
  DibFree(out);
}

TEST(SuppressColorsEx, ChromaticColoursDropOut) {
  std::vector<std::array<unsigned char, 3>> const colours = {
      {50, 60, 200}, {128, 128, 128}, {40, 200, 60}, {255, 255, 255}};
  // Literal reference: unit darkness of the two chromatic colours, sines against the grey axis.
  auto unit = [](std::array<unsigned char, 3> const& c) {
    double a[3] = {255.0 - c[0], 255.0 - c[1], 255.0 - c[2]};
    double const r = 1 / std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
    return std::array<double, 3>{a[0] * r, a[1] * r, a[2] * r};
  };
  std::array<double, 3> const drops[2] = {unit(colours[0]), unit(colours[2])};
  std::array<double, 3> const greyAxis = unit({0, 0, 0});
  auto sine = [](double proj, double L) { return std::sqrt(std::max(0.0, 1 - proj * proj / L)); };
  Ref const ref = [&](int b, int g, int r) {
    int const grey = Thirds(b, g, r);
    double const p[3] = {255.0 - b, 255.0 - g, 255.0 - r};
    double const L = p[0] * p[0] + p[1] * p[1] + p[2] * p[2];
    if (L == 0) return grey;
    double best = 0;
    for (auto const& u : drops) best = std::max(best, p[0] * u[0] + p[1] * u[1] + p[2] * u[2]);
    double const sinKeep = sine(p[0] * greyAxis[0] + p[1] * greyAxis[1] + p[2] * greyAxis[2], L);
    double const sinDrop = sine(best, L);
    double const share = sinDrop >= sinKeep ? 1.0 : sinDrop / sinKeep;
    return 255 - int((255 - grey) * share + 0.5);
  };
  DibPtr src = RandomDib(33, 9, 24, true, 12);
  // Exact dropout colours, greys and a blue ink that is closer to the grey axis.
  std::array<unsigned char, 3> const specials[] = {{50, 60, 200}, {40, 200, 60}, {90, 90, 90},
                                                   {0, 0, 0},     {150, 60, 40}, {255, 255, 255}};
  for (int i = 0; i < 6; ++i)
    for (int c = 0; c < 3; ++c) Px(src.get(), i, 0, c) = specials[i][c];
  DibInfo* out = nullptr;
  ASSERT_EQ(Convert(out, src.get(), colours, 0, 0, 0, Keys{}), 0);
  DibPtr own(out);
  ExpectArea(src.get(), out, 0, 0, 33, 9, 0, 0, ref);
  EXPECT_EQ(Px(out, 0, 0), 255);
  EXPECT_EQ(Px(out, 1, 0), 255);
  EXPECT_EQ(Px(out, 2, 0), 90);
  EXPECT_EQ(Px(out, 3, 0), 0);
  EXPECT_EQ(Px(out, 4, 0), Thirds(150, 60, 40));  // the ink keeps its grey
}

TEST(SuppressColorsEx, LevelsFromArgumentsAndKeys) {
  DibPtr ramp(DibCreate(256, 1, 0, 0, 24));
  for (int v = 0; v < 256; ++v)
    for (int c = 0; c < 3; ++c) Px(ramp.get(), v, 0, c) = uint8_t(v);
  auto run = [&](int l0, int l1, int l2, Keys const& keys) {
    DibInfo* out = nullptr;
    EXPECT_EQ(Convert(out, ramp.get(), {}, l0, l1, l2, keys), 0);
    std::vector<int> levels(256);
    for (int v = 0; v < 256; ++v) levels[v] = Px(out, v, 0);
    DibFree(out);
    return levels;
  };
  std::vector<int> linear = run(50, 200, 0, Keys{});
  for (int v = 0; v < 256; ++v) {
    int const want = v <= 50 ? 0 : v >= 200 ? 255 : int(std::floor(255.0 * (v - 50) / 150 + 0.5));
    ASSERT_EQ(linear[v], want) << v;
  }
  EXPECT_EQ(run(0, 0, 0, Keys{{"lvl0", "50"}, {"lvl1", "200"}}), linear);  // keys override
  std::vector<int> curved = run(20, 230, 0, Keys{{"lvl2", "80"}});
  double const gamma = std::log(0.5) / std::log(60.0 / 210.0);
  for (int v = 0; v < 256; ++v) {
    int const want = v <= 20 ? 0 : v >= 230 ? 255 : int(255 * std::pow((v - 20) / 210.0, gamma) + 0.5);
    ASSERT_EQ(curved[v], want) << v;
  }
  EXPECT_NEAR(curved[80], 128, 1);
  for (int v = 1; v < 256; ++v) ASSERT_GE(curved[v], curved[v - 1]);
}

TEST(SuppressColorsEx, FlatteningDividesByTheLocalPaperLevel) {
  // Shaded paper with dark strokes and random colour noise.
  int const w = 41, h = 23;
  DibPtr src = RandomDib(w, h, 24, false, 31);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int const paper = 150 + x + y, ink = (x % 9 < 2 || y % 7 == 3) ? 60 : 0;
      for (int c = 0; c < 3; ++c)
        Px(src.get(), x, y, c) = uint8_t(paper - ink + Px(src.get(), x, y, c) % 9);
    }
  struct Case {
    int hSize, vSize;
  };
  for (Case const c : {Case{7, 5}, Case{0, 3}, Case{4, 0}, Case{1, 1}, Case{99, 99}}) {
    SCOPED_TRACE(testing::Message() << c.hSize << " x " << c.vSize);
    tagRect32 rect{2, 1, 38, 20};
    int const aw = 37, ah = 20, rh = c.hSize / 2, rv = c.vSize / 2;
    DibInfo* out = nullptr;
    ASSERT_EQ(Convert(out, src.get(), {}, 0, 0, 0, Keys{}, &rect, nullptr, c.hSize, c.vSize), 0);
    DibPtr own(out);
    auto grey = [&](int x, int y) {
      return Thirds(Px(src.get(), 2 + x, 1 + y, 0), Px(src.get(), 2 + x, 1 + y, 1),
                    Px(src.get(), 2 + x, 1 + y, 2));
    };
    for (int y = 0; y < ah; ++y)
      for (int x = 0; x < aw; ++x) {
        int paper = 0;  // brute-force maximum over the window cut at the area's borders
        for (int v = std::max(0, y - rv); v <= std::min(ah - 1, y + rv); ++v)
          for (int u = std::max(0, x - rh); u <= std::min(aw - 1, x + rh); ++u)
            paper = std::max(paper, grey(u, v));
        int const want = paper == 0 ? 0 : int(std::floor(255.0 * grey(x, y) / paper + 0.5));
        ASSERT_EQ(Px(out, x, y), want) << x << "," << y;
      }
  }
  // Flattening before the levels map: the levels apply to the flattened grey.
  DibInfo* both = nullptr;
  ASSERT_EQ(Convert(both, src.get(), {}, 0, 250, 0, Keys{{"hSize", "9"}, {"vSize", "9"}}), 0);
  DibPtr own(both);
  DibInfo* flat = nullptr;
  ASSERT_EQ(Convert(flat, src.get(), {}, 0, 0, 0, Keys{}, nullptr, nullptr, 9, 9), 0);
  DibPtr own2(flat);
  for (int x = 0; x < w; ++x) {
    int const g = Px(flat, x, 5);
    EXPECT_EQ(Px(both, x, 5), g >= 250 ? 255 : (2 * 255 * g + 250) / 500) << x;
  }
}

TEST(SuppressColorsEx, PlacesTheResultAtThePointOfACallersTarget) {
  DibPtr src = RandomDib(10, 6, 32, false, 5);
  DibPtr target = RandomDib(20, 12, 8, true, 6);
  DibPtr before = RandomDib(20, 12, 8, true, 6);  // same bytes, untouched copy
  tagPoint32 at{7, 4};
  DibInfo* dest = target.get();
  ASSERT_EQ(Convert(dest, src.get(), {}, 0, 0, 0, Keys{}, nullptr, &at), 0);
  EXPECT_EQ(dest, target.get());
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 20; ++x) {
      bool const inside = x >= 7 && x < 17 && y >= 4 && y < 10;
      if (!inside) {
        ASSERT_EQ(Px(dest, x, y), Px(before.get(), x, y)) << x << "," << y;
      }
    }
  ExpectArea(src.get(), dest, 0, 0, 10, 6, 7, 4, Thirds);
}

TEST(SuppressColorsEx, AnswersTheGreyRouteOfTheDepthConversion) {
  for (int depth : {24, 32}) {
    DibPtr src = RandomDib(19, 8, depth, depth == 32, uint32_t(depth));
    tagRect32 rect{2, 1, 17, 6};
    tagPoint32 at{3, 2};
    DibInfo* grey = nullptr;
    ASSERT_EQ(DibConvertDepthEx(grey, src.get(), 8, 0, 0, 0, 0, nullptr, nullptr, &rect, &at), 0);
    DibPtr own(grey);
    EXPECT_EQ(grey->Width(), 19);
    EXPECT_EQ(grey->Height(), 8);
    ExpectArea(src.get(), grey, 2, 1, 16, 6, 3, 2, Thirds);
    // p1, p2, p3 are the levels; the lists reach the conversion's keys.
    DibInfo* levelled = nullptr;
    Keys const keys{{"mulB", "0"}, {"mulG", "0"}};
    ASSERT_EQ(DibConvertDepthEx(levelled, src.get(), 8, 40, 200, 0, keys.count(), keys.n.data(),
                                keys.v.data(), nullptr, nullptr), 0);
    DibPtr own2(levelled);
    ExpectArea(src.get(), levelled, 0, 0, 19, 8, 0, 0, [](int, int, int r) {
      return r <= 40 ? 0 : r >= 200 ? 255 : (2 * 255 * (r - 40) + 160) / 320;
    });
    DibInfo* bad = nullptr;
    EXPECT_EQ(DibConvertDepthEx(bad, src.get(), 8, 200, 100, 0, 0, nullptr, nullptr, nullptr, nullptr), -1);
  }
}

// Every refusal gives -1, makes nothing and leaves a caller's target alone.
TEST(SuppressColorsEx, FailureCodes) {
  DibPtr src = RandomDib(8, 5, 24, false, 7), grey = RandomDib(8, 5, 8, false, 8);
  DibPtr small = RandomDib(4, 5, 8, false, 9), wrongDepth = RandomDib(8, 5, 24, false, 10);
  std::size_t const live = quilp::block::LiveCount();
  tagRect32 outside{9, 0, 12, 3};
  struct Case {
    char const* what;
    DibInfo const* src;
    DibInfo* dest;
    int colours, l0, l1, l2, hSize, vSize;
    Keys keys;
    tagRect32 const* rect;
  } const cases[] = {
      {"null source", nullptr, nullptr, 0, 0, 0, 0, 0, 0, {}, nullptr},
      {"8-bit source", grey.get(), nullptr, 0, 0, 0, 0, 0, 0, {}, nullptr},
      {"rectangle outside", src.get(), nullptr, 0, 0, 0, 0, 0, 0, {}, &outside},
      {"negative colour count", src.get(), nullptr, -1, 0, 0, 0, 0, 0, {}, nullptr},
      {"null colours", src.get(), nullptr, 2, 0, 0, 0, 0, 0, {}, nullptr},
      {"mulS 0", src.get(), nullptr, 0, 0, 0, 0, 0, 0, {{"mulS", "0"}}, nullptr},
      {"weights summing to 0", src.get(), nullptr, 0, 0, 0, 0, 0, 0, {{"mulB", "-170"}}, nullptr},
      {"black point above white point", src.get(), nullptr, 0, 200, 100, 0, 0, 0, {}, nullptr},
      {"black point negative", src.get(), nullptr, 0, -1, 0, 0, 0, 0, {}, nullptr},
      {"white point above 255", src.get(), nullptr, 0, 0, 256, 0, 0, 0, {}, nullptr},
      {"mid-tone outside the points", src.get(), nullptr, 0, 10, 100, 100, 0, 0, {}, nullptr},
      {"negative hSize", src.get(), nullptr, 0, 0, 0, 0, 0, 0, {{"hSize", "-3"}}, nullptr},
      {"negative vSize", src.get(), nullptr, 0, 0, 0, 0, 3, -1, {}, nullptr},
      {"target too small", src.get(), small.get(), 0, 0, 0, 0, 0, 0, {}, nullptr},
      {"target not 8-bit", src.get(), wrongDepth.get(), 0, 0, 0, 0, 0, 0, {}, nullptr},
  };
  for (Case const& c : cases) {
    DibInfo* dest = c.dest;
    EXPECT_EQ(DibSuppressColorsEx(dest, c.src, c.colours, nullptr, c.hSize, c.vSize, c.l0, c.l1,
                                  c.l2, c.keys.count(), c.keys.n.data(), c.keys.v.data(), c.rect,
                                  nullptr), -1) << c.what;
    EXPECT_EQ(dest, c.dest) << c.what;
  }
  DibInfo* dest = nullptr;
  EXPECT_EQ(DibSuppressColorsEx(dest, src.get(), 0, nullptr, 0, 0, 0, 0, 0, 2, nullptr, nullptr,
                                nullptr, nullptr), -1);  // a list without names
  EXPECT_EQ(quilp::block::LiveCount(), live);  // nothing made survives a failure
  // Keys are case-sensitive: "MulS" is no key, the default divisor stays.
  EXPECT_EQ(Convert(dest, src.get(), {}, 0, 0, 0, Keys{{"MulS", "0"}}), 0);
  DibFree(dest);
}
