// Writes the seed inputs of step_import_fuzz into the folder given: small
// STEP files written by the host's own writer (a solid of planes, one with a
// round hole bounded by exact circles, an open shell, an assembly of placed,
// named and coloured parts), one well-formed file without any shape, so
// that the fuzzer starts from inputs that the reader takes all the way to the
// import's own code, and the block with an oriented edge of itself, a cycle
// the reader must refuse before OCCT recurses along it.

#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "host/base/mod_info.h"
#include "host/exchange/step_export.h"
#include "host/geometry/transform3.h"
#include "host/kernel/ops/polyhedron_builder.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/attrib.h"
#include "host/kernel/topology/body.h"

namespace {

// The unit box without its top: a face part, written as an open shell.
BODY* make_tray() {
  POLYHEDRON_BUILDER b;
  int v[8];
  for (int i = 0; i < 8; ++i) v[i] = b.add_vertex(POSITION3(i & 1, (i & 2) >> 1, (i & 4) >> 2));
  const int quads[5][4] = {{0, 2, 3, 1}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
  MOD_INFO* status = nullptr;
  for (const auto& q : quads) b.add_face({v[q[0]], v[q[1]], v[q[2]], v[q[3]]}, status);
  BODY* body = b.finish(1e-6);
  body->add_attribute(std::make_shared<FACE_PART_ATT>());
  return body;
}

// The file's first oriented edge made to orient itself; the text unchanged
// when it has none.
std::string with_oriented_edge_of_itself(std::string text) {
  const std::string use = " = ORIENTED_EDGE('',*,*,";
  const std::size_t at = text.find(use);
  if (at == std::string::npos) return text;
  const std::size_t name = text.rfind('#', at);
  const std::size_t element = at + use.size();
  const std::size_t element_end = text.find(',', element);
  if (name == std::string::npos || element_end == std::string::npos) return text;
  text.replace(element, element_end - element, text.substr(name, at - name));
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_step_seeds DIR\n");
    return 2;
  }
  const std::string dir = argv[1];
  try {
    BODY* cube = make_triangle_cube(10.0);
    BODY* block = make_bored_block(40.0, 30.0, 10.0, 5.0, 8);
    BODY* tray = make_tray();
    write_step({{cube, TRANSFORM3(), "cube", false, 0, 0, 0}}, dir + "/cube.step");
    write_step({{block, TRANSFORM3(), "block", false, 0, 0, 0}}, dir + "/bored_block.step");
    write_step({{tray, TRANSFORM3(), "tray", false, 0, 0, 0}}, dir + "/tray.step");
    write_step({{cube, TRANSFORM3(), "first", true, 1.0, 0.5, 0.0},
                {cube, TRANSFORM3::translation(VECTOR3(20, 0, 0)), "second", false, 0, 0, 0}},
               dir + "/assembly.step");
    cube->lose();
    block->lose();
    tray->lose();
  } catch (const TV_EXCEPTION& e) {
    std::fprintf(stderr, "make_step_seeds: %s\n", e.what());
    return 1;
  }
  {
    std::ifstream in(dir + "/bored_block.step", std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    std::ofstream(dir + "/cycle.step", std::ios::binary) << with_oriented_edge_of_itself(text.str());
  }
  std::ofstream(dir + "/no_shape.step")
      << "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION((''),'2;1');\n"
         "FILE_NAME('','',(''),(''),'','','');\nFILE_SCHEMA(('AUTOMOTIVE_DESIGN'));\n"
         "ENDSEC;\nDATA;\n#1=CARTESIAN_POINT('',(0.,0.,0.));\nENDSEC;\nEND-ISO-10303-21;\n";
  return 0;
}
