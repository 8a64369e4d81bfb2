#include "host/shell/step_placement.h"

#include <gtest/gtest.h>

#include "host/kernel/history/history.h"
#include "host/kernel/topology/body.h"
#include "host/model/model_errors.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_names.h"
#include "host/model/parcel_path.h"
#include "host/model/part_data.h"
#include "tests/host/shell/step_tree_fixture.h"

namespace {

using StepPlacementTest = STEP_TREE_TEST;

TEST_F(StepPlacementTest, SharedPartBecomesTwoInstancesOfOneContents) {
  ASSERT_TRUE(write_frame_assembly(path("frame.step")));
  const HISTORY::STATE_ID before = HISTORY::instance().current_state();
  STEP_MODEL model = read_step_model(path("frame.step"));
  NPARCEL* top = place_step_model(model, nullptr, "frame-file");
  ASSERT_NE(top, nullptr);
  EXPECT_EQ(inq_parent(top), root_parcel());
  EXPECT_EQ(top->kind(), PARCEL_KIND::assembly);
  EXPECT_EQ(inquire_name(top), "frame");
  EXPECT_TRUE(inq_tm(top).is_identity());
  ASSERT_EQ(inq_num_children(top), 2);
  NPARCEL* left = inq_child(top, 0);
  NPARCEL* right = inq_child(top, 1);
  EXPECT_EQ(inquire_name(left), "left");
  EXPECT_EQ(inquire_name(right), "right");
  EXPECT_EQ(left->kind(), PARCEL_KIND::part);
  EXPECT_EQ(right->kind(), PARCEL_KIND::part);
  // One contents, one body, one colour: shown twice.
  EXPECT_EQ(inq_shared_data(left), inq_shared_data(right));
  BODY* body = get_part_body(left);
  ASSERT_NE(body, nullptr);
  EXPECT_EQ(get_part_body(right), body);
  EXPECT_EQ(body->number_of_faces(), 6);
  RGB_COLOR c;
  ASSERT_TRUE(get_part_color(right, c));
  EXPECT_NEAR(c.r, 1.0, 1e-6);
  EXPECT_NEAR(c.g, 0.0, 1e-6);
  EXPECT_NEAR(c.b, 0.0, 1e-6);
  // Where the instances put the box in the world.
  expect_box(world_box(left), POSITION3(100, 0, 0), POSITION3(110, 20, 30));
  expect_box(world_box(right), POSITION3(-20, 50, 0), POSITION3(0, 60, 30));
  expect_near(POSITION3(10, 20, 30) * inq_tm(right), POSITION3(-20, 60, 30));

  // Recovering the state before the import takes all of it back.
  ASSERT_TRUE(HISTORY::instance().recover_state(before));
  EXPECT_EQ(inq_num_children(root_parcel()), 0);
}

TEST_F(StepPlacementTest, NestedAssembliesNestInTheTree) {
  ASSERT_TRUE(write_machine_assembly(path("machine.step")));
  STEP_MODEL model = read_step_model(path("machine.step"));
  NPARCEL* holder = create_nasmb3("holder");
  ASSERT_EQ(insert_in_graph(holder), nullptr);
  ASSERT_EQ(set_tm(holder, TRANSFORM3::translation(VECTOR3(0, 1000, 0))), nullptr);
  NPARCEL* top = place_step_model(model, holder, "machine-file");
  EXPECT_EQ(inq_parent(top), holder);
  EXPECT_EQ(inq_obj_pathname(top), "/holder/machine");
  NPARCEL* axle = pathname_to_obj("/holder/machine/axle-1");
  NPARCEL* post = pathname_to_obj("/holder/machine/post-1");
  NPARCEL* upper = pathname_to_obj("/holder/machine/axle-1/upper");
  NPARCEL* lower = pathname_to_obj("/holder/machine/axle-1/bracket");
  ASSERT_NE(axle, nullptr);
  ASSERT_NE(post, nullptr);
  ASSERT_NE(upper, nullptr);
  ASSERT_NE(lower, nullptr);
  EXPECT_EQ(axle->kind(), PARCEL_KIND::assembly);
  EXPECT_EQ(inq_num_children(top), 2);
  // The unnamed instance is named after its part.
  EXPECT_EQ(inq_shared_data(upper), inq_shared_data(lower));
  // The holder's move, the axle's and the upper bracket's own, together.
  expect_box(world_box(upper), POSITION3(0, 1000, 150), POSITION3(10, 1020, 180));
  expect_box(world_box(lower), POSITION3(0, 1000, 100), POSITION3(10, 1020, 130));
  expect_box(world_box(post), POSITION3(195, 995, 0), POSITION3(205, 1005, 40));
  ASSERT_NE(get_part_body(post), nullptr);
  EXPECT_EQ(get_part_body(post)->number_of_faces(), 3);
  RGB_COLOR c;
  ASSERT_TRUE(get_part_color(post, c));
  EXPECT_NEAR(c.b, 1.0, 1e-6);
  EXPECT_EQ(destroy_parcel(holder), nullptr);
}

TEST_F(StepPlacementTest, SeveralTopProductsGoIntoAnAssemblyNamedAfterTheFile) {
  XCAF_TEST_FILE f;
  f.part(xcaf_box(1, 2, 3), "small");
  f.part(xcaf_box(4, 5, 6), "large", 0.0, 1.0, 0.0);
  ASSERT_TRUE(f.write(path("pair.step")));
  STEP_MODEL model = read_step_model(path("pair.step"));
  NPARCEL* top = place_step_model(model, nullptr, "pair");
  EXPECT_EQ(inquire_name(top), "pair");
  ASSERT_EQ(inq_num_children(top), 2);
  EXPECT_EQ(inquire_name(inq_child(top, 0)), "small");
  EXPECT_EQ(inquire_name(inq_child(top, 1)), "large");
  RGB_COLOR c;
  EXPECT_FALSE(get_part_color(inq_child(top, 0), c));
  EXPECT_TRUE(get_part_color(inq_child(top, 1), c));
  expect_box(world_box(inq_child(top, 1)), POSITION3(0, 0, 0), POSITION3(4, 5, 6));
  EXPECT_EQ(destroy_parcel(top), nullptr);
}

TEST_F(StepPlacementTest, PlainPartFileGivesOnePartNamedAfterTheFile) {
  ASSERT_TRUE(write_plain_part(path("plain.step"), xcaf_box(4, 5, 6)));
  STEP_MODEL model = read_step_model(path("plain.step"));
  NPARCEL* top = place_step_model(model, nullptr, "plain");
  EXPECT_EQ(top->kind(), PARCEL_KIND::part);
  EXPECT_FALSE(inquire_name(top).empty());
  ASSERT_NE(get_part_body(top), nullptr);
  EXPECT_EQ(get_part_body(top)->number_of_faces(), 6);
  EXPECT_EQ(destroy_parcel(top), nullptr);
}

TEST_F(StepPlacementTest, RefusedPlacementLeavesTreeAndBodiesAsTheyWere) {
  ASSERT_TRUE(write_machine_assembly(path("machine.step")));
  NPARCEL* part = create_npart3("plate");
  ASSERT_EQ(insert_in_graph(part), nullptr);
  const std::uint64_t entities = ENTITY::registered_count();
  {
    STEP_MODEL model = read_step_model(path("machine.step"));
    BODY* bracket = nullptr;
    for (const STEP_NODE& n : model.nodes()) {
      if (n.name == "bracket") bracket = n.body;
    }
    ASSERT_NE(bracket, nullptr);
    try {
      place_step_model(model, part, "machine");
      ADD_FAILURE() << "an assembly went into a part";
    } catch (const TV_EXCEPTION& e) {
      EXPECT_EQ(e.info(), model_error(MODEL_ERROR::PARENT_IS_PART));
    }
    // Nothing of the import in the tree; the bodies are free and the model's.
    EXPECT_EQ(inq_num_children(root_parcel()), 1);
    EXPECT_EQ(inq_num_children(part), 0);
    EXPECT_TRUE(bracket->is_alive());
    EXPECT_EQ(bracket->number_of_faces(), 6);
  }
  HISTORY::instance().forget();
  EXPECT_EQ(ENTITY::registered_count(), entities);
  EXPECT_EQ(destroy_parcel(part), nullptr);
}

}  // namespace
