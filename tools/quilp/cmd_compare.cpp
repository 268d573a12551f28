// cmd_compare.cpp - "quilp diff" and "quilp stats": image difference, variance and covariance,
// and their demo step.
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstdio>
#include <string>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

int Method(std::string const& name) {
  if (name == "abs" || name == "0") return 0;
  if (name == "over" || name == "1") return 1;
  throw CliError("--method is abs (absolute difference) or over (test above reference)");
}

SDibDifferSetup SetupFrom(Args const& args) {
  SDibDifferSetup s{-1, -1, Method(args.Get("method", "abs")), args.GetInt("offset", 0), 0, 0, 0};
  if (args.Has("offsets")) {
    std::vector<std::string> const parts = SplitList(args.Get("offsets"), ',');
    if (parts.size() != 3) throw CliError("--offsets wants blue,green,red");
    s.offset0 = ParseInt(parts[0], "blue offset");
    s.offset1 = ParseInt(parts[1], "green offset");
    s.offset2 = ParseInt(parts[2], "red offset");
  }
  if (args.Has("stop")) {
    std::string const text = args.Get("stop");
    errno = 0;
    char* end = nullptr;
    long long const limit = std::strtoll(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno == ERANGE)
      throw CliError("bad number for --stop: '" + text + "'");
    s.stopLimitLow = int32_t(uint32_t(uint64_t(limit)));
    s.stopLimitHigh = int32_t(uint32_t(uint64_t(limit) >> 32));
  }
  return s;
}

int RunDiff(Args const& args) {
  Dib test = ReadBmp(args.Positional(0, "test image"));
  Dib ref = ReadBmp(args.Positional(1, "reference image"));
  if (test->BitsPerPixel() != ref->BitsPerPixel() ||
      (test->BitsPerPixel() != 8 && test->BitsPerPixel() != 24))
    throw CliError("diff needs two images of the same depth, 8 or 24 bits");
  SDibDifferSetup const setup = SetupFrom(args);
  tagRect32 tr, er;
  tagRect32* t = args.GetRect("test-rect", tr) ? &tr : nullptr;
  tagRect32* e = args.GetRect("ref-rect", er) ? &er : nullptr;
  if (args.PositionalCount() < 3) {
    int64_t const sum = DibDiffer(test.get(), ref.get(), t, e, setup);
    if (sum < 0) throw CliError("the reference region is larger than the test region");
    std::printf("%lld\n", static_cast<long long>(sum));
    return 0;
  }
  std::string const& out = args.Positional(2, "output file");
  DibInfo* made = nullptr;
  int const code = DibDiffer(made, test.get(), ref.get(), t, e, setup);
  Dib result(made);
  if (code == 0) throw CliError("the reference region is larger than the test region");
  if (code < 0) throw CliError("the difference image could not be made");
  WriteBmp(out, result.get());
  std::printf("wrote %s (%s)\n", out.c_str(), Describe(result.get()).c_str());
  return 0;
}

std::string Number(double v) {
  if (std::isnan(v)) return "not a number";
  char text[64];
  std::snprintf(text, sizeof text, "%.6g", v);
  return text;
}

void PrintStatistic(char const* name, DibInfo const* dib, double const r[3]) {
  if (std::isnan(r[0])) std::printf("(the zone has fewer than two pixels)\n");
  if (dib->BitsPerPixel() == 8) {
    std::printf("%s: %s\n", name, Number(r[0]).c_str());
  } else {
    std::printf("%s: blue %s, green %s, red %s\n", name, Number(r[0]).c_str(),
                Number(r[1]).c_str(), Number(r[2]).c_str());
  }
}

int RunStats(Args const& args) {
  Dib a = ReadBmp(args.Positional(0, "input file"));
  if (a->BitsPerPixel() != 8 && a->BitsPerPixel() != 24)
    throw CliError("stats needs an 8-bit or 24-bit image");
  tagRect32 ra, rb;
  tagRect32* r1 = args.GetRect("rect", ra) ? &ra : nullptr;
  tagRect32* r2 = args.GetRect("rect2", rb) ? &rb : nullptr;
  // The second image is checked before anything is printed, so a failure prints nothing else.
  Dib b;
  if (args.PositionalCount() > 1) {
    b = ReadBmp(args.Positional(1, "second image"));
    if (b->BitsPerPixel() != a->BitsPerPixel())
      throw CliError("covariance needs two images of the same depth");
  }
  double result[3];
  DibComputeVariance(a.get(), r1, result);
  PrintStatistic("variance", a.get(), result);
  if (b) {
    if (!DibComputeCovariance(a.get(), r1, b.get(), r2 ? r2 : r1, result))
      throw CliError("covariance needs rectangles of the same size inside both images");
    PrintStatistic("covariance", a.get(), result);
  }
  return 0;
}

void DemoCompare(DemoContext& demo) {
  Dib grey(DibRGB2Grey(demo.page, nullptr, nullptr));
  if (!grey) return;
  // A "rescan": the same page moved 2 pixels right and 1 down.
  Dib moved(DibCreate(grey.get(), 0));
  DibInfo* m = moved.get();
  tagPoint32 const by{2, 1};
  tagRect32 const kept{0, 0, grey->Width() - 3, grey->Height() - 2};
  if (DibCopyZoneEx(m, grey.get(), 0, nullptr, nullptr, &kept, &by) != 0) return;
  SDibDifferSetup const absolute{-1, -1, 0, 0, 0, 0, 0};
  DibInfo* diff = nullptr;
  if (DibDiffer(diff, moved.get(), grey.get(), nullptr, nullptr, absolute) == 1) {
    Dib d(diff);
    demo.Write("difference.bmp", diff, "page against itself moved by (2, 1): the edges light up");
  } else {
    DibFree(diff);
  }
  int64_t const sum = DibDiffer(moved.get(), grey.get(), nullptr, nullptr, absolute);
  demo.Say("sum of differences, moved page against page: " + std::to_string(sum));
  double v[3], c[3];
  tagRect32 const text{100, 400, 700, 700};
  tagRect32 zone = text;
  if (DibComputeVariance(grey.get(), &zone, v) &&
      DibComputeCovariance(grey.get(), &zone, moved.get(), &zone, c))
    demo.Say("grey variance of a text zone " + Number(v[0]) + ", covariance with the moved page " +
             Number(c[0]));
}

Registrar const diff{Command{
    "diff",
    "diff TEST.bmp REF.bmp [OUT.bmp] [--method abs|over] [--offset N] [--offsets b,g,r] "
    "[--stop N] [--test-rect l,t,r,b] [--ref-rect l,t,r,b]",
    "difference image (with OUT) or the sum of differences (stopping above --stop)",
    {"method", "offset", "offsets", "stop", "test-rect", "ref-rect"}, {}, RunDiff}};
Registrar const stats{Command{
    "stats", "stats IN.bmp [IN2.bmp] [--rect l,t,r,b] [--rect2 l,t,r,b]",
    "sample variance of a zone; with a second image, the covariance of two zones",
    {"rect", "rect2"}, {}, RunStats}};
Registrar const compareDemo{DemoStep{80, "comparison", DemoCompare}};

}  // namespace
}  // namespace quilp_cli
