// Zone lists written as JSON in the form `quilp segment --json` uses, so that
// scripts/segment_check.py scores the peers' layout analysis exactly like ours, and the page
// loop the small peer programs layout_tesseract.cpp and layout_leptonica.cpp share.
#pragma once

#include <leptonica/allheaders.h>

#include <cstdio>
#include <string>
#include <vector>

namespace layout {

enum Kind { kUnknown = 0, kText = 1, kPicture = 2, kGraphics = 3, kTable = 4, kHRule = 5,
            kVRule = 6, kNoise = 7 };

struct Zone {
  int l, t, r, b;              // inclusive, row 0 at the top
  int kind;
  int parent;                  // index in the list, -1 for a block
  int level;                   // 0 block, 1 line, 2 word
  int order;                   // among the zones that share its parent
};

inline const char* KindName(int kind) {
  static const char* const names[] = {"unknown", "text", "picture", "graphics", "table",
                                      "hrule", "vrule", "noise"};
  return kind >= 0 && kind <= kNoise ? names[kind] : "unknown";
}

// OUTDIR/NAME.json for the page PATH (its file name without the extension).
inline std::string JsonPathFor(const std::string& outdir, const std::string& path) {
  std::string name = path.substr(path.find_last_of('/') + 1);
  const size_t dot = name.find_last_of('.');
  if (dot != std::string::npos) name.resize(dot);
  return outdir + "/" + name + ".json";
}

// Writes the zones; "seconds" is the time the peer's own analysis took on this page.
inline bool WriteJson(const std::string& out, const std::string& file, int width, int height,
                      int dpi, double seconds, const std::vector<Zone>& zones) {
  FILE* f = std::fopen(out.c_str(), "w");
  if (!f) return false;
  std::fprintf(f, "{\"file\":\"%s\",\"width\":%d,\"height\":%d,\"dpi\":%d,\"seconds\":%.6f,"
               "\"zones\":[", file.c_str(), width, height, dpi, seconds);
  for (size_t i = 0; i < zones.size(); ++i) {
    const Zone& z = zones[i];
    std::fprintf(f, "%s\n{\"rect\":[%d,%d,%d,%d],\"kind\":\"%s\",\"parent\":%d,\"level\":%d,"
                 "\"order\":%d,\"confidence\":100}", i ? "," : "", z.l, z.t, z.r, z.b,
                 KindName(z.kind), z.parent, z.level, z.order);
  }
  std::fprintf(f, "]}\n");
  return std::fclose(f) == 0;
}

// The programs' loop: `PROGRAM OUTDIR PAGE...` reads each page (Leptonica reads the BMP and
// its resolution), calls analyse(pix, dpi, &seconds, &zones) and writes OUTDIR/<page>.json.
// Returns the exit code: 2 for bad usage, 1 when some page failed.
template <class Analyse>
int ForEachPage(int argc, char** argv, Analyse analyse) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s OUTDIR PAGE...\n", argv[0]);
    return 2;
  }
  int failures = 0;
  for (int i = 2; i < argc; ++i) {
    Pix* pix = pixRead(argv[i]);
    if (!pix) {
      std::fprintf(stderr, "cannot read %s\n", argv[i]);
      ++failures;
      continue;
    }
    const int dpi = pixGetXRes(pix) > 0 ? pixGetXRes(pix) : 300;
    double seconds = 0;
    std::vector<Zone> zones;
    if (!analyse(pix, dpi, &seconds, &zones) ||
        !WriteJson(JsonPathFor(argv[1], argv[i]), argv[i], pixGetWidth(pix),
                   pixGetHeight(pix), dpi, seconds, zones)) {
      std::fprintf(stderr, "cannot analyse %s or write its zones\n", argv[i]);
      ++failures;
    }
    pixDestroy(&pix);
  }
  return failures ? 1 : 0;
}

}  // namespace layout
