// The model tree: building, children order, parents, shared contents and the
// insertions that are refused.

#include <vector>

#include "host/model/model_errors.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_names.h"
#include "model_fixture.h"

namespace {

class ModelTreeTest : public ModelTest {};

TEST_F(ModelTreeTest, ErrorRecordsAreNumberedInOrderUnderFrame2) {
  for (int i = 0; i <= static_cast<int>(MODEL_ERROR::BAD_SEL_PATH); ++i) {
    MOD_INFO* info = model_error(static_cast<MODEL_ERROR>(i));
    EXPECT_EQ(info->module(), "frame2");
    EXPECT_EQ(info->id(), i + 1);
    EXPECT_FALSE(info->key().empty());
  }
}

TEST_F(ModelTreeTest, RootIsAnAssemblyOfItsOwnThatCannotBeChanged) {
  NPARCEL* root = root_parcel();
  EXPECT_EQ(root, root_parcel());
  EXPECT_TRUE(is_root_parcel(root));
  EXPECT_TRUE(root->is_a(NASMB3::type));
  EXPECT_EQ(inq_parent(root), nullptr);
  EXPECT_EQ(inquire_name(root), "");
  EXPECT_EQ(destroy_parcel(root), model_error(MODEL_ERROR::ROOT_PARCEL));
  EXPECT_EQ(set_tm(root, TRANSFORM3::scaling(2)), model_error(MODEL_ERROR::ROOT_PARCEL));
  EXPECT_EQ(assign_name(root, "x"), model_error(MODEL_ERROR::ROOT_PARCEL));
  EXPECT_EQ(create_instance(root), nullptr);
  NASMB3* a = create_nasmb3("a");
  EXPECT_EQ(insert_child(a, root), model_error(MODEL_ERROR::ROOT_PARCEL));
  EXPECT_EQ(destroy_parcel(a), nullptr);
  EXPECT_FALSE(is_root_parcel(nullptr));
}

TEST_F(ModelTreeTest, BuildsATreeInOrderWithPositionsAndParents) {
  NASMB3* a = create_nasmb3("a");
  NPART3* p = create_npart3("p");
  NPART3* q = create_npart3("q");
  NCONT* c = create_cont("c");
  EXPECT_TRUE(a->is_a(NPARCEL::type) && p->is_a(NPART3::type) && c->is_a(NCONT::type));
  EXPECT_EQ(a->kind(), PARCEL_KIND::assembly);
  EXPECT_EQ(p->kind(), PARCEL_KIND::part);
  EXPECT_EQ(c->kind(), PARCEL_KIND::container);
  EXPECT_TRUE(inq_shared_data(p)->is_a(PART_STRUCT::type));
  EXPECT_TRUE(inq_shared_data(a)->is_a(ASMB_STRUCT::type));
  EXPECT_TRUE(inq_shared_data(c)->is_a(CONT_STRUCT::type));

  // Outside the tree: no parent, no path name.
  EXPECT_EQ(inq_parent(p), nullptr);
  EXPECT_EQ(inq_obj_pathname(p), "");

  ASSERT_EQ(insert_in_graph(a), nullptr);
  ASSERT_EQ(insert_child(a, q), nullptr);
  ASSERT_EQ(insert_child(a, p, 0), nullptr);   // before q
  ASSERT_EQ(insert_child(a, c, 1), nullptr);   // between p and q
  EXPECT_EQ(children(a), (std::vector<NPARCEL*>{p, c, q}));
  EXPECT_EQ(inq_num_children(a), 3);
  EXPECT_EQ(inq_child(a, 2), q);
  EXPECT_EQ(inq_child(a, 3), nullptr);
  EXPECT_EQ(inq_child(a, -1), nullptr);
  EXPECT_EQ(inq_parent(p), a);
  EXPECT_EQ(inq_parent(a), root_parcel());
  EXPECT_EQ(inq_child(root_parcel(), 0), a);

  ASSERT_EQ(remove_child(a, c), nullptr);
  EXPECT_EQ(children(a), (std::vector<NPARCEL*>{p, q}));
  EXPECT_EQ(inq_parent(c), nullptr);
  EXPECT_EQ(remove_child(a, c), model_error(MODEL_ERROR::NOT_A_CHILD));
  EXPECT_EQ(remove_child(root_parcel(), p), model_error(MODEL_ERROR::NOT_A_CHILD));

  EXPECT_EQ(destroy_parcel(c), nullptr);
  EXPECT_EQ(destroy_parcel(a), nullptr);
  EXPECT_EQ(assertions(), 0u);
}

TEST_F(ModelTreeTest, RefusesPartsIntoPartsTreesTwiceAndNulls) {
  NPART3* p = create_npart3("p");
  NPART3* q = create_npart3("q");
  NASMB3* a = create_nasmb3("a");
  NCONT* study = create_cont("study");
  EXPECT_EQ(insert_child(p, q), model_error(MODEL_ERROR::PARENT_IS_PART));
  EXPECT_EQ(insert_child(p, a), model_error(MODEL_ERROR::PARENT_IS_PART));
  EXPECT_EQ(children(p).size(), 0u);
  // A part holds containers (a study under a mesh part).
  EXPECT_EQ(insert_child(p, study), nullptr);
  EXPECT_EQ(inq_parent(study), p);

  ASSERT_EQ(insert_child(a, q), nullptr);
  EXPECT_EQ(insert_child(a, q), model_error(MODEL_ERROR::ALREADY_IN_TREE));
  EXPECT_EQ(insert_in_graph(q), model_error(MODEL_ERROR::ALREADY_IN_TREE));
  EXPECT_EQ(insert_child(nullptr, q), model_error(MODEL_ERROR::NULL_ARGUMENT));
  EXPECT_EQ(insert_child(a, nullptr), model_error(MODEL_ERROR::NULL_ARGUMENT));
  EXPECT_EQ(destroy_parcel(nullptr), model_error(MODEL_ERROR::NULL_ARGUMENT));
  EXPECT_EQ(children(a).size(), 1u);

  destroy_parcel(a);
  destroy_parcel(p);
}

TEST_F(ModelTreeTest, RefusesEveryInsertionThatMakesACycle) {
  NASMB3* a = create_nasmb3("a");
  NASMB3* b = create_nasmb3("b");
  NCONT* c = create_cont("c");
  ASSERT_EQ(insert_child(a, b), nullptr);
  ASSERT_EQ(insert_child(b, c), nullptr);

  // Directly: an instance of a into a.
  NPARCEL* a2 = create_instance(a, "a2");
  EXPECT_EQ(insert_child(a, a2), model_error(MODEL_ERROR::CYCLE));
  // Indirectly: a below c, which is below a.
  EXPECT_EQ(insert_child(c, a2), model_error(MODEL_ERROR::CYCLE));
  EXPECT_EQ(insert_child(b, a2), model_error(MODEL_ERROR::CYCLE));
  // The same contents elsewhere is fine.
  NASMB3* other = create_nasmb3("other");
  EXPECT_EQ(insert_child(other, a2), nullptr);
  // And then `other` cannot go below a.
  EXPECT_EQ(insert_child(c, other), model_error(MODEL_ERROR::CYCLE));
  EXPECT_TRUE(children(c).empty());

  destroy_parcel(other);  // takes a2, not a's contents, which a still shows
  EXPECT_EQ(children(a).size(), 1u);
  destroy_parcel(a);
}

TEST_F(ModelTreeTest, AnInstanceIntoItsOwnContentsIsACycle) {
  NASMB3* a = create_nasmb3("a");
  EXPECT_EQ(insert_child(a, a), model_error(MODEL_ERROR::CYCLE));
  destroy_parcel(a);
}

TEST_F(ModelTreeTest, InstancesShareContentsAndChildren) {
  NASMB3* a1 = create_nasmb3("a");
  NPART3* p = create_npart3("p");
  ASSERT_EQ(insert_child(a1, p), nullptr);
  NPARCEL* a2 = create_instance(a1, "a");
  ASSERT_NE(a2, nullptr);
  EXPECT_TRUE(a2->is_a(NASMB3::type));
  EXPECT_EQ(inq_shared_data(a2), inq_shared_data(a1));
  EXPECT_EQ(inq_shared_data(a1)->instances(), (std::vector<NPARCEL*>{a1, a2}));
  EXPECT_EQ(inq_child(a2, 0), p);

  ASSERT_EQ(insert_in_graph(a2), nullptr);
  // a1 is outside the tree, so p's parent is the placed instance a2.
  EXPECT_EQ(inq_parent(p), a2);
  ASSERT_EQ(insert_in_graph(a1), nullptr);
  EXPECT_NE(inquire_name(a1), inquire_name(a2));
  EXPECT_EQ(inq_parent(p), a1);  // the oldest placed instance

  // A child added through one instance is seen through the other.
  NCONT* c = create_cont("c");
  ASSERT_EQ(insert_child(a2, c), nullptr);
  EXPECT_EQ(inq_child(a1, 1), c);

  // Destroying one instance keeps the contents for the other.
  ASSERT_EQ(destroy_parcel(a1), nullptr);
  EXPECT_EQ(inq_num_children(a2), 2);
  EXPECT_EQ(inq_parent(p), a2);
  EXPECT_EQ(destroy_parcel(a2), nullptr);
}

}  // namespace
