// Paths: built through parents, rooted or not, and the transformations along
// them, checked on a point.

#include <cmath>

#include "host/geometry/constants.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_path.h"
#include "model_fixture.h"

namespace {

class ParcelPathTest : public ModelTest {};

void expect_near(const POSITION3& a, const POSITION3& b) {
  EXPECT_NEAR(a.x(), b.x(), 1e-12);
  EXPECT_NEAR(a.y(), b.y(), 1e-12);
  EXPECT_NEAR(a.z(), b.z(), 1e-12);
}

TEST_F(ParcelPathTest, PathOfGoesFromBelowTheRootToTheObject) {
  NASMB3* a = create_nasmb3("a");
  NASMB3* b = create_nasmb3("b");
  NPART3* p = create_npart3("p");
  ASSERT_EQ(insert_in_graph(a), nullptr);
  ASSERT_EQ(insert_child(a, b), nullptr);
  ASSERT_EQ(insert_child(b, p), nullptr);

  const PARCEL_PATH path = path_of(p);
  ASSERT_EQ(path.size(), 3);
  EXPECT_EQ(path.at(0), a);
  EXPECT_EQ(path.at(1), b);
  EXPECT_EQ(path.last(), p);
  EXPECT_TRUE(path.rooted());
  EXPECT_TRUE(path.is_live());
  EXPECT_TRUE(path_of(root_parcel()).empty());
  EXPECT_TRUE(path_of(root_parcel()).rooted());
  EXPECT_TRUE(path_of(nullptr).empty());

  // A made-up path that skips a level is not rooted.
  PARCEL_PATH skipping;
  skipping.push_back(a);
  skipping.push_back(p);
  EXPECT_FALSE(skipping.rooted());

  // Outside the tree: up to the top that sits nowhere.
  ASSERT_EQ(remove_child(root_parcel(), a), nullptr);
  const PARCEL_PATH loose = path_of(p);
  EXPECT_EQ(loose, path);
  EXPECT_FALSE(loose.rooted());

  destroy_parcel(a);
  EXPECT_FALSE(path.is_live());
}

TEST_F(ParcelPathTest, TransformsComposeFromTheObjectUpwards) {
  NASMB3* a = create_nasmb3("a");
  NASMB3* b = create_nasmb3("b");
  NPART3* p = create_npart3("p");
  ASSERT_EQ(insert_in_graph(a), nullptr);
  ASSERT_EQ(insert_child(a, b), nullptr);
  ASSERT_EQ(insert_child(b, p), nullptr);

  // a: a quarter turn about z, then up by 10 in z.
  const TRANSFORM3 ta = TRANSFORM3::rotation(POSITION3(), VECTOR3(0, 0, 1), HOST_HALF_PI) *
                        TRANSFORM3::translation(VECTOR3(0, 0, 10));
  // b: along x by 5.
  const TRANSFORM3 tb = TRANSFORM3::translation(VECTOR3(5, 0, 0));
  // p: a quarter turn about x through (0, 1, 0).
  const TRANSFORM3 tp = TRANSFORM3::rotation(POSITION3(0, 1, 0), VECTOR3(1, 0, 0), HOST_HALF_PI);
  ASSERT_EQ(set_tm(a, ta), nullptr);
  ASSERT_EQ(set_tm(b, tb), nullptr);
  ASSERT_EQ(set_tm(p, tp), nullptr);
  EXPECT_EQ(inq_tm(b), tb);
  EXPECT_TRUE(inq_tm(nullptr).is_identity());

  // By hand, (1, 1, 1) in p's frame:
  //   p: relative to (0,1,0) it is (1, 0, 1); a quarter turn about x maps
  //      (y, z) to (-z, y): (1, -1, 0), so (1, 0, 0)
  //   b: (6, 0, 0)
  //   a: a quarter turn about z maps (x, y) to (-y, x): (0, 6, 0); up: (0, 6, 10)
  const POSITION3 x(1, 1, 1);
  expect_near(x * tp, POSITION3(1, 0, 0));
  const PARCEL_PATH path = path_of(p);
  expect_near(x * path.tm(), POSITION3(0, 6, 10));
  // Without p's own tm: a point given in b's frame.
  expect_near(POSITION3(1, 0, 0) * path.tm_no_last(), POSITION3(0, 6, 10));
  expect_near(x * path.tm_no_last(false), POSITION3(-1, 6, 11));
  // The inverses take world points back.
  expect_near(POSITION3(0, 6, 10) * path.tm(true), x);
  expect_near(POSITION3(0, 6, 10) * path.tm_no_last(true), POSITION3(1, 0, 0));
  EXPECT_TRUE(equal(path.tm(), tp * tb * ta, 1e-12));
  EXPECT_TRUE(equal(path.tm_no_last(), tb * ta, 1e-12));
  EXPECT_TRUE(PARCEL_PATH().tm().is_identity());
  EXPECT_TRUE(PARCEL_PATH().tm_no_last().is_identity());

  destroy_parcel(a);
}

TEST_F(ParcelPathTest, SharedContentsGiveOnePathPerPlace) {
  NASMB3* a1 = create_nasmb3("a1");
  NPART3* p = create_npart3("p");
  ASSERT_EQ(insert_child(a1, p), nullptr);
  NPARCEL* a2 = create_instance(a1, "a2");
  ASSERT_EQ(insert_in_graph(a1), nullptr);
  ASSERT_EQ(insert_in_graph(a2), nullptr);
  ASSERT_EQ(set_tm(a1, TRANSFORM3::translation(VECTOR3(1, 0, 0))), nullptr);
  ASSERT_EQ(set_tm(a2, TRANSFORM3::translation(VECTOR3(0, 2, 0))), nullptr);

  PARCEL_PATH through_a2;
  through_a2.push_back(a2);
  through_a2.push_back(p);
  EXPECT_TRUE(through_a2.rooted());
  expect_near(POSITION3() * through_a2.tm(), POSITION3(0, 2, 0));
  expect_near(POSITION3() * path_of(p).tm(), POSITION3(1, 0, 0));  // the oldest place

  destroy_parcel(a1);
  destroy_parcel(a2);
}

}  // namespace
