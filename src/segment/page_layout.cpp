// page_layout.cpp - the steps of page segmentation put together (see page_layout.h).
#include "segment/page_layout.h"

#include <algorithm>
#include <bit>
#include <new>

#include "segment/page_ink.h"
#include "segment/pictures.h"
#include "segment/reading_order.h"
#include "segment/rules.h"
#include "segment/tables.h"
#include "segment/text_blocks.h"
#include "segment/text_lines.h"

namespace quilp {

namespace {

constexpr double kNoiseInches = 0.05;   // text blocks smaller than this each way are specks
constexpr double kMarginLineInches = 0.3; // page numbers and running heads: one line
constexpr double kAbsorbShare = 0.5;    // of a component's box inside a picture or table

int Confidence(Region const& r) {
  switch (r.kind) {
    case kZoneText: return std::min(95, 50 + 10 * r.lines);
    case kZonePicture: return 90;
    case kZoneTable: return 75;
    case kZoneHRule:
    case kZoneVRule: return 95;
    case kZoneNoise: return 60;
    default: return 50;
  }
}

Box BoxOf(InkComponent const& c) { return Box{c.left, c.top, c.right, c.bottom}; }

// The reduced box at full resolution, within a width x height area.
Box Enlarged(Box const& b, int factor, int width, int height) {
  return Box{b.l * factor, b.t * factor, std::min(width - 1, b.r * factor + factor - 1),
             std::min(height - 1, b.b * factor + factor - 1)};
}

// The bounding box of the ink inside `box` (empty when there is none).
Box InkInside(InkBits const& ink, Box const& box) {
  Box found;
  for (int y = box.t; y <= box.b; ++y) {
    uint64_t const* row = ink.Row(y);
    for (int w = box.l >> 6; w <= box.r >> 6; ++w) {
      int const a = std::max(box.l, w * 64) - w * 64, b = std::min(box.r, w * 64 + 63) - w * 64;
      uint64_t const bits = row[w] & (~uint64_t(0) >> a) & (~uint64_t(0) << (63 - b));
      if (!bits) continue;
      int const first = w * 64 + std::countl_zero(bits);
      int last = first;
      // The last set bit of the span: scan back from the span's right end.
      for (int v = box.r >> 6; v >= w; --v) {
        int const a2 = std::max(box.l, v * 64) - v * 64, b2 = std::min(box.r, v * 64 + 63) - v * 64;
        uint64_t const bits2 = row[v] & (~uint64_t(0) >> a2) & (~uint64_t(0) << (63 - b2));
        if (bits2) { last = v * 64 + 63 - std::countr_zero(bits2); break; }
      }
      found.Add(Box{first, y, last, y});
      break;
    }
  }
  return found;
}

// Pictures that touch or overlap become one.
void MergePictures(std::vector<Region>& regions) {
  bool merged = true;
  while (merged) {
    merged = false;
    for (std::size_t i = 0; i < regions.size() && !merged; ++i) {
      if (regions[i].kind != kZonePicture) continue;
      Box grown = regions[i].box;
      grown.l -= 1; grown.t -= 1; grown.r += 1; grown.b += 1;
      for (std::size_t j = i + 1; j < regions.size() && !merged; ++j) {
        if (regions[j].kind != kZonePicture || !Intersects(grown, regions[j].box)) continue;
        regions[i].box.Add(regions[j].box);
        regions.erase(regions.begin() + std::ptrdiff_t(j));
        merged = true;
      }
    }
  }
}

}  // namespace

bool LoadAnalysisInk(DibInfo const* dib, Area const& area, PageAnalysis& page) {
  page.scale.dpi = LayoutDpi(dib);
  page.scale.factor = LayoutReduction(page.scale.dpi);
  return LoadPageInk(dib, area, page.ink) && ReduceInk(page.ink, page.scale.factor, page.small);
}

bool AnalysePage(DibInfo const* dib, Area const& area, bool full, PageAnalysis& page) {
  if (!LoadAnalysisInk(dib, area, page)) return false;
  LayoutScale const& scale = page.scale;
  try {
    ComponentMap map;
    if (!LabelComponents(page.small, true, map)) return false;
    std::size_t const n = map.components.size();
    std::vector<int> kind(n, kZoneText);
    std::vector<char> straddles(n, 0);
    std::vector<Region> regions;
    ComponentProfile profile;
    for (std::size_t i = 0; i < n; ++i) {
      InkComponent const& c = map.components[i];
      kind[i] = RuleKind(c, scale);
      if (kind[i] != kZoneUnknown) continue;
      kind[i] = kZoneText;
      if (!IsLargeComponent(c, scale)) continue;
      // Solid parts are pictures; the rest of the component (a caption or paragraph touching
      // the picture) stays text, its runs clipped to what lies outside them.
      std::vector<Box> const solid = SolidParts(page.small, BoxOf(c), scale);
      for (Box const& part : solid) regions.push_back(Region{part, kZonePicture, 0, 0});
      if (!solid.empty()) {
        straddles[i] = 1;
        continue;
      }
      ProfileComponent(map, int(i), profile);
      kind[i] = LargeComponentKind(c, profile, scale);
      if (kind[i] != kZoneText) regions.push_back(Region{BoxOf(c), kind[i], 0, 0});
    }
    MergePictures(regions);
    // Components mostly inside a picture or a table belong to it.
    std::vector<char> isText(n, 0);
    for (std::size_t i = 0; i < n; ++i) {
      Box const box = BoxOf(map.components[i]);
      bool absorbed = kind[i] == kZonePicture || kind[i] == kZoneTable || kind[i] == kZoneGraphics;
      for (std::size_t k = 0; k < regions.size() && !absorbed && !straddles[i]; ++k)
        absorbed = (regions[k].kind == kZonePicture || regions[k].kind == kZoneTable) &&
                   OverlapArea(box, regions[k].box) >= kAbsorbShare * box.Area();
      if (absorbed) continue;
      if (kind[i] == kZoneText) isText[i] = 1;
      else regions.push_back(Region{box, kind[i], 0, 0});
    }
    std::vector<Box> walls, covered;
    for (Region const& r : regions) {
      if (r.kind == kZoneVRule || r.kind == kZoneHRule) walls.push_back(r.box);
      if (r.kind == kZonePicture || r.kind == kZoneTable) covered.push_back(r.box);
    }
    TextLayout text;
    if (!FindTextBlocks(map, isText, page.small, walls, covered, scale, text))
      return false;
    std::vector<std::vector<Box>> lines(regions.size());
    for (std::size_t b = 0; b < text.blocks.size(); ++b) {
      regions.push_back(Region{text.blocks[b], kZoneText, 0, int(text.lines[b].size())});
      lines.push_back(text.lines[b]);
    }
    if (full) FindTextTables(regions, lines, scale);
    int const speck = scale.In(kNoiseInches);
    page.regions.clear();
    for (Region r : regions) {
      if (r.kind < 0) continue;
      if (r.kind == kZoneText && r.lines <= 1 && r.box.Width() < speck && r.box.Height() < speck)
        r.kind = kZoneNoise;
      r.box = Enlarged(r.box, scale.factor, page.ink.Width(), page.ink.Height());
      if (full) r.box = InkInside(page.ink, r.box);
      if (r.box.Empty()) continue;
      r.confidence = Confidence(r);
      page.regions.push_back(r);
    }
    SortReadingOrder(page.regions, scale);
    return true;
  } catch (std::bad_alloc const&) {
    return false;
  }
}

void SortReadingOrder(std::vector<Region>& regions, LayoutScale const& scale) {
  std::vector<Box> boxes;
  boxes.reserve(regions.size());
  for (Region const& r : regions) boxes.push_back(r.box);
  std::vector<int> const order = ReadingOrder(boxes, scale.Full(kMarginLineInches));
  std::vector<Region> sorted;
  sorted.reserve(regions.size());
  for (int i : order) sorted.push_back(regions[std::size_t(i)]);
  regions = std::move(sorted);
}

Region Reclassify(PageAnalysis const& page, Box const& box) {
  Region out;
  out.box = box;
  int64_t best = 0;
  for (Region const& r : page.regions) {
    int64_t const shared = OverlapArea(r.box, box);
    if (shared > best) {
      best = shared;
      out.kind = r.kind;
      out.confidence = r.confidence;
      out.lines = r.lines;
    }
  }
  if (best == 0 && !InkInside(page.ink, box).Empty()) {
    out.kind = kZoneText;  // ink the first analysis did not place: read it as text
    out.confidence = 30;
  }
  return out;
}

bool LayoutZones(PageAnalysis const& page, std::vector<Region> const& blocks, bool hierarchy,
                 std::vector<LayoutZone>& zones) {
  try {
    zones.clear();
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      Region const& r = blocks[i];
      zones.push_back(LayoutZone{r.box, r.kind, -1, 0, int(i), r.confidence});
    }
    if (!hierarchy) return true;
    // Each letter goes to the text block holding its centre (the first, where blocks overlap),
    // found through a map of block owners at the reduced scale.
    int const f = page.scale.factor;
    int const gw = page.small.Width(), gh = page.small.Height();
    std::vector<int> owner(std::size_t(gw) * std::size_t(gh), -1);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      if (blocks[i].kind != kZoneText) continue;
      Box const& b = blocks[i].box;
      for (int y = std::max(0, b.t / f); y <= std::min(gh - 1, b.b / f); ++y)
        for (int x = std::max(0, b.l / f); x <= std::min(gw - 1, b.r / f); ++x) {
          int& o = owner[std::size_t(y) * std::size_t(gw) + std::size_t(x)];
          if (o < 0) o = int(i);
        }
    }
    ComponentMap letters;
    if (!LabelComponents(page.ink, true, letters)) return false;
    std::vector<std::vector<Box>> letterBoxes(blocks.size());
    for (InkComponent const& c : letters.components) {
      int const cx = (c.left + c.right) / 2, cy = (c.top + c.bottom) / 2;
      int const o = owner[std::size_t(cy / f) * std::size_t(gw) + std::size_t(cx / f)];
      if (o < 0) continue;
      Box const& b = blocks[std::size_t(o)].box;
      if (cx >= b.l && cx <= b.r && cy >= b.t && cy <= b.b) letterBoxes[std::size_t(o)].push_back(BoxOf(c));
    }
    std::vector<LayoutZone> words;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      if (blocks[i].kind != kZoneText) continue;
      std::vector<TextLine> const lines = BuildLines(std::move(letterBoxes[i]));
      int order = 0;
      for (TextLine const& line : lines) {
        int const lineIndex = int(zones.size());
        zones[i].box.Add(line.box);
        zones.push_back(LayoutZone{line.box, kZoneText, int(i), 1, order++,
                                   line.letters.size() >= 3 ? 90 : 60});
        int wordOrder = 0;
        for (Box const& w : SplitWords(line))
          words.push_back(LayoutZone{w, kZoneText, lineIndex, 2, wordOrder++, 80});
      }
    }
    // Words follow all lines: their parents are already final indices.
    zones.insert(zones.end(), words.begin(), words.end());
    return true;
  } catch (std::bad_alloc const&) {
    return false;
  }
}

}  // namespace quilp
