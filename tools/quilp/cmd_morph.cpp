// cmd_morph.cpp - "quilp morph" (structuring elements, top-hats, gradients), "quilp distance",
// "quilp skeleton", "quilp despeckle", "quilp squeeze", and the demo's despeckling step.
#include <cmath>
#include <cstdio>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

constexpr double kPi = 3.14159265358979323846;

std::map<std::string, int> const kOps = {
    {"erode", DibMorphErode},        {"dilate", DibMorphDilate},
    {"open", DibMorphOpen},          {"close", DibMorphClose},
    {"tophat", DibMorphTopHat},      {"bothat", DibMorphBotHat},
    {"hitmiss", DibMorphHitMiss},    {"gradient", DibMorphGradient},
    {"gradient-in", DibMorphGradientIn}, {"gradient-out", DibMorphGradientOut}};

void WriteResult(std::string const& path, DibInfo* made, char const* what) {
  if (!made) throw CliError(std::string(what) + " failed (out of memory?)");
  Dib owned(made);
  WriteBmp(path, owned.get());
  std::printf("wrote %s (%s)\n", path.c_str(), Describe(owned.get()).c_str());
}

Dib OneBit(std::string const& path, char const* command) {
  Dib image = ReadBmp(path);
  if (image->BitsPerPixel() != 1)
    throw CliError(std::string(command) + " needs a 1-bit image (quilp binarize makes one)");
  return image;
}

// --se rect:W,H | cross:N | disc:R | line:L,DEG | FILE (a 1-bit BMP, or a text pattern file)
struct Element {
  SDibMorphSetup setup{};
  Dib image;
  std::string pattern;
};

std::vector<int> Numbers(std::string const& text, std::size_t count, char const* what) {
  std::vector<std::string> const parts = SplitList(text, ',');
  if (parts.size() != count) throw CliError(std::string("--se ") + what);
  std::vector<int> out;
  for (std::string const& p : parts) out.push_back(ParseInt(p, "element size"));
  return out;
}

void ParseElement(std::string const& text, Element& e) {
  std::size_t const colon = text.find(':');
  std::string const kind = colon == std::string::npos ? "" : text.substr(0, colon);
  std::string const rest = colon == std::string::npos ? "" : text.substr(colon + 1);
  SDibMorphSetup& s = e.setup;
  if (kind == "rect") {
    std::vector<int> const n = Numbers(rest, 2, "rect:W,H takes two sizes");
    s.shape = DibShapeRect, s.hSize = n[0], s.vSize = n[1];
  } else if (kind == "cross") {
    s.shape = DibShapeCross, s.hSize = Numbers(rest, 1, "cross:N takes one arm length")[0];
  } else if (kind == "disc") {
    s.shape = DibShapeDisc, s.hSize = Numbers(rest, 1, "disc:R takes one radius")[0];
  } else if (kind == "line") {
    std::vector<std::string> const parts = SplitList(rest, ',');
    if (parts.size() != 2) throw CliError("--se line:L,DEG takes a length and an angle in degrees");
    s.shape = DibShapeLine, s.hSize = ParseInt(parts[0], "line length");
    s.angle = ParseDouble(parts[1], "line angle") * kPi / 180.0;
  } else {  // a file: a 1-bit BMP, or text rows of 1 (hit), 0 (miss) and . (neither)
    std::FILE* f = std::fopen(text.c_str(), "rb");
    if (!f) throw CliError("--se is rect:W,H, cross:N, disc:R, line:L,DEG or a file; cannot open " + text);
    char head[2] = {0, 0};
    std::size_t const got = std::fread(head, 1, 2, f);
    std::string body(head, got);
    if (!(got == 2 && head[0] == 'B' && head[1] == 'M')) {
      char buf[4096];
      for (std::size_t n; (n = std::fread(buf, 1, sizeof buf, f)) > 0;) body.append(buf, n);
    }
    std::fclose(f);
    if (got == 2 && head[0] == 'B' && head[1] == 'M') {
      e.image = OneBit(text, "an element image");
      s.shape = DibShapeImage, s.element = e.image.get();
    } else {
      e.pattern = body;
      s.shape = DibShapeText, s.pattern = e.pattern.c_str();
    }
  }
}

int RunMorph(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  auto const op = kOps.find(args.Get("op"));
  if (op == kOps.end())
    throw CliError("--op is erode, dilate, open, close, tophat, bothat, hitmiss, gradient, gradient-in or gradient-out");
  if (src->BitsPerPixel() != 1 && src->BitsPerPixel() != 8)
    throw CliError("morph needs a 1-bit or an 8-bit grey image");
  if (op->second == DibMorphHitMiss && src->BitsPerPixel() != 1) throw CliError("hitmiss needs a 1-bit image");
  if (!args.Has("se")) throw CliError("morph needs --se rect:W,H | cross:N | disc:R | line:L,DEG | FILE");
  Element e;
  ParseElement(args.Get("se"), e);
  e.setup.oper = op->second;
  tagRect32 rect;
  tagRect32 const* r = args.GetRect("rect", rect) ? &rect : nullptr;
  DibInfo* result = nullptr;
  int const code = DibMorphEx(result, src.get(), &e.setup, 0, nullptr, nullptr, r, nullptr);
  if (code == -1) throw CliError("morph refused the element or the area (sizes 1..4001, patterns of equal rows of 1, 0 and .)");
  if (code < 0) throw CliError("morph failed: out of memory");
  WriteResult(out, result, "morph");
  return 0;
}

int RunDistance(Args const& args) {
  Dib src = OneBit(args.Positional(0, "input file"), "distance");
  std::string const& out = args.Positional(1, "output file");
  std::map<std::string, int> const metrics = {{"euclid", DibMetricEuclid}, {"city", DibMetricCity}, {"chess", DibMetricChess}};
  auto const m = metrics.find(args.Get("metric", "euclid"));
  if (m == metrics.end()) throw CliError("--metric is euclid, city or chess");
  int const bits = args.GetInt("bits", 8);
  if (bits != 8 && bits != 32) throw CliError("--bits is 8 or 32");
  WriteResult(out, DibDistanceTransform(src.get(), m->second, bits, args.Has("paper") ? 1 : 0, nullptr), "distance");
  return 0;
}

int RunSkeleton(Args const& args) {
  Dib src = OneBit(args.Positional(0, "input file"), "skeleton");
  std::string const& out = args.Positional(1, "output file");
  if (args.Has("weak") && args.Has("medial")) throw CliError("choose one of --weak and --medial");
  DibInfo* made = args.Has("medial") ? DibSkeletize(src.get(), nullptr)
                  : args.Has("weak") ? DibSkeletWeak(src.get(), nullptr)
                                     : DibSkelet(src.get(), nullptr);
  WriteResult(out, made, "skeleton");
  return 0;
}

int RunDespeckle(Args const& args) {
  Dib src = OneBit(args.Positional(0, "input file"), "despeckle");
  std::string const& out = args.Positional(1, "output file");
  int const size = args.GetInt("size", 0), isolation = args.GetInt("isolation", 0);
  if (size < 0 || isolation < 0) throw CliError("--size and --isolation must be 0 (from the dpi) or more");
  WriteResult(out, DibCleanPimples(src.get(), size, isolation, nullptr), "despeckle");
  return 0;
}

int RunSqueeze(Args const& args) {
  Dib src = OneBit(args.Positional(0, "input file"), "squeeze");
  std::string const& out = args.Positional(1, "output file");
  int const level = args.GetInt("level", 1);
  if (level < 1 || level > 4) throw CliError("--level is 1 (any ink) .. 4 (all four pixels ink)");
  WriteResult(out, DibSqueeze(src.get(), level, nullptr), "squeeze");
  return 0;
}

// The page binarized, salted with specks and holes, and cleaned.
void DemoDespeckle(DemoContext& demo) {
  unsigned char const luma[3] = {29, 150, 77};
  Dib grey(DibRGB2Grey(demo.page, &luma, nullptr));
  if (!grey) return;
  Dib bits(DibBinarizeSimple(grey.get(), 150, false, nullptr));
  if (!bits) return;
  std::mt19937 rng(7);
  int const w = bits->Width(), h = bits->Height();
  for (int i = 0; i < w * h / 400; ++i) {  // single specks and holes
    int const x = int(rng() % unsigned(w)), y = int(rng() % unsigned(h));
    bits->GetLine(y)[x / 8] ^= uint8_t(0x80 >> (x % 8));
  }
  demo.Write("despeckle-noisy.bmp", bits.get(), "the page binarized with specks and holes added");
  Dib clean(DibCleanPimples(bits.get(), 0, 0, nullptr));
  if (clean) demo.Write("despeckle-clean.bmp", clean.get(), "the noisy page despeckled (speck size and reach from its dpi)");
  Dib skeleton(DibSkeletWeak(clean ? clean.get() : bits.get(), nullptr));
  if (skeleton) demo.Write("skeleton.bmp", skeleton.get(), "the clean page's skeleton");
}

Registrar const morph{Command{
    "morph",
    "morph IN.bmp OUT.bmp --op erode|dilate|open|close|tophat|bothat|hitmiss|gradient|gradient-in|gradient-out "
    "--se rect:W,H|cross:N|disc:R|line:L,DEG|FILE [--rect l,t,r,b]",
    "morphology by a structuring element (1-bit: white is the shape; 8-bit: grey levels)",
    {"op", "se", "rect"}, {}, RunMorph}};
Registrar const distance{Command{
    "distance", "distance IN.bmp OUT.bmp [--metric euclid|city|chess] [--bits 8|32] [--paper]",
    "distance of each ink pixel (--paper: paper pixel) to the other class; 32 bits: Euclid squared",
    {"metric", "bits"}, {"paper"}, RunDistance}};
Registrar const skeleton{Command{
    "skeleton", "skeleton IN.bmp OUT.bmp [--weak|--medial]",
    "one-pixel-wide skeleton of the ink; --weak keeps stroke length; --medial: 8-bit distances on it",
    {}, {"weak", "medial"}, RunSkeleton}};
Registrar const despeckle{Command{
    "despeckle", "despeckle IN.bmp OUT.bmp [--size N] [--isolation D]",
    "removes specks up to N pixels (isolated by D) and holes, bumps and notches; keeps punctuation",
    {"size", "isolation"}, {}, RunDespeckle}};
Registrar const squeeze{Command{
    "squeeze", "squeeze IN.bmp OUT.bmp --level 1..4",
    "halves a 1-bit image: ink where at least LEVEL of each 2 x 2 pixels are ink",
    {"level"}, {}, RunSqueeze}};
Registrar const despeckleDemo{DemoStep{65, "despeckle", DemoDespeckle}};

}  // namespace
}  // namespace quilp_cli
