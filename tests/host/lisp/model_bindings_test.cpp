// The model tree as Lisp code uses it.

#include "host/kernel/history/history.h"
#include "lisp_fixture.h"

namespace {

class ModelBindingsTest : public LispTest {
 protected:
  static std::string run(const std::string& text) { return eval(text, "FRAME2"); }
};

TEST_F(ModelBindingsTest, TreesPathsInstancesAndCheckpoints) {
  EXPECT_EQ(run("(progn (defparameter *a* (create-nasmb3 \"frame\"))"
                "       (defparameter *p* (create-npart3 \"plate\"))"
                "       (defparameter *q* (create-instance *p* \"plate\"))"
                "       (insert-in-graph *a*) (insert-child *a* *p*) (insert-child *a* *q*)"
                "       (mapcar #'tv-inq-obj-pathname (tv-inq-obj-children *a*)))"),
            "(\"/frame/plate\" \"/frame/plate-1\")");
  EXPECT_EQ(run("(tv-inq-obj-pathname (tv-pathname-to-obj \"/frame/plate-1\"))"), "\"/frame/plate-1\"");
  EXPECT_EQ(run("(tv-pathname-to-obj \"/nothing/here\")"), "NIL");
  EXPECT_EQ(run("(tv-inq-obj-pathname (tv-inq-parent-obj *q*))"), "\"/frame\"");
  EXPECT_EQ(run("(tv-inq-obj-basename *q*)"), "\"plate-1\"");
  EXPECT_EQ(run("(tv-inq-parent-obj (root-parcel))"), "NIL");
  EXPECT_EQ(run("(sel_item-type (root-parcel-sel-item))"), ":ASSEMBLY");
  // A transformation set on the assembly moves what is inside it.
  EXPECT_EQ(run("(progn (set-tm *a* (inq-tm *p*)) t)"), "T");
  // A checkpoint brings names back.
  EXPECT_EQ(run("(let ((cp (tv-set-model-checkpoint)))"
                "  (assign-name *a* \"renamed\")"
                "  (list (tv-inq-obj-pathname *p*) (tv-return-to-model-checkpoint cp)"
                "        (tv-inq-obj-pathname *p*)))"),
            "(\"/renamed/plate\" T \"/frame/plate\")");
  EXPECT_EQ(run("(tv-return-to-model-checkpoint 123456)"), "NIL");
  // Refusals are errors with the model's text; the tree stays as it was.
  EXPECT_EQ(run("(handler-case (insert-child *p* (create-npart3)) (k2:module-error () :refused))"),
            ":REFUSED");
  EXPECT_EQ(run("(handler-case (tv-inq-obj-children 5) (type-error () :not-a-parcel))"),
            ":NOT-A-PARCEL");
  EXPECT_EQ(run("(progn (destroy-parcel *a*)"
                "       (handler-case (tv-inq-obj-pathname *a*) (error () :stale)))"),
            ":STALE");
  HISTORY::instance().forget();
}

}  // namespace
