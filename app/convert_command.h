#pragma once
// `lumesh convert IN OUT [import options]`: reads IN (STL, 3MF or STEP) and
// writes its placed bodies as OUT (STL, 3MF or STEP). Exit codes as import:
// 0 done, 1 a file that can't be read or written, 2 a wrong command line.

#include <cstdio>

int run_convert(int argc, char** argv, bool (*start)(int, char**));
void convert_usage(std::FILE* out);
