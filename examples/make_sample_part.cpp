// make_sample_part OUT.stl: writes the flanged plate (flanged_plate.h) as a
// binary STL file, the sample that `make run` imports.

#include <cstdio>
#include <fstream>
#include <string>

#include "examples/flanged_plate.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_sample_part OUT.stl\n");
    return 2;
  }
  const std::string bytes = flanged_plate::binary_stl(flanged_plate::triangles());
  std::ofstream out(argv[1], std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (!out) {
    std::fprintf(stderr, "make_sample_part: cannot write '%s'\n", argv[1]);
    return 1;
  }
  std::printf("wrote %s: the flanged plate, %zu triangles\n", argv[1], (bytes.size() - 84) / 50);
  return 0;
}
