// Box trees over the faces and facets of kernel bodies: the lists a body
// gives, trees of bodies without faces and with few, a mesh body against
// brute force, and the facet record that the deviation measurement writes.

#include "lumesh/geo/face_boxes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <vector>

#include "host/geometry/box3.h"
#include "host/geometry/constants.h"
#include "host/kernel/history/history.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/shell.h"
#include "lumesh/geo/boxed_object.h"
#include "lumesh/geo/boxtree_node.h"

namespace {

TEST(FacetBoxes, ClientsMayWriteIntoTheRecords) {
  BODY* body = make_triangle_cube(10.0);
  FACET_BOXES facets(body);
  ASSERT_EQ(facets.get_size(), 12u);
  OBJECT_BOXTREE<BOXED_FACET> tree(facets);
  FACE* model = body->shell(0)->first_face();
  tree.for_each([model](BOXED_FACET& f) { f.update_model_face(model, 2.0); });
  int near = 0;
  tree.for_each([&near, model](BOXED_FACET& f) {
    EXPECT_EQ(f.get_model_face(), model);
    EXPECT_EQ(f.get_distance(), 2.0);
    if (f.get_box().xi().upper() <= 10.0) ++near;
  });
  EXPECT_EQ(near, 12);
  body->lose();
  HISTORY::instance().forget();
}

TEST(BoxedFacet, KeepsTheFirstOfEqualDistances) {
  BODY* body = make_triangle_cube(1.0);
  FACE* facet = body->shell(0)->first_face();
  FACE* other = facet->next_in_shell();
  BOXED_FACET f(facet);
  EXPECT_EQ(f.get_facet(), facet);
  EXPECT_EQ(f.get_model_face(), nullptr);
  EXPECT_EQ(f.get_distance(), host_pos_inf());
  EXPECT_EQ(f.get_box(), facet->box());
  EXPECT_TRUE(f.update_model_face(facet, 0.5));
  EXPECT_FALSE(f.update_model_face(other, 0.5));
  EXPECT_EQ(f.get_model_face(), facet);
  EXPECT_TRUE(f.update_model_face(other, 0.25));
  EXPECT_EQ(f.get_model_face(), other);
  EXPECT_FALSE(f.update_model_face(facet, 0.3));
  EXPECT_FALSE(f.update_model_face(facet, host_nan()));
  EXPECT_EQ(f.get_distance(), 0.25);
  body->lose();
  HISTORY::instance().forget();
}

TEST(FaceBoxes, ABodyWithoutFacesGivesARootWithoutChildren) {
  BODY* body = new BODY();
  FACE_BOXES faces(body);
  EXPECT_TRUE(faces.empty());
  EXPECT_TRUE(faces.get_superbox().is_nil());
  OBJECT_BOXTREE<BOXED_FACE> tree(faces);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(tree.get_root()->get_child(i), nullptr);
  int found = 0;
  tree.collisions(BOX3::inf(), [&found](BOXED_FACE&) { ++found; });
  tree.for_each([&found](BOXED_FACE&) { ++found; });
  EXPECT_EQ(found, 0);
  body->lose();
  HISTORY::instance().forget();
}

TEST(FaceBoxes, ABodyOfFewFacesGetsAnInnerRootOverLeaves) {
  // Seven faces: top, bottom, four walls and the hole.
  BODY* body = make_bored_block(10, 10, 4, 2, 16);
  FACE_BOXES faces(body);
  ASSERT_EQ(faces.get_size(), 7u);
  // The list's superbox is the body's bound, and nothing was summed: the
  // root splits at the origin of the body's frame.
  EXPECT_EQ(faces.get_superbox(), body->bound());
  EXPECT_EQ(faces.get_center_of_gravity(), POSITION3(0, 0, 0));
  std::map<FACE*, BOX3> boxes;
  for (SHELL* s : body->shells()) {
    for (FACE* f = s->first_face(); f != nullptr; f = f->next_in_shell()) boxes[f] = f->box();
  }
  OBJECT_BOXTREE<BOXED_FACE> tree(faces);
  EXPECT_TRUE(faces.empty());
  EXPECT_EQ(faces.get_size(), 0u);
  const auto* root = tree.get_root();
  ASSERT_FALSE(root->is_leaf());
  for (int i = 0; i < 8; ++i) {
    if (root->get_child(i) != nullptr) {
      EXPECT_TRUE(root->get_child(i)->is_leaf());
    }
  }
  // A box containing the body reports every face once.
  std::map<FACE*, int> seen;
  tree.collisions(BOX3(body->bound()).grow_abs(1.0),
                  [&seen](BOXED_FACE& f) { ++seen[f.get_face()]; });
  EXPECT_EQ(seen.size(), boxes.size());
  for (const auto& [f, n] : seen) {
    EXPECT_EQ(n, 1);
    EXPECT_EQ(boxes.count(f), 1u);
  }
  // A thin slab at the top meets the top face and the walls, not the bottom.
  std::vector<FACE*> top;
  tree.collisions(BOX3(POSITION3(-1, -1, 3.9), POSITION3(11, 11, 5)),
                  [&top](BOXED_FACE& f) { top.push_back(f.get_face()); });
  for (FACE* f : top) EXPECT_GE(boxes[f].zi().upper(), 3.9);
  EXPECT_EQ(top.size(), 6u);
  body->lose();
  HISTORY::instance().forget();
}

TEST(FaceBoxes, AMeshBodyAgainstBruteForce) {
  BODY* body = make_triangle_torus(40, 30, 100.0, 30.0);
  std::vector<std::pair<FACE*, BOX3>> all;
  for (SHELL* s : body->shells()) {
    for (FACE* f = s->first_face(); f != nullptr; f = f->next_in_shell())
      all.emplace_back(f, f->box());
  }
  FACET_BOXES facets(body);
  EXPECT_EQ(facets.get_size(), all.size());
  OBJECT_BOXTREE<BOXED_FACET> tree(facets);
  std::mt19937 rng(17);
  std::uniform_real_distribution<double> pos(-140.0, 140.0);
  for (int q = 0; q < 100; ++q) {
    const POSITION3 lo(pos(rng), pos(rng), pos(rng) * 0.3);
    const BOX3 query(lo, POSITION3(lo.x() + 20, lo.y() + 20, lo.z() + 10));
    std::vector<FACE*> want;
    for (const auto& [f, b] : all) {
      if (b.overlaps(query)) want.push_back(f);
    }
    std::vector<FACE*> got;
    tree.collisions(query, [&got](BOXED_FACET& f) { got.push_back(f.get_facet()); });
    std::sort(want.begin(), want.end());
    std::sort(got.begin(), got.end());
    ASSERT_EQ(got, want) << "query " << q;
  }
  body->lose();
  HISTORY::instance().forget();
}

}  // namespace
