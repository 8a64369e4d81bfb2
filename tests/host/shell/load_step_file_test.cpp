// (load-step-file path &key parent) as Lisp code uses it.

#include <fstream>

#include "host/kernel/history/history.h"
#include "host/lisp/lisp_runtime.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_names.h"
#include "host/shell/host_start.h"
#include "tests/host/shell/step_tree_fixture.h"

namespace {

class LoadStepFileTest : public STEP_TREE_TEST {
 protected:
  static void SetUpTestSuite() { host_start(0, nullptr); }
  static std::string run(const std::string& text) {
    LISP_OUTCOME o = lisp_eval_string(text, "FRAME2");
    return o.ok ? lisp_prin1(o.value) : "ERROR: " + o.error;
  }
  // A Lisp string literal of a path.
  std::string lisp_path(const std::string& name) const { return "\"" + path(name) + "\""; }
  // The report of the error that `form` signals, prefixed by its kind.
  static std::string error_of(const std::string& form) {
    return run("(handler-case (progn " + form + " :no-error)"
               "  (k2:module-error (e) (format nil \"module: ~a\" e))"
               "  (type-error (e) (format nil \"type: ~a\" e))"
               "  (error (e) (format nil \"other: ~a\" e)))");
  }
};

TEST_F(LoadStepFileTest, ImportsUnderTheRootAndRecoversToBefore) {
  ASSERT_TRUE(write_frame_assembly(path("frame.step")));
  EXPECT_EQ(run("(progn (defparameter *before* (k2:current-state k2:*k2-state-manager*))"
                "       (defparameter *item* (load-step-file " + lisp_path("frame.step") + "))"
                "       (list (sel_item-type *item*) (tv-inq-obj-pathname (sel_item-item *item*))"
                "             (mapcar #'tv-inq-obj-pathname (tv-inq-obj-children (sel_item-item *item*)))))"),
            "(:ASSEMBLY \"/frame\" (\"/frame/left\" \"/frame/right\"))");
  NPARCEL* right = pathname_to_obj("/frame/right");
  ASSERT_NE(right, nullptr);
  EXPECT_EQ(get_part_body(right)->number_of_faces(), 6);
  expect_box(world_box(right), POSITION3(-20, 50, 0), POSITION3(0, 60, 30));
  // The two instances show one body.
  EXPECT_EQ(get_part_body(pathname_to_obj("/frame/left")), get_part_body(right));
  EXPECT_EQ(run("(progn (k2:recover-state k2:*k2-state-manager* *before*) (tv-inq-obj-children (root-parcel)))"), "NIL");
  EXPECT_EQ(run("(handler-case (tv-inq-obj-pathname (sel_item-item *item*)) (error () :gone))"), ":GONE");
}

TEST_F(LoadStepFileTest, ParentGivenAsHandleOrSelItem) {
  ASSERT_TRUE(write_machine_assembly(path("machine.step")));
  EXPECT_EQ(run("(progn (defparameter *a* (create-nasmb3 \"shop\")) (insert-in-graph *a*)"
                "  (list (tv-inq-obj-pathname (sel_item-item (load-step-file " + lisp_path("machine.step") +
                "                                                 :parent *a*)))"
                "        (tv-inq-obj-pathname (sel_item-item (load-step-file " + lisp_path("machine.step") +
                "                                                 :parent (root-parcel-sel-item))))))"),
            "(\"/shop/machine\" \"/machine\")");
  EXPECT_EQ(run("(length (tv-inq-obj-children (tv-pathname-to-obj \"/machine/axle-1\")))"), "2");
  EXPECT_EQ(run("(progn (destroy-parcel *a*) (destroy-parcel (tv-pathname-to-obj \"/machine\")) t)"), "T");
}

TEST_F(LoadStepFileTest, BadFilesAndArgumentsAreLispErrors) {
  const std::string missing = error_of("(load-step-file " + lisp_path("missing.step") + ")");
  EXPECT_EQ(missing.rfind("\"module: ", 0), 0u) << missing;
  EXPECT_NE(missing.find("cannot be read"), std::string::npos) << missing;
  std::ofstream(path("empty.step")).close();
  EXPECT_EQ(error_of("(load-step-file " + lisp_path("empty.step") + ")"), missing);
  std::ofstream(path("junk.step")) << "ISO-10303-21;\nHEADER;\ngarbage";
  EXPECT_EQ(error_of("(load-step-file " + lisp_path("junk.step") + ")"), missing);
  EXPECT_EQ(error_of("(load-step-file 42)").rfind("\"type: ", 0), 0u);
  EXPECT_EQ(error_of("(load-step-file)").rfind("\"other: ", 0), 0u);
  EXPECT_EQ(error_of("(load-step-file " + lisp_path("missing.step") + " :parent)").rfind("\"other: ", 0), 0u);
  EXPECT_EQ(error_of("(load-step-file " + lisp_path("missing.step") + " :color 1)").rfind("\"other: ", 0), 0u);
  EXPECT_EQ(error_of("(load-step-file " + lisp_path("missing.step") + " :parent 7)").rfind("\"type: ", 0), 0u);
  EXPECT_EQ(inq_num_children(root_parcel()), 0);
}

TEST_F(LoadStepFileTest, RefusedImportLeavesNothingBehind) {
  ASSERT_TRUE(write_frame_assembly(path("frame.step")));
  EXPECT_EQ(run("(progn (defparameter *p* (create-npart3 \"plate\")) (insert-in-graph *p*) t)"), "T");
  const std::uint64_t entities = ENTITY::registered_count();
  const std::string refused = error_of("(load-step-file " + lisp_path("frame.step") + " :parent *p*)");
  EXPECT_EQ(refused.rfind("\"module: ", 0), 0u) << refused;
  EXPECT_EQ(run("(mapcar #'tv-inq-obj-pathname (tv-inq-obj-children (root-parcel)))"), "(\"/plate\")");
  EXPECT_EQ(run("(tv-inq-obj-children *p*)"), "NIL");
  HISTORY::instance().forget();
  EXPECT_EQ(ENTITY::registered_count(), entities);
  EXPECT_EQ(run("(progn (destroy-parcel *p*) t)"), "T");
}

}  // namespace
