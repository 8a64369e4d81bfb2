// Selection items: types derived from the item, paths checked.

#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/shell.h"
#include "host/model/model_errors.h"
#include "host/model/model_tree.h"
#include "host/model/part_data.h"
#include "host/model/sel_item.h"
#include "model_fixture.h"

namespace {

class SelItemTest : public ModelTest {};

// The error a throwing call carries, or null.
template <class FN>
MOD_INFO* error_of(FN&& fn) {
  try {
    fn();
  } catch (const TV_EXCEPTION& e) {
    return e.info();
  }
  return nullptr;
}

TEST_F(SelItemTest, TypesFollowTheItem) {
  NASMB3* a = create_nasmb3("a");
  NPART3* p = create_npart3("p");
  NCONT* c = create_cont("c");
  ASSERT_EQ(insert_in_graph(a), nullptr);
  ASSERT_EQ(insert_child(a, p), nullptr);
  ASSERT_EQ(insert_child(a, c), nullptr);

  const SEL_ITEM sa = sel_item_of(a);
  EXPECT_EQ(sel_item_type(sa), s_assembly);
  EXPECT_EQ(sel_item_item(sa), a);
  EXPECT_EQ(sel_item_path(sa), path_of(a));
  EXPECT_EQ(sel_item_type(make_sel_item(p, path_of(p))), s_part);
  EXPECT_EQ(sel_item_type(make_sel_item(c, path_of(c))), s_container);
  const SEL_ITEM root = sel_item_of(root_parcel());
  EXPECT_EQ(root.type(), s_assembly);
  EXPECT_TRUE(root.path().empty());
  EXPECT_TRUE(sa.is_live());

  destroy_parcel(a);
  EXPECT_EQ(sel_item_item(sa), nullptr);
  EXPECT_FALSE(sa.is_live());
}

TEST_F(SelItemTest, AFaceIsSelectedThroughThePartThatShowsItsBody) {
  NASMB3* a = create_nasmb3("a");
  NPART3* p = create_npart3("p");
  NPARCEL* q = create_instance(p, "q");
  ASSERT_EQ(insert_in_graph(a), nullptr);
  ASSERT_EQ(insert_child(a, p), nullptr);
  ASSERT_EQ(insert_in_graph(q), nullptr);
  BODY* body = make_triangle_cube(1);
  ASSERT_EQ(add_body_to_part(p, body), nullptr);
  FACE* face = body->shell(0)->first_face();
  ASSERT_NE(face, nullptr);

  const SEL_ITEM through_a = make_sel_item(face, path_of(p));
  EXPECT_EQ(through_a.type(), s_face);
  EXPECT_EQ(through_a.item(), face);
  EXPECT_EQ(through_a.path().last(), p);
  // The other place of the same part gives another item.
  const SEL_ITEM through_q = make_sel_item(face, path_of(q));
  EXPECT_EQ(through_q.path().last(), q);
  EXPECT_FALSE(through_a == through_q);

  // A path that does not end at a part showing the body is refused.
  EXPECT_EQ(error_of([&] { make_sel_item(face, path_of(a)); }),
            model_error(MODEL_ERROR::BAD_SEL_PATH));
  EXPECT_EQ(error_of([&] { make_sel_item(face, PARCEL_PATH()); }),
            model_error(MODEL_ERROR::BAD_SEL_PATH));

  destroy_parcel(a);
  destroy_parcel(q);
}

TEST_F(SelItemTest, BadItemsAndPathsAreRefused) {
  NASMB3* a = create_nasmb3("a");
  NPART3* p = create_npart3("p");
  ASSERT_EQ(insert_in_graph(a), nullptr);
  ASSERT_EQ(insert_child(a, p), nullptr);
  BODY* body = make_triangle_cube(1);
  ASSERT_EQ(add_body_to_part(p, body), nullptr);

  EXPECT_EQ(error_of([&] { make_sel_item(nullptr, path_of(p)); }),
            model_error(MODEL_ERROR::NULL_ARGUMENT));
  // A body is no selectable item.
  EXPECT_EQ(error_of([&] { make_sel_item(body, path_of(p)); }),
            model_error(MODEL_ERROR::WRONG_ITEM));
  // The path must end at the parcel and lead down from the root.
  EXPECT_EQ(error_of([&] { make_sel_item(p, path_of(a)); }),
            model_error(MODEL_ERROR::BAD_SEL_PATH));
  PARCEL_PATH skipping;
  skipping.push_back(p);
  EXPECT_EQ(error_of([&] { make_sel_item(p, skipping); }),
            model_error(MODEL_ERROR::BAD_SEL_PATH));
  EXPECT_EQ(error_of([&] { make_sel_item(root_parcel(), path_of(a)); }),
            model_error(MODEL_ERROR::BAD_SEL_PATH));
  // An object outside the tree cannot be selected.
  NPART3* loose = create_npart3("loose");
  EXPECT_EQ(error_of([&] { sel_item_of(loose); }), model_error(MODEL_ERROR::BAD_SEL_PATH));

  destroy_parcel(a);
  destroy_parcel(loose);
}

}  // namespace
