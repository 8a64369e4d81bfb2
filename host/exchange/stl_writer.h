#pragma once
// The host's STL writer: triangles as a binary STL file, each with the unit
// normal of its corners' right-hand order (zero for a triangle of no area).

#include <array>
#include <string>
#include <vector>

#include "host/geometry/position3.h"

using STL_TRIANGLE = std::array<POSITION3, 3>;

// The bytes of the file; `header` is cut or padded to 80 bytes. Throws
// std::length_error past 2^32 - 1 triangles, which the format can't count.
std::string binary_stl_bytes(const std::vector<STL_TRIANGLE>& triangles, const std::string& header);

// Writes them as the file `path`, whole or not at all (see ATOMIC_FILE).
void write_binary_stl(const std::string& path, const std::vector<STL_TRIANGLE>& triangles,
                      const std::string& header);
