// The colour dropouts against their literal per-pixel definitions.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "quilp32.h"
#include "record/global_block.h"
#include "support/dropout_reference.h"
#include "support/images.h"

using namespace testing_support;

namespace {

using Colour = std::array<unsigned char, 3>;

DibPtr Pixels(std::vector<Colour> const& colours, bool topDown = false) {
  DibPtr dib(DibCreate(int(colours.size()), topDown ? -1 : 1, 0, 0, 24));
  for (std::size_t i = 0; i < colours.size(); ++i)
    for (int c = 0; c < 3; ++c) Px(dib.get(), int(i), 0, c) = colours[i][c];
  return dib;
}

// Every pixel of `out` against ref over the area at (left, top) of src.
template <class Ref>
void ExpectPixels(DibInfo const* src, DibInfo const* out, int left, int top, Ref const& ref) {
  ASSERT_NE(out, nullptr);
  ASSERT_EQ(out->BitsPerPixel(), 8);
  for (int y = 0; y < out->Height(); ++y)
    for (int x = 0; x < out->Width(); ++x) {
      int const sx = left + x, sy = top + y;
      ASSERT_EQ(Px(out, x, y), ref(Px(src, sx, sy, 0), Px(src, sx, sy, 1), Px(src, sx, sy, 2)))
          << "at " << x << "," << y;
    }
}

Colour RandomColour(std::mt19937& rng) {
  return {uint8_t(rng()), uint8_t(rng()), uint8_t(rng())};
}

}  // namespace

TEST(SuppressColor, FollowsTheProjectionOnRandomImages) {
  std::mt19937 rng(11);
  for (bool topDown : {false, true})
    for (int trial = 0; trial < 12; ++trial) {
      SCOPED_TRACE(trial);
      DibPtr src = RandomDib(41, 13, 24, topDown, 300 + trial);
      unsigned char colour[3] = {uint8_t(rng()), uint8_t(rng()), uint8_t(rng())};
      if (colour[0] == colour[1] && colour[1] == colour[2]) colour[2] ^= 1;
      tagRect32 rect{2, 3, 38, 11};
      DibPtr out(DibSupressColor(src.get(), &colour, &rect));
      ExpectPixels(src.get(), out.get(), 2, 3, OneColourRef(colour));
    }
}

TEST(SuppressColor, PureRedWorkedThrough) {
  // (0, 0, 255): weights (0, 0, 65536), q = 65537. Red and white vanish; black, blue and green
  // keep the lightest black, 1; a red byte of 128 gives 255 - 127 * 65536 / 65537 = 129.
  unsigned char const red[3] = {0, 0, 255};
  DibPtr src = Pixels({{0, 0, 255}, {255, 255, 255}, {0, 0, 0}, {255, 0, 0}, {0, 255, 0},
                       {0, 0, 128}, {90, 200, 128}});
  DibPtr out(DibSupressColor(src.get(), &red, nullptr));
  ASSERT_NE(out, nullptr);
  int const want[] = {255, 255, 1, 1, 1, 129, 129};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(Px(out.get(), i, 0), want[i]) << i;
}

TEST(SuppressColor, TheSuppressedColourTurnsWhiteAndBlackNeverReachesZero) {
  std::mt19937 rng(3);
  for (int trial = 0; trial < 200; ++trial) {
    Colour c = RandomColour(rng);
    if (c[0] == c[1] && c[1] == c[2]) continue;
    DibPtr src = Pixels({c, {0, 0, 0}, {255, 255, 255}});
    DibPtr out(DibSupressColor(src.get(), reinterpret_cast<unsigned char const(*)[3]>(c.data()), nullptr));
    ASSERT_NE(out, nullptr);
    // The colour's own darkness along the direction is zero up to the weights' rounding.
    EXPECT_GE(Px(out.get(), 0, 0), 254) << int(c[0]) << "," << int(c[1]) << "," << int(c[2]);
    EXPECT_EQ(Px(out.get(), 1, 0), 1);
    EXPECT_EQ(Px(out.get(), 2, 0), 255);
  }
}

TEST(SuppressColor, Failures) {
  DibPtr src = RandomDib(9, 6, 24, false, 1);
  unsigned char const grey[3] = {128, 128, 128}, white[3] = {255, 255, 255},
                      black[3] = {0, 0, 0}, blue[3] = {200, 10, 10};
  std::size_t const live = quilp::block::LiveCount();
  EXPECT_EQ(DibSupressColor(src.get(), nullptr, nullptr), nullptr);
  EXPECT_EQ(DibSupressColor(src.get(), &grey, nullptr), nullptr);
  EXPECT_EQ(DibSupressColor(src.get(), &white, nullptr), nullptr);
  EXPECT_EQ(DibSupressColor(src.get(), &black, nullptr), nullptr);
  EXPECT_EQ(DibSupressColor(nullptr, &blue, nullptr), nullptr);
  for (int depth : {1, 8, 32}) {
    DibPtr other(DibCreate(9, 6, 0, 0, depth));
    EXPECT_EQ(DibSupressColor(other.get(), &blue, nullptr), nullptr) << depth;
  }
  tagRect32 beyond{0, 0, 10, 5}, below{0, 0, 8, 7}, left{-1, 0, 3, 3};
  EXPECT_EQ(DibSupressColor(src.get(), &blue, &beyond), nullptr);
  EXPECT_EQ(DibSupressColor(src.get(), &blue, &below), nullptr);
  EXPECT_EQ(DibSupressColor(src.get(), &blue, &left), nullptr);
  EXPECT_EQ(quilp::block::LiveCount(), live);  // failed results are released
}

TEST(SuppressColors, FollowsTheAngleShareOnRandomImages) {
  std::mt19937 rng(21);
  // Counts around the groups of eight: below, at, above, and twice.
  int const counts[][2] = {{1, 0}, {1, 1}, {2, 7}, {8, 1}, {3, 8}, {9, 9}, {16, 5}, {17, 23}};
  for (bool topDown : {false, true})
    for (auto const& n : counts) {
      SCOPED_TRACE(testing::Message() << n[0] << " kept, " << n[1] << " dropped");
      std::vector<Colour> keep, drop;
      while (int(keep.size()) < n[0]) keep.push_back(RandomColour(rng));
      while (int(drop.size()) < n[1]) drop.push_back(RandomColour(rng));
      for (auto* set : {&keep, &drop})
        for (auto& c : *set)
          if (c[0] == 255 && c[1] == 255 && c[2] == 255) c[0] = 0;
      ColourSetsRef ref{ColourSetsRef::Units(keep), ColourSetsRef::Units(drop)};
      DibPtr src = RandomDib(37, 9, 24, topDown, uint32_t(n[0] * 100 + n[1] + topDown));
      // Some white pixels and pixels exactly along a kept and a dropped colour.
      for (int c = 0; c < 3; ++c) {
        Px(src.get(), 5, 2, c) = 255;
        Px(src.get(), 6, 2, c) = keep[0][c];
        if (!drop.empty()) Px(src.get(), 7, 2, c) = drop[0][c];
      }
      tagRect32 rect{1, 1, 35, 8};
      Colour none{};
      DibPtr out(DibSupressColors(src.get(), int(keep.size()),
                                  reinterpret_cast<unsigned char const(*)[3]>(keep.data()),
                                  int(drop.size()),
                                  reinterpret_cast<unsigned char const(*)[3]>(
                                      drop.empty() ? none.data() : drop[0].data()),
                                  &rect));
      ExpectPixels(src.get(), out.get(), 1, 1, ref);
      EXPECT_EQ(Px(out.get(), 4, 1), 255);  // white stays white
    }
}

// The colours met are remembered: repeated colours, colliding colours, and runs of rows full of
// new colours (which switch the memory off for a while) all give the per-pixel definition.
TEST(SuppressColors, RepeatedAndNewColoursAlike) {
  std::mt19937 rng(41);
  std::vector<Colour> palette;
  for (int i = 0; i < 40; ++i) palette.push_back(RandomColour(rng));
  std::vector<Colour> const keep = {{40, 30, 30}, {200, 40, 40}};
  std::vector<Colour> const drop = {{50, 60, 200}, {40, 180, 60}, {160, 160, 60}};
  ColourSetsRef const ref{ColourSetsRef::Units(keep), ColourSetsRef::Units(drop)};
  int const w = 301, h = 400;
  DibPtr src = RandomDib(w, h, 24, true, 77);  // random everywhere: ~120,000 colours collide
  for (int y = 0; y < h; ++y) {
    bool const repeated = y < 100 || (y >= 130 && y < 330) || y >= 360;
    for (int x = 0; x < w && repeated; ++x) {
      Colour const& c = palette[(x * 7 + y / 3) % palette.size()];
      for (int ch = 0; ch < 3; ++ch) Px(src.get(), x, y, ch) = c[ch];
    }
  }
  DibPtr out(DibSupressColors(src.get(), 2, reinterpret_cast<unsigned char const(*)[3]>(keep.data()),
                              3, reinterpret_cast<unsigned char const(*)[3]>(drop.data()), nullptr));
  ExpectPixels(src.get(), out.get(), 0, 0, ref);
}

TEST(SuppressColors, WorkedThrough) {
  // Kept black, nothing dropped: sinDrop is 1, so out = 255 - A / (1 + sinKeep).
  unsigned char const keep[1][3] = {{0, 0, 0}}, unused[1][3] = {{0, 0, 0}};
  DibPtr src = Pixels({{0, 0, 0}, {0, 0, 255}, {255, 255, 255}, {200, 200, 200}});
  DibPtr out(DibSupressColors(src.get(), 1, keep, 0, unused, nullptr));
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(Px(out.get(), 0, 0), 0);    // along the kept colour: A = 441.7, capped at 255
  EXPECT_EQ(Px(out.get(), 1, 0), 68);   // A = 294.4, sinKeep = 0.577
  EXPECT_EQ(Px(out.get(), 2, 0), 255);  // white
  EXPECT_EQ(Px(out.get(), 3, 0), 255 - int(55 * std::sqrt(3.0) + 0.5));
  // Kept (255, 0, 0): black has A = 360.6 and sinKeep = 0.577: 255 - 229, a level from (0, 1, 0).
  unsigned char const cyan[1][3] = {{255, 0, 0}};
  DibPtr black(DibSupressColors(src.get(), 1, cyan, 0, unused, nullptr));
  EXPECT_EQ(Px(black.get(), 0, 0), 26);
  // A pixel along a dropped colour becomes white, one along a kept colour keeps its darkness.
  unsigned char const blue[1][3] = {{220, 160, 140}}, red[1][3] = {{30, 40, 220}};
  DibPtr marks = Pixels({{220, 160, 140}, {30, 40, 220}});
  DibPtr shared(DibSupressColors(marks.get(), 1, blue, 1, red, nullptr));
  ASSERT_NE(shared, nullptr);
  double const blueDark = std::sqrt(35.0 * 35 + 95 * 95 + 115 * 115);
  EXPECT_EQ(Px(shared.get(), 0, 0), 255 - int(blueDark + 0.5));
  EXPECT_EQ(Px(shared.get(), 1, 0), 255);
}

TEST(SuppressColors, Failures) {
  DibPtr src = RandomDib(9, 6, 24, true, 2);
  unsigned char const one[1][3] = {{10, 20, 30}}, white[1][3] = {{255, 255, 255}};
  unsigned char const mixed[2][3] = {{10, 20, 30}, {255, 255, 255}};
  DibPtr grey(DibCreate(9, 6, 0, 0, 8));
  std::size_t const live = quilp::block::LiveCount();
  EXPECT_EQ(DibSupressColors(src.get(), 0, one, 1, one, nullptr), nullptr);
  EXPECT_EQ(DibSupressColors(src.get(), -1, one, 1, one, nullptr), nullptr);
  EXPECT_EQ(DibSupressColors(src.get(), 1, one, -1, one, nullptr), nullptr);
  EXPECT_EQ(DibSupressColors(src.get(), 1, nullptr, 1, one, nullptr), nullptr);
  EXPECT_EQ(DibSupressColors(src.get(), 1, one, 0, nullptr, nullptr), nullptr);
  EXPECT_EQ(DibSupressColors(src.get(), 1, white, 0, one, nullptr), nullptr);
  EXPECT_EQ(DibSupressColors(src.get(), 1, one, 2, mixed, nullptr), nullptr);
  EXPECT_EQ(DibSupressColors(nullptr, 1, one, 0, one, nullptr), nullptr);
  EXPECT_EQ(DibSupressColors(grey.get(), 1, one, 0, one, nullptr), nullptr);
  tagRect32 beyond{0, 0, 8, 7};
  EXPECT_EQ(DibSupressColors(src.get(), 1, one, 0, one, &beyond), nullptr);
  EXPECT_EQ(quilp::block::LiveCount(), live);
  DibPtr ok(DibSupressColors(src.get(), 1, one, 0, one, nullptr));
  ASSERT_NE(ok, nullptr);
  EXPECT_EQ(ok->Width(), 9);
  EXPECT_EQ(ok->Height(), 6);
}
