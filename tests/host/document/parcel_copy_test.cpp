// Copies of parcels: bodies, colours and children copied deep, shared
// contents staying shared, features copied by their option, the history.

#include "host/document/parcel_copy.h"

#include "host/kernel/history/history.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/model/model_tree.h"
#include "host/model/nparcel.h"
#include "host/model/part_data.h"
#include "host/model/universal_feature.h"
#include "tests/host/model/model_fixture.h"

namespace {

FEATURE_MEMORY typed(const char* type) {
  FEATURE_MEMORY m;
  m.set("FEATURE-TYPE", FEATURE_VALUE::keyword(type));
  return m;
}

class ParcelCopyTest : public ModelTest {
 protected:
  void TearDown() override {
    while (inq_num_children(root_parcel()) > 0) destroy_parcel(inq_child(root_parcel(), 0));
    ModelTest::TearDown();
  }
};

TEST_F(ParcelCopyTest, APartsBodyColourAndCopiedFeaturesComeAlong) {
  NPARCEL* part = create_npart3("bolt");
  ASSERT_EQ(add_body_to_part(part, make_bored_block(20, 10, 5, 2, 16)), nullptr);
  set_part_color(part, 0.25, 0.5, 1.0);
  set_part_transparency(part, 0.5);
  insert_in_graph(part);
  FEATURE_OPTIONS not_copied;
  not_copied.on_copy = FEATURE_POLICY::DETACH;
  make_thin_universal_feature(part->shared_data(), FEATURE_OPTIONS{}, typed("IMPORT"), "Import");
  make_thin_universal_feature(part->shared_data(), not_copied, typed("PRIVATE"));
  make_thin_universal_feature(part, FEATURE_OPTIONS{}, typed("ON-INSTANCE"));

  NPARCEL* copy = copy_parcel(part);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->parent_contents(), nullptr);
  EXPECT_EQ(insert_in_graph(copy), nullptr);
  EXPECT_NE(copy->shared_data(), part->shared_data());
  const BODY* a = get_part_body(part);
  const BODY* b = get_part_body(copy);
  ASSERT_NE(b, nullptr);
  EXPECT_NE(a, b);
  EXPECT_EQ(b->number_of_faces(), a->number_of_faces());
  EXPECT_TRUE(check_body(b).ok());
  RGB_COLOR c;
  ASSERT_TRUE(get_part_color(copy, c));
  EXPECT_EQ(c, (RGB_COLOR{0.25, 0.5, 1.0}));
  // Of the contents' features, the one copied with a copy; the instance's own.
  ASSERT_EQ(features_at(copy->shared_data()).size(), 1u);
  EXPECT_EQ(features_at(copy->shared_data())[0]->name(), "Import");
  EXPECT_EQ(features_at(copy).size(), 1u);
}

TEST_F(ParcelCopyTest, AnAssemblyKeepsItsSharingAndPlacements) {
  NPARCEL* asmb = create_nasmb3("frame");
  NPARCEL* rail = create_npart3("rail");
  add_body_to_part(rail, make_triangle_cube(5));
  NPARCEL* rail2 = create_instance(rail, "rail");
  set_tm(rail2, TRANSFORM3::translation(VECTOR3(0, 40, 0)));
  insert_child(asmb, rail);
  insert_child(asmb, rail2);
  insert_child(rail, create_cont("notes"));
  insert_in_graph(asmb);

  NPARCEL* copy = copy_parcel(asmb);
  insert_in_graph(copy);
  ASSERT_EQ(inq_num_children(copy), 2);
  NPARCEL* c1 = inq_child(copy, 0);
  NPARCEL* c2 = inq_child(copy, 1);
  EXPECT_EQ(c1->shared_data(), c2->shared_data());
  EXPECT_NE(c1->shared_data(), rail->shared_data());
  EXPECT_EQ(inq_tm(c2).translation_vector().y(), 40.0);
  EXPECT_EQ(inq_num_children(c1), 1);
  EXPECT_EQ(c1->name(), "rail");
}

TEST_F(ParcelCopyTest, UndoRemovesTheCopyAndBadArgumentsAreRefused) {
  NPARCEL* part = create_npart3("p");
  add_body_to_part(part, make_triangle_cube(1));
  insert_in_graph(part);
  const auto noted = HISTORY::instance().note_state();
  insert_in_graph(copy_parcel(part));
  EXPECT_EQ(inq_num_children(root_parcel()), 2);
  ASSERT_TRUE(HISTORY::instance().recover_state(noted));
  EXPECT_EQ(inq_num_children(root_parcel()), 1);
  EXPECT_THROW(copy_parcel(nullptr), TV_EXCEPTION);
  EXPECT_THROW(copy_parcel(root_parcel()), TV_EXCEPTION);
}

}  // namespace
