// cmd_filter.cpp - "quilp filter" (the grey filters) and "quilp erode-dilate", with their demo
// step.
#include <cmath>
#include <cstdio>
#include <map>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

// The operation codes behind --op.
std::map<std::string, int> const kOps = {
    {"min", 258},   {"max", 259},   {"open", 260},    {"close", 261},   {"reduce", 262},
    {"gain", 263},  {"gamma", 264}, {"smooth", 265},  {"local", 266},   {"flatten", 267},
    {"negative", 268}};

char const* Meaning(int code) {
  switch (code) {
    case -1: return "invalid argument";
    case -2: return "the operation failed";
    case -3: return "out of memory";
    case -4: return "not provided (window sizes must be odd)";
    default: return "failure";
  }
}

int Fixed256(double v, char const* what) {
  double const scaled = std::floor(v * 256.0 + 0.5);
  if (!(scaled >= -2147483648.0 && scaled <= 2147483647.0))
    throw CliError(std::string(what) + " is out of range");
  return static_cast<int>(scaled);
}

// The positional arguments of an operation from the options.
void OpArguments(std::string const& op, Args const& args, int& p1, int& p2, int& p3) {
  p1 = p2 = p3 = 0;
  if (op == "min" || op == "max" || op == "open" || op == "close") {
    int const size = args.GetInt("size", 3);
    p2 = args.GetInt("hsize", size);
    p3 = args.GetInt("vsize", size);
  } else if (op == "gain") {
    p1 = Fixed256(args.GetDouble("gain", 1.0), "--gain");
    p2 = Fixed256(args.GetDouble("offset", 0.0), "--offset");
  } else if (op == "gamma") {
    p3 = Fixed256(args.GetDouble("gamma", 1.0), "--gamma");
  } else if (op == "smooth") {
    // Each value is checked under the name the user gave it.
    char const* const hName = args.Has("hsigma") ? "--hsigma" : "--sigma";
    char const* const vName = args.Has("vsigma") ? "--vsigma" : "--sigma";
    double const sigma = args.GetDouble("sigma", 1.0);
    p1 = Fixed256(args.GetDouble("hsigma", sigma), hName);
    p2 = Fixed256(args.GetDouble("vsigma", sigma), vName);
  } else if (op == "local") {
    p1 = p2 = args.GetInt("window", 31);
  } else if (op == "flatten") {
    p1 = args.GetInt("window", 0);
  } else if (op == "reduce") {
    if (!args.Has("dpi") && !args.Has("percent"))
      throw CliError("reduce needs --dpi N (target resolution) or --percent P (factor P/100)");
    p1 = p2 = args.GetInt("dpi", 0);
    p3 = args.GetInt("percent", 0);
  }
}

int RunFilter(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  std::string const op = args.Get("op");
  auto const it = kOps.find(op);
  if (it == kOps.end())
    throw CliError("--op is min, max, open, close, gain, gamma, smooth, local, flatten, reduce or negative");
  if (op != "reduce" && src->BitsPerPixel() != 8)
    throw CliError("filter --op " + op + " needs an 8-bit grey image (quilp grey makes one)");
  int p1, p2, p3;
  OpArguments(op, args, p1, p2, p3);
  tagRect32 rect;
  tagRect32 const* r = args.GetRect("rect", rect) ? &rect : nullptr;
  DibInfo* result = nullptr;
  int const code = DibFilterGreyEx(result, src.get(), it->second, p1, p2, p3, 0, nullptr, nullptr, r);
  if (code < 0)
    throw CliError("filter --op " + op + " failed: " + Meaning(code) + " (code " + std::to_string(code) + ")");
  Dib made(result);
  WriteBmp(out, made.get());
  std::printf("wrote %s (%s)\n", out.c_str(), Describe(made.get()).c_str());
  return 0;
}

int RunErodeDilate(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  if (src->BitsPerPixel() != 1)
    throw CliError("erode-dilate needs a 1-bit image");
  if (!args.Has("amount")) throw CliError("erode-dilate needs --amount N (-127..32)");
  int const amount = args.GetInt("amount", 0);
  if (amount < -127 || amount > 32) throw CliError("--amount must lie in -127..32");
  tagRect32 rect;
  tagRect32* r = args.GetRect("rect", rect) ? &rect : nullptr;
  DibInfo* result = nullptr;
  if (!DibErodeDilate(result, src.get(), amount, r)) throw CliError("erode-dilate failed (out of memory?)");
  Dib made(result);
  WriteBmp(out, made.get());
  std::printf("wrote %s (%s)\n", out.c_str(), Describe(made.get()).c_str());
  return 0;
}

void DemoFilters(DemoContext& demo) {
  unsigned char const luma[3] = {29, 150, 77};
  Dib grey(DibRGB2Grey(demo.page, &luma, nullptr));
  if (!grey) return;
  struct Step {
    char const* file;
    int oper, p1, p2, p3;
    char const* what;
  } const steps[] = {
      {"filter-min5.bmp", 258, 0, 5, 5, "grey minimum over 5 x 5 (strokes thicken)"},
      {"filter-open9.bmp", 260, 0, 9, 9, "grey opening over 9 x 9 (thin light details go)"},
      {"filter-flatten.bmp", 267, 0, 0, 0, "uneven illumination flattened to white paper"},
      {"filter-local.bmp", 266, 31, 31, 0, "local contrast normalisation over 31 x 31"},
      {"filter-smooth.bmp", 265, 512, 512, 0, "Gaussian smoothing, sigma 2 pixels"},
      {"filter-reduce.bmp", 262, 100, 100, 0, "reduced to 100 dpi by area averaging"},
  };
  for (Step const& s : steps) {
    DibInfo* out = nullptr;
    if (DibFilterGreyEx(out, grey.get(), s.oper, s.p1, s.p2, s.p3, 0, nullptr, nullptr, nullptr) < 0) continue;
    Dib made(out);
    demo.Write(s.file, made.get(), s.what);
  }
  Dib bits(DibBinarizeSimple(grey.get(), 150, false, nullptr));
  if (!bits) return;
  demo.Write("bits.bmp", bits.get(), "the grey page thresholded at 150");
  for (int amount : {1, -2}) {
    DibInfo* out = nullptr;
    if (!DibErodeDilate(out, bits.get(), amount, nullptr)) continue;
    Dib made(out);
    demo.Write(amount > 0 ? "bits-thicker.bmp" : "bits-thinner.bmp", made.get(),
               amount > 0 ? "strokes thickened by 2 pixels (amount 1)"
                          : "strokes thinned by a pixel (amount -2)");
  }
}

Registrar const filter{Command{
    "filter",
    "filter IN.bmp OUT.bmp --op min|max|open|close|gain|gamma|smooth|local|flatten|reduce|negative "
    "[--size N | --hsize N --vsize N] [--gain G --offset O] [--gamma E] [--sigma S] [--window N] "
    "[--dpi N | --percent P] [--rect l,t,r,b]",
    "grey filters: windows (odd sizes), level maps, smoothing, local contrast, flattening, reduction",
    {"op", "size", "hsize", "vsize", "gain", "offset", "gamma", "sigma", "hsigma", "vsigma",
     "window", "dpi", "percent", "rect"},
    {},
    RunFilter}};
Registrar const erodeDilate{Command{
    "erode-dilate", "erode-dilate IN.bmp OUT.bmp --amount N [--rect l,t,r,b]",
    "1-bit: amount > 0 shrinks the set (white) pixels by 2N pixels, < 0 grows them by -N/2",
    {"amount", "rect"}, {}, RunErodeDilate}};
Registrar const filterDemo{DemoStep{60, "filters", DemoFilters}};

}  // namespace
}  // namespace quilp_cli
