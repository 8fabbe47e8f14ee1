// The `leveler` program: the main job for a person at a terminal.
//
// Until the engine can run a portfolio it only lists the commands that
// exist; each later command opens the store and calls the run's entry point.
#include <cstdio>
#include <cstring>

namespace {

void printHelp(std::FILE* out) {
  std::fputs(
      "usage: leveler <command> [options]\n"
      "\n"
      "commands:\n"
      "  --help    print this list of commands\n",
      out);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
    printHelp(stdout);
    return 0;
  }
  std::fprintf(stderr, "leveler: unknown command '%s'\n\n", argv[1]);
  printHelp(stderr);
  return 2;
}
