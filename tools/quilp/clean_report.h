// clean_report.h - what "quilp clean" tells: a line per page, a progress bar on a terminal, a
// JSON report and the closing summary.
#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include "quilp/clean_pipeline.h"

namespace quilp_cli {

enum class PageStatus { Cleaned, Skipped, Failed };

struct PageOutcome {
  std::string input, output;
  int page = 1;                 // 1-based page of the input
  PageStatus status = PageStatus::Cleaned;
  std::string error;
  PageReport report;
};

// Collects outcomes from the workers; prints each line as it comes, keeps the progress bar up
// to date (on stderr, only when it is a terminal and not quieted).
class CleanLog {
 public:
  CleanLog(int totalPages, bool progress);
  void Add(PageOutcome outcome);
  // Clears the bar; returns the summary line.
  std::string Finish(bool interrupted);
  int Failed() const { return failed_; }
  std::string Json(bool interrupted) const;

 private:
  void DrawBar();
  std::mutex mutex_;
  std::vector<PageOutcome> outcomes_;
  int total_, done_ = 0, cleaned_ = 0, skipped_ = 0, failed_ = 0;
  bool progress_;
  std::chrono::steady_clock::time_point start_;
};

// "in.png p2 -> out/in-p002.png: upright, skew +1.20 deg (measured), 1 bit, 41 ms"
std::string DescribeOutcome(PageOutcome const& o);

}  // namespace quilp_cli
