#include "cli_runner.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace cli_test {
namespace {

std::string Slurp(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

}  // namespace

std::string WorkPath(std::string const& name) {
  mkdir(QUILP_CLI_WORK, 0777);
  return std::string(QUILP_CLI_WORK) + "/" + name;
}

void WriteFile(std::string const& name, std::string const& bytes) {
  std::ofstream(WorkPath(name), std::ios::binary) << bytes;
}

Outcome Quilp(std::string const& args) {
  // ctest runs tests in parallel processes sharing the work folder: one capture per process.
  std::string const id = std::to_string(getpid());
  std::string const out = WorkPath("stdout-" + id + ".txt"), err = WorkPath("stderr-" + id + ".txt");
  std::string const cmd = std::string("cd '") + QUILP_CLI_WORK + "' && '" + QUILP_TOOL + "' " +
                          args + " >'" + out + "' 2>'" + err + "'";
  int const raw = std::system(cmd.c_str());
  Outcome r;
  r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  r.out = Slurp(out);
  r.err = Slurp(err);
  return r;
}

}  // namespace cli_test
