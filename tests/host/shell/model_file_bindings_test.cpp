// (save-model path) and (load-tv path :load-mode :load-all-as-new) as Lisp
// code uses them.

#include <fstream>

#include "host/document/graphics_file.h"
#include "host/kernel/history/history.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/model/part_data.h"
#include "host/lisp/lisp_runtime.h"
#include "host/model/model_tree.h"
#include "host/shell/host_start.h"
#include "tests/host/shell/step_tree_fixture.h"

namespace {

class ModelFileBindingsTest : public STEP_TREE_TEST {
 protected:
  static void SetUpTestSuite() { host_start(0, nullptr); }
  static std::string run(const std::string& text) {
    LISP_OUTCOME o = lisp_eval_string(text, "FRAME2");
    return o.ok ? lisp_prin1(o.value) : "ERROR: " + o.error;
  }
  std::string lisp_path(const std::string& name) const { return "\"" + path(name) + "\""; }
};

TEST_F(ModelFileBindingsTest, SaveAndLoadKeepNamesAndSysids) {
  ASSERT_EQ(
      run("(progn (defparameter *asm* (create-nasmb3 \"Frame\"))"
          "  (defparameter *part* (create-npart3 \"Rail\"))"
          "  (insert-child *asm* *part*) (insert-in-graph *asm*)"
          "  (set-part-color *part* 1 0.5 0)"
          "  (defparameter *ids* (list (tv-inq-obj-sysid *asm*) (tv-inq-obj-contents-sysid *asm*)"
          "                            (tv-inq-obj-sysid *part*) (tv-inq-obj-contents-sysid "
          "*part*)))"
          "  (save-model " +
          lisp_path("frame.lmx") + "))"),
      "\"" + path("frame.lmx") + "\"");
  EXPECT_EQ(run("(progn (destroy-parcel *asm*) (tv-inq-obj-children (root-parcel)))"), "NIL");
  HISTORY::instance().forget();
  EXPECT_EQ(run("(let* ((tops (load-tv " + lisp_path("frame.lmx") +
                " :load-mode :load-all-as-new))"
                "       (asm (first tops)) (part (first (tv-inq-obj-children asm))))"
                "  (list (length tops) (tv-inq-obj-pathname asm) (tv-inq-obj-pathname part)"
                "        (equal *ids* (list (tv-inq-obj-sysid asm) (tv-inq-obj-contents-sysid asm)"
                "                           (tv-inq-obj-sysid part) (tv-inq-obj-contents-sysid "
                "part)))))"),
            "(1 \"/Frame\" \"/Frame/Rail\" T)");
  // Loaded again: a second copy with fresh sysids, and no error.
  EXPECT_EQ(run("(let ((again (first (load-tv " + lisp_path("frame.lmx") +
                "))))"
                "  (list (tv-inq-obj-pathname again) (member (tv-inq-obj-sysid again) *ids*)))"),
            "(\"/Frame-1\" NIL)");
  EXPECT_EQ(run("(progn (mapc #'destroy-parcel (tv-inq-obj-children (root-parcel))) t)"), "T");
}

TEST_F(ModelFileBindingsTest, AGraphicsFileLoadsAsAGraphicsOnlyPart) {
  NPARCEL* part = create_npart3("Cube");
  add_body_to_part(part, make_triangle_cube(2.0));
  insert_in_graph(part);
  ASSERT_EQ(store_part_graphics(part, path("cube.graphics")), 12u);
  destroy_parcel(part);
  EXPECT_EQ(run("(let ((parts (load-tv " + lisp_path("cube.graphics") + ")))"
                "  (list (length parts) (tv-graphics-only-part-p (first parts)) (get-part-body (first parts))))"),
            "(1 T NIL)");
  EXPECT_EQ(run("(progn (mapc #'destroy-parcel (tv-inq-obj-children (root-parcel))) t)"), "T");
}

TEST_F(ModelFileBindingsTest, BadFilesAreLispErrorsAndTheSessionGoesOn) {
  std::ofstream(path("part.stl")) << "solid x\nendsolid x\n";
  const std::string missing = run("(handler-case (load-tv " + lisp_path("none.lmx") +
                                  ") (error (e) (format nil \"~a\" e)))");
  EXPECT_NE(missing.find(path("none.lmx")), std::string::npos) << missing;
  EXPECT_NE(missing.find("cannot be opened"), std::string::npos) << missing;
  const std::string foreign = run("(handler-case (load-tv " + lisp_path("part.stl") +
                                  ") (error (e) (format nil \"~a\" e)))");
  EXPECT_NE(foreign.find("not a file that Lumesh loads"), std::string::npos) << foreign;
  const std::string unwritable = run("(handler-case (save-model " + lisp_path("no/folder/m.lmx") +
                                     ") (error (e) (format nil \"~a\" e)))");
  EXPECT_NE(unwritable.find("no/folder/m.lmx"), std::string::npos) << unwritable;
  EXPECT_EQ(run("(handler-case (load-tv " + lisp_path("none.lmx") +
                " :load-mode :replace-everything) (error () :refused))"),
            ":REFUSED");
  EXPECT_EQ(run("(handler-case (load-tv 42) (type-error () :type))"), ":TYPE");
  EXPECT_EQ(run("(list (+ 1 2) (tv-inq-obj-children (root-parcel)))"), "(3 NIL)");
}

}  // namespace
