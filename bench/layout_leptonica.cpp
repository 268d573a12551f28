// Leptonica's page regions (pixGetRegionsBinary) on 1-bit pages, written as zone lists for
// scripts/segment_check.py: the components of its text-block mask are text blocks, those of
// its halftone mask pictures, those of its text-line mask lines (each under the block that
// holds its centre). Leptonica gives no reading order: zones come in the raster order of
// their components.
//
//   quilp_layout_leptonica OUTDIR PAGE...
//
// Pages of other depths are thresholded at 128 first. Writes OUTDIR/<page name>.json per
// page; "seconds" times pixGetRegionsBinary and the three component labellings.
#include <leptonica/allheaders.h>

#include <chrono>
#include <vector>

#include "layout_zones.h"

namespace {

// The 8-connected components of a mask as zones; masks smaller than the page (a reduced
// analysis) are scaled back to page coordinates.
void AddComponents(Pix* mask, int page_w, int kind, int level, std::vector<layout::Zone>* out) {
  if (!mask) return;
  Boxa* boxes = pixConnComp(mask, nullptr, 8);
  if (!boxes) return;
  const int scale = page_w / pixGetWidth(mask) > 1 ? page_w / pixGetWidth(mask) : 1;
  const int n = boxaGetCount(boxes);
  for (int i = 0; i < n; ++i) {
    int x = 0, y = 0, w = 0, h = 0;
    boxaGetBoxGeometry(boxes, i, &x, &y, &w, &h);
    out->push_back({x * scale, y * scale, (x + w) * scale - 1, (y + h) * scale - 1, kind, -1,
                    level, static_cast<int>(out->size())});  // raster order of components
  }
  boxaDestroy(&boxes);
}

std::vector<layout::Zone> Regions(Pix* page, double* seconds) {
  Pix *halftone = nullptr, *textline = nullptr, *textblock = nullptr;
  const auto start = std::chrono::steady_clock::now();
  pixGetRegionsBinary(page, &halftone, &textline, &textblock, nullptr);
  std::vector<layout::Zone> blocks, lines;
  const int w = pixGetWidth(page);
  AddComponents(textblock, w, layout::kText, 0, &blocks);
  AddComponents(halftone, w, layout::kPicture, 0, &blocks);
  AddComponents(textline, w, layout::kText, 1, &lines);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  *seconds = took.count();
  pixDestroy(&halftone);
  pixDestroy(&textline);
  pixDestroy(&textblock);
  // Each line goes under the text block holding its centre; blocks stay first in the list.
  const size_t block_count = blocks.size();
  std::vector<int> count(block_count, 0);
  for (layout::Zone& line : lines) {
    const int cx = (line.l + line.r) / 2, cy = (line.t + line.b) / 2;
    line.parent = -1;
    line.order = 0;
    for (size_t b = 0; b < block_count; ++b) {
      const layout::Zone& z = blocks[b];
      if (z.kind == layout::kText && z.l <= cx && cx <= z.r && z.t <= cy && cy <= z.b) {
        line.parent = static_cast<int>(b);
        line.order = count[b]++;
        break;
      }
    }
  }
  blocks.insert(blocks.end(), lines.begin(), lines.end());
  return blocks;
}

}  // namespace

int main(int argc, char** argv) {
  setMsgSeverity(L_SEVERITY_NONE);
  return layout::ForEachPage(argc, argv, [](Pix* pix, int, double* seconds,
                                            std::vector<layout::Zone>* zones) {
    Pix* bits = pixGetDepth(pix) != 1 ? pixConvertTo1(pix, 128) : pixClone(pix);
    if (!bits) return false;
    *zones = Regions(bits, seconds);
    pixDestroy(&bits);
    return true;
  });
}
