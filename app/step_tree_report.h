#pragma once
// `lumesh import FILE.step`: the file goes into the model tree through the
// same Lisp function a user calls (frame2:load-step-file), and the imported
// tree is printed: every instance by name and kind, indented by level, with
// its placement when it is moved; each part's faces by surface kind the first
// time its contents appear, and later instances of the same contents as
// references to that first one.

#include <cstdio>
#include <string>

// True for a name ending in .step or .stp, in any case.
bool is_step_file(const std::string& file);

// Imports `file` and prints the tree to standard output; 0 on success, 1
// (with the reason on standard error) when the import fails. The host must
// be started.
int run_step_import(const std::string& file);
