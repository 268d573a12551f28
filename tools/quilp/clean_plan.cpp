// clean_plan.cpp - expanding inputs and naming outputs for "quilp clean".
#include "quilp/clean_plan.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>

namespace quilp_cli {
namespace {

bool IsFolder(std::string const& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The image files of a folder, by name; hidden files (our temporary files among them) are left.
std::vector<std::string> ImagesIn(std::string const& folder) {
  std::vector<std::string> names;
  if (DIR* dir = opendir(folder.c_str())) {
    while (dirent const* e = readdir(dir)) {
      std::string const name = e->d_name;
      if (name.empty() || name[0] == '.' || FormatOfName(name) == ImageFormat::Unknown) continue;
      std::string const path = folder + (folder.back() == '/' ? "" : "/") + name;
      if (!IsFolder(path)) names.push_back(path);
    }
    closedir(dir);
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string Stem(std::string const& path) {
  std::size_t const slash = path.rfind('/');
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  std::size_t const dot = name.rfind('.');
  return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

char const* Extension(ImageFormat format) {
  switch (format) {
    case ImageFormat::Bmp: return ".bmp";
    case ImageFormat::Tiff: return ".tif";
    case ImageFormat::Jpeg: return ".jpg";
    case ImageFormat::Pnm: return ".pnm";
    default: return ".png";
  }
}

}  // namespace

bool Exists(std::string const& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}

bool SameFile(std::string const& a, std::string const& b) {
  struct stat sa, sb;
  return stat(a.c_str(), &sa) == 0 && stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev &&
         sa.st_ino == sb.st_ino;
}

CleanPlan PlanClean(std::vector<std::string> const& inputs, std::string const& out,
                    ImageFormat format, bool multipage) {
  CleanPlan plan;
  plan.multipage = multipage;
  for (std::string const& in : inputs) {
    std::vector<std::string> files;
    if (IsFolder(in)) {
      files = ImagesIn(in);
      if (files.empty()) {
        CleanJob job;
        job.input = in;
        job.error = "a folder without image files";
        plan.jobs.push_back(job);
      }
    } else {
      files.push_back(in);
    }
    for (std::string const& f : files) {
      CleanJob job;
      job.input = f;
      if (!Exists(f)) job.error = std::string("cannot open: ") + std::strerror(ENOENT);
      else job.pages = CountPages(f);
      plan.jobs.push_back(job);
    }
  }
  std::size_t files = 0;
  for (CleanJob const& job : plan.jobs) {
    if (!job.error.empty()) continue;
    plan.totalPages += job.pages;
    files += multipage ? 1 : std::size_t(job.pages);
  }
  bool const toFolder = files != 1 || IsFolder(out) || out.back() == '/';
  if (format == ImageFormat::Unknown) format = toFolder ? ImageFormat::Png : FormatOfName(out);
  if (format == ImageFormat::Unknown) format = ImageFormat::Png;
  if (multipage && format != ImageFormat::Tiff)
    throw CliError("--multipage writes TIFF files: name the output .tif or add --format tiff");
  plan.format = format;
  if (toFolder && !IsFolder(out) && mkdir(out.c_str(), 0777) != 0)
    throw CliError("cannot create the output folder '" + out + "': " + std::strerror(errno));
  std::string const folder = out.back() == '/' ? out : out + "/";
  std::set<std::string> named;
  for (CleanJob& job : plan.jobs) {
    if (!job.error.empty()) continue;
    std::string const stem = Stem(job.input);
    int const outputs = multipage ? 1 : job.pages;
    for (int p = 1; p <= outputs; ++p) {
      char suffix[16] = "";
      if (job.pages > 1 && !multipage) std::snprintf(suffix, sizeof suffix, "-p%03d", p);
      std::string const target = toFolder ? folder + stem + suffix + Extension(format) : out;
      if (!named.insert(target).second) job.error = "another input also writes '" + target + "'";
      job.targets.push_back(target);
    }
  }
  return plan;
}

}  // namespace quilp_cli
