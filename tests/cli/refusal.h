// refusal.h - what every refused tool invocation must show: a normal, failing exit (never a
// crash) and one clear line on stderr containing `says`.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "cli_runner.h"

namespace cli_test {

inline void ExpectRefusal(std::string const& args, char const* says) {
  SCOPED_TRACE(args);
  Outcome const r = Quilp(args);
  EXPECT_GT(r.status, 0);
  EXPECT_NE(r.err.find(says), std::string::npos) << r.err;
  EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
}

}  // namespace cli_test
