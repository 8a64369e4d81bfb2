// What `lumesh import --out` writes: the bodies the root's instances reach,
// with their placements composed through components, and a clear error for
// instances that refer in a circle or multiply without end.

#include "app/step_output.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "host/geometry/transform3.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/shell/host_start.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/module_entry.h"

namespace {

class StepOutput : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    host_start(0, nullptr);
    ASSERT_EQ(host_load_module(&init_load_init), "");
  }
  // Binds a special variable of the package to a value made in C++.
  static void bind(const std::string& name, LAOBJ* value) {
    eval("(defvar " + name + " nil)");
    lisp_apply(hcl_find_symbol("SET", "COMMON-LISP"),
               make_list({hcl_find_symbol(name.c_str(), "LUMESH.DATA-EXCHANGE"), value}));
  }
  static LAOBJ* eval(const std::string& text) {
    LISP_OUTCOME o = lisp_eval_string(text, "LUMESH.DATA-EXCHANGE");
    EXPECT_TRUE(o.ok) << o.error;
    return o.value;
  }
};

TEST_F(StepOutput, PlacementsComposeThroughComponents) {
  BODY* body = make_bored_block(40, 30, 10, 6, 32);
  bind("*BODY*", make_ptr(body));
  bind("*TX*", make_transf(TRANSFORM3::translation(VECTOR3(100, 0, 0))));
  bind("*TY*", make_transf(TRANSFORM3::translation(VECTOR3(0, 50, 0))));
  // Root -> assembly 2 moved by x 100 -> the body twice, once moved by y 50.
  LAOBJ* spec = eval(
      "(list (list :id -1 :name \"root\" :components"
      "        (list (list :tm *tx* :target 2)))"
      "      (list :id 1 :name \"block\" :body *body* :resolution 1d-6 :color #xFFFF0000)"
      "      (list :id 2 :name \"pair\" :components"
      "        (list (list :tm nil :target 1)"
      "              (list :tm *ty* :target 1)"
      "              (list :tm nil :target 42))))");
  const std::vector<STEP_EXPORT_ITEM> items = placed_bodies(spec);
  ASSERT_EQ(items.size(), 2u);  // the reference to 42 places nothing
  EXPECT_EQ(items[0].body, body);
  EXPECT_EQ(items[0].name, "block");
  EXPECT_TRUE(items[0].has_color);
  EXPECT_DOUBLE_EQ(items[0].r, 1.0);
  EXPECT_DOUBLE_EQ(items[0].g, 0.0);
  const POSITION3 first = POSITION3(0, 0, 0) * items[0].placement;
  const POSITION3 second = POSITION3(0, 0, 0) * items[1].placement;
  EXPECT_DOUBLE_EQ(first.x(), 100.0);
  EXPECT_DOUBLE_EQ(first.y(), 0.0);
  EXPECT_DOUBLE_EQ(second.x(), 100.0);
  EXPECT_DOUBLE_EQ(second.y(), 50.0);
  body->lose();
}

TEST_F(StepOutput, CircularReferencesStopWithAnError) {
  LAOBJ* spec = eval(
      "(list (list :id -1 :name \"root\" :components (list (list :tm nil :target 1)))"
      "      (list :id 1 :name \"loop\" :components (list (list :tm nil :target 1))))");
  EXPECT_THROW(placed_bodies(spec), std::runtime_error);
}

TEST_F(StepOutput, InstancesThatMultiplyWithoutEndStopWithAnError) {
  // Thirty levels of pairs: a billion instances if nothing stopped them.
  std::string text = "(list (list :id -1 :name \"root\" :components (list (list :tm nil :target 1)))";
  for (int level = 1; level <= 30; ++level) {
    const std::string next = std::to_string(level + 1);
    text += " (list :id " + std::to_string(level) + " :name \"pair\" :components (list (list :tm nil :target " +
            next + ") (list :tm nil :target " + next + ")))";
  }
  text += ")";
  EXPECT_THROW(placed_bodies(eval(text)), std::runtime_error);
}

TEST_F(StepOutput, NothingToPlaceGivesNoItems) {
  EXPECT_TRUE(placed_bodies(lisp_nil()).empty());
  EXPECT_TRUE(placed_bodies(eval("(list (list :id -1 :name \"root\" :components nil))")).empty());
}

}  // namespace
