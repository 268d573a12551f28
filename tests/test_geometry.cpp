// Rotation, shears, deskewing, perspective and canonical form, through the exports: each
// result against a literal pixel rule, an analytic picture or a known skew.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "quilp32.h"
#include "support/images.h"
#include "support/skew_pages.h"

using namespace testing_support;

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegree = kPi / 180.0;

// Pixel value (byte c) of any depth: 1-bit pixels read 0 or 1.
int Value(DibInfo const* d, int x, int y, int c = 0) {
  return d->BitsPerPixel() == 1 ? Bit(d, x, y) : Px(d, x, y, c);
}

DibPtr GreyFrom(std::function<double(double, double)> const& f, int w, int h) {
  DibPtr d(DibCreate(w, h, 11811, 11811, 8));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) Px(d.get(), x, y) = uint8_t(std::lround(f(x, y)));
  return d;
}

// The paper level of byte c the resampler fills uncovered pixels with: the median of the
// pixels of every fourth row and column.
int Paper(DibInfo const* d, int c) {
  std::vector<int> v;
  for (int y = 0; y < d->Height(); y += 4)
    for (int x = 0; x < d->Width(); x += 4) v.push_back(Px(d, x, y, c));
  std::sort(v.begin(), v.end());
  return v[(v.size() - 1) / 2];
}

double Psnr(DibInfo const* a, DibInfo const* b, int margin) {
  double sum = 0.0;
  long n = 0;
  for (int y = margin; y < a->Height() - margin; ++y)
    for (int x = margin; x < a->Width() - margin; ++x, ++n) {
      double const d = Px(a, x, y) - Px(b, x, y);
      sum += d * d;
    }
  return 10.0 * std::log10(255.0 * 255.0 * n / std::max(sum, 1e-9));
}

}  // namespace

// One clockwise turn puts (x, y) at (H-1-y, x); four turns give the source back. Every depth,
// both row orders, 1-bit widths 1..70 and awkward byte widths, and a rectangle.
TEST(RotateBy90, LiteralTurnAndFourTurnsAreIdentity) {
  for (int depth : {1, 8, 24, 32})
    for (bool topDown : {false, true}) {
      std::vector<int> widths(std::begin(kAwkwardWidths), std::end(kAwkwardWidths));
      if (depth == 1)
        for (int w = 1; w <= 70; ++w) widths.push_back(w);
      for (int w : widths) {
        SCOPED_TRACE(testing::Message() << depth << " bits, width " << w << (topDown ? " top-down" : ""));
        int const h = 5 + w % 7;
        DibPtr src = RandomDib(w, h, depth, topDown, uint32_t(w * 31 + depth));
        DibPtr one(DibRotateBy90(src.get(), 1, nullptr));
        ASSERT_TRUE(one);
        ASSERT_EQ(one->Width(), h);
        ASSERT_EQ(one->Height(), w);
        EXPECT_EQ(one->biHeight < 0, topDown);
        int const channels = depth == 1 ? 1 : depth / 8;
        for (int y = 0; y < h; ++y)
          for (int x = 0; x < w; ++x)
            for (int c = 0; c < channels; ++c)
              ASSERT_EQ(Value(one.get(), h - 1 - y, x, c), Value(src.get(), x, y, c)) << x << "," << y;
        DibPtr back(DibRotateBy90(one.get(), -3, nullptr));  // -3 is one more clockwise turn
        for (int turn = 2; turn < 4 && back; ++turn) back.reset(DibRotateBy90(back.get(), 1, nullptr));
        ASSERT_TRUE(back);
        EXPECT_TRUE(SamePixels(back.get(), src.get()));
        // Two and three turns by their own literal rules (6 = 2 and -1 = 3 modulo 4).
        DibPtr half(DibRotateBy90(src.get(), 6, nullptr)), back1(DibRotateBy90(src.get(), -1, nullptr));
        for (int y = 0; y < h; ++y)
          for (int x = 0; x < w; ++x) {
            ASSERT_EQ(Value(half.get(), w - 1 - x, h - 1 - y), Value(src.get(), x, y));
            ASSERT_EQ(Value(back1.get(), y, w - 1 - x), Value(src.get(), x, y));
          }
      }
    }
  DibPtr page(DibCreate(30, 20, 1000, 2000, 8));
  tagRect32 rect = {10, 5, 100, 8};  // clamped to 20 x 4
  DibPtr turned(DibRotateBy90(page.get(), 3, &rect));
  ASSERT_TRUE(turned);
  EXPECT_EQ(turned->Width(), 4);
  EXPECT_EQ(turned->Height(), 20);
  EXPECT_EQ(turned->XPelsPerMeter(), 2000);
  EXPECT_EQ(turned->YPelsPerMeter(), 1000);
  // A 1-bit zone starting inside a byte turns as its copy does, at every turn.
  DibPtr bits = RandomDib(45, 17, 1, false, 8);
  tagRect32 zone = {5, 2, 40, 15};
  DibInfo* copy = nullptr;
  ASSERT_TRUE(DibCopyZone(copy, bits.get(), &zone));
  DibPtr copied(copy);
  for (int k = 0; k < 4; ++k) {
    DibPtr a(DibRotateBy90(bits.get(), k, &zone)), b(DibRotateBy90(copied.get(), k, nullptr));
    EXPECT_TRUE(SamePixels(a.get(), b.get())) << k;
    DibPtr c(DibRotate3Skew(bits.get(), 0.4, 1, &zone)), d(DibRotate3Skew(copied.get(), 0.4, 1, nullptr));
    EXPECT_TRUE(SamePixels(c.get(), d.get()));
  }
}

// A smooth picture turned by the resampler against the same picture evaluated at the turned
// positions: the error bounds of bilinear and bicubic interpolation.
TEST(RotateAccurate, InterpolationAgainstAnalyticPicture) {
  auto picture = [](double x, double y) {
    return 128.0 + 60.0 * std::sin(x / 2.2 + y / 3.1) + 50.0 * std::cos(y / 2.7 - x / 4.3);
  };
  int const w = 161, h = 121;
  DibPtr src = GreyFrom(picture, w, h);
  struct Case {
    int flags;
    double maxError, meanError;
  } const cases[] = {{0, 4.5, 1.2}, {2, 1.5, 0.4}};  // measured: 4.0, 1.09; 1.22, 0.32
  for (double degrees : {1.5, -7.0, 33.0}) {
    for (Case const& k : cases) {
      SCOPED_TRACE(testing::Message() << degrees << " degrees, flags " << k.flags);
      DibPtr out(DibRotateAccurate(src.get(), degrees * kDegree, k.flags, nullptr));
      ASSERT_TRUE(out);
      double const c = std::cos(degrees * kDegree), s = std::sin(degrees * kDegree);
      double worst = 0.0, sum = 0.0;
      long n = 0;
      for (int v = 20; v < h - 20; ++v)
        for (int u = 20; u < w - 20; ++u) {
          // Inverse turn about the centre: the source point each result pixel shows.
          double const du = u - (w - 1) / 2.0, dv = v - (h - 1) / 2.0;
          double const x = (w - 1) / 2.0 + c * du + s * dv, y = (h - 1) / 2.0 - s * du + c * dv;
          if (x < 2 || y < 2 || x > w - 3 || y > h - 3) continue;
          double const e = std::fabs(Px(out.get(), u, v) - picture(x, y));
          worst = std::max(worst, e);
          sum += e;
          ++n;
        }
      EXPECT_LE(worst, k.maxError);
      EXPECT_LE(sum / n, k.meanError);
    }
  }
}

// Every pixel, edges included, against the documented bilinear rule evaluated literally:
// source point by the inverse turn, 8-bit fractions, paper (the median of the sampled
// pixels) for taps outside, rounded. Odd sizes, colour and grey, both row orders.
TEST(RotateAccurate, BilinearLiteralRule) {
  for (int depth : {8, 24})
    for (bool topDown : {false, true}) {
      int const w = 37, h = 23, channels = depth / 8;
      DibPtr src = RandomDib(w, h, depth, topDown, uint32_t(depth + topDown));
      double const angle = 0.3;
      DibPtr out(DibRotateAccurate(src.get(), angle, 1, nullptr));
      ASSERT_TRUE(out);
      EXPECT_EQ(out->biHeight < 0, topDown);
      double const cs = std::cos(angle), sn = std::sin(angle);
      for (int v = 0; v < out->Height(); ++v)
        for (int u = 0; u < out->Width(); ++u) {
          double const du = u - (out->Width() - 1) / 2.0, dv = v - (out->Height() - 1) / 2.0;
          double const x = (w - 1) / 2.0 + cs * du + sn * dv, y = (h - 1) / 2.0 - sn * du + cs * dv;
          int const ix = int(std::floor(x)), iy = int(std::floor(y));
          int const fx = int((x - ix) * 256), fy = int((y - iy) * 256);
          for (int c = 0; c < channels; ++c) {
            auto at = [&](int px, int py) {
              return px < 0 || py < 0 || px >= w || py >= h ? Paper(src.get(), c) : Px(src.get(), px, py, c);
            };
            int const top = at(ix, iy) * (256 - fx) + at(ix + 1, iy) * fx;
            int const bottom = at(ix, iy + 1) * (256 - fx) + at(ix + 1, iy + 1) * fx;
            int const want = (top * (256 - fy) + bottom * fy + 32768) >> 16;
            ASSERT_NEAR(Px(out.get(), u, v, c), want, 1) << u << "," << v << " depth " << depth;
          }
        }
    }
}

// Turning by +a then -a keeps a text page close to itself; uncovered corners take the paper
// (not black); nearest interpolation invents no level; expand holds the whole area.
TEST(RotateAccurate, RoundTripPaperAndSizes) {
  DibPtr page = SkewedGreyPage(0.0, 3, 600, 800);
  for (int flags : {0, 2}) {
    DibPtr there(DibRotateAccurate(page.get(), 3.0 * kDegree, flags, nullptr));
    DibPtr back(DibRotateAccurate(there.get(), -3.0 * kDegree, flags, nullptr));
    ASSERT_TRUE(back);
    EXPECT_GT(Psnr(back.get(), page.get(), 40), flags ? 35.0 : 32.0) << flags;  // 36.7, 33.6
    EXPECT_GT(Px(there.get(), 0, 0), 200);  // a corner the turn uncovered: paper
  }
  DibPtr grey = RandomDib(50, 40, 8, false, 9);
  DibPtr nearest(DibRotateAccurate(grey.get(), 10.0 * kDegree, 4 | 1, nullptr));
  ASSERT_TRUE(nearest);
  EXPECT_EQ(nearest->Width(), int(std::ceil(50 * std::cos(10 * kDegree) + 40 * std::sin(10 * kDegree))));
  bool seen[256] = {};
  for (int y = 0; y < 40; ++y)
    for (int x = 0; x < 50; ++x) seen[Px(grey.get(), x, y)] = true;
  seen[Paper(grey.get(), 0)] = true;
  for (int y = 0; y < nearest->Height(); ++y)
    for (int x = 0; x < nearest->Width(); ++x) ASSERT_TRUE(seen[Px(nearest.get(), x, y)]);
  DibPtr quarter(DibRotateAccurate(grey.get(), -kPi / 2, 1, nullptr));
  DibPtr literal(DibRotateBy90(grey.get(), 3, nullptr));
  EXPECT_TRUE(SamePixels(quarter.get(), literal.get()));
  EXPECT_FALSE(DibRotateAccurate(grey.get(), std::nan(""), 0, nullptr));
  EXPECT_FALSE(DibRotateAccurate(grey.get(), 0.1, 6, nullptr));   // interpolation 3
  EXPECT_FALSE(DibRotateAccurate(grey.get(), 0.1, 8, nullptr));   // unknown bit
  EXPECT_FALSE(DibRotateAccurate(nullptr, 0.1, 0, nullptr));
}

// Exact shears move whole pixels by the literal rule; the three-shear rotation loses no ink.
TEST(Shear, LiteralShiftsAndInkKept) {
  for (int depth : {1, 8, 24}) {
    DibPtr src = RandomDib(37, 23, depth, depth == 8, 5);
    for (bool vertical : {false, true}) {
      SCOPED_TRACE(testing::Message() << depth << " bits, vertical " << vertical);
      double const t = 0.3;
      DibPtr out(DibSkew(src.get(), t, vertical, nullptr));
      ASSERT_TRUE(out);
      int const n = vertical ? 37 : 23;
      int low = 0;
      for (int i = 0; i < n; ++i) low = std::min(low, int(std::lround(t * (i - (n - 1) / 2.0))));
      for (int y = 0; y < 23; ++y)
        for (int x = 0; x < 37; ++x) {
          int const s = int(std::lround(t * ((vertical ? x : y) - (n - 1) / 2.0))) - low;
          int const u = vertical ? x : x + s, v = vertical ? y + s : y;
          ASSERT_EQ(Value(out.get(), u, v), Value(src.get(), x, y)) << x << "," << y;
        }
    }
  }
  DibPtr bits(DibCreate(300, 200, 11811, 11811, 1));
  long ink = 0;
  for (int y = 0; y < 200; ++y)
    for (int x = 0; x < 300; ++x) {
      bool const black = (x / 7 + y / 5) % 3 == 0 && x > 60 && x < 240 && y > 50 && y < 150;
      if (!black) bits->GetLine(y)[x / 8] |= uint8_t(0x80 >> (x % 8));
      ink += black;
    }
  tagRect32 zone = {3, 0, 250, 199};  // a zone that starts inside a byte
  DibPtr slanted(DibSkew(bits.get(), -0.2, true, &zone));
  ASSERT_TRUE(slanted);
  long kept = 0;
  for (int y = 0; y < slanted->Height(); ++y)
    for (int x = 0; x < slanted->Width(); ++x) kept += !Bit(slanted.get(), x, y);
  EXPECT_EQ(kept, ink);
  for (double degrees : {0.7, -12.0, 44.0, 100.0}) {
    DibPtr turned(DibRotate3Skew(bits.get(), degrees * kDegree, 1, nullptr));
    ASSERT_TRUE(turned);
    long black = 0;
    for (int y = 0; y < turned->Height(); ++y)
      for (int x = 0; x < turned->Width(); ++x) black += !Bit(turned.get(), x, y);
    EXPECT_EQ(black, ink) << degrees;
  }
}

// Pages at known skews within +-10 degrees come back straight to 0.02 degrees, as the skew
// estimate sees them; grey and 1-bit, both row orders; tiny skews give an unturned copy.
TEST(Deskew, ResidualSkewOfKnownPages) {
  for (double degrees : {-9.5, -3.0, 0.8, 6.0}) {
    for (int depth : {8, 1}) {
      DibPtr page = SkewedGreyPage(degrees, 11, 1240, 1754, depth == 1);
      if (depth == 1) page.reset(DibBinarizeSimple(page.get(), 128, false, nullptr));
      SCOPED_TRACE(testing::Message() << degrees << " degrees, " << depth << " bits");
      double measured = 0.0;
      DibPtr straight(DibDeskew(page.get(), &measured, nullptr));
      ASSERT_TRUE(straight);
      EXPECT_NEAR(measured / kDegree, degrees, 0.05);
      EXPECT_EQ(straight->Width(), page->Width());
      EXPECT_EQ(straight->biHeight, page->biHeight);
      EXPECT_EQ(straight->BitsPerPixel(), depth);
      if (depth == 1) {
        DibInfo* grey = nullptr;
        ASSERT_EQ(DibConvertDepthEx(grey, straight.get(), 8, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr), 0);
        straight.reset(grey);
      }
      double residual = 1.0;
      ASSERT_TRUE(DibHoughGetAngle(residual, straight.get(), 0, nullptr));
      EXPECT_LE(std::fabs(residual / kDegree), 0.02);
    }
  }
  DibPtr blank(DibCreate(200, 100, 0, 0, 24));
  double angle = 1.0;
  DibPtr copy(DibDeskew(blank.get(), &angle, nullptr));
  ASSERT_TRUE(copy);
  EXPECT_EQ(angle, 0.0);
  EXPECT_TRUE(SamePixels(copy.get(), blank.get()));
}

// The identity quadrilateral gives the source back; a half-size one samples every other
// pixel; corners out of order are refused.
TEST(Distort, QuadrilateralsOntoRectangles) {
  DibPtr src = RandomDib(41, 29, 24, true, 17);
  double const whole[8] = {0, 0, 40, 0, 40, 28, 0, 28};
  DibPtr same(DibDistort(src.get(), whole, 0, 0, 0));
  ASSERT_TRUE(same);
  EXPECT_TRUE(SamePixels(same.get(), src.get()));
  double const half[8] = {0, 0, 40, 0, 40, 28, 0, 28};
  DibPtr small(DibDistort(src.get(), half, 21, 15, 4));
  ASSERT_TRUE(small);
  for (int v = 0; v < 15; ++v)
    for (int u = 0; u < 21; ++u) ASSERT_EQ(Px(small.get(), u, v, 1), Px(src.get(), 2 * u, 2 * v, 1));
  double const crossed[8] = {0, 0, 40, 28, 40, 0, 0, 28};
  EXPECT_FALSE(DibDistort(src.get(), crossed, 0, 0, 0));
  EXPECT_FALSE(DibDistort(src.get(), nullptr, 0, 0, 0));
}

// Grade-1 records become canonical: inverted 1-bit palettes invert the bits, grey palettes
// map through, colour palettes give 24 bits; the row order follows the direction key.
TEST(Canonize, WellFormedRecordsBecomeCanonical) {
  DibPtr bits = RandomDib(19, 7, 1, false, 2);
  bits->PalPtr()[0] = {255, 255, 255, 0};
  bits->PalPtr()[1] = {0, 0, 0, 0};
  DibInfo* out = nullptr;
  char const* names[] = {"direction"};
  char const* values[] = {"2"};
  ASSERT_EQ(DibCanonize(out, bits.get(), 1, 1, names, values), 0);
  DibPtr canon(out);
  EXPECT_EQ(DibIsCanonical(canon.get(), DibDirectionTopDown), 0);
  for (int y = 0; y < 7; ++y)
    for (int x = 0; x < 19; ++x) ASSERT_EQ(Bit(canon.get(), x, y), 1 - Bit(bits.get(), x, y));

  DibPtr grey = RandomDib(13, 5, 8, true, 4);
  for (int i = 0; i < 256; ++i) grey->PalPtr()[i] = {uint8_t(255 - i), uint8_t(255 - i), uint8_t(255 - i), 0};
  out = nullptr;
  ASSERT_EQ(DibCanonize(out, grey.get(), DibDirectionBottomUp, 0, nullptr, nullptr), 0);
  canon.reset(out);
  EXPECT_EQ(DibIsCanonical(canon.get(), DibDirectionBottomUp), 0);
  EXPECT_EQ(Px(canon.get(), 3, 2), 255 - Px(grey.get(), 3, 2));
  grey->PalPtr()[7].rgbRed = 1;  // one colourful entry: 24 bits
  out = nullptr;
  ASSERT_EQ(DibCanonize(out, grey.get(), 0, 0, nullptr, nullptr), 0);
  canon.reset(out);
  EXPECT_EQ(canon->BitsPerPixel(), 24);
  EXPECT_EQ(Px(canon.get(), 3, 2, 1), 255 - Px(grey.get(), 3, 2));

  DibPtr wide(DibCreate(8, 8, 0, 0, 32));  // grade 3
  out = nullptr;
  EXPECT_EQ(DibCanonize(out, wide.get(), 0, 0, nullptr, nullptr), -1);
  wide->biPlanes = 2;  // grade 2
  EXPECT_EQ(DibCanonize(out, wide.get(), 0, 0, nullptr, nullptr), -1);
  EXPECT_EQ(out, nullptr);
}

#if defined(QUILP_PYTHON)
// Real text (Debian's fonts) at all four turns, skewed and noisy: the turn that makes it
// upright. Dense pages here; sparse ones are measured by scripts/corpus/geometry_quality.sh.
// A blank page has no orientation.
TEST(Orientation, RealTextAtEveryTurn) {
  std::string const dir = QUILP_GEOMETRY_WORK;
  std::string const command = std::string(QUILP_PYTHON) + " " + QUILP_GEOMETRY_SET +
                              " orientation " + dir + " --count 4 --seed 5 --small --dense";
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "no page generator: " << command;
  std::FILE* manifest = std::fopen((dir + "/orientation.tsv").c_str(), "r");
  ASSERT_TRUE(manifest);
  char name[64];
  int want = 0, seen = 0;
  while (std::fscanf(manifest, "%63s %d %*[^\n]", name, &want) == 2) {
    DibPtr page = ReadBmp(dir + "/" + name);
    ASSERT_TRUE(page) << name;
    int confidence = -1;
    EXPECT_EQ(DibDetectDominantOrientation(page.get(), &confidence, nullptr), want) << name;
    EXPECT_GT(confidence, 0) << name;
    DibPtr upright(DibRotateBy90(page.get(), want, nullptr));
    EXPECT_EQ(DibDetectDominantOrientation(upright.get(), nullptr, nullptr), 0) << name;
    // The same pixels give the same answer however they are held: grey (read in place) or
    // colour (reduced to grey), bottom-up or top-down, alone or cut out of a larger page.
    for (int depth : {8, 24})
      for (int direction : {DibDirectionBottomUp, DibDirectionTopDown}) {
        DibInfo* deep = nullptr;
        ASSERT_GE(DibConvertDepthEx(deep, page.get(), depth, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr), 0);
        DibPtr held(deep);
        DibInfo* stored = nullptr;
        ASSERT_GE(DibCanonize(stored, held.get(), direction, 0, nullptr, nullptr), 0);
        held.reset(stored);
        int c = -1;
        EXPECT_EQ(DibDetectDominantOrientation(held.get(), &c, nullptr), want) << name << " " << depth;
        EXPECT_EQ(c, confidence) << name << " " << depth << " bits, direction " << direction;
        DibPtr larger(DibCreate(held->Width() + 20, direction == DibDirectionTopDown ? -(held->Height() + 9) : held->Height() + 9,
                                held->XPelsPerMeter(), held->YPelsPerMeter(), depth));
        std::memset(larger->BitsPtr(), 255, std::size_t(larger->ByteWidth()) * std::size_t(larger->Height()));
        DibInfo* into = larger.get();
        tagPoint32 const at = {13, 5};
        ASSERT_EQ(DibCopyZoneEx(into, held.get(), 0, nullptr, nullptr, nullptr, &at), 0);
        tagRect32 area = {13, 5, 12 + held->Width(), 4 + held->Height()};
        EXPECT_EQ(DibDetectDominantOrientation(larger.get(), &c, &area), want) << name;
        EXPECT_EQ(c, confidence) << name << " cut out, " << depth << " bits";
      }
    ++seen;
  }
  std::fclose(manifest);
  EXPECT_EQ(seen, 4);
  DibPtr blank(DibCreate(800, 600, 7874, 7874, 8));
  std::memset(blank->BitsPtr(), 250, std::size_t(blank->ByteWidth()) * 600);
  int confidence = 7;
  EXPECT_EQ(DibDetectDominantOrientation(blank.get(), &confidence, nullptr), -1);
  EXPECT_EQ(confidence, 0);
}
#endif

// Degenerate inputs: 1 x 1 and 1 x N images of every depth go through every export without
// harm; unknown depths and bad arguments give the documented failures.
TEST(Geometry, TinyImagesAndBadArguments) {
  for (int depth : {1, 8, 24, 32})
    for (int h : {1, 2, 9}) {
      SCOPED_TRACE(testing::Message() << depth << " bits, 1 x " << h);
      DibPtr d = RandomDib(1, h, depth, h == 2, 3);
      double const corners[8] = {-0.5, -0.5, 0.5, -0.5, 0.5, h - 0.5, -0.5, h - 0.5};
      for (DibInfo* made : {DibRotateBy90(d.get(), 1, nullptr), DibRotateAccurate(d.get(), 2.0, 3, nullptr),
                            DibRotate3Skew(d.get(), -0.7, 0, nullptr), DibSkew(d.get(), 5.0, true, nullptr),
                            DibDeskew(d.get(), nullptr, nullptr), DibDistort(d.get(), corners, 3, 3, 0)}) {
        EXPECT_TRUE(made);
        DibFree(made);
      }
      EXPECT_EQ(DibDetectDominantOrientation(d.get(), nullptr, nullptr), -1);
    }
  DibPtr grey = RandomDib(20, 20, 8, false, 1);
  tagRect32 outside = {50, 50, 60, 60};
  EXPECT_FALSE(DibRotateBy90(grey.get(), 1, &outside));
  EXPECT_FALSE(DibDeskew(grey.get(), nullptr, &outside));
  EXPECT_EQ(DibDetectDominantOrientation(grey.get(), nullptr, &outside), -1);
  EXPECT_FALSE(DibSkew(grey.get(), 1e9, false, nullptr));
  EXPECT_FALSE(DibRotate3Skew(grey.get(), 0.1, 2, nullptr));  // interpolation is not a shear's
  EXPECT_TRUE(DibPtr(DibRotateAccurate(grey.get(), 1e300, 0, nullptr)));
  grey->biBitCount = 16;
  EXPECT_FALSE(DibRotateBy90(grey.get(), 1, nullptr));
  EXPECT_FALSE(DibRotateAccurate(grey.get(), 0.1, 0, nullptr));
  grey->biBitCount = 8;
}
