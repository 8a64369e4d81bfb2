// The structure browser over the model tree: nodes and their path strings,
// named features as nodes, following insertions, renames, destruction and
// undo, the selection and folding, popup entries and the terminal picture.

#include "host/ui/structure_browser.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "../model/model_fixture.h"
#include "host/kernel/history/history.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_names.h"
#include "host/model/universal_feature.h"
#include "host/ui/browser_text.h"

namespace {

using V = std::vector<std::string>;

class StructureBrowserTest : public ModelTest {
 protected:
  void SetUp() override {
    ModelTest::SetUp();
    asm_ = create_nasmb3("asm");
    part_ = create_npart3("bolt");
    ASSERT_EQ(insert_in_graph(asm_), nullptr);
    ASSERT_EQ(insert_child(asm_, part_), nullptr);
  }
  void TearDown() override {
    for (NPARCEL* p : std::vector<NPARCEL*>(children(root_parcel()))) destroy_parcel(p);
    ModelTest::TearDown();
  }
  // Every node's path, depth first.
  static V paths(const BROWSER_NODE& root) {
    V out;
    std::vector<const BROWSER_NODE*> work{&root};
    while (!work.empty()) {
      const BROWSER_NODE* n = work.back();
      work.pop_back();
      out.push_back(n->path);
      for (std::size_t i = n->children.size(); i-- > 0;) work.push_back(&n->children[i]);
    }
    return out;
  }
  static THIN_UNIVERSAL_FEATURE* feature(ENTITY* place, const std::string& name) {
    return make_thin_universal_feature(place, FEATURE_OPTIONS{}, FEATURE_MEMORY{}, name);
  }
  STRUCTURE_BROWSER browser_;
  NPARCEL* asm_ = nullptr;
  NPARCEL* part_ = nullptr;
};

TEST_F(StructureBrowserTest, NodesArePlacesOfTheTree) {
  const BROWSER_NODE& root = browser_.tree();
  EXPECT_EQ(root.kind, BROWSER_NODE_KIND::ROOT);
  EXPECT_EQ(paths(root), (V{"/", "/asm", "/asm/bolt"}));
  const BROWSER_NODE& bolt = browser_.node("/asm/bolt");
  EXPECT_EQ(bolt.label, "bolt");
  EXPECT_EQ(bolt.kind, BROWSER_NODE_KIND::PART);
  EXPECT_EQ(browser_.node("/asm").kind, BROWSER_NODE_KIND::ASSEMBLY);
  // Paths name objects: each leads back to its parcel.
  EXPECT_EQ(pathname_to_obj("/asm/bolt"), part_);
  EXPECT_THROW(browser_.node("/nothing"), BROWSER_ERROR);
}

TEST_F(StructureBrowserTest, ASharedPartShowsUnderEachPlace) {
  NPARCEL* other = create_nasmb3("other");
  insert_in_graph(other);
  NPARCEL* again = create_instance(asm_, "asm2");
  insert_child(other, again);
  EXPECT_EQ(paths(browser_.tree()),
            (V{"/", "/asm", "/asm/bolt", "/other", "/other/asm2", "/other/asm2/bolt"}));
  EXPECT_EQ(pathname_to_obj("/other/asm2/bolt"), part_);
}

TEST_F(StructureBrowserTest, NamedFeaturesAreNodesAndTheirPathsParseBack) {
  feature(part_->shared_data(), "Mesh Parameters");
  feature(part_->shared_data(), "");  // hidden
  feature(part_, "Quality \"A\"");
  feature(part_, "Mesh Parameters");
  const V all = paths(browser_.tree());
  const V expected{"/",
                   "/asm",
                   "/asm/bolt",
                   "\"/asm/bolt\" :FEATURE \"Mesh Parameters\"",
                   "\"/asm/bolt\" :FEATURE \"Quality \\\"A\\\"\"",
                   "\"/asm/bolt\" :FEATURE \"Mesh Parameters (2)\""};
  EXPECT_EQ(all, expected);
  const BROWSER_NODE& f = browser_.node(expected[4]);
  EXPECT_EQ(f.kind, BROWSER_NODE_KIND::FEATURE);
  EXPECT_EQ(f.label, "Quality \"A\"");
  const auto parsed = parse_feature_node_path(f.path);
  ASSERT_TRUE(parsed.has_value());
  EXPECT_EQ(parsed->parcel_path, "/asm/bolt");
  EXPECT_EQ(parsed->key, "Quality \"A\"");
  EXPECT_EQ(pathname_to_obj(parsed->parcel_path), part_);
  EXPECT_FALSE(parse_feature_node_path("/asm/bolt").has_value());
  EXPECT_FALSE(parse_feature_node_path("\"/asm\" :PART \"x\"").has_value());
  EXPECT_FALSE(parse_feature_node_path("\"/asm\" :FEATURE \"x").has_value());
  EXPECT_FALSE(parse_feature_node_path("\"/asm\" :FEATURE \"x\" more").has_value());
}

TEST_F(StructureBrowserTest, TheTreeFollowsTheModelAndItsHistory) {
  int heard = 0;
  browser_.subscribe([&](const STRUCTURE_BROWSER&) { ++heard; });
  browser_.tree();
  EXPECT_EQ(heard, 1);
  EXPECT_FALSE(browser_.refresh());  // nothing changed, nothing said
  EXPECT_EQ(heard, 1);
  HISTORY& h = HISTORY::instance();
  const auto before = h.note_state();

  NPARCEL* nut = create_npart3("nut");
  insert_child(asm_, nut);
  EXPECT_TRUE(browser_.refresh());
  EXPECT_EQ(heard, 2);
  EXPECT_NE(browser_.find("/asm/nut"), nullptr);

  assign_name(nut, "washer");
  EXPECT_EQ(browser_.find("/asm/nut"), nullptr);
  EXPECT_NE(browser_.find("/asm/washer"), nullptr);

  feature(nut, "Study");
  EXPECT_NE(browser_.find("\"/asm/washer\" :FEATURE \"Study\""), nullptr);
  const auto before_destruction = h.note_state();
  destroy_parcel(nut);
  EXPECT_EQ(paths(browser_.tree()), (V{"/", "/asm", "/asm/bolt"}));

  h.note_state();
  ASSERT_TRUE(h.recover_state(before_destruction));
  EXPECT_EQ(paths(browser_.tree()),
            (V{"/", "/asm", "/asm/bolt", "/asm/washer", "\"/asm/washer\" :FEATURE \"Study\""}));
  ASSERT_TRUE(h.recover_state(before));
  EXPECT_EQ(paths(browser_.tree()), (V{"/", "/asm", "/asm/bolt"}));
  EXPECT_GE(heard, 6);
}

TEST_F(StructureBrowserTest, SelectionAndFoldingAreKeptByPath) {
  browser_.select("/asm/bolt");
  EXPECT_TRUE(browser_.node("/asm/bolt").selected);
  browser_.select("/asm", true);
  EXPECT_EQ(browser_.selection(), (V{"/asm", "/asm/bolt"}));
  browser_.select("/asm");
  EXPECT_EQ(browser_.selection(), (V{"/asm"}));
  EXPECT_THROW(browser_.select("/gone"), BROWSER_ERROR);
  browser_.set_expanded("/asm", false);
  EXPECT_FALSE(browser_.node("/asm").expanded);
  EXPECT_EQ(structure_tree_text(browser_.tree()), (V{"- /", "  + asm (assembly) *"}));
  browser_.set_expanded("/asm", true);
  browser_.clear_selection();
  EXPECT_EQ(structure_tree_text(browser_.tree()),
            (V{"- /", "  - asm (assembly)", "      bolt (part)"}));
  // A node that leaves the tree leaves the selection.
  browser_.select("/asm/bolt");
  destroy_parcel(part_);
  EXPECT_TRUE(browser_.selection().empty());
}

TEST_F(StructureBrowserTest, PopupEntriesAreOfferedByTheirTest) {
  std::vector<std::string> ran;
  browser_.add_popup_entry(
      {"Parts only", [](const BROWSER_NODE& n) { return n.kind == BROWSER_NODE_KIND::PART; },
       [&](const BROWSER_NODE& n) { ran.push_back("parts " + n.path); }},
      false);
  browser_.add_popup_entry(
      {"Everywhere", nullptr, [&](const BROWSER_NODE& n) { ran.push_back("all " + n.label); }},
      true);
  browser_.add_popup_entry(
      {"Broken test", [](const BROWSER_NODE&) -> bool { throw std::runtime_error("boom"); },
       nullptr},
      false);
  browser_.add_popup_entry(
      {"Failing", nullptr,
       [](const BROWSER_NODE&) { throw std::runtime_error("the study is gone"); }},
      false);
  std::vector<std::string> errors;
  EXPECT_EQ(browser_.popup_entries("/asm/bolt", &errors),
            (V{"Everywhere", "Parts only", "Failing"}));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_NE(errors[0].find("boom"), std::string::npos);
  EXPECT_EQ(browser_.popup_entries("/asm"), (V{"Everywhere", "Failing"}));
  EXPECT_EQ(browser_.run_popup_entry("/asm/bolt", "Parts only"), "");
  EXPECT_EQ(browser_.run_popup_entry("/asm", "Everywhere"), "");
  EXPECT_EQ(ran, (V{"parts /asm/bolt", "all asm"}));
  EXPECT_THROW(browser_.run_popup_entry("/asm", "Parts only"), BROWSER_ERROR);
  EXPECT_THROW(browser_.run_popup_entry("/asm", "No such entry"), BROWSER_ERROR);
  EXPECT_THROW(browser_.run_popup_entry("/gone", "Everywhere"), BROWSER_ERROR);
  const std::string error = browser_.run_popup_entry("/asm", "Failing");
  EXPECT_NE(error.find("the study is gone"), std::string::npos);
  EXPECT_NE(error.find("Failing"), std::string::npos);
}

TEST_F(StructureBrowserTest, AnActionMayChangeTheModelUnderItsNode) {
  browser_.add_popup_entry({"Delete", nullptr,
                            [&](const BROWSER_NODE& n) {
                              destroy_parcel(pathname_to_obj(n.path));
                              EXPECT_EQ(n.path, "/asm/bolt");  // the node given stays readable
                            }},
                           false);
  EXPECT_EQ(browser_.run_popup_entry("/asm/bolt", "Delete"), "");
  EXPECT_EQ(browser_.find("/asm/bolt"), nullptr);
}

}  // namespace
