// cli_runner.h - runs the quilp tool and captures its exit status and output.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
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
// How many times `what` occurs in `text`.
inline int Count(std::string const& text, std::string const& what) {
  int n = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

// What every refused invocation must show: a normal, failing exit (never a crash) and one clear
// line on stderr containing `says`.
inline void ExpectRefusal(std::string const& args, char const* says) {
  SCOPED_TRACE(args);
  Outcome const r = Quilp(args);
  EXPECT_GT(r.status, 0);
  EXPECT_NE(r.err.find(says), std::string::npos) << r.err;
  EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
}

}  // namespace cli_test
