// Universal features as Lisp code uses them: attaching with options and
// memory, searching, reading contents back, references to items, names, the
// history, and the values a feature refuses.

#include "host/kernel/history/history.h"
#include "lisp_fixture.h"

namespace {

class FeatureBindingsTest : public LispTest {
 protected:
  static std::string run(const std::string& text) { return eval(text, "FRAME2"); }
  void SetUp() override {
    ASSERT_EQ(run("(progn (defparameter *p* (create-npart3 \"mesh\"))"
                  "       (defparameter *q* (create-instance *p* \"mesh\"))"
                  "       (insert-in-graph *p*) (insert-in-graph *q*) t)"),
              "T");
  }
  void TearDown() override {
    run("(progn (destroy-parcel *p*) (destroy-parcel *q*))");
    HISTORY::instance().forget();
  }
};

TEST_F(FeatureBindingsTest, AttachSearchAndReadContents) {
  EXPECT_EQ(run("(progn (defparameter *f* (make-thin-universal-feature-instance"
                "   (list (inq-shared-data *p*)) :on-split :detach :on-merge :detach :on-xform :maintain"
                "   :on-copy :copy :on-sysid-change :maintain :filing :tv-file"
                "   :feature-type :mesh-import :facets 24 :precision 0.05d0 :name \"plate.stl\""
                "   :distances '((17 . 0.5d0) (18 . -0.25d0)) :merge nil))"
                "  (k2:entity-handle-type *f*))"),
            "FRAME2:THIN-UNIVERSAL-FEATURE");
  // Seen through the other instance of the part; hidden features are found.
  EXPECT_EQ(run("(length (search-universal-feature (list (inq-shared-data *q*)) '(:feature-type)))"), "1");
  EXPECT_EQ(run("(search-universal-feature (list *q*) '(:feature-type))"), "NIL");
  EXPECT_EQ(run("(get-universal-feature-contents *f* '(:facets :missing :distances :name :merge))"),
            "(:FACETS 24 :DISTANCES ((17 . 0.5d0) (18 . -0.25d0)) :NAME \"plate.stl\" :MERGE NIL)");
  // Keywords come back identical, as a search by identity needs.
  EXPECT_EQ(run("(eq (getf (get-universal-feature-contents *f* '(:feature-type)) :feature-type)"
                "    :mesh-import)"),
            "T");
  EXPECT_EQ(run("(progn (set-universal-feature-contents *f* :facets 25)"
                "  (get-universal-feature-contents *f* '(:facets)))"),
            "(:FACETS 25)");
  // A name makes it a node of the tree; NIL hides it again.
  EXPECT_EQ(run("(list (assign-name *f* \"Mesh Parameters\") (inquire-name *f*)"
                "      (assign-name *f* nil))"),
            "(\"Mesh Parameters\" \"Mesh Parameters\" \"\")");
  // A feature's sel_item ends at a parcel that shows its place.
  EXPECT_EQ(run("(sel_item-type (make-sel_item :item *f* :path (list *q*) :type :feature))"),
            ":FEATURE");
  EXPECT_EQ(run("(= (k2:entity-handle-sysid (feature-place *f*))"
                "   (k2:entity-handle-sysid (inq-shared-data *q*)))"), "T");
}

TEST_F(FeatureBindingsTest, ReferencesComeBackAsSelItemsWhileTheyLive) {
  EXPECT_EQ(run("(progn (defparameter *c* (create-cont \"study\")) (insert-in-graph *c*)"
                "  (defparameter *r* (make-thin-universal-feature-instance (list *c*)"
                "     :feature-type :study-measurement-result :measurement-object-type :measurement))"
                "  (add-thin-universal-feature-entities *r* nil (list *p* *q* *p*))"
                "  (mapcar #'tv-inq-obj-pathname"
                "     (mapcar #'sel_item-item (get-thin-universal-feature-ref-sel-items *r* nil))))"),
            "(\"/mesh\" \"/mesh-1\")");
  EXPECT_EQ(run("(progn (destroy-parcel *c*)"
                "  (handler-case (get-universal-feature-contents *r* '(:feature-type))"
                "    (error () :stale)))"),
            ":STALE");
}

TEST_F(FeatureBindingsTest, UndoAndCheckpointsBringFeaturesBack) {
  EXPECT_EQ(run("(let ((cp (tv-set-model-checkpoint)))"
                "  (make-thin-universal-feature-instance (list *p*) :feature-type :a)"
                "  (list (length (universal-features *p*))"
                "        (tv-return-to-model-checkpoint cp)"
                "        (length (universal-features *p*))))"),
            "(1 T 0)");
  EXPECT_EQ(run("(let* ((f (make-thin-universal-feature-instance (list *p*) :feature-type :b :n 1))"
                "       (cp (tv-set-model-checkpoint)))"
                "  (set-universal-feature-contents f :n 2)"
                "  (destroy-universal-feature f)"
                "  (tv-return-to-model-checkpoint cp)"
                "  (get-universal-feature-contents (first (universal-features *p*)) '(:n)))"),
            "(:N 1)");
}

// A copy of a study element keeps its feature, so the copy is recognised.
TEST_F(FeatureBindingsTest, ACopyKeepsItsFeatures) {
  EXPECT_EQ(run("(let ((c (create-cont \"study\")))"
                "  (insert-in-graph c)"
                "  (make-thin-universal-feature-instance (list c) :feature-type :study-measurement-result"
                "     :measurement-object-type :measurement)"
                "  (let ((copy (copy-parcel (sel-item-of c))))"
                "    (insert-in-graph copy)"
                "    (prog1 (get-universal-feature-contents"
                "             (first (search-universal-feature (list copy) '(:feature-type)))"
                "             '(:feature-type :measurement-object-type))"
                "      (destroy-parcel copy) (destroy-parcel c))))"),
            "(:FEATURE-TYPE :STUDY-MEASUREMENT-RESULT :MEASUREMENT-OBJECT-TYPE :MEASUREMENT)");
  EXPECT_EQ(run("(handler-case (copy-parcel (root-parcel)) (error () :refused))"), ":REFUSED");
}

TEST_F(FeatureBindingsTest, HandlesAndOtherSessionObjectsAreRefused) {
  // A handle holds only for the running session.
  EXPECT_EQ(run("(handler-case (make-thin-universal-feature-instance (list *p*) :feature-type :x"
                "                 :part *p*) (error () :refused))"),
            ":REFUSED");
  EXPECT_EQ(run("(handler-case (make-thin-universal-feature-instance (list *p*) :x #'car)"
                "  (error () :refused))"),
            ":REFUSED");
  EXPECT_EQ(run("(handler-case (make-thin-universal-feature-instance (list *p*) :x (make-symbol \"G\"))"
                "  (error () :refused))"),
            ":REFUSED");
  EXPECT_EQ(run("(handler-case (make-thin-universal-feature-instance (list *p*) :on-split :sometimes)"
                "  (error () :refused))"),
            ":REFUSED");
  EXPECT_EQ(run("(handler-case (make-thin-universal-feature-instance (list *p*) :feature-type)"
                "  (error () :refused))"),
            ":REFUSED");
  EXPECT_EQ(run("(handler-case (make-thin-universal-feature-instance (list 5) :feature-type :x)"
                "  (error () :refused))"),
            ":REFUSED");
  // Deep nesting is refused, a long flat list is not.
  EXPECT_EQ(run("(handler-case (make-thin-universal-feature-instance (list *p*) :x"
                "   (let ((v 1)) (dotimes (i 200 v) (setf v (list v)))))"
                "  (error () :refused))"),
            ":REFUSED");
  EXPECT_EQ(run("(let ((f (make-thin-universal-feature-instance (list *p*) :x"
                "           (loop for i below 100000 collect i))))"
                "  (length (getf (get-universal-feature-contents f '(:x)) :x)))"),
            "100000");
  // Nothing was attached by the refused calls.
  EXPECT_EQ(run("(length (universal-features *p*))"), "1");
}

}  // namespace
