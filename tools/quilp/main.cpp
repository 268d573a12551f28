// main.cpp - the quilp command-line tool: finds the subcommand and reports failures.
#include <algorithm>
#include <cstdio>
#include <exception>

#include "quilp/cli.h"

using namespace quilp_cli;

namespace {

void Usage(FILE* out) {
  std::fprintf(out, "usage: quilp COMMAND [ARGS]\n\ncommands:\n");
  std::vector<Command> commands = Commands();
  std::sort(commands.begin(), commands.end(),
            [](Command const& a, Command const& b) { return a.name < b.name; });
  for (Command const& c : commands)
    std::fprintf(out, "  %-60s %s\n", c.usage.c_str(), c.summary.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || std::string(argv[1]) == "--help" || std::string(argv[1]) == "help") {
    Usage(argc < 2 ? stderr : stdout);
    return argc < 2 ? 2 : 0;
  }
  std::string const name = argv[1];
  for (Command const& c : Commands()) {
    if (c.name != name) continue;
    try {
      Args const args(std::vector<std::string>(argv + 2, argv + argc), c.valued, c.flags);
      return c.run(args);
    } catch (CliError const& e) {
      std::fprintf(stderr, "quilp %s: %s\n", name.c_str(), e.what());
      return 1;
    } catch (std::exception const& e) {
      std::fprintf(stderr, "quilp %s: %s\n", name.c_str(), e.what());
      return 1;
    }
  }
  std::fprintf(stderr, "quilp: unknown command '%s' (try 'quilp help')\n", name.c_str());
  return 2;
}
