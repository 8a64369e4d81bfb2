#pragma once
#include <cstdio>
// Builds the sample body and prints its summary; returns the exit code.
int run_sample(std::FILE* out);
