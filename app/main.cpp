// lumesh: the host shell with the module. For now it offers the kernel's
// sample body; the commands of the module join as they are built.

#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "app/sample.h"

namespace {

void usage(std::FILE* out) {
  std::fprintf(out,
               "usage: lumesh COMMAND\n"
               "commands:\n"
               "  sample      build a sample body (a block with a bored hole) and print its summary\n"
               "  --version   print the version\n"
               "  --help      this text\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
    usage(argc < 2 ? stderr : stdout);
    return argc < 2 ? 2 : 0;
  }
  const std::string command = argv[1];
  try {
    if (command == "--version") {
      std::printf("lumesh 0.1.0\n");
      return 0;
    }
    if (command == "sample") return run_sample(stdout);
    std::fprintf(stderr, "lumesh: unknown command '%s'\n", command.c_str());
    usage(stderr);
    return 2;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "lumesh: %s\n", e.what());
    return 1;
  }
}
