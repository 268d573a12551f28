// cli.h - the quilp tool's shared parts: argument reading, errors, the command and demo
// registries, and image file input and output.
//
// Each cmd_*.cpp registers its subcommands (and its demo steps) with a static Registrar, so a
// new operation family adds one file and touches nothing else.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "quilp32.h"

namespace quilp_cli {

// Any failure the user should read: printed as "quilp: <message>", exit status 1.
struct CliError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Owns a record.
struct DibDeleter {
  void operator()(DibInfo* dib) const { DibFree(dib); }
};
using Dib = std::unique_ptr<DibInfo, DibDeleter>;

// Positional arguments and --options: "--name value" (or --name=value) for the valued ones,
// "--name" for flags; any other option is an error.
class Args {
 public:
  Args(std::vector<std::string> const& words, std::vector<std::string> const& valued,
       std::vector<std::string> const& flags);
  std::string const& Positional(std::size_t i, char const* what) const;
  std::size_t PositionalCount() const { return positional_.size(); }
  bool Has(std::string const& name) const { return options_.count(name) != 0; }
  std::string Get(std::string const& name, std::string const& fallback = "") const;
  int GetInt(std::string const& name, int fallback) const;
  double GetDouble(std::string const& name, double fallback) const;
  // --rect left,top,right,bottom; false when absent.
  bool GetRect(std::string const& name, tagRect32& rect) const;
  // As GetRect, and the rectangle must lie inside the image: for the operations whose result
  // has the rectangle's size, where the library tolerates one row and column beyond it.
  bool GetRectInside(std::string const& name, tagRect32& rect, DibInfo const* image) const;
  // --point x,y; false when absent.
  bool GetPoint(std::string const& name, tagPoint32& point) const;

 private:
  std::vector<std::string> positional_;
  std::map<std::string, std::string> options_;
};

int ParseInt(std::string const& text, char const* what);
double ParseDouble(std::string const& text, char const* what);
// "RRGGBB" (web order) -> three bytes in pixel order: blue, green, red.
void ParseColour(std::string const& text, unsigned char out[3]);
std::vector<std::string> SplitList(std::string const& text, char separator);

// Image files, whatever their format: ReadBmp reads BMP, PNG, TIFF (its first page), JPEG or
// PNM, recognised by content; WriteBmp writes the format the name's extension says (BMP when
// it names none). Both throw CliError naming the file. (image_formats.h has the rest.)
Dib ReadBmp(std::string const& path);
// The same from the file's bytes; `who` names the file in errors.
Dib DecodeBmp(std::vector<unsigned char> const& bytes, std::string const& who);
void WriteBmp(std::string const& path, DibInfo const* dib);

struct Command {
  std::string name;
  std::string usage;    // e.g. "grey IN OUT [--colour RRGGBB] ..."
  std::string summary;  // one line
  std::vector<std::string> valued;  // options that take a value
  std::vector<std::string> flags;   // options that stand alone
  std::function<int(Args const&)> run;
};

// What the demo's steps share: the page, the folder, and the lines that tell what was written.
struct DemoContext {
  std::string folder;
  DibInfo* page = nullptr;  // the 24-bit sample page
  double drawnSkewDegrees = 0.0;
  std::vector<std::string> report;
  void Write(std::string const& name, DibInfo const* dib, std::string const& what);
  void Say(std::string const& line) { report.push_back(line); }
};

struct DemoStep {
  int order;  // steps run in ascending order
  std::string name;
  std::function<void(DemoContext&)> run;
};

std::vector<Command>& Commands();
std::vector<DemoStep>& DemoSteps();

struct Registrar {
  explicit Registrar(Command c) { Commands().push_back(std::move(c)); }
  explicit Registrar(DemoStep s) { DemoSteps().push_back(std::move(s)); }
};

// "w x h, depth bits" for reports.
std::string Describe(DibInfo const* dib);

}  // namespace quilp_cli
