#pragma once
// `lumesh import FILE [--planes] [--cylinders] [--precision MM]
// [--face-limit N] [--json]`: reads a manufacturing data file as the load
// command does and prints the load's report, or one JSON object for scripts.

#include <cstdio>

// argv[0] is the program, argv[1] "import". The exit code: 0 on success,
// 1 when the file can't be imported, 2 for a wrong command line. Expects the
// host and the module to be started by `start`, called only once the command
// line is known to be right.
int run_import(int argc, char** argv, bool (*start)(int, char**));

void import_usage(std::FILE* out);
