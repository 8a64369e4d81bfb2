#pragma once
// Shared pieces of the model file tests: the scratch folder and checks of
// STEP_TREE_TEST, a description of a body entity by entity (to compare a body
// with its copy read back from a file), and a sample model.

#include <cstdio>
#include <string>
#include <vector>

#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/vertex.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_names.h"
#include "host/model/part_data.h"
#include "tests/host/shell/step_tree_fixture.h"

namespace model_file_test {

inline std::string num(double v) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.9g", v == 0.0 ? 0.0 : v);
  return buf;
}
inline std::string xyz(double x, double y, double z) {
  return num(x) + "," + num(y) + "," + num(z);
}
inline std::string xyz(const POSITION3& p) {
  return xyz(p.x(), p.y(), p.z());
}
inline std::string xyz(const VECTOR3& v) {
  return xyz(v.x(), v.y(), v.z());
}

// One line per entity, in a fixed walk: shells in pre-order with their faces,
// loops and coedges; each line has the entity's sysid when `sysids` is set,
// and its geometry to nine digits (well within any resolution).
inline std::vector<std::string> describe(const BODY* body, bool sysids = true) {
  std::vector<std::string> out;
  auto id = [&](const ENTITY* e) {
    return sysids ? "#" + std::to_string(e->sysid()) + " " : std::string();
  };
  std::string tm;
  for (int i = 0; i < 3; ++i) tm += xyz(body->transform().row(i)) + ";";
  tm += xyz(body->transform().translation_vector());
  out.push_back(id(body) + "body res " + num(body->resabs()) + " tm " + tm +
                (is_face_part(body) ? " face-part" : ""));
  std::vector<const SHELL*> stack;
  for (auto it = body->shells().rbegin(); it != body->shells().rend(); ++it) stack.push_back(*it);
  while (!stack.empty()) {
    const SHELL* s = stack.back();
    stack.pop_back();
    out.push_back(id(s) + (s->parent() != nullptr ? "subshell" : "shell") + " type " +
                  std::to_string(s->shell_type()) + " faces " +
                  std::to_string(s->number_of_faces()));
    std::vector<const SHELL*> subs;
    for (const SUBSHELL* sub = s->first_subshell(); sub != nullptr; sub = sub->next_subshell())
      subs.push_back(sub);
    for (auto it = subs.rbegin(); it != subs.rend(); ++it) stack.push_back(*it);
    for (const FACE* f = s->first_face(); f != nullptr; f = f->next_in_shell()) {
      std::string line = id(f) + "face sense " + std::to_string(f->sense());
      const surface* sf = f->geometry();
      if (const auto* p = entity_cast<plane>(sf)) {
        line += " plane " + xyz(p->root()) + " n " + xyz(p->nor()) + " u " + xyz(p->u_dir());
      } else if (const auto* c = entity_cast<cylinder>(sf)) {
        line += " cylinder " + xyz(c->root()) + " a " + xyz(c->axis()) + " r " + num(c->radius()) +
                " ref " + xyz(c->ref_dir());
      } else {
        line += std::string(" ") + sf->identity().name() + " " + xyz(sf->eval(0.1, 0.2));
      }
      double r, g, b, t;
      if (f->get_color(r, g, b)) line += " color " + xyz(r, g, b);
      if (f->get_transparency(t)) line += " transparency " + num(t);
      line += " attributes " + std::to_string(f->attributes().size());
      out.push_back(line);
      for (const LOOP* l = f->loop(); l != nullptr; l = l->next()) {
        out.push_back(id(l) + "loop type " + std::to_string(l->loop_type()));
        const COEDGE* c = l->start();
        do {
          const EDGE* e = c->edge();
          std::string curve;
          if (const auto* line_of = entity_cast<straight>(e->geometry())) {
            curve = "straight " + xyz(line_of->root()) + " d " + xyz(line_of->direction());
          } else {
            curve = e->geometry()->identity().name();
          }
          out.push_back(id(c) + "coedge sense " + std::to_string(c->sense()) + " edge " + id(e) +
                        curve + " from " + id(e->start()) + xyz(e->start()->pt3()) + " to " +
                        id(e->end()) + xyz(e->end()->pt3()) + " coedges " +
                        std::to_string(e->number_of_coedges()));
          c = c->next();
        } while (c != nullptr && c != l->start());
      }
    }
  }
  return out;
}

}  // namespace model_file_test

class ModelFileFixture : public STEP_TREE_TEST {};
