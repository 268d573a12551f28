// clean_plan.h - what "quilp clean" will read and write: inputs expanded, pages counted, every
// output named before any page is cleaned.
#pragma once

#include <string>
#include <vector>

#include "quilp/image_formats.h"

namespace quilp_cli {

// One input file and where its pages go.
struct CleanJob {
  std::string input;
  int pages = 1;                     // counted before reading (TIFF directories)
  std::vector<std::string> targets;  // one per page, or one for a multi-page output
  std::string error;                 // set when the job cannot run (reported as failed)
};

struct CleanPlan {
  std::vector<CleanJob> jobs;
  ImageFormat format = ImageFormat::Png;
  bool multipage = false;            // each input's pages make one TIFF file
  int totalPages = 0;
};

// Expands folders (their image files, sorted by name), counts pages and names the outputs:
// OUT is a file when the whole run writes one file, otherwise a folder (created). Outputs keep
// the input's stem; pages of a multi-page input get -p001, -p002, ... `format` Unknown means
// the OUT file's extension, or PNG for a folder. Throws CliError when OUT cannot be used.
CleanPlan PlanClean(std::vector<std::string> const& inputs, std::string const& out,
                    ImageFormat format, bool multipage);

// True when `a` and `b` are the same existing file (the same device and inode).
bool SameFile(std::string const& a, std::string const& b);
bool Exists(std::string const& path);

}  // namespace quilp_cli
