// Topology: construction, links, moves between shells, destruction, copies,
// and the failures of bad input.

#include <set>

#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/geometry/point.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/ops/copy_faces.h"
#include "host/kernel/ops/polyhedron_builder.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/vertex.h"
#include "kernel_fixture.h"

namespace {

class TopologyTest : public KernelTest {};

std::vector<FACE*> faces_of(const SHELL* s) {
  std::vector<FACE*> out;
  for (FACE* f = s->first_face(); f != nullptr; f = f->next_in_shell()) out.push_back(f);
  return out;
}

TEST_F(TopologyTest, TriangleCubeIsAClosedManifold) {
  BODY* body = make_triangle_cube(2);
  const BODY_CHECK c = check_body(body);
  ASSERT_TRUE(c.ok()) << c.problems.front();
  EXPECT_EQ(c.faces, 12);
  EXPECT_EQ(c.edges, 18);
  EXPECT_EQ(c.vertices, 8);
  EXPECT_EQ(c.coedges, 36);
  EXPECT_EQ(c.open_edges, 0);
  EXPECT_EQ(c.euler(), 2);
  EXPECT_EQ(body->number_of_shells(), 1);
  EXPECT_EQ(body->shell(0)->shell_type(), 2);
  EXPECT_EQ(body->number_of_faces(), 12);
  const BOX3 box = body->bound();
  EXPECT_EQ(box.lower(), POSITION3(0, 0, 0));
  EXPECT_EQ(box.upper(), POSITION3(2, 2, 2));
  body->lose();
}

TEST_F(TopologyTest, BoredBlockHasGenusOne) {
  BODY* body = make_bored_block(40, 30, 10, 6, 16);
  const BODY_CHECK c = check_body(body);
  ASSERT_TRUE(c.ok()) << c.problems.front();
  EXPECT_EQ(c.faces, 7);
  EXPECT_EQ(c.open_edges, 0);
  EXPECT_EQ(c.vertices, 8 + 2 * 16);
  EXPECT_EQ(c.edges, 15 + 2 * 16);
  EXPECT_EQ(c.euler(), 0);
  body->lose();
}

TEST_F(TopologyTest, ScansVisitEachEdgeAndVertexOnce) {
  BODY* body = make_triangle_cube(1);
  std::multiset<EDGE*> edges;
  std::multiset<VERTEX*> vertices;
  body->scan_edges([](EDGE* e, void* a) {
    static_cast<std::multiset<EDGE*>*>(a)->insert(e);
    return SCAN_CONTINUE;
  }, &edges);
  body->scan_vertices([](VERTEX* v, void* a) {
    static_cast<std::multiset<VERTEX*>*>(a)->insert(v);
    return SCAN_CONTINUE;
  }, &vertices);
  EXPECT_EQ(edges.size(), 18u);
  EXPECT_EQ(std::set<EDGE*>(edges.begin(), edges.end()).size(), 18u);
  EXPECT_EQ(vertices.size(), 8u);
  EXPECT_EQ(std::set<VERTEX*>(vertices.begin(), vertices.end()).size(), 8u);
  // A stopped scan says so.
  int seen = 0;
  EXPECT_EQ(body->scan_faces([](FACE*, void* a) {
    return ++*static_cast<int*>(a) == 3 ? SCAN_STOP : SCAN_CONTINUE;
  }, &seen), SCAN_STOP);
  EXPECT_EQ(seen, 3);
  // Every cube vertex has degree 4 or 5 or 6 and sees its edges once each.
  for (VERTEX* v : std::set<VERTEX*>(vertices.begin(), vertices.end())) {
    int n = 0;
    v->scan_edges([](EDGE*, void* a) {
      ++*static_cast<int*>(a);
      return SCAN_CONTINUE;
    }, &n);
    EXPECT_EQ(n, v->number_of_edges());
    EXPECT_GE(n, 3);
  }
  body->lose();
}

TEST_F(TopologyTest, AnEdgeOnCoincidentVerticesReportsItsStatus) {
  auto* v = new VERTEX(new point3(POSITION3(1, 2, 3)));
  auto* w = new VERTEX(new point3(POSITION3(1, 2, 3 + 1e-9)));
  MOD_INFO* status = nullptr;
  auto* e = new EDGE(v, w, new straight(POSITION3(1, 2, 3), UNITVEC3(0, 0, 1)), status);
  EXPECT_EQ(status, k2_error(K2_ERROR::COINCIDENT_VERTICES));
  EXPECT_TRUE(e->lose());
  auto* self = new EDGE(v, v, new straight(POSITION3(1, 2, 3), UNITVEC3(0, 0, 1)), status);
  EXPECT_EQ(status, k2_error(K2_ERROR::COINCIDENT_VERTICES));
  EXPECT_TRUE(self->lose());
  auto* none = new EDGE(v, nullptr, nullptr, status);
  EXPECT_EQ(status, k2_error(K2_ERROR::MISSING_GEOMETRY));
  EXPECT_TRUE(none->lose());
  EXPECT_EQ(v->number_of_edges(), 0);
  EXPECT_TRUE(v->lose());
  EXPECT_TRUE(w->lose());
  EXPECT_EQ(new_entities(), 0u);
}

TEST_F(TopologyTest, BadConstructionArgumentsThrowTheKernelsError) {
  auto expect_k2 = [](auto&& make, K2_ERROR expected) {
    try {
      make();
      ADD_FAILURE() << "no exception";
    } catch (const TV_EXCEPTION& e) {
      EXPECT_EQ(e.info(), k2_error(expected));
    }
  };
  expect_k2([] { new VERTEX(nullptr); }, K2_ERROR::MISSING_GEOMETRY);
  expect_k2([] { new FACE(nullptr, false); }, K2_ERROR::MISSING_GEOMETRY);
  expect_k2([] { new COEDGE(nullptr, false, nullptr, nullptr); }, K2_ERROR::MISSING_GEOMETRY);
  auto* f = new FACE(new plane(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1)), false);
  expect_k2([&] { new LOOP(nullptr, f, LOOP_OUTER); }, K2_ERROR::EMPTY_LOOP);
  f->lose();
  EXPECT_EQ(new_entities(), 0u);
}

TEST_F(TopologyTest, PolyhedronBuilderRefusesBadRingsAndLeavesNothing) {
  POLYHEDRON_BUILDER b;
  const int a = b.add_vertex(POSITION3(0, 0, 0));
  const int c = b.add_vertex(POSITION3(1, 0, 0));
  const int d = b.add_vertex(POSITION3(1, 0, 0));  // same place as c
  const int e = b.add_vertex(POSITION3(2, 0, 0));
  MOD_INFO* status = nullptr;
  EXPECT_EQ(b.add_face({a, c, d}, status), nullptr);
  EXPECT_EQ(status, k2_error(K2_ERROR::COINCIDENT_VERTICES));
  EXPECT_EQ(b.add_face({a, 7, c}, status), nullptr);
  EXPECT_EQ(status, k2_error(K2_ERROR::BAD_TOPOLOGY));
  EXPECT_EQ(b.add_face({a, c, e}, status), nullptr);  // collinear: no plane
  EXPECT_EQ(status, k2_error(K2_ERROR::BAD_FACE));
  BODY* body = b.finish(1e-6);
  EXPECT_EQ(body->number_of_faces(), 0);
  body->lose();
  EXPECT_EQ(new_entities(), 0u);
}

TEST_F(TopologyTest, ThreeFacesOnOneEdgeShareOnePartnerRing) {
  POLYHEDRON_BUILDER b;
  const int p = b.add_vertex(POSITION3(0, 0, 0));
  const int q = b.add_vertex(POSITION3(1, 0, 0));
  const int r1 = b.add_vertex(POSITION3(0, 1, 0));
  const int r2 = b.add_vertex(POSITION3(0, 0, 1));
  const int r3 = b.add_vertex(POSITION3(0, -1, 0));
  MOD_INFO* status = nullptr;
  FACE* f1 = b.add_face({p, q, r1}, status);
  b.add_face({q, p, r2}, status);
  b.add_face({p, q, r3}, status);
  BODY* body = b.finish(1e-6);
  const BODY_CHECK c = check_body(body);
  ASSERT_TRUE(c.ok()) << c.problems.front();
  EXPECT_EQ(c.nonmanifold_edges, 1);
  COEDGE* co = f1->loop()->start();
  while (co->start()->pt3() != POSITION3(0, 0, 0)) co = co->next();
  EXPECT_EQ(co->edge()->number_of_coedges(), 3);
  std::set<COEDGE*> ring{co};
  for (COEDGE* x = co->partner(); x != co; x = x->partner()) ring.insert(x);
  EXPECT_EQ(ring.size(), 3u);
  // Taking one face away keeps the other two on the edge.
  f1->lose();
  const BODY_CHECK after = check_body(body);
  ASSERT_TRUE(after.ok()) << after.problems.front();
  EXPECT_EQ(after.nonmanifold_edges, 0);
  EXPECT_EQ(after.faces, 2);
  body->lose();
  EXPECT_EQ(new_entities(), 0u);
}

TEST_F(TopologyTest, FacesMoveBetweenShellsAndSubshells) {
  BODY* body = make_triangle_cube(1);
  SHELL* shell = body->shell(0);
  const auto faces = faces_of(shell);
  auto* sub = new SUBSHELL();
  shell->add_subshell(sub);
  EXPECT_EQ(sub->parent(), shell);
  EXPECT_EQ(sub->body(), body);
  sub->add_face(faces[3]);
  sub->add_face(faces[7]);
  EXPECT_EQ(faces[3]->shell(), sub);
  EXPECT_EQ(faces[3]->body(), body);
  EXPECT_TRUE(faces[3]->shell()->is_a(SUBSHELL::type));
  EXPECT_FALSE(faces[4]->shell()->is_a(SUBSHELL::type));
  EXPECT_EQ(shell->number_of_faces(), 10);
  EXPECT_EQ(shell->number_of_all_faces(), 12);
  EXPECT_EQ(body->number_of_faces(), 12);
  EXPECT_FALSE(sub->destroy_if_empty());
  // The body's scan sees subshell faces too.
  int n = 0;
  body->scan_faces([](FACE*, void* a) {
    ++*static_cast<int*>(a);
    return SCAN_CONTINUE;
  }, &n);
  EXPECT_EQ(n, 12);
  // Back into the shell, last first, as a facet set is dissolved.
  while (FACE* f = sub->last_face()) shell->add_face(f);
  EXPECT_TRUE(sub->is_empty());
  EXPECT_TRUE(sub->destroy_if_empty());
  EXPECT_EQ(shell->first_subshell(), nullptr);
  EXPECT_FALSE(shell->unlink_face(nullptr));
  EXPECT_TRUE(check_body(body).ok());
  body->lose();
}

TEST_F(TopologyTest, LosingASubshellTakesItsFacesAndTheirInnerEdges) {
  BODY* body = make_triangle_cube(1);
  SHELL* shell = body->shell(0);
  const auto faces = faces_of(shell);
  auto* sub = new SUBSHELL();
  shell->add_subshell(sub);
  // Two triangles of one side: they share the diagonal.
  sub->add_face(faces[0]);
  sub->add_face(faces[1]);
  sub->lose();
  const BODY_CHECK c = check_body(body);
  ASSERT_TRUE(c.ok()) << c.problems.front();
  EXPECT_EQ(c.faces, 10);
  EXPECT_EQ(c.edges, 17);  // the diagonal is gone
  EXPECT_EQ(c.open_edges, 4);
  EXPECT_EQ(c.vertices, 8);
  body->lose();
  EXPECT_EQ(new_entities(), 0u);
}

TEST_F(TopologyTest, ABodyMadeAroundAShellTakesItFromItsBody) {
  BODY* a = make_triangle_cube(1);
  SHELL* s = a->shell(0);
  BODY* b = new BODY(s, 0.01);
  EXPECT_EQ(a->number_of_shells(), 0);
  EXPECT_EQ(b->number_of_shells(), 1);
  EXPECT_EQ(s->body(), b);
  EXPECT_DOUBLE_EQ(b->getResolution().resabs(), 0.01);
  EXPECT_TRUE(check_body(b).ok());
  a->lose();
  b->lose();
  EXPECT_EQ(new_entities(), 0u);
}

TEST_F(TopologyTest, CopyFacesSharesEdgesAndMapsOriginalsToCopies) {
  BODY* body = make_triangle_cube(1);
  body->set_transform(TRANSFORM3::translation(VECTOR3(5, 0, 0)));
  const auto faces = faces_of(body->shell(0));
  faces[0]->set_color(0.25, 0.5, 0.75);
  ENTITY_TABLE<FACE> table;
  table.add(faces[0]);
  table.add(faces[1]);
  table.add(faces[5]);
  EXPECT_EQ(table.add(faces[0]), 0);  // already there
  ANYPTR_DICTIONARY dict(111);
  BODY* copy = copy_faces(body, table, dict);
  ASSERT_NE(copy, nullptr);
  const BODY_CHECK c = check_body(copy);
  ASSERT_TRUE(c.ok()) << c.problems.front();
  EXPECT_EQ(c.faces, 3);
  EXPECT_TRUE(copy->transform() == body->transform());
  auto* f0 = static_cast<FACE*>(dict.lookup(faces[0]));
  ASSERT_NE(f0, nullptr);
  EXPECT_NE(f0, faces[0]);
  EXPECT_EQ(f0->geometry(), faces[0]->geometry());  // shared surface
  EXPECT_EQ(f0->body(), copy);
  double r, g, b;
  ASSERT_TRUE(f0->get_color(r, g, b));
  EXPECT_DOUBLE_EQ(g, 0.5);
  // The first two triangles share their diagonal in the copy as well; the
  // third touches them at one vertex, which the copy shares too.
  EXPECT_EQ(c.edges, 8);
  EXPECT_EQ(c.open_edges, 7);
  EXPECT_EQ(c.vertices, 6);
  // Nothing to copy gives null.
  ENTITY_TABLE<FACE> empty;
  EXPECT_EQ(copy_faces(body, empty, dict), nullptr);
  copy->lose();
  body->lose();
  EXPECT_EQ(new_entities(), 0u);
}

TEST_F(TopologyTest, StaleHandlesAreDetectedAndSysidsAreNeverReused) {
  BODY* a = make_triangle_cube(1);
  const auto a_id = a->sysid();
  FACE* f = a->shell(0)->first_face();
  const auto f_id = f->sysid();
  EXPECT_EQ(ENTITY::lookup(a_id), a);
  EXPECT_TRUE(ENTITY::is_live(f, f_id));
  a->lose();
  EXPECT_EQ(ENTITY::lookup(a_id), nullptr);
  EXPECT_FALSE(ENTITY::is_live(f, f_id));
  // New entities may reuse the memory and the slot, never the sysid.
  BODY* b = make_triangle_cube(1);
  EXPECT_NE(b->sysid(), a_id);
  EXPECT_EQ(ENTITY::lookup(a_id), nullptr);
  EXPECT_FALSE(ENTITY::is_live(f, f_id));
  EXPECT_EQ(ENTITY::lookup(0), nullptr);
  b->lose();
}

TEST_F(TopologyTest, EntityTypesAnswerTheKindTest) {
  EXPECT_TRUE(SUBSHELL::type <= SHELL::type);
  EXPECT_FALSE(SHELL::type <= SUBSHELL::type);
  EXPECT_TRUE(FACE::type <= ENTITY::type);
  EXPECT_TRUE(plane::type <= surface::type);
  EXPECT_FALSE(plane::type <= cylinder::type);
  EXPECT_STREQ(SUBSHELL::type.name(), "SUBSHELL");
  EXPECT_STREQ(SUBSHELL::type.package(), "k2");
  EXPECT_STREQ(plane::type.package(), "geo");
  BODY* body = make_triangle_cube(1);
  EXPECT_EQ(entity_cast<BODY>(static_cast<ENTITY*>(body)), body);
  EXPECT_EQ(entity_cast<FACE>(static_cast<ENTITY*>(body)), nullptr);
  body->lose();
}

TEST_F(TopologyTest, FacePartMarkerAndColours) {
  BODY* body = make_triangle_cube(1);
  EXPECT_FALSE(is_face_part(body));
  body->add_attribute(std::make_shared<FACE_PART_ATT>(L"part"));
  EXPECT_TRUE(is_face_part(body));
  EXPECT_EQ(body->attributes().find<FACE_PART_ATT>()->part_name(), L"part");
  body->add_attribute(std::make_shared<FACE_PART_ATT>());
  EXPECT_EQ(body->attributes().size(), 1u);  // replaced, not added
  FACE* f = body->shell(0)->first_face();
  double r, g, b, t;
  EXPECT_FALSE(f->get_color(r, g, b));
  f->set_color(0.1, 0.2, 0.3);
  f->set_transparency(0.4);
  ASSERT_TRUE(f->get_color(r, g, b));
  EXPECT_DOUBLE_EQ(b, 0.3);
  ASSERT_TRUE(f->get_transparency(t));
  EXPECT_DOUBLE_EQ(t, 0.4);
  f->remove_attribute(COLOR_ATT::kName);
  EXPECT_FALSE(f->get_color(r, g, b));
  body->lose();
}

TEST_F(TopologyTest, EntityTableKeepsInsertionOrder) {
  BODY* body = make_triangle_cube(1);
  const auto faces = faces_of(body->shell(0));
  ENTITY_TABLE<FACE> t;
  for (int i = 11; i >= 0; --i) t.add(faces[static_cast<std::size_t>(i)]);
  EXPECT_EQ(t.size(), 12u);
  EXPECT_EQ(t[0], faces[11]);
  EXPECT_EQ(t.lookup(faces[0]), 11);
  EXPECT_EQ(t.add(nullptr), -1);
  EXPECT_FALSE(t.contains(nullptr));
  body->lose();
}

}  // namespace
