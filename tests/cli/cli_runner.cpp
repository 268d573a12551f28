#include "cli_runner.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
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

// ctest runs tests in parallel processes: each process works in a folder of its own, and
// removes it when it exits.
struct Folder {
  std::string path;
  Folder() : path(std::string(QUILP_CLI_WORK) + "/p" + std::to_string(getpid())) {
    mkdir(QUILP_CLI_WORK, 0777);
    mkdir(path.c_str(), 0777);
  }
  ~Folder() {
    std::error_code ec;
    std::filesystem::remove_all(path, ec);
  }
};

std::string const& WorkDir() {
  static Folder const folder;
  return folder.path;
}

std::string WorkPath(std::string const& name) { return WorkDir() + "/" + name; }

std::string ReadFile(std::string const& name) { return Slurp(WorkPath(name)); }

void WriteFile(std::string const& name, std::string const& bytes) {
  std::ofstream(WorkPath(name), std::ios::binary) << bytes;
}

Outcome Quilp(std::string const& args) {
  std::string const out = WorkPath("stdout.txt"), err = WorkPath("stderr.txt");
  std::string const cmd = "cd '" + WorkDir() + "' && '" + QUILP_TOOL + "' " +
                          args + " >'" + out + "' 2>'" + err + "'";
  int const raw = std::system(cmd.c_str());
  Outcome r;
  r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  r.out = Slurp(out);
  r.err = Slurp(err);
  return r;
}

}  // namespace cli_test
