// cli.cpp - argument reading and the registries of the quilp tool.
#include "quilp/cli.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <sstream>

namespace quilp_cli {

std::vector<Command>& Commands() {
  static std::vector<Command> commands;
  return commands;
}

std::vector<DemoStep>& DemoSteps() {
  static std::vector<DemoStep> steps;
  return steps;
}

Args::Args(std::vector<std::string> const& words, std::vector<std::string> const& valued,
           std::vector<std::string> const& flags) {
  auto known = [](std::vector<std::string> const& list, std::string const& name) {
    return std::find(list.begin(), list.end(), name) != list.end();
  };
  for (std::size_t i = 0; i < words.size(); ++i) {
    std::string const& w = words[i];
    if (w.size() <= 2 || w.compare(0, 2, "--") != 0) {
      positional_.push_back(w);
      continue;
    }
    std::string name = w.substr(2), value;
    std::size_t const eq = name.find('=');
    bool const inline_value = eq != std::string::npos;
    if (inline_value) {
      value = name.substr(eq + 1);
      name = name.substr(0, eq);
    }
    if (known(valued, name)) {
      if (!inline_value) {
        if (i + 1 >= words.size()) throw CliError("option --" + name + " needs a value");
        value = words[++i];
      }
    } else if (known(flags, name)) {
      if (inline_value) throw CliError("option --" + name + " takes no value");
    } else {
      throw CliError("unknown option --" + name);
    }
    options_[name] = value;
  }
}

std::string const& Args::Positional(std::size_t i, char const* what) const {
  if (i >= positional_.size()) throw CliError(std::string("missing ") + what);
  return positional_[i];
}

std::string Args::Get(std::string const& name, std::string const& fallback) const {
  auto it = options_.find(name);
  return it == options_.end() ? fallback : it->second;
}

int Args::GetInt(std::string const& name, int fallback) const {
  return Has(name) ? ParseInt(Get(name), ("--" + name).c_str()) : fallback;
}

double Args::GetDouble(std::string const& name, double fallback) const {
  return Has(name) ? ParseDouble(Get(name), ("--" + name).c_str()) : fallback;
}

bool Args::GetRect(std::string const& name, tagRect32& rect) const {
  if (!Has(name)) return false;
  std::vector<std::string> parts = SplitList(Get(name), ',');
  if (parts.size() != 4) throw CliError("--" + name + " wants left,top,right,bottom");
  rect.left = ParseInt(parts[0], "rectangle left");
  rect.top = ParseInt(parts[1], "rectangle top");
  rect.right = ParseInt(parts[2], "rectangle right");
  rect.bottom = ParseInt(parts[3], "rectangle bottom");
  if (rect.right < rect.left || rect.bottom < rect.top)
    throw CliError("bad rectangle: right must not be left of left, nor bottom above top");
  return true;
}

bool Args::GetRectInside(std::string const& name, tagRect32& rect, DibInfo const* image) const {
  if (!GetRect(name, rect)) return false;
  if (rect.left < 0 || rect.top < 0 || rect.right >= image->Width() || rect.bottom >= image->Height())
    throw CliError("--" + name + " must lie inside the " + Describe(image) + " image (columns 0.." +
                   std::to_string(image->Width() - 1) + ", rows 0.." +
                   std::to_string(image->Height() - 1) + ")");
  return true;
}

bool Args::GetPoint(std::string const& name, tagPoint32& point) const {
  if (!Has(name)) return false;
  std::vector<std::string> parts = SplitList(Get(name), ',');
  if (parts.size() != 2) throw CliError("--" + name + " wants x,y");
  point.x = ParseInt(parts[0], "point x");
  point.y = ParseInt(parts[1], "point y");
  return true;
}

int ParseInt(std::string const& text, char const* what) {
  errno = 0;
  char* end = nullptr;
  long const v = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || errno == ERANGE || v < INT32_MIN || v > INT32_MAX)
    throw CliError(std::string("bad number for ") + what + ": '" + text + "'");
  return static_cast<int>(v);
}

double ParseDouble(std::string const& text, char const* what) {
  char* end = nullptr;
  double const v = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0')
    throw CliError(std::string("bad number for ") + what + ": '" + text + "'");
  return v;
}

void ParseColour(std::string const& text, unsigned char out[3]) {
  std::string t = text[0] == '#' ? text.substr(1) : text;
  if (t.size() != 6 || t.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
    throw CliError("bad colour '" + text + "': write it as RRGGBB");
  unsigned long const v = std::strtoul(t.c_str(), nullptr, 16);
  out[0] = static_cast<unsigned char>(v & 0xFF);          // blue
  out[1] = static_cast<unsigned char>((v >> 8) & 0xFF);   // green
  out[2] = static_cast<unsigned char>((v >> 16) & 0xFF);  // red
}

std::vector<std::string> SplitList(std::string const& text, char separator) {
  std::vector<std::string> parts;
  std::stringstream in(text);
  std::string part;
  while (std::getline(in, part, separator)) parts.push_back(part);
  if (!text.empty() && text.back() == separator) parts.push_back("");
  return parts;
}

std::string Describe(DibInfo const* dib) {
  std::ostringstream s;
  s << dib->Width() << " x " << dib->Height() << ", " << dib->BitsPerPixel() << " bits";
  return s.str();
}

void DemoContext::Write(std::string const& name, DibInfo const* dib, std::string const& what) {
  std::string const path = folder + "/" + name;
  WriteBmp(path, dib);
  report.push_back("wrote " + path + " (" + Describe(dib) + "): " + what);
}

}  // namespace quilp_cli
