#include "host/kernel/topology/face.h"

#include "host/kernel/kernel_errors.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/topology.h"

namespace {

FACE_DATA face_data(surface* sf, bool sense) {
  if (sf == nullptr) k2_throw(K2_ERROR::MISSING_GEOMETRY);
  FACE_DATA d;
  d.sf = sf;
  d.sense = sense;
  return d;
}

}  // namespace

const ENTITY_TYPE FACE::type("FACE", "k2", &ENTITY::type);

FACE::FACE(surface* sf, bool sense) : TRACKED(face_data(sf, sense)) {}

int FACE::number_of_loops() const {
  int n = 0;
  for (LOOP* l = d().first_loop; l != nullptr; l = l->next()) ++n;
  return n;
}

BODY* FACE::body() const { return d().shell != nullptr ? d().shell->body() : nullptr; }

SCAN_CNTRL FACE::scan_vertices(SCAN_CNTRL (*fn)(VERTEX*, void*), void* data) const {
  std::vector<COEDGE*> ring;
  for (LOOP* l = d().first_loop; l != nullptr; l = l->next()) {
    TOPOLOGY::ring(l->start(), ring);
    for (COEDGE* c : ring) {
      if (fn(c->start(), data) == SCAN_STOP) return SCAN_STOP;
    }
  }
  return SCAN_CONTINUE;
}

void FACE::add_attribute(std::shared_ptr<const ATTRIB> a) {
  w().attribs = d().attribs.with(std::move(a));
}

void FACE::remove_attribute(const char* name) {
  if (d().attribs.find(name) != nullptr) w().attribs = d().attribs.without(name);
}

void FACE::set_color(double r, double g, double b) {
  add_attribute(std::make_shared<COLOR_ATT>(r, g, b));
}

bool FACE::get_color(double& r, double& g, double& b) const {
  const auto* c = d().attribs.find<COLOR_ATT>();
  if (c == nullptr) return false;
  r = c->red();
  g = c->green();
  b = c->blue();
  return true;
}

void FACE::set_transparency(double t) { add_attribute(std::make_shared<TRANSPARENCY_ATT>(t)); }

bool FACE::get_transparency(double& t) const {
  const auto* a = d().attribs.find<TRANSPARENCY_ATT>();
  if (a == nullptr) return false;
  t = a->transparency();
  return true;
}

void FACE::lose() { TOPOLOGY::lose_face(this); }
