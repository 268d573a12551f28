// DibMorphCommon, DibMorphEx and DibGradientMorpho against the definitions computed pixel by
// pixel over the element's offsets, 1-bit and 8-bit, awkward widths, both row orders.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "quilp32.h"
#include "support/ink_pages.h"

using namespace testing_support;

namespace {

struct Offset {
  int dx, dy;
  bool hit;
};

// The element's offsets written out from its description (independent of the library).
std::vector<Offset> OffsetsOf(SDibMorphSetup const& s) {
  std::vector<Offset> o;
  switch (s.shape) {
    case DibShapeRect:
      for (int y = 0; y < s.vSize; ++y)
        for (int x = 0; x < s.hSize; ++x) o.push_back({x - s.hSize / 2, y - s.vSize / 2, true});
      break;
    case DibShapeCross:
      for (int t = -s.hSize; t <= s.hSize; ++t) {
        o.push_back({t, 0, true});
        if (t) o.push_back({0, t, true});
      }
      break;
    case DibShapeDisc:
      for (int y = -s.hSize; y <= s.hSize; ++y)
        for (int x = -s.hSize; x <= s.hSize; ++x)
          if (x * x + y * y <= s.hSize * s.hSize) o.push_back({x, y, true});
      break;
    case DibShapeLine:
      for (int k = 0; k < s.hSize; ++k) {
        double const t = k - (s.hSize - 1) / 2.0;
        o.push_back({int(std::lround(t * std::cos(s.angle))), int(std::lround(t * std::sin(s.angle))), true});
      }
      break;
    case DibShapeText: {
      std::vector<std::string> rows(1);
      for (char const* p = s.pattern; *p; ++p)
        if (*p == '/') rows.emplace_back();
        else rows.back().push_back(*p);
      int const h = int(rows.size()), w = int(rows[0].size());
      for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
          char const c = rows[std::size_t(y)][std::size_t(x)];
          if (c != '.') o.push_back({x - w / 2, y - h / 2, c == '1'});
        }
      break;
    }
  }
  return o;
}

// Image as levels (1-bit: set = 255), the value outside the area, and the brute force.
struct Levels {
  int w, h;
  std::vector<int> v;
  bool bits;
  int at(int x, int y) const { return v[std::size_t(y) * std::size_t(w) + std::size_t(x)]; }
};

// Erosion (min over p + s) or dilation (max over p - s); 1-bit: outside set, grey: outside
// ignored.
Levels Extreme(Levels const& in, std::vector<Offset> const& el, bool dilate) {
  Levels out = in;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x) {
      int best = dilate ? 0 : 255;
      for (Offset const& o : el) {
        if (!o.hit) continue;
        int const sx = dilate ? x - o.dx : x + o.dx, sy = dilate ? y - o.dy : y + o.dy;
        bool const inside = sx >= 0 && sy >= 0 && sx < in.w && sy < in.h;
        if (!inside && !in.bits) continue;
        int const v = inside ? in.at(sx, sy) : 255;
        best = dilate ? std::max(best, v) : std::min(best, v);
      }
      out.v[std::size_t(y) * std::size_t(in.w) + std::size_t(x)] = best;
    }
  return out;
}

Levels Minus(Levels a, Levels const& b) {
  for (std::size_t i = 0; i < a.v.size(); ++i) a.v[i] = a.bits ? (a.v[i] && !b.v[i] ? 255 : 0) : a.v[i] - b.v[i];
  return a;
}

Levels HitMiss(Levels const& in, std::vector<Offset> const& el) {
  Levels out = in;
  for (int y = 0; y < in.h; ++y)
    for (int x = 0; x < in.w; ++x) {
      bool ok = true;
      for (Offset const& o : el) {
        int const sx = x + o.dx, sy = y + o.dy;
        bool const set = sx < 0 || sy < 0 || sx >= in.w || sy >= in.h || in.at(sx, sy);
        ok = ok && set == o.hit;
      }
      out.v[std::size_t(y) * std::size_t(in.w) + std::size_t(x)] = ok ? 255 : 0;
    }
  return out;
}

Levels Reference(Levels const& in, SDibMorphSetup const& s) {
  auto const el = OffsetsOf(s);
  auto ero = [&](Levels const& l) { return Extreme(l, el, false); };
  auto dil = [&](Levels const& l) { return Extreme(l, el, true); };
  switch (s.oper) {
    case DibMorphErode: return ero(in);
    case DibMorphDilate: return dil(in);
    case DibMorphOpen: return dil(ero(in));
    case DibMorphClose: return ero(dil(in));
    case DibMorphTopHat: return Minus(in, dil(ero(in)));
    case DibMorphBotHat: return Minus(ero(dil(in)), in);
    case DibMorphHitMiss: return HitMiss(in, el);
    case DibMorphGradient: return Minus(dil(in), ero(in));
    case DibMorphGradientIn: return Minus(in, ero(in));
    default: return Minus(dil(in), in);
  }
}

Levels Read(DibInfo const* dib, int left, int top, int w, int h) {
  Levels l{w, h, std::vector<int>(std::size_t(w) * std::size_t(h)), dib->BitsPerPixel() == 1};
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      l.v[std::size_t(y) * std::size_t(w) + std::size_t(x)] =
          l.bits ? (Bit(dib, left + x, top + y) ? 255 : 0) : Px(dib, left + x, top + y);
  return l;
}

TEST(MorphCommon, EveryOperationAndElementMatchesTheDefinition) {
  std::vector<SDibMorphSetup> const elements = {
      {0, DibShapeRect, 4, 3, 0, nullptr, nullptr}, {0, DibShapeRect, 15, 1, 0, nullptr, nullptr},
      {0, DibShapeCross, 2, 0, 0, nullptr, nullptr}, {0, DibShapeDisc, 3, 0, 0, nullptr, nullptr},
      {0, DibShapeLine, 7, 0, 0.5, nullptr, nullptr}, {0, DibShapeLine, 9, 0, -1.2, nullptr, nullptr},
      {0, DibShapeText, 0, 0, 0, nullptr, "1.0/011/..1"}};
  for (int depth : {1, 8})
    for (int width : {1, 7, 17, 33, 64, 77})
      for (bool topDown : {false, true})
        for (std::size_t e = 0; e < elements.size(); ++e)
          for (int oper = 0; oper <= 9; ++oper) {
            if (oper == DibMorphHitMiss && depth == 8) continue;
            SDibMorphSetup s = elements[e];
            s.oper = oper;
            SCOPED_TRACE(::testing::Message() << "depth " << depth << " width " << width << " topDown "
                                              << topDown << " element " << e << " oper " << oper);
            DibPtr src = depth == 1 ? BlobPage(width + 3, 13, topDown, uint32_t(width + e), 0.6)
                                    : RandomDib(width + 3, 13, 8, topDown, uint32_t(width + e));
            tagRect32 rect = {3, 1, width + 2, 11};
            DibPtr out(DibMorphCommon(src.get(), &s, &rect));
            ASSERT_TRUE(out);
            EXPECT_EQ(out->biHeight > 0, !topDown);
            Levels const want = Reference(Read(src.get(), 3, 1, width, 11), s);
            Levels const got = Read(out.get(), 0, 0, width, 11);
            for (int y = 0; y < 11; ++y)
              for (int x = 0; x < width; ++x) ASSERT_EQ(got.at(x, y), want.at(x, y)) << x << "," << y;
          }
}

TEST(MorphCommon, ImageElementsKeysPlacementAndRefusals) {
  DibPtr src = BlobPage(40, 20, false, 5, 0.6);
  DibPtr element(DibCreate(3, 3, 0, 0, 1));  // set bits: a vertical bar of three
  for (int y = 0; y < 3; ++y) PutInk(element.get(), 1, y, false);
  SDibMorphSetup const image = {DibMorphDilate, DibShapeImage, 0, 0, 0, element.get(), nullptr};
  SDibMorphSetup const rect = {DibMorphErode, DibShapeRect, 1, 3, 0, nullptr, nullptr};
  DibPtr byImage(DibMorphCommon(src.get(), &image, nullptr));
  // The keyed form: `oper` turns the erosion into a dilation, placed at (5, 2) of a target.
  DibInfo* target = DibCreate(50, 30, 0, 0, 1);
  DibPtr holder(target);
  char const* names[] = {"oper"};
  char const* values[] = {"1"};
  tagPoint32 const at = {5, 2};
  ASSERT_EQ(DibMorphEx(target, src.get(), &rect, 1, names, values, nullptr, &at), 0);
  ASSERT_TRUE(byImage);
  // Hits of the 3 x 3 image are its middle column, misses the rest: dilation by the hits.
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 40; ++x) {
      int want = 0;
      for (int dy = -1; dy <= 1; ++dy) {
        int const sy = y - dy;
        want |= sy < 0 || sy >= 20 || Bit(src.get(), x, sy);
      }
      ASSERT_EQ(Bit(byImage.get(), x, y), want) << x << "," << y;
      ASSERT_EQ(Bit(target, 5 + x, 2 + y), want) << x << "," << y;
    }
  DibPtr grey = RandomDib(9, 9, 8, false, 2), colour = RandomDib(9, 9, 24, false, 2);
  SDibMorphSetup const hitMiss = {DibMorphHitMiss, DibShapeText, 0, 0, 0, nullptr, "1"};
  SDibMorphSetup const bad[] = {{10, DibShapeRect, 3, 3, 0, nullptr, nullptr},
                                {0, 6, 3, 3, 0, nullptr, nullptr},
                                {0, DibShapeRect, 0, 3, 0, nullptr, nullptr},
                                {0, DibShapeDisc, 3000, 0, 0, nullptr, nullptr},
                                {0, DibShapeText, 0, 0, 0, nullptr, "11/1"},
                                {0, DibShapeText, 0, 0, 0, nullptr, "1a"},
                                {0, DibShapeImage, 0, 0, 0, grey.get(), nullptr}};
  for (SDibMorphSetup const& b : bad) EXPECT_EQ(DibMorphCommon(src.get(), &b, nullptr), nullptr);
  EXPECT_EQ(DibMorphCommon(grey.get(), &hitMiss, nullptr), nullptr);
  EXPECT_EQ(DibMorphCommon(colour.get(), &rect, nullptr), nullptr);
  EXPECT_EQ(DibMorphCommon(src.get(), nullptr, nullptr), nullptr);
  DibInfo* none = nullptr;
  EXPECT_EQ(DibMorphEx(none, colour.get(), &rect, 0, nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(DibMorphEx(none, src.get(), &bad[0], 0, nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(DibMorphEx(none, src.get(), &rect, 1, nullptr, nullptr, nullptr, nullptr), -1);
}

TEST(GradientMorpho, FusedAndGeneralPathsMatchTheDefinition) {
  for (int width : kAwkwardWidths)
    for (bool topDown : {false, true})
      for (int size : {3, 5})
        for (int kind = 0; kind <= 2; ++kind) {
          SCOPED_TRACE(::testing::Message() << "width " << width << " topDown " << topDown << " size " << size << " kind " << kind);
          DibPtr src = RandomDib(width + 2, 9, 8, topDown, uint32_t(width * 3 + kind));
          tagRect32 rect = {2, 1, width + 1, 7};
          DibPtr out(DibGradientMorpho(src.get(), kind, size, &rect));
          ASSERT_TRUE(out);
          SDibMorphSetup const s = {DibMorphGradient + kind, DibShapeRect, size, size, 0, nullptr, nullptr};
          Levels const want = Reference(Read(src.get(), 2, 1, width, 7), s);
          for (int y = 0; y < 7; ++y)
            for (int x = 0; x < width; ++x) ASSERT_EQ(Px(out.get(), x, y), want.at(x, y)) << x << "," << y;
        }
  DibPtr grey = RandomDib(9, 9, 8, false, 2), bits = RandomDib(9, 9, 1, false, 2);
  EXPECT_EQ(DibGradientMorpho(bits.get(), 0, 3, nullptr), nullptr);
  EXPECT_EQ(DibGradientMorpho(grey.get(), 3, 3, nullptr), nullptr);
  EXPECT_EQ(DibGradientMorpho(grey.get(), 0, 4, nullptr), nullptr);
  EXPECT_EQ(DibGradientMorpho(grey.get(), 0, -3, nullptr), nullptr);
}

}  // namespace
