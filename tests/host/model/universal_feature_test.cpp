// Universal features: where they hang, how they are found, what becomes of
// them when their place is destroyed, copied, split or merged, and the
// history bringing them back.

#include <cmath>
#include <string>
#include <vector>

#include "host/kernel/history/history.h"
#include "host/model/model_checkpoint.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_path.h"
#include "host/model/universal_feature.h"
#include "model_fixture.h"

namespace {

FEATURE_MEMORY memory_of(const std::string& type, std::vector<std::pair<std::string, FEATURE_VALUE>> more = {}) {
  FEATURE_MEMORY m;
  m.set("FEATURE-TYPE", FEATURE_VALUE::keyword(type));
  for (auto& [k, v] : more) m.set(k, v);
  return m;
}

class UniversalFeatureTest : public ModelTest {
 protected:
  void SetUp() override {
    ModelTest::SetUp();
    part_ = create_npart3("bracket");
    ASSERT_EQ(insert_in_graph(part_), nullptr);
    other_ = create_instance(part_, "bracket");
    ASSERT_EQ(insert_in_graph(other_), nullptr);
  }
  void TearDown() override {
    if (NPARCEL* root = root_parcel()) {
      while (inq_num_children(root) > 0) destroy_parcel(inq_child(root, 0));
    }
    ModelTest::TearDown();
  }
  NPARCEL* part_ = nullptr;
  NPARCEL* other_ = nullptr;
};

TEST_F(UniversalFeatureTest, ValuesCompareByContentAndFoldNilTails) {
  EXPECT_EQ(FEATURE_VALUE::symbol("COMMON-LISP", "NIL"), FEATURE_VALUE());
  EXPECT_EQ(FEATURE_VALUE::symbol("COMMON-LISP", "T").kind(), FEATURE_VALUE::KIND::T);
  EXPECT_EQ(FEATURE_VALUE::list({}), FEATURE_VALUE());
  // (a . nil) is (a).
  EXPECT_EQ(FEATURE_VALUE::list({FEATURE_VALUE::integer(1), FEATURE_VALUE()}, true),
            FEATURE_VALUE::list({FEATURE_VALUE::integer(1)}));
  EXPECT_NE(FEATURE_VALUE::list({FEATURE_VALUE::integer(1), FEATURE_VALUE::real(2.0)}, true),
            FEATURE_VALUE::list({FEATURE_VALUE::integer(1), FEATURE_VALUE::real(2.0)}));
  EXPECT_NE(FEATURE_VALUE::integer(2), FEATURE_VALUE::real(2.0));
  EXPECT_NE(FEATURE_VALUE::keyword("A"), FEATURE_VALUE::symbol("LUMESH", "A"));
  const double nan = std::nan("");
  EXPECT_EQ(FEATURE_VALUE::real(nan), FEATURE_VALUE::real(nan));
}

TEST_F(UniversalFeatureTest, ContentsFeaturesAreSeenThroughEveryInstanceAndHiddenOnesAreFound) {
  ENTITY* shared = feature_place(part_, true);
  ASSERT_EQ(shared, feature_place(other_, true));
  THIN_UNIVERSAL_FEATURE* hidden = make_thin_universal_feature(
      shared, FEATURE_OPTIONS{}, memory_of("MESH-IMPORT", {{"FACETS", FEATURE_VALUE::integer(24)}}));
  EXPECT_FALSE(hidden->named());
  const auto found = search_universal_feature(feature_place(other_, true), {"FEATURE-TYPE"});
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0], hidden);
  // Instance features belong to the one instance.
  THIN_UNIVERSAL_FEATURE* mine = make_thin_universal_feature(
      part_, FEATURE_OPTIONS{}, memory_of("RESULT"), "Result");
  EXPECT_TRUE(mine->named());
  EXPECT_EQ(search_universal_feature(part_, {"FEATURE-TYPE"}).size(), 1u);
  EXPECT_TRUE(search_universal_feature(other_, {"FEATURE-TYPE"}).empty());
  // Keys the memory lacks exclude a feature.
  EXPECT_TRUE(search_universal_feature(shared, {"FEATURE-TYPE", "NOT-THERE"}).empty());
  // Contents: the keys it has, in the order asked.
  const FEATURE_MEMORY m = universal_feature_contents(*hidden, {"FACETS", "NOT-THERE", "FEATURE-TYPE"});
  ASSERT_EQ(m.entries().size(), 2u);
  EXPECT_EQ(m.entries()[0].first, "FACETS");
  EXPECT_EQ(m.entries()[1].second, FEATURE_VALUE::keyword("MESH-IMPORT"));
}

TEST_F(UniversalFeatureTest, FeaturesDieWithTheirPlace) {
  make_thin_universal_feature(feature_place(part_, true), FEATURE_OPTIONS{}, memory_of("A"));
  make_thin_universal_feature(other_, FEATURE_OPTIONS{}, memory_of("B"));
  EXPECT_EQ(destroy_parcel(other_), nullptr);
  // The contents lives on in `part_`, with its feature.
  EXPECT_EQ(features_at(feature_place(part_, true)).size(), 1u);
  EXPECT_EQ(destroy_parcel(part_), nullptr);
  HISTORY::instance().forget();
  // The fixture checks that no entity is left behind.
}

TEST_F(UniversalFeatureTest, OptionsDecideWhatSplitMergeAndCopyDo) {
  ENTITY* shared = feature_place(part_, true);
  FEATURE_OPTIONS kept;
  kept.on_split = FEATURE_POLICY::MAINTAIN;
  kept.on_copy = FEATURE_POLICY::DETACH;
  make_thin_universal_feature(shared, FEATURE_OPTIONS{}, memory_of("DETACHED"));
  make_thin_universal_feature(shared, kept, memory_of("KEPT"));
  EXPECT_EQ(universal_features_after(shared, FEATURE_EVENT::XFORM), 0);
  EXPECT_EQ(universal_features_after(shared, FEATURE_EVENT::SYSID_CHANGE), 0);
  // A copy takes the features copied with a copy, memory and name.
  NPARCEL* copy = create_npart3("copy");
  ASSERT_EQ(insert_in_graph(copy), nullptr);
  EXPECT_EQ(copy_universal_features(shared, feature_place(copy, true)), 1);
  const auto copied = features_at(feature_place(copy, true));
  ASSERT_EQ(copied.size(), 1u);
  EXPECT_EQ(*copied[0]->memory().find("FEATURE-TYPE"), FEATURE_VALUE::keyword("DETACHED"));
  EXPECT_NE(copied[0]->sysid(), features_at(shared)[0]->sysid());
  // A split takes the default feature away and leaves the other.
  EXPECT_EQ(universal_features_after(shared, FEATURE_EVENT::SPLIT), 1);
  ASSERT_EQ(features_at(shared).size(), 1u);
  EXPECT_EQ(*features_at(shared)[0]->memory().find("FEATURE-TYPE"), FEATURE_VALUE::keyword("KEPT"));
  // A merge detaches it too.
  EXPECT_EQ(universal_features_after(shared, FEATURE_EVENT::MERGE), 1);
  EXPECT_TRUE(features_at(shared).empty());
}

TEST_F(UniversalFeatureTest, ReferencesToItemsLeaveOutDuplicatesAndTheDead) {
  THIN_UNIVERSAL_FEATURE* f = make_thin_universal_feature(part_, FEATURE_OPTIONS{}, memory_of("R"));
  NPARCEL* study = create_cont("study");
  ASSERT_EQ(insert_in_graph(study), nullptr);
  const SEL_ITEM a = sel_item_of(other_);
  const SEL_ITEM b = sel_item_of(study);
  add_universal_feature_entities(*f, {a, b, a});
  add_universal_feature_entities(*f, {b});
  EXPECT_EQ(universal_feature_ref_sel_items(*f).size(), 2u);
  EXPECT_EQ(destroy_parcel(study), nullptr);
  const auto live = universal_feature_ref_sel_items(*f);
  ASSERT_EQ(live.size(), 1u);
  EXPECT_EQ(live[0], a);
}

TEST_F(UniversalFeatureTest, TheHistoryBringsFeaturesBack) {
  ENTITY* shared = feature_place(part_, true);
  THIN_UNIVERSAL_FEATURE* f = make_thin_universal_feature(
      shared, FEATURE_OPTIONS{}, memory_of("STUDY", {{"TOLERANCE", FEATURE_VALUE::real(0.1)}}), "Study");
  const std::uint64_t id = f->sysid();
  const int checkpoint = tv_set_model_checkpoint();
  FEATURE_MEMORY change;
  change.set("TOLERANCE", FEATURE_VALUE::real(0.5));
  set_universal_feature_contents(*f, change);
  set_universal_feature_name(*f, "");
  make_thin_universal_feature(shared, FEATURE_OPTIONS{}, memory_of("LATER"));
  universal_features_after(shared, FEATURE_EVENT::SPLIT);  // both detach
  EXPECT_TRUE(features_at(shared).empty());
  ASSERT_TRUE(tv_return_to_model_checkpoint(checkpoint));
  const auto back = features_at(shared);
  ASSERT_EQ(back.size(), 1u);
  EXPECT_EQ(back[0]->sysid(), id);
  EXPECT_EQ(back[0]->name(), "Study");
  EXPECT_EQ(*back[0]->memory().find("TOLERANCE"), FEATURE_VALUE::real(0.1));
  // Attaching is undone too.
  const auto noted = HISTORY::instance().note_state();
  make_thin_universal_feature(part_, FEATURE_OPTIONS{}, memory_of("UNDONE"));
  ASSERT_TRUE(HISTORY::instance().recover_state(noted));
  EXPECT_TRUE(features_at(part_).empty());
}

TEST_F(UniversalFeatureTest, OnlyParcelsAndContentsCarryFeatures) {
  EXPECT_THROW(make_thin_universal_feature(nullptr, FEATURE_OPTIONS{}, FEATURE_MEMORY{}), TV_EXCEPTION);
  THIN_UNIVERSAL_FEATURE* f = make_thin_universal_feature(part_, FEATURE_OPTIONS{}, memory_of("A"));
  EXPECT_THROW(make_thin_universal_feature(f, FEATURE_OPTIONS{}, FEATURE_MEMORY{}), TV_EXCEPTION);
  EXPECT_TRUE(features_at(f).empty());
  EXPECT_TRUE(features_at(nullptr).empty());
  destroy_universal_feature(f);
  EXPECT_TRUE(features_at(part_).empty());
}

}  // namespace
