// cli_runner.h - runs the quilp tool and captures its exit status and output.
#pragma once

#include <string>

namespace cli_test {

struct Outcome {
  int status = -1;      // exit status; -1 when the tool did not exit normally (a crash)
  std::string out, err;
};

// Runs "quilp ARGS" in the work folder (one per test process).
Outcome Quilp(std::string const& args);
// The work folder (created on first use) and a path inside it.
std::string WorkPath(std::string const& name);
void WriteFile(std::string const& name, std::string const& bytes);
// The bytes of a file of the work folder ("" when it is missing).
std::string ReadFile(std::string const& name);

}  // namespace cli_test
