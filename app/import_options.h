#pragma once
// The options that `lumesh import` and `lumesh convert` share, and the read
// of a file through the load command's Lisp function with them.

#include <string>
#include <vector>

#include "host/lisp/lisp_runtime.h"

struct IMPORT_ARGS {
  std::vector<std::string> files;  // in the order given
  bool planes = false;
  bool cylinders = false;  // implies planes once parsed
  double precision = 0.0;  // mm; 0: chosen from the mesh
  long long face_limit = -1;  // -1: the setting
  bool json = false;
  std::string out;  // a STEP file to write; empty: none
};

// Reads argv[2] on. Empty on success; otherwise what is wrong with the
// command line. The number of files is the caller's to check.
std::string parse_import_args(int argc, char** argv, IMPORT_ARGS& args);

// READ-MANUFACTURING-DATA-FILE of `file` with the options, as the load
// command calls it.
LISP_OUTCOME read_manufacturing_data_file(const IMPORT_ARGS& args, const std::string& file);
