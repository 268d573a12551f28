// clean_report.cpp - the per-page lines, the progress bar and the JSON report of "quilp clean".
#include "quilp/clean_report.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace quilp_cli {
namespace {

std::string JsonString(std::string const& s) {
  std::string out = "\"";
  for (unsigned char c : s) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += char(c);
    } else if (c < 0x20) {
      char esc[8];
      std::snprintf(esc, sizeof esc, "\\u%04x", c);
      out += esc;
    } else {
      out += char(c);
    }
  }
  return out + "\"";
}

char const* StatusWord(PageStatus s) {
  return s == PageStatus::Cleaned ? "cleaned" : s == PageStatus::Skipped ? "skipped" : "failed";
}

std::string Clock(double seconds) {
  int const s = int(seconds + 0.5);
  char text[32];
  std::snprintf(text, sizeof text, "%d:%02d", s / 60, s % 60);
  return text;
}

}  // namespace

std::string DescribeOutcome(PageOutcome const& o) {
  std::ostringstream line;
  line << o.input;
  if (o.page > 1 || o.output.find("-p0") != std::string::npos) line << " p" << o.page;
  if (o.status == PageStatus::Failed) return line.str() + ": failed: " + o.error;
  line << " -> " << o.output;
  if (o.status == PageStatus::Skipped) return line.str() + ": skipped (exists; --overwrite replaces it)";
  PageReport const& r = o.report;
  char text[64];
  line << ": ";
  if (r.orientChecked) line << (r.quarterTurns ? "turned " + std::to_string(90 * r.quarterTurns) + " deg" : "upright") << ", ";
  if (r.skewMeasured) {
    std::snprintf(text, sizeof text, "skew %+.2f deg %s, ", r.skewDegrees, r.deskewed ? "corrected" : "(measured)");
    line << text;
  }
  if (r.borderPixels) line << "border removed, ";
  if (r.holes) line << r.holes << (r.holes == 1 ? " hole" : " holes") << " removed, ";
  if (r.colourDropped) line << "colour dropped, ";
  if (r.flattened) line << "flattened, ";
  if (r.despeckled) line << "despeckled, ";
  std::snprintf(text, sizeof text, "%d bit%s, %.0f ms", r.outputBits, r.outputBits == 1 ? "" : "s", r.milliseconds);
  return line.str() + text;
}

CleanLog::CleanLog(int totalPages, bool progress)
    : total_(totalPages), progress_(progress), start_(std::chrono::steady_clock::now()) {}

void CleanLog::Add(PageOutcome outcome) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (progress_) std::fputs("\r\033[K", stderr);
  std::string const line = DescribeOutcome(outcome);
  if (outcome.status == PageStatus::Failed) {
    std::fprintf(stderr, "quilp clean: %s\n", line.c_str());
    ++failed_;
  } else {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
    ++(outcome.status == PageStatus::Skipped ? skipped_ : cleaned_);
  }
  ++done_;
  total_ = std::max(total_, done_);
  outcomes_.push_back(std::move(outcome));
  if (progress_) DrawBar();
}

void CleanLog::DrawBar() {
  constexpr int kWidth = 30;
  double const seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  double const rate = seconds > 0 ? done_ / seconds : 0.0;
  int const filled = total_ ? kWidth * done_ / total_ : kWidth;
  std::string const bar = std::string(std::size_t(filled), '#') + std::string(std::size_t(kWidth - filled), '.');
  std::string const left = rate > 0 ? Clock((total_ - done_) / rate) : "?";
  std::fprintf(stderr, "[%s] %d/%d pages  %.1f pages/s  %s left", bar.c_str(), done_, total_, rate, left.c_str());
  std::fflush(stderr);
}

std::string CleanLog::Finish(bool interrupted) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (progress_) std::fputs("\r\033[K", stderr);
  double const seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  char text[256];
  std::snprintf(text, sizeof text, "%scleaned %d page%s, skipped %d, failed %d in %.1f s (%.2f pages/s)",
                interrupted ? "interrupted: " : "", cleaned_, cleaned_ == 1 ? "" : "s", skipped_,
                failed_, seconds, seconds > 0 ? cleaned_ / seconds : 0.0);
  return text;
}

std::string CleanLog::Json(bool interrupted) const {
  std::vector<PageOutcome const*> sorted;
  for (PageOutcome const& o : outcomes_) sorted.push_back(&o);
  std::sort(sorted.begin(), sorted.end(), [](PageOutcome const* a, PageOutcome const* b) {
    return a->input != b->input ? a->input < b->input : a->page < b->page;
  });
  std::ostringstream j;
  j << "{\n  \"pages\": [";
  char const* sep = "\n";
  for (PageOutcome const* o : sorted) {
    PageReport const& r = o->report;
    j << sep << "    {\"input\": " << JsonString(o->input) << ", \"page\": " << o->page
      << ", \"output\": " << JsonString(o->output) << ", \"status\": \"" << StatusWord(o->status) << "\"";
    if (o->status == PageStatus::Failed) j << ", \"error\": " << JsonString(o->error);
    if (o->status == PageStatus::Cleaned) {
      char skew[32];
      std::snprintf(skew, sizeof skew, "%.4f", r.skewDegrees);
      j << ", \"quarterTurns\": " << r.quarterTurns << ", \"orientationChecked\": " << (r.orientChecked ? "true" : "false")
        << ", \"skewDegrees\": " << (r.skewMeasured ? skew : "null")
        << ", \"deskewed\": " << (r.deskewed ? "true" : "false") << ", \"borderPixels\": " << r.borderPixels
        << ", \"holes\": " << r.holes << ", \"colourDropped\": " << (r.colourDropped ? "true" : "false")
        << ", \"flattened\": " << (r.flattened ? "true" : "false")
        << ", \"despeckled\": " << (r.despeckled ? "true" : "false") << ", \"bits\": " << r.outputBits
        << ", \"milliseconds\": " << int(r.milliseconds + 0.5)
        << ", \"cpuMilliseconds\": " << int(r.cpuMilliseconds + 0.5);
    }
    j << "}";
    sep = ",\n";
  }
  j << "\n  ],\n  \"cleaned\": " << cleaned_ << ", \"skipped\": " << skipped_ << ", \"failed\": " << failed_
    << ", \"interrupted\": " << (interrupted ? "true" : "false") << "\n}\n";
  return j.str();
}

}  // namespace quilp_cli
