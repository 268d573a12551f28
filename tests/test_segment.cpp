// Page segmentation through the interface: a drawn two-column page with a title, a picture
// and a rule, whose blocks, lines and words are known exactly because they were drawn; the
// count and capacity contract; refusals; the flow map and the watershed on small maps.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "quilp32.h"
#include "support/images.h"

using namespace testing_support;

namespace {

struct Rect {
  int l, t, r, b;
  bool operator==(Rect const& o) const { return l == o.l && t == o.t && r == o.r && b == o.b; }
};
Rect Of(tagRect32 const& r) { return Rect{r.left, r.top, r.right, r.bottom}; }
void Grow(Rect& a, Rect const& b) {
  a = Rect{std::min(a.l, b.l), std::min(a.t, b.t), std::max(a.r, b.r), std::max(a.b, b.b)};
}

// A 300-dpi page drawn as ink rectangles; each text line is words of letter strokes.
struct Drawing {
  static constexpr int kWidth = 1240, kHeight = 1400;
  std::vector<Rect> ink;
  std::vector<std::vector<Rect>> words;  // per line, drawn left to right
  std::vector<Rect> lines;

  // A word of `letters` strokes 3 wide every 8 (the second one an ascender) at x, top y.
  Rect Word(int x, int y, int height, int letters) {
    Rect word{x, y - height / 3, x + 8 * letters - 5, y + height - 1};
    for (int k = 0; k < letters; ++k)
      ink.push_back(Rect{x + 8 * k, k == 1 ? word.t : y, x + 8 * k + 3, word.b});
    return word;
  }
  Rect Keep(std::vector<Rect> const& line) {
    Rect box = line.front();
    for (Rect const& w : line) Grow(box, w);
    words.push_back(line);
    lines.push_back(box);
    return box;
  }
  // A line of words of 5 from x0 to x1 at top y, spaces 20.
  Rect Line(int x0, int x1, int y, int height) {
    std::vector<Rect> line;
    for (int x = x0; x + 36 <= x1; x += 36 + 20) line.push_back(Word(x, y, height, 5));
    return Keep(line);
  }
  // A justified line of `count` words 40 to 119 wide (from the generator `seed`) filling x0..x1.
  Rect Justified(int x0, int x1, int y, int count, uint32_t& seed) {
    std::vector<int> widths;
    int used = 0;
    for (int k = 0; k < count; ++k) {
      seed = seed * 1664525u + 1013904223u;
      widths.push_back(40 + int(seed >> 16) % 80);
      used += widths.back();
    }
    std::vector<Rect> line;
    for (int k = 0, x = x0; k < count; ++k) {
      int const w = widths[std::size_t(k)];
      if (k == count - 1) x = x1 - w + 1;
      Rect word{x, y - 7, x + w - 1, y + 21};
      for (int sx = x; sx <= word.r; sx = std::min(sx + 8, std::max(sx + 1, word.r - 3)))
        ink.push_back(Rect{sx, sx == x + 8 ? word.t : y, std::min(sx + 3, word.r), word.b});
      line.push_back(word);
      x = word.r + 1 + (x1 - x0 + 1 - used) / (count - 1);
    }
    return Keep(line);
  }
  Rect Paragraph(int x0, int x1, int y, int count) {
    Rect box = Line(x0, x1, y, 22);
    for (int i = 1; i < count; ++i) Grow(box, Line(x0, x1, y + 40 * i, 22));
    return box;
  }
  Rect Fill(Rect r) {
    ink.push_back(r);
    return r;
  }
  // The page at `depth` (1, 8 or 24) in the given row order.
  DibPtr Page(int depth, bool topDown) const {
    std::vector<char> dark(std::size_t(kWidth) * kHeight, 0);
    for (Rect const& r : ink)
      for (int y = r.t; y <= r.b; ++y)
        std::fill_n(dark.begin() + std::ptrdiff_t(y) * kWidth + r.l, r.r - r.l + 1, 1);
    DibPtr dib(DibCreate(kWidth, topDown ? -kHeight : kHeight, 11811, 11811, depth));
    for (int y = 0; y < kHeight; ++y) {
      unsigned char* row = dib->GetLine(y);
      for (int x = 0; x < kWidth; ++x) {
        bool const d = dark[std::size_t(y) * kWidth + std::size_t(x)];
        if (depth == 1) {
          if (!d) row[x / 8] |= uint8_t(0x80 >> (x % 8));
        } else {
          for (int c = 0; c < depth / 8; ++c) row[x * (depth / 8) + c] = d ? 0 : 255;
        }
      }
    }
    return dib;
  }
};

struct Layout {
  Drawing d;
  Rect title, first, rule, second, picture, right;
  Layout() {
    title = d.Paragraph(100, 1140, 100, 1);
    first = d.Paragraph(100, 560, 220, 6);
    rule = d.Fill(Rect{100, 480, 540, 483});
    second = d.Paragraph(100, 560, 520, 8);
    picture = d.Fill(Rect{700, 220, 1100, 500});
    right = d.Paragraph(680, 1140, 560, 10);
  }
};

std::vector<SDibZone> Segment(DibInfo* page, bool hierarchy, tagRect32* rect = nullptr) {
  auto segment = hierarchy ? DibSegmentLev1Hier : DibSegmentLev1;
  int const n = segment(page, nullptr, 0, rect);
  EXPECT_GE(n, 0);
  std::vector<SDibZone> zones(std::size_t(std::max(n, 0)));
  if (n > 0) {
    EXPECT_EQ(segment(page, zones.data(), n, rect), n);
  }
  return zones;
}

TEST(Segment, BlocksKindsAndOrderOfADrawnPage) {
  Layout const page;
  // Blocks in reading order: the title over both columns, the left column top to bottom,
  // then the right one.
  struct Expected { Rect box; int kind; } const expected[] = {
      {page.title, 1}, {page.first, 1}, {page.rule, 5}, {page.second, 1},
      {page.picture, 2}, {page.right, 1}};
  for (int depth : {1, 8, 24}) {
    for (bool topDown : {false, true}) {
      SCOPED_TRACE(testing::Message() << depth << " bits, " << (topDown ? "top-down" : "bottom-up"));
      DibPtr dib = page.d.Page(depth, topDown);
      std::vector<SDibZone> const zones = Segment(dib.get(), false);
      ASSERT_EQ(zones.size(), std::size(expected));
      for (std::size_t i = 0; i < zones.size(); ++i) {
        EXPECT_EQ(Of(zones[i].rect), expected[i].box) << i;
        EXPECT_EQ(zones[i].kind, expected[i].kind) << i;
        EXPECT_EQ(zones[i].order, int(i));
        EXPECT_EQ(zones[i].parent, -1);
        EXPECT_EQ(zones[i].level, 0);
        EXPECT_TRUE(zones[i].confidence >= 0 && zones[i].confidence <= 100);
      }
    }
  }
}

TEST(Segment, ReadsSectionsOfOneGridInTurn) {
  // Two sections of two columns with a rule in the gutter: the caption between them crosses
  // the rule but stops short of the right column, leaving a channel down the whole page, yet
  // it breaks the sections, so the first is read in full before it.
  Drawing d;
  uint32_t seed = 7;
  auto text = [&](int x0, int x1, int y, int count) {  // justified, so no table of words
    Rect box = d.Justified(x0, x1, y, 5, seed);
    for (int i = 1; i < count; ++i) Grow(box, d.Justified(x0, x1, y + 40 * i, 5, seed));
    return box;
  };
  Rect const expected[] = {
      text(100, 560, 100, 6), d.Fill(Rect{610, 100, 613, 330}), text(680, 1140, 113, 6),
      d.Paragraph(100, 650, 400, 1), d.Fill(Rect{100, 460, 560, 640}),
      text(100, 560, 700, 5), d.Fill(Rect{610, 700, 613, 880}), text(680, 1140, 713, 5)};
  for (bool topDown : {false, true}) {
    DibPtr dib = d.Page(1, topDown);
    std::vector<SDibZone> const zones = Segment(dib.get(), false);
    ASSERT_EQ(zones.size(), std::size(expected)) << topDown;
    for (std::size_t i = 0; i < zones.size(); ++i) {
      EXPECT_EQ(Of(zones[i].rect), expected[i]) << i;
      EXPECT_EQ(zones[i].order, int(i));
    }
  }
}

TEST(Segment, LinesAndWordsFollowTheirBlocks) {
  Layout const page;
  DibPtr dib = page.d.Page(1, false);
  std::vector<SDibZone> const zones = Segment(dib.get(), true);
  // Blocks, then every line, then every word, each line and word exactly as drawn.
  std::size_t const blocks = 6;
  std::size_t lines = 0, words = 0;
  for (auto const& l : page.d.words) words += l.size();
  lines = page.d.lines.size();
  ASSERT_EQ(zones.size(), blocks + lines + words);
  std::vector<Rect> foundLines, drawnLines = page.d.lines;
  std::vector<Rect> foundWords, drawnWords;
  for (std::size_t i = blocks; i < blocks + lines; ++i) {
    SDibZone const& z = zones[i];
    EXPECT_EQ(z.level, 1);
    ASSERT_TRUE(z.parent >= 0 && z.parent < int(blocks));
    EXPECT_EQ(zones[std::size_t(z.parent)].kind, 1);
    foundLines.push_back(Of(z.rect));
    if (i > blocks && zones[i - 1].parent == z.parent) {
      EXPECT_EQ(z.order, zones[i - 1].order + 1);
      EXPECT_GT(z.rect.top, zones[i - 1].rect.bottom);  // top to bottom
    }
  }
  for (std::size_t i = blocks + lines; i < zones.size(); ++i) {
    SDibZone const& z = zones[i];
    EXPECT_EQ(z.level, 2);
    ASSERT_TRUE(z.parent >= int(blocks) && z.parent < int(blocks + lines));
    SDibZone const& line = zones[std::size_t(z.parent)];
    EXPECT_TRUE(z.rect.left >= line.rect.left && z.rect.right <= line.rect.right);
    if (zones[i - 1].parent == z.parent) {
      EXPECT_GT(z.rect.left, zones[i - 1].rect.right);
    }
    foundWords.push_back(Of(z.rect));
  }
  for (auto const& l : page.d.words) drawnWords.insert(drawnWords.end(), l.begin(), l.end());
  auto byPlace = [](Rect const& a, Rect const& b) { return a.t != b.t ? a.t < b.t : a.l < b.l; };
  for (auto* v : {&foundLines, &drawnLines, &foundWords, &drawnWords}) std::sort(v->begin(), v->end(), byPlace);
  EXPECT_EQ(foundLines, drawnLines);
  EXPECT_EQ(foundWords, drawnWords);
}

TEST(Segment, ColumnsStayApartAcrossANarrowGutter) {
  // Two columns 540 wide with a gutter of 75 (a quarter inch). The left one holds paragraphs
  // of a full line over a short one, so little text borders the gutter near any one line;
  // the right one is justified, two to six words spread to the width, so the spaces of its
  // short lines (up to 450) are wider than the gutter. Every line is found whole, no block
  // reaches across the gutter, and the left column is read before the right one.
  Drawing d;
  uint32_t seed = 9;
  for (int i = 0; i < 6; ++i) {
    d.Justified(50, 589, 100 + 120 * i, 5, seed);
    d.Line(50, 250, 140 + 120 * i, 22);
  }
  int const counts[] = {6, 5, 2, 6, 5, 3, 6, 5, 6, 2, 5, 6, 5, 6, 3, 6, 5, 6};
  for (int i = 0; i < 18; ++i) d.Justified(665, 1204, 100 + 40 * i, counts[i], seed);
  for (bool topDown : {false, true}) {
    DibPtr dib = d.Page(1, topDown);
    std::vector<SDibZone> const zones = Segment(dib.get(), true);
    std::vector<Rect> found, drawn = d.lines;
    bool right = false;
    for (SDibZone const& z : zones) {
      if (z.level == 1) found.push_back(Of(z.rect));
      if (z.level != 0) continue;
      EXPECT_TRUE(z.rect.right < 590 || z.rect.left >= 665) << z.rect.left << ".." << z.rect.right;
      EXPECT_FALSE(right && z.rect.left < 590);  // no left block after a right one
      right = right || z.rect.left >= 665;
    }
    auto byPlace = [](Rect const& a, Rect const& b) { return a.t != b.t ? a.t < b.t : a.l < b.l; };
    std::sort(found.begin(), found.end(), byPlace);
    std::sort(drawn.begin(), drawn.end(), byPlace);
    EXPECT_EQ(found, drawn);
  }
}

TEST(Segment, CountsBeyondCapacityAndRefusesBadArguments) {
  Layout const page;
  DibPtr dib = page.d.Page(1, true);
  int const n = DibSegmentLev1Hier(dib.get(), nullptr, 0, nullptr);
  ASSERT_GT(n, 3);
  std::vector<SDibZone> zones(4);
  zones[3].kind = 99;
  EXPECT_EQ(DibSegmentLev1Hier(dib.get(), zones.data(), 3, nullptr), n);
  EXPECT_EQ(zones[3].kind, 99);  // nothing beyond capacity
  // The rectangle: zones in page coordinates, only what lies inside (the title's right part,
  // the picture, the right column); clamped.
  tagRect32 right = {640, 0, 5000, 5000};
  std::vector<SDibZone> const inside = Segment(dib.get(), false, &right);
  ASSERT_EQ(inside.size(), 3u);
  EXPECT_EQ(Of(inside[0].rect), (Rect{660, 93, 1087, 121}));
  EXPECT_EQ(Of(inside[1].rect), page.picture);
  EXPECT_EQ(Of(inside[2].rect), page.right);

  SDibZone one[1];
  tagRect32 outside = {2000, 0, 2100, 10};
  DibPtr wide(DibCreate(8, 8, 0, 0, 32));
  for (auto segment : {DibSegmentLev1, DibSegmentLev1Hier, DibPreSegment}) {
    EXPECT_EQ(segment(nullptr, one, 1, nullptr), -1);
    EXPECT_EQ(segment(wide.get(), one, 1, nullptr), -1);
    EXPECT_EQ(segment(dib.get(), one, -1, nullptr), -1);
    EXPECT_EQ(segment(dib.get(), nullptr, 1, nullptr), -1);
    EXPECT_EQ(segment(dib.get(), one, 1, &outside), -1);
  }
  EXPECT_EQ(DibRePresegment(dib.get(), one, 2, 1, nullptr), -1);   // count beyond capacity
  EXPECT_EQ(DibRePresegment(dib.get(), one, -1, 1, nullptr), -1);
  EXPECT_EQ(DibCalcFlowMap(wide.get(), nullptr), nullptr);
  EXPECT_EQ(DibWaterSegment(dib.get(), 0, nullptr, nullptr), nullptr);
  DibPtr grey(DibCreate(4, 4, 0, 0, 8));
  EXPECT_EQ(DibWaterSegment(grey.get(), 256, nullptr, nullptr), nullptr);
}

TEST(Segment, TinyEmptyAndRuledGridPages) {
  Drawing grid;  // 8 x 3 cells ruled by 2-pixel lines, a word touching the rules in each: one table
  for (int i = 0; i <= 8; ++i) grid.Fill(Rect{200 + 100 * i, 400, 201 + 100 * i, 581});
  for (int j = 0; j <= 3; ++j) grid.Fill(Rect{200, 400 + 60 * j, 1001, 401 + 60 * j});
  for (int c = 0; c < 24; ++c) grid.Word(206 + 100 * (c % 8), 435 + 60 * (c / 8), 22, 11);
  Drawing offset;  // paragraphs offset diagonally between two rules: text, not a table
  offset.Fill(Rect{100, 100, 1100, 103});
  offset.Fill(Rect{100, 600, 1100, 603});
  offset.Paragraph(100, 500, 160, 3);
  offset.Paragraph(700, 1100, 380, 3);
  for (int depth : {1, 8, 24}) {
    SCOPED_TRACE(depth);
    DibPtr dot(DibCreate(1, 1, 0, 0, depth));  // black
    DibPtr blank(DibCreate(300, 200, 0, 0, depth));
    std::fill(blank->BitsPtr(), blank->BitsPtr() + blank->ByteWidth() * 200, 0xFF);
    EXPECT_GE(DibSegmentLev1Hier(dot.get(), nullptr, 0, nullptr), 0);
    EXPECT_EQ(DibSegmentLev1Hier(blank.get(), nullptr, 0, nullptr), 0);
    EXPECT_EQ(DibPreSegment(blank.get(), nullptr, 0, nullptr), 0);
    std::vector<SDibZone> const table = Segment(grid.Page(depth, depth == 8).get(), false);
    ASSERT_EQ(table.size(), 1u);
    EXPECT_EQ(table[0].kind, 4);
    for (SDibZone const& z : Segment(offset.Page(depth, false).get(), false)) EXPECT_NE(z.kind, 4);
  }
}

TEST(Segment, RulesHuggingABlockOfTheirWidthFrameATable) {
  // Cells too close to part into columns are one block; rules of its width 12 pixels from
  // it frame a table, while 60 pixels away (a paragraph's distance) they part text.
  for (int gap : {12, 60}) {
    Drawing d;
    uint32_t seed = 3;
    d.Fill(Rect{100, 300, 1100, 305});
    Rect box = d.Justified(100, 1100, 313 + gap, 12, seed);
    for (int i = 1; i < 4; ++i) Grow(box, d.Justified(100, 1100, 313 + gap + 40 * i, 12, seed));
    d.Fill(Rect{100, box.b + gap + 1, 1100, box.b + gap + 6});
    std::vector<SDibZone> const zones = Segment(d.Page(1, false).get(), false);
    ASSERT_EQ(zones.size(), gap < 20 ? 1u : 3u);
    EXPECT_EQ(zones[gap < 20 ? 0 : 1].kind, gap < 20 ? 4 : 1);
  }
}

TEST(Segment, RePresegmentReclassifiesEditedZones) {
  Layout const page;
  DibPtr dib = page.d.Page(1, false);
  // The host joined the picture and the text below it, and drew a zone on empty paper; the
  // list is given out of order and with kinds of its own.
  std::vector<SDibZone> zones(64);
  zones[0] = SDibZone{{650, 540, 1200, 1000}, 0, -1, 0, 0, 0};  // right column text
  zones[1] = SDibZone{{690, 210, 1110, 510}, 1, -1, 0, 0, 0};   // the picture
  zones[2] = SDibZone{{600, 1300, 700, 1390}, 2, -1, 0, 0, 0};  // paper
  zones[3] = SDibZone{{0, 0, 10, 10}, 1, 0, 1, 0, 0};           // a line: dropped
  int const n = DibRePresegment(dib.get(), zones.data(), 4, 64, nullptr);
  ASSERT_GT(n, 3);
  EXPECT_EQ(zones[0].kind, 2);  // the picture comes first in reading order
  EXPECT_EQ(Of(zones[0].rect), (Rect{690, 210, 1110, 510}));
  EXPECT_EQ(zones[1].kind, 1);
  EXPECT_EQ(zones[2].kind, 0);
  int lines = 0;
  for (int i = 3; i < std::min(n, 64); ++i) lines += zones[std::size_t(i)].level == 1 && zones[std::size_t(i)].parent == 1;
  EXPECT_EQ(lines, 10);
}

TEST(Segment, FlowMapShowsTheGutter) {
  Layout const page;
  for (bool topDown : {false, true}) {
    DibPtr dib = page.d.Page(1, topDown);
    DibPtr map(DibCalcFlowMap(dib.get(), nullptr));
    ASSERT_TRUE(map);
    EXPECT_EQ(map->Width(), Drawing::kWidth / 4);
    EXPECT_EQ(map->Height(), Drawing::kHeight / 4);
    EXPECT_EQ(map->biHeight > 0, !topDown);
    EXPECT_EQ(map->XPelsPerMeter(), 2953);
    // Reduced by 4, the left column's last stroke ends at x 131 and the picture starts at
    // x 175, both on row 75: the gutter's middle lies 22 from each.
    EXPECT_EQ(map->GetLine(75)[153], 22);
    EXPECT_EQ(map->GetLine(75)[131], 0);
    EXPECT_EQ(map->GetLine(75)[132], 1);
  }
}

TEST(Segment, WatershedSplitsBasinsAtTheirRidge) {
  // Two valleys at x 3 and 12 with the ridge at x 8 (closer to the left valley's seed).
  DibPtr map(DibCreate(16, 3, 0, 0, 8));
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 16; ++x) Px(map.get(), x, y) = uint8_t(10 * std::min(std::abs(x - 3), std::abs(x - 12)));
  for (int seedLevel : {-1, 0, 10}) {
    SCOPED_TRACE(seedLevel);
    int count = -5;
    DibPtr labels(DibWaterSegment(map.get(), seedLevel, &count, nullptr));
    ASSERT_TRUE(labels);
    EXPECT_EQ(count, 2);
    for (int y = 0; y < 3; ++y) {
      int32_t const* row = reinterpret_cast<int32_t const*>(labels->GetLine(y));
      for (int x = 0; x < 16; ++x) EXPECT_EQ(row[x], x <= 7 ? 1 : 2) << x << "," << y;
    }
  }
  // Minima touching at a corner, along either diagonal, are one basin each.
  DibPtr corners(DibCreate(8, 4, 0, 0, 8));
  std::fill_n(corners->BitsPtr(), corners->biSizeImage, uint8_t(200));
  Px(corners.get(), 1, 1) = Px(corners.get(), 2, 2) = Px(corners.get(), 6, 1) = Px(corners.get(), 5, 2) = 0;
  int count = 0;
  DibPtr basins(DibWaterSegment(corners.get(), -1, &count, nullptr));
  EXPECT_EQ(count, 2);
}

}  // namespace
