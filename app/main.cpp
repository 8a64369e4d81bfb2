// lumesh: the host's command line with the module loaded.
//   lumesh                 read Lisp forms from standard input, print their values
//   lumesh FILE.lsp        run a script
//   lumesh -e FORM         evaluate FORM in the package LUMESH, print its value
//   lumesh sample          build the kernel's sample body and print its summary
//   lumesh import FILE ... import an STL, 3MF or STEP file and print what was read
//   lumesh convert IN OUT  convert between STL, 3MF, STEP and model files
//   lumesh --version

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <string>

#include "app/convert_command.h"
#include "app/import_command.h"
#include "app/line_editor.h"
#include "app/sample.h"
#include "app/terminal_tables.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/shell/host_start.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/module_entry.h"

namespace {

void usage(std::FILE* out) {
  std::fprintf(out,
               "usage: lumesh [COMMAND | FILE.lsp]\n"
               "  (none)       the command line: Lisp forms from standard input\n"
               "  FILE.lsp     run a Lisp script\n"
               "  -e FORM      evaluate FORM in the package LUMESH and print its value\n"
               "  sample       build a sample body and print its summary\n"
               "  import FILE  import an STL, 3MF or STEP file and print the report\n"
               "               (lumesh import --help for its options)\n"
               "  convert IN OUT  convert between STL, 3MF, STEP and model (.lmx) files\n"
               "  --version    print the version\n"
               "  --help       this text\n");
}

// Starts the host and the module; false (with the reason printed) on failure.
bool start(int argc, char** argv) {
  host_start(argc, argv);
  attach_terminal_tables();
  const std::string error = host_load_module(&init_load_init);
  if (!error.empty()) {
    std::fprintf(stderr, "lumesh: the module did not start: %s\n", error.c_str());
    return false;
  }
  return true;
}

int evaluate(const std::string& form) {
  LISP_OUTCOME o = lisp_eval_string(form, "LUMESH");
  if (!o.ok) {
    std::fprintf(stderr, "Error: %s\n", o.error.c_str());
    return 1;
  }
  std::printf("%s\n", lisp_prin1(o.value).c_str());
  return 0;
}

int run_script(const std::string& path) {
  if (!std::ifstream(path).good()) {
    std::fprintf(stderr, "lumesh: cannot read the script '%s'\n", path.c_str());
    return 1;
  }
  LISP_OUTCOME o = lisp_load_file(path, "LUMESH");
  if (!o.ok) {
    std::fprintf(stderr, "Error: %s\n", o.error.c_str());
    return 1;
  }
  return 0;
}

int repl() {
  const bool interactive = isatty(0) != 0;
  if (interactive) install_line_editor();
  LISP_OUTCOME o = lisp_apply(hcl_find_symbol("%REPL", "K2"),
                              make_list({make_string("LUMESH"), make_bool(interactive)}));
  if (!o.ok) {
    std::fprintf(stderr, "Error: %s\n", o.error.c_str());
    return 1;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc >= 2 ? argv[1] : "";
  try {
    if (command == "--help" || command == "-h") {
      usage(stdout);
      return 0;
    }
    if (command == "--version") {
      std::printf("lumesh %s\n", lumesh_version());
      return 0;
    }
    if (command == "sample") return run_sample(stdout);
    if (command == "convert") {
      if (argc >= 3 && (std::strcmp(argv[2], "--help") == 0 || std::strcmp(argv[2], "-h") == 0)) {
        convert_usage(stdout);
        return 0;
      }
      return run_convert(argc, argv, &start);
    }
    if (command == "import") {
      if (argc >= 3 && (std::strcmp(argv[2], "--help") == 0 || std::strcmp(argv[2], "-h") == 0)) {
        import_usage(stdout);
        return 0;
      }
      return run_import(argc, argv, &start);
    }
    if (command == "-e") {
      if (argc < 3) {
        usage(stderr);
        return 2;
      }
      return start(argc, argv) ? evaluate(argv[2]) : 1;
    }
    if (command.empty()) return start(argc, argv) ? repl() : 1;
    if (command.size() > 4 && command.compare(command.size() - 4, 4, ".lsp") == 0) {
      return start(argc, argv) ? run_script(command) : 1;
    }
    std::fprintf(stderr, "lumesh: unknown command '%s'\n", command.c_str());
    usage(stderr);
    return 2;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "lumesh: %s\n", e.what());
    return 1;
  }
}
