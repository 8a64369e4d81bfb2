// Faces grouped into the pieces that share edges.

#include "host/kernel/ops/face_components.h"

#include <gtest/gtest.h>

#include <vector>

#include "host/kernel/ops/polyhedron_builder.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/shell.h"

namespace {

// Adds the six quads of the cube from lo, of side s, outward facing.
void add_cube(POLYHEDRON_BUILDER& b, double x, double y, double z, double s) {
  int v[8];
  for (int i = 0; i < 8; ++i) {
    v[i] = b.add_vertex(POSITION3(x + s * (i & 1), y + s * ((i >> 1) & 1), z + s * ((i >> 2) & 1)));
  }
  const int quads[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                           {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
  for (const auto& q : quads) {
    MOD_INFO* status = nullptr;
    ASSERT_NE(b.add_face({v[q[0]], v[q[1]], v[q[2]], v[q[3]]}, status), nullptr);
  }
}

std::vector<FACE*> faces_of(BODY* body) {
  std::vector<FACE*> faces;
  for (SHELL* s : body->shells()) {
    for (const FACE* f : s->faces()) faces.push_back(const_cast<FACE*>(f));
  }
  return faces;
}

TEST(FaceComponents, TwoSeparateCubesAreTwoPieces) {
  POLYHEDRON_BUILDER b;
  add_cube(b, 0, 0, 0, 1);
  add_cube(b, 5, 0, 0, 1);
  BODY* body = b.finish(1e-6);
  const std::vector<FACE*> faces = faces_of(body);
  ASSERT_EQ(faces.size(), 12u);
  const auto groups = connected_face_groups(faces);
  ASSERT_EQ(groups.size(), 2u);
  EXPECT_EQ(groups[0].size(), 6u);
  EXPECT_EQ(groups[1].size(), 6u);
  // In the order of the faces given.
  EXPECT_EQ(groups[0].front(), faces.front());
  body->lose();
}

TEST(FaceComponents, CubesTouchingAtACornerOnlyAreApart) {
  // Vertices are per index, so the shared corner is two vertices at one
  // point; even a shared vertex would not join them.
  POLYHEDRON_BUILDER b;
  add_cube(b, 0, 0, 0, 1);
  add_cube(b, 1, 1, 1, 1);
  BODY* body = b.finish(1e-6);
  EXPECT_EQ(connected_face_groups(faces_of(body)).size(), 2u);
  body->lose();
}

TEST(FaceComponents, OneCubeIsOnePieceAndAPartialListOnlyLinksWhatItHolds) {
  POLYHEDRON_BUILDER b;
  add_cube(b, 0, 0, 0, 1);
  BODY* body = b.finish(1e-6);
  std::vector<FACE*> faces = faces_of(body);
  EXPECT_EQ(connected_face_groups(faces).size(), 1u);
  // Bottom and top alone share no edge; faces outside the list don't join them.
  std::vector<FACE*> two;
  for (FACE* f : faces) {
    if (two.size() < 2) two.push_back(f);
  }
  const auto groups = connected_face_groups(two);
  EXPECT_EQ(groups.size(), 2u);
  EXPECT_TRUE(connected_face_groups({}).empty());
  body->lose();
}

}  // namespace
