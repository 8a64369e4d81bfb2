// Writes the seed inputs of model_file_fuzz into the folder given: model
// files of a few parts and an assembly (first byte 0), and the blobs of the
// sample bodies (first byte 1), so that the fuzzer starts from inputs that
// get through SQLite and the checks to the decoder.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "host/document/body_codec.h"
#include "host/document/model_file.h"
#include "host/kernel/history/history.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/shell.h"
#include "host/model/model_tree.h"
#include "host/model/part_data.h"

namespace {

void write_seed(const std::string& path, char mode, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.put(mode);
  out << bytes;
}

std::string read_all(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_model_seeds FOLDER\n");
    return 2;
  }
  const std::string dir = argv[1];
  BODY* bodies[] = {make_triangle_cube(2.0), make_bored_block(20, 30, 10, 4, 6),
                    make_triangle_torus(4, 3, 10, 3)};
  bodies[0]->shell(0)->first_face()->set_color(1.0, 0.5, 0.0);
  int n = 0;
  for (BODY* b : bodies) write_seed(dir + "/body-" + std::to_string(n++), '\1', encode_body(*b));

  NPARCEL* asmb = create_nasmb3("Frame");
  NPARCEL* cube = create_npart3("Cube");
  add_body_to_part(cube, bodies[0]);
  set_part_color(cube, 0.25, 0.5, 0.75);
  insert_child(asmb, cube);
  NPARCEL* again = create_instance(cube, "Cube");
  set_tm(again, TRANSFORM3::translation(VECTOR3(5, 0, 0)));
  insert_child(asmb, again);
  insert_child(cube, create_cont("Notes"));
  insert_in_graph(asmb);
  NPARCEL* block = create_npart3("Block");
  add_body_to_part(block, bodies[1]);
  set_part_transparency(block, 0.5);
  insert_in_graph(block);
  const std::string file = dir + "/model.lmx.tmp";
  save_model_file(file);
  write_seed(dir + "/model", '\0', read_all(file));
  std::remove(file.c_str());
  bodies[2]->lose();
  return 0;
}
