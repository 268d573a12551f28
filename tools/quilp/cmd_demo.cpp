// cmd_demo.cpp - "quilp demo": draws the sample page and runs every demo step on it.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <sys/stat.h>

#include "pages/page_maker.h"
#include "quilp/cli.h"

namespace quilp_cli {
namespace {

constexpr double kDemoSkewDegrees = 1.5;

int RunDemo(Args const& args) {
  std::string const folder = args.PositionalCount() > 0 ? args.Positional(0, "folder") : "quilp-demo";
  if (mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST)
    throw CliError("cannot create folder '" + folder + "'");
  quilp_pages::PageSpec layout;
  layout.width = 1654;  // A4 at 200 dpi
  layout.height = 2339;
  layout.dpi = 200;
  layout.skewDegrees = kDemoSkewDegrees;
  layout.noise = 12;
  layout.unevenness = 0.3;
  Dib page(quilp_pages::MakePage(layout));
  if (!page) throw CliError("out of memory drawing the page");
  DemoContext demo;
  demo.folder = folder;
  demo.page = page.get();
  demo.drawnSkewDegrees = kDemoSkewDegrees;
  demo.Write("page.bmp", page.get(), "the sample page, drawn skewed by 1.5 degrees");
  std::vector<DemoStep> steps = DemoSteps();
  std::stable_sort(steps.begin(), steps.end(),
                   [](DemoStep const& a, DemoStep const& b) { return a.order < b.order; });
  for (DemoStep const& step : steps) step.run(demo);
  for (std::string const& line : demo.report) std::printf("%s\n", line.c_str());
  return 0;
}

Registrar const demo{Command{"demo", "demo [FOLDER]",
                             "draws a sample page and writes every operation's result (default folder quilp-demo)",
                             {}, {}, RunDemo}};

}  // namespace
}  // namespace quilp_cli
