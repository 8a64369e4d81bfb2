#include "app/sample.h"

#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/history/history.h"
#include "host/kernel/ops/loop_types.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"

namespace {

struct COUNTS {
  int faces = 0, planes = 0, cylinders = 0, edges = 0, open_edges = 0, vertices = 0;
  double area = 0, volume = 0;
  bool tessellated = true;
};

SCAN_CNTRL count_face(FACE* f, void* arg) {
  auto* c = static_cast<COUNTS*>(arg);
  ++c->faces;
  if (f->geometry()->is_a(plane::type)) ++c->planes;
  if (f->geometry()->is_a(cylinder::type)) ++c->cylinders;
  FACE_TESSELLATION t;
  if (f->tessellate(t) != nullptr) {
    c->tessellated = false;
    return SCAN_CONTINUE;
  }
  for (const auto& tri : t.triangles) {
    const VECTOR3 a(t.positions[tri[0]]), b(t.positions[tri[1]]), d(t.positions[tri[2]]);
    c->area += 0.5 * cross(b - a, d - a).len();
    c->volume += dot(a, cross(b, d)) / 6.0;
  }
  return SCAN_CONTINUE;
}

SCAN_CNTRL count_edge(EDGE* e, void* arg) {
  auto* c = static_cast<COUNTS*>(arg);
  ++c->edges;
  if (e->number_of_coedges() != 2) ++c->open_edges;
  return SCAN_CONTINUE;
}

SCAN_CNTRL count_vertex(VERTEX*, void* arg) {
  ++static_cast<COUNTS*>(arg)->vertices;
  return SCAN_CONTINUE;
}

COUNTS count(const BODY* body) {
  COUNTS c;
  body->scan_faces(&count_face, &c);
  body->scan_edges(&count_edge, &c);
  body->scan_vertices(&count_vertex, &c);
  return c;
}

}  // namespace

int run_sample(std::FILE* out) {
  BODY* body = make_bored_block(40, 30, 10, 6, 32);
  set_loop_types(body);
  const COUNTS c = count(body);
  const BOX3 box = body->bound();
  std::fprintf(out, "Sample body: block 40 x 30 x 10 mm with a bored hole of radius 6 mm\n");
  std::fprintf(out, "  shells    %d\n", body->number_of_shells());
  std::fprintf(out, "  faces     %d (%d planar, %d cylindrical)\n", c.faces, c.planes, c.cylinders);
  std::fprintf(out, "  edges     %d (%d not shared by two faces)\n", c.edges, c.open_edges);
  std::fprintf(out, "  vertices  %d\n", c.vertices);
  std::fprintf(out, "  Euler     V - E + F = %d\n", c.vertices - c.edges + c.faces);
  std::fprintf(out, "  box       (%g %g %g) - (%g %g %g)\n", box.lower().x(), box.lower().y(),
               box.lower().z(), box.upper().x(), box.upper().y(), box.upper().z());
  if (c.tessellated) {
    std::fprintf(out, "  area      %.3f mm2\n", c.area);
    std::fprintf(out, "  volume    %.3f mm3\n", c.volume);
  }
  // The state manager: take the body away and bring it back.
  HISTORY& h = HISTORY::instance();
  const auto before = h.note_state();
  const auto sysid = body->sysid();
  body->lose();
  const bool gone = ENTITY::lookup(sysid) == nullptr;
  h.recover_state(before);
  const bool back = ENTITY::lookup(sysid) == body;
  std::fprintf(out, "  history   destroyed: %s, recovered: %s, faces after recovery: %d\n",
               gone ? "yes" : "no", back ? "yes" : "no", back ? body->number_of_faces() : 0);
  return (c.tessellated && gone && back) ? 0 : 1;
}
