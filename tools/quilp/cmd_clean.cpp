// cmd_clean.cpp - "quilp clean": scans in, clean pages out. The pages of all inputs are shared
// out one by one to a pool of worker threads (the library is re-entrant and starts none of its
// own); each worker reads a page (of a multi-page TIFF only that page), cleans it and writes
// the result through a temporary file renamed when complete, so a worker holds about one
// page. A bad file or page gives one line and the batch goes on. Ctrl-C lets the pages in
// hand finish and stops; a second Ctrl-C ends the process at once (no output is ever
// half-written).
#include <unistd.h>

#include <atomic>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <mutex>
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

// One page of work: page `index` (from 0) of plan job `job`.
struct PageTask {
  std::size_t job;
  int index;
};

// What the pages of one input share while workers clean them: whether the input may be
// written at all (decided by the first of its pages taken) and, for a multi-page output, the
// cleaned pages gathered until the last is done.
struct JobState {
  std::mutex mutex;
  bool checked = false, allSkipped = false;
  std::string refusal;
  std::vector<Dib> cleaned;
  std::vector<PageOutcome> outcomes;
  int finished = 0;
};

// Decides once per input whether its targets may be written (under the job's lock).
void CheckTargets(CleanJob const& job, CleanOptions const& o, JobState& state) {
  if (state.checked) return;
  state.checked = true;
  state.allSkipped = true;
  for (std::string const& t : job.targets) {
    bool skip = false;
    state.refusal = Refusal(job, t, o.overwrite, skip);
    if (!state.refusal.empty()) return;
    state.allSkipped = state.allSkipped && skip;
  }
}

// The error of a read without the file's name, which the page's line gives already.
std::string WithoutName(CleanJob const& job, std::string why) {
  if (why.compare(0, job.input.size() + 4, "'" + job.input + "': ") == 0) why = why.substr(job.input.size() + 4);
  return why;
}

// Writes a multi-page output once its last page is in (called by the worker that finished it).
void WriteGathered(CleanJob const& job, CleanOptions const& o, JobState& state, CleanLog& log) {
  try {
    for (Dib const& d : state.cleaned)
      if (!d) throw CliError("not every page could be cleaned");
    std::vector<DibInfo const*> all;
    for (Dib const& d : state.cleaned) all.push_back(d.get());
    WritePages(job.targets[0], all, ImageFormat::Tiff, o.encode);
    for (PageOutcome& out : state.outcomes) log.Add(out);
  } catch (CliError const& e) {
    for (PageOutcome& out : state.outcomes)
      log.Add(out.status == PageStatus::Failed ? out : Outcome(job, out.page, PageStatus::Failed, e.what()));
  }
  state.cleaned.clear();
}

// Reads, cleans and writes one page. A multi-page input's pages are decoded one at a time, so
// they spread over the workers and each holds only the page in hand.
void RunPage(CleanJob const& job, int index, CleanOptions const& o, JobState& state, CleanLog& log) {
  int const number = index + 1;
  if (!job.error.empty()) return log.Add(Outcome(job, number, PageStatus::Failed, job.error));
  {
    std::lock_guard<std::mutex> lock(state.mutex);
    CheckTargets(job, o, state);
  }
  if (!state.refusal.empty()) return log.Add(Outcome(job, number, PageStatus::Failed, state.refusal));
  if (state.allSkipped) return log.Add(Outcome(job, number, PageStatus::Skipped));
  PageOutcome out = Outcome(job, number, PageStatus::Cleaned);
  Dib clean;
  try {
    Dib page = ReadPage(job.input, index);
    clean = CleanPage(page.get(), o.settings, out.report);
    if (!o.plan.multipage) {
      bool skip = false;
      Refusal(job, out.output, o.overwrite, skip);
      if (skip) return log.Add(Outcome(job, number, PageStatus::Skipped));
      WritePages(out.output, {clean.get()}, o.plan.format, o.encode);
      return log.Add(out);
    }
  } catch (CliError const& e) {
    out = Outcome(job, number, PageStatus::Failed, WithoutName(job, e.what()));
    if (!o.plan.multipage) return log.Add(out);
  }
  std::lock_guard<std::mutex> lock(state.mutex);
  state.cleaned.resize(std::size_t(job.pages));
  state.cleaned[std::size_t(index)] = std::move(clean);
  state.outcomes.push_back(out);
  if (++state.finished == job.pages) {
    std::sort(state.outcomes.begin(), state.outcomes.end(),
              [](PageOutcome const& a, PageOutcome const& b) { return a.page < b.page; });
    WriteGathered(job, o, state, log);
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
  // Every page of every input is a task of its own, taken in order by whichever worker is free.
  std::vector<PageTask> tasks;
  for (std::size_t j = 0; j < o.plan.jobs.size(); ++j)
    for (int p = 0; p < std::max(1, o.plan.jobs[j].pages); ++p) tasks.push_back(PageTask{j, p});
  std::vector<JobState> states(o.plan.jobs.size());
  std::atomic<std::size_t> next{0};
  auto worker = [&] {
    for (std::size_t i; !gStop.load() && (i = next++) < tasks.size();)
      RunPage(o.plan.jobs[tasks[i].job], tasks[i].index, o, states[tasks[i].job], log);
  };
  std::vector<std::thread> pool;
  int const threads = std::min<int>(jobs, int(std::max<std::size_t>(1, tasks.size())));
  for (int t = 1; t < threads; ++t) pool.emplace_back(worker);
  worker();
  for (std::thread& t : pool) t.join();
  sigaction(SIGINT, &previous, nullptr);
  for (std::size_t j = 0; j < states.size(); ++j)  // multi-page outputs cut short by Ctrl-C
    for (PageOutcome const& out : states[j].outcomes)
      if (states[j].finished < o.plan.jobs[j].pages)
        log.Add(Outcome(o.plan.jobs[j], out.page, PageStatus::Failed, "interrupted before the last page"));

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
