// cmd_clean.cpp - "quilp clean": scans in, clean pages out. Input files are shared out to a pool
// of worker threads (the library is re-entrant and starts none of its own); each worker reads a
// file, cleans its pages and writes every result through a temporary file renamed when
// complete. A bad file gives one line and the batch goes on. Ctrl-C lets the pages in hand
// finish and stops; a second Ctrl-C ends the process at once (no output is ever half-written).
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <thread>

#include "quilp/clean_plan.h"
#include "quilp/clean_report.h"

namespace quilp_cli {
namespace {

std::atomic<bool> gStop{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the signal handler needs a lock-free flag");

extern "C" void OnInterrupt(int) { gStop.store(true); }

struct CleanOptions {
  CleanSettings settings;
  CleanPlan plan;
  EncodeOptions encode;
  bool overwrite = false;
};

// The outcome of a page that is not cleaned.
PageOutcome Outcome(CleanJob const& job, int page, PageStatus status, std::string error = "") {
  PageOutcome o;
  o.input = job.input;
  o.page = page;
  o.output = job.targets.empty() ? "" : job.targets[std::size_t(page - 1) < job.targets.size() ? page - 1 : 0];
  o.status = status;
  o.error = std::move(error);
  return o;
}

// Why a target must not be written, or "" when it may; sets `skip` for existing outputs.
std::string Refusal(CleanJob const& job, std::string const& target, bool overwrite, bool& skip) {
  skip = false;
  if (!Exists(target)) return "";
  if (SameFile(target, job.input)) return "the output '" + target + "' is the input itself; it is never overwritten";
  skip = !overwrite;
  return "";
}

void RunJob(CleanJob const& job, CleanOptions const& o, CleanLog& log) {
  if (!job.error.empty()) {
    for (int p = 1; p <= std::max(1, job.pages); ++p) log.Add(Outcome(job, p, PageStatus::Failed, job.error));
    return;
  }
  bool allSkipped = true;
  for (std::string const& t : job.targets) {
    bool skip = false;
    std::string const why = Refusal(job, t, o.overwrite, skip);
    if (!why.empty()) {
      for (int p = 1; p <= job.pages; ++p) log.Add(Outcome(job, p, PageStatus::Failed, why));
      return;
    }
    allSkipped = allSkipped && skip;
  }
  if (allSkipped) {
    for (int p = 1; p <= job.pages; ++p) log.Add(Outcome(job, p, PageStatus::Skipped));
    return;
  }
  std::vector<Dib> pages;
  try {
    pages = ReadPages(job.input);
  } catch (CliError const& e) {
    std::string why = e.what();
    if (why.compare(0, job.input.size() + 4, "'" + job.input + "': ") == 0) why = why.substr(job.input.size() + 4);
    log.Add(Outcome(job, 1, PageStatus::Failed, why));
    return;
  }
  std::vector<Dib> cleaned;
  std::vector<PageOutcome> outcomes;
  for (std::size_t i = 0; i < pages.size() && !gStop.load(); ++i) {
    int const number = int(i) + 1;
    PageOutcome out = Outcome(job, number, PageStatus::Cleaned);
    if (!o.plan.multipage && i >= job.targets.size()) {
      log.Add(Outcome(job, number, PageStatus::Failed, "more pages than counted; run again"));
      continue;
    }
    try {
      Dib clean = CleanPage(pages[i].get(), o.settings, out.report);
      pages[i].reset();
      if (o.plan.multipage) {
        cleaned.push_back(std::move(clean));
        outcomes.push_back(out);
        continue;
      }
      bool skip = false;
      Refusal(job, out.output, o.overwrite, skip);
      if (skip) {
        log.Add(Outcome(job, number, PageStatus::Skipped));
        continue;
      }
      WritePages(out.output, {clean.get()}, o.plan.format, o.encode);
      log.Add(out);
    } catch (CliError const& e) {
      log.Add(Outcome(job, number, PageStatus::Failed, e.what()));
    }
  }
  if (!o.plan.multipage || outcomes.empty()) return;
  try {
    if (outcomes.size() != pages.size()) throw CliError("interrupted before the last page");
    std::vector<DibInfo const*> all;
    for (Dib const& d : cleaned) all.push_back(d.get());
    WritePages(job.targets[0], all, ImageFormat::Tiff, o.encode);
    for (PageOutcome& out : outcomes) log.Add(out);
  } catch (CliError const& e) {
    for (PageOutcome& out : outcomes) log.Add(Outcome(job, out.page, PageStatus::Failed, e.what()));
  }
}

std::string HelpText() {
  std::string text =
      "clean IN... -o OUT: cleans scanned pages for reading and OCR. IN: files, folders (their image\n"
      "files, sorted) or multi-page TIFFs. OUT: a file when one page is written, else a folder\n"
      "(created); names keep the input's stem, pages of a multi-page input get -p001, ...\n"
      "Steps: upright, deskew, border and punch-hole removal, paper flattening, binarization (or\n"
      "--grey, --keep-colour, --auto-depth), despeckling. Switch steps off with --no-orient,\n"
      "--no-deskew, --no-margins, --no-flatten, --no-despeckle. Colour pages are worked on in a grey\n"
      "where coloured ink (stamps, coloured pen, highlighter) turns light and black text stays\n"
      "dark; --no-dropout keeps coloured ink as dark as its plain grey (--keep-colour output keeps\n"
      "its colours either way).\n"
      "Options: --jobs N (default: the cores), --format bmp|png|tiff|jpeg|pnm, --multipage (one TIFF\n"
      "per input), --tiff-lzw, --jpeg-quality Q, --overwrite (else existing outputs are skipped),\n"
      "--report FILE.json, --quiet (no progress bar).\n"
      "Pages larger than 150 million pixels are refused (QUILP_MAX_PIXELS raises the cap).";
  return text;
}

int RunClean(Args const& args) {
  if (args.Has("help")) {
    std::printf("usage: quilp %s\n", HelpText().c_str());
    return 0;
  }
  std::vector<std::string> inputs;
  std::string out = args.Get("output");
  for (std::size_t i = 0; i < args.PositionalCount(); ++i) {
    std::string const& word = args.Positional(i, "input");
    if (word == "-o") {
      out = args.Positional(++i, "output after -o");
      continue;
    }
    inputs.push_back(word);
  }
  if (inputs.empty()) throw CliError("missing input files or folders");
  if (out.empty()) throw CliError("missing output: -o OUT");
  CleanOptions o;
  CleanSettings& s = o.settings;
  s.orient = !args.Has("no-orient");
  s.deskew = !args.Has("no-deskew");
  s.margins = !args.Has("no-margins");
  s.flatten = !args.Has("no-flatten");
  s.despeckle = !args.Has("no-despeckle");
  s.dropout = !args.Has("no-dropout");
  int const depthFlags = args.Has("grey") + args.Has("keep-colour") + args.Has("auto-depth");
  if (depthFlags > 1) throw CliError("choose one of --grey, --keep-colour and --auto-depth");
  s.depth = args.Has("grey") ? OutputDepth::Grey : args.Has("keep-colour") ? OutputDepth::Colour
            : args.Has("auto-depth") ? OutputDepth::Auto : OutputDepth::Binary;
  ImageFormat format = ImageFormat::Unknown;
  if (args.Has("format") && (format = FormatOfWord(args.Get("format"))) == ImageFormat::Unknown)
    throw CliError("unknown --format '" + args.Get("format") + "' (bmp, png, tiff, jpeg or pnm)");
  o.encode.tiffLzw = args.Has("tiff-lzw");
  o.encode.jpegQuality = args.GetInt("jpeg-quality", 90);
  if (o.encode.jpegQuality < 1 || o.encode.jpegQuality > 100) throw CliError("--jpeg-quality is 1..100");
  o.overwrite = args.Has("overwrite");
  unsigned const cores = std::max(1u, std::thread::hardware_concurrency());
  int const jobs = args.GetInt("jobs", int(cores));
  if (jobs < 1 || jobs > 256) throw CliError("--jobs is 1..256");
  gSayAssumedResolution.store(true);
  o.plan = PlanClean(inputs, out, format, args.Has("multipage"));

  gStop.store(false);
  struct sigaction action = {};
  action.sa_handler = OnInterrupt;
  action.sa_flags = SA_RESETHAND;  // a second Ctrl-C ends the process
  sigemptyset(&action.sa_mask);
  struct sigaction previous = {};
  sigaction(SIGINT, &action, &previous);

  CleanLog log(o.plan.totalPages, !args.Has("quiet") && isatty(STDERR_FILENO));
  std::atomic<std::size_t> next{0};
  auto worker = [&] {
    for (std::size_t i; !gStop.load() && (i = next++) < o.plan.jobs.size();) RunJob(o.plan.jobs[i], o, log);
  };
  std::vector<std::thread> pool;
  int const threads = std::min<int>(jobs, int(std::max<std::size_t>(1, o.plan.jobs.size())));
  for (int t = 1; t < threads; ++t) pool.emplace_back(worker);
  worker();
  for (std::thread& t : pool) t.join();
  sigaction(SIGINT, &previous, nullptr);

  bool const interrupted = gStop.load();
  std::string const summary = log.Finish(interrupted);
  if (args.Has("report")) {
    std::string const json = log.Json(interrupted);
    WriteFileAtomically(args.Get("report"), std::vector<unsigned char>(json.begin(), json.end()));
  }
  std::fprintf(log.Failed() || interrupted ? stderr : stdout, "%s\n", summary.c_str());
  return interrupted ? 130 : log.Failed() ? 1 : 0;
}

Registrar const clean{Command{
    "clean", "clean IN... -o OUT [--grey|--keep-colour|--auto-depth] [--jobs N] ...",
    "cleans scanned pages: upright, straight, no borders, flat paper, 1-bit (clean --help)",
    {"output", "jobs", "format", "report", "jpeg-quality"},
    {"help", "no-orient", "no-deskew", "no-margins", "no-flatten", "no-despeckle", "no-dropout", "grey", "keep-colour",
     "auto-depth", "overwrite", "quiet", "multipage", "tiff-lzw"},
    RunClean}};

}  // namespace
}  // namespace quilp_cli
