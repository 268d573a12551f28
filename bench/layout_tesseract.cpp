// Tesseract's layout analysis (TessBaseAPI::AnalyseLayout, automatic page segmentation, no
// recognition) on pages, written as zone lists for scripts/segment_check.py: its blocks with
// their types, then the text lines and words of its page iterator.
//
//   quilp_layout_tesseract OUTDIR PAGE...
//
// Writes OUTDIR/<page name>.json per page; "seconds" times AnalyseLayout alone (the engine is
// started once). Run with OMP_THREAD_LIMIT=1 for one thread.
#include <tesseract/baseapi.h>
#include <tesseract/publictypes.h>
#include <leptonica/allheaders.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

#include "layout_zones.h"

namespace {

int KindOf(tesseract::PolyBlockType type) {
  switch (type) {
    case tesseract::PT_FLOWING_IMAGE:
    case tesseract::PT_HEADING_IMAGE:
    case tesseract::PT_PULLOUT_IMAGE: return layout::kPicture;
    case tesseract::PT_TABLE: return layout::kTable;
    case tesseract::PT_HORZ_LINE: return layout::kHRule;
    case tesseract::PT_VERT_LINE: return layout::kVRule;
    case tesseract::PT_NOISE: return layout::kNoise;
    case tesseract::PT_UNKNOWN: return layout::kUnknown;
    default: return tesseract::PTIsTextType(type) ? layout::kText : layout::kUnknown;
  }
}

// The iterator's box (right and bottom exclusive) as an inclusive zone.
layout::Zone ZoneAt(const tesseract::PageIterator& it, tesseract::PageIteratorLevel level,
                    int kind, int parent, int depth, int order) {
  int l = 0, t = 0, r = 0, b = 0;
  it.BoundingBox(level, &l, &t, &r, &b);
  return {l, t, r - 1, b - 1, kind, parent, depth, order};
}

// Blocks first, then lines, then words, as the zone format asks.
std::vector<layout::Zone> Collect(tesseract::PageIterator* it) {
  std::vector<layout::Zone> blocks, lines, words;
  std::vector<int> line_block, word_line;
  if (!it) return blocks;
  it->Begin();
  int line_order = 0, word_order = 0;
  bool text = false;
  do {
    if (it->IsAtBeginningOf(tesseract::RIL_BLOCK)) {
      const int kind = KindOf(it->BlockType());
      text = tesseract::PTIsTextType(it->BlockType());
      blocks.push_back(ZoneAt(*it, tesseract::RIL_BLOCK, kind, -1, 0,
                              static_cast<int>(blocks.size())));
      line_order = 0;
    }
    if (!text) continue;
    if (it->IsAtBeginningOf(tesseract::RIL_TEXTLINE)) {
      lines.push_back(ZoneAt(*it, tesseract::RIL_TEXTLINE, layout::kText, 0, 1, line_order++));
      line_block.push_back(static_cast<int>(blocks.size()) - 1);
      word_order = 0;
    }
    words.push_back(ZoneAt(*it, tesseract::RIL_WORD, layout::kText, 0, 2, word_order++));
    word_line.push_back(static_cast<int>(lines.size()) - 1);
  } while (it->Next(tesseract::RIL_WORD));
  std::vector<layout::Zone> zones = blocks;
  for (size_t i = 0; i < lines.size(); ++i) {
    lines[i].parent = line_block[i];
    zones.push_back(lines[i]);
  }
  const int first_line = static_cast<int>(blocks.size());
  for (size_t i = 0; i < words.size(); ++i) {
    words[i].parent = first_line + word_line[i];
    zones.push_back(words[i]);
  }
  return zones;
}

}  // namespace

int main(int argc, char** argv) {
  setMsgSeverity(L_SEVERITY_NONE);
  tesseract::TessBaseAPI api;
  if (argc >= 3 && api.Init(nullptr, "eng") != 0) {
    std::fprintf(stderr, "cannot start Tesseract with its English data\n");
    return 1;
  }
  api.SetPageSegMode(tesseract::PSM_AUTO);
  const int code = layout::ForEachPage(argc, argv, [&api](Pix* pix, int dpi, double* seconds,
                                                          std::vector<layout::Zone>* zones) {
    api.SetImage(pix);
    api.SetSourceResolution(dpi);
    const auto start = std::chrono::steady_clock::now();
    std::unique_ptr<tesseract::PageIterator> it(api.AnalyseLayout());
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    *seconds = took.count();
    *zones = Collect(it.get());
    it.reset();
    api.Clear();
    return true;
  });
  api.End();
  return code;
}
