// Part data: bodies shared by the instances of a part, colours, transparency.

#include <cmath>

#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/model/model_errors.h"
#include "host/model/model_tree.h"
#include "host/model/part_data.h"
#include "model_fixture.h"

namespace {

class PartDataTest : public ModelTest {};

TEST_F(PartDataTest, ABodyAddedThroughOneInstanceIsSeenThroughTheOther) {
  NPART3* p = create_npart3("p");
  NPARCEL* q = create_instance(p, "q");
  EXPECT_EQ(get_part_body(p), nullptr);
  BODY* body = make_triangle_cube(1);
  ASSERT_EQ(add_body_to_part(q, body), nullptr);
  EXPECT_EQ(get_part_body(p), body);
  EXPECT_EQ(p->body(), body);
  EXPECT_EQ(body->owner(), inq_shared_data(p));
  EXPECT_EQ(add_body_to_part(p, body), nullptr);  // already there: nothing happens
  EXPECT_EQ(get_part_body(q), body);

  // Replacing loses the old body.
  const std::uint64_t old_id = body->sysid();
  BODY* other = make_triangle_cube(2);
  ASSERT_EQ(add_body_to_part(p, other), nullptr);
  EXPECT_FALSE(ENTITY::is_live(body, old_id));
  EXPECT_EQ(get_part_body(q), other);

  // A body taken from another part leaves it.
  NPART3* r = create_npart3("r");
  ASSERT_EQ(add_body_to_part(r, other), nullptr);
  EXPECT_EQ(get_part_body(p), nullptr);
  EXPECT_EQ(get_part_body(r), other);
  EXPECT_EQ(other->owner(), inq_shared_data(r));

  // The body dies with the contents, when the last instance goes.
  const std::uint64_t other_id = other->sysid();
  destroy_parcel(p);
  destroy_parcel(q);
  EXPECT_TRUE(ENTITY::is_live(other, other_id));
  destroy_parcel(r);
  EXPECT_FALSE(ENTITY::is_live(other, other_id));
}

TEST_F(PartDataTest, BodiesGoToPartsOnly) {
  NASMB3* a = create_nasmb3("a");
  NPART3* p = create_npart3("p");
  BODY* body = make_triangle_cube(1);
  EXPECT_EQ(add_body_to_part(a, body), model_error(MODEL_ERROR::NOT_A_PART));
  EXPECT_EQ(add_body_to_part(nullptr, body), model_error(MODEL_ERROR::NULL_ARGUMENT));
  EXPECT_EQ(add_body_to_part(p, nullptr), model_error(MODEL_ERROR::NULL_ARGUMENT));
  EXPECT_EQ(get_part_body(a), nullptr);
  EXPECT_EQ(get_part_body(nullptr), nullptr);
  // A body that something other than a part owns stays there.
  body->set_owner(a);
  EXPECT_EQ(add_body_to_part(p, body), model_error(MODEL_ERROR::BODY_IN_USE));
  EXPECT_EQ(get_part_body(p), nullptr);
  body->lose();
  destroy_parcel(a);
  destroy_parcel(p);
}

TEST_F(PartDataTest, ColourAndTransparencyLiveInTheContents) {
  NPART3* p = create_npart3("p");
  NPARCEL* q = create_instance(p);
  RGB_COLOR c;
  float t = -1.0f;
  EXPECT_FALSE(get_part_color(p, c));
  EXPECT_FALSE(get_base_color(inq_shared_data(p), c));
  EXPECT_FALSE(get_part_transparency(p, t));
  EXPECT_EQ(t, -1.0f);

  ASSERT_EQ(set_part_color(q, 1.0, 0.5, 0.0), nullptr);
  ASSERT_TRUE(get_part_color(p, c));
  EXPECT_EQ(c, (RGB_COLOR{1.0, 0.5, 0.0}));
  RGB_COLOR base, shaded, highlighted;
  ASSERT_TRUE(get_base_color(inq_shared_data(p), base, shaded, highlighted));
  EXPECT_EQ(base, c);
  EXPECT_EQ(shaded, c);
  EXPECT_EQ(highlighted, c);

  ASSERT_EQ(set_part_transparency(p, 0.25), nullptr);
  ASSERT_TRUE(get_part_transparency(q, t));
  EXPECT_EQ(t, 0.25f);

  // Out of range and NaN are refused and change nothing.
  EXPECT_EQ(set_part_color(p, 1.5, 0, 0), model_error(MODEL_ERROR::BAD_COLOR));
  EXPECT_EQ(set_part_color(p, 0, -0.1, 0), model_error(MODEL_ERROR::BAD_COLOR));
  EXPECT_EQ(set_part_color(p, 0, 0, std::nan("")), model_error(MODEL_ERROR::BAD_COLOR));
  EXPECT_EQ(set_part_transparency(p, 1.01), model_error(MODEL_ERROR::BAD_TRANSPARENCY));
  EXPECT_EQ(set_part_transparency(p, std::nan("")), model_error(MODEL_ERROR::BAD_TRANSPARENCY));
  ASSERT_TRUE(get_part_color(p, c));
  EXPECT_EQ(c, (RGB_COLOR{1.0, 0.5, 0.0}));
  ASSERT_TRUE(get_part_transparency(p, t));
  EXPECT_EQ(t, 0.25f);

  // Only parts have colours.
  NASMB3* a = create_nasmb3("a");
  EXPECT_EQ(set_part_color(a, 0, 0, 0), model_error(MODEL_ERROR::NOT_A_PART));
  EXPECT_EQ(set_part_transparency(a, 0), model_error(MODEL_ERROR::NOT_A_PART));
  EXPECT_FALSE(get_part_color(a, c));
  EXPECT_FALSE(get_base_color(inq_shared_data(a), c));
  EXPECT_FALSE(get_base_color(nullptr, c));

  ASSERT_EQ(remove_part_color(p), nullptr);
  ASSERT_EQ(remove_part_transparency(q), nullptr);
  EXPECT_FALSE(get_part_color(q, c));
  EXPECT_FALSE(get_part_transparency(p, t));

  destroy_parcel(a);
  destroy_parcel(p);
  destroy_parcel(q);
}

}  // namespace
