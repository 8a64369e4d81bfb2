// READ-MANUFACTURING-DATA from Lisp: the options, the STL branch's model
// description, the error border and the global resolution on every path.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "host/geometry/resolution.h"
#include "host/kernel/topology/body.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/values.h"
#include "host/shell/ui_bindings.h"
#include "host/ui/break_status.h"
#include "host/ui/progress.h"
#include "host/shell/host_start.h"
#include "lumesh/core/load_module.h"
#include "support/stl_test_files.h"
#include "support/threemf_package.h"
#include "lumesh/core/module_entry.h"

namespace {

namespace fs = std::filesystem;
using stl_test::SCRATCH_DIR;
using stl_test::text_facet;

class ReadManufacturingData : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    host_start(0, nullptr);
    ASSERT_EQ(host_load_module(&init_load_init), "");
  }
  void SetUp() override { saved_ = get_k2_geores(); }
  void TearDown() override { get_k2_geores() = saved_; }

  // The printed value, or "ERROR: " and the condition's text.
  static std::string eval(const std::string& text) {
    LISP_OUTCOME o = lisp_eval_string(text, "LUMESH.DATA-EXCHANGE");
    return o.ok ? lisp_prin1(o.value) : "ERROR: " + o.error;
  }
  // The body of the node that `node_form` evaluates to.
  static BODY* body_of(const std::string& node_form) {
    LISP_OUTCOME o = lisp_eval_string("(getf " + node_form + " :body)", "LUMESH.DATA-EXCHANGE");
    EXPECT_TRUE(o.ok) << o.error;
    return o.ok ? object_to_entity<BODY>(o.value) : nullptr;
  }
  static std::string quoted(const fs::path& p) { return "\"" + p.string() + "\""; }

  resolution saved_;
};

// A closed tetrahedron as one text solid, shifted by dx.
std::string tetra_solid(const std::string& name, double dx) {
  auto p = [dx](double x, double y, double z) {
    return std::to_string(x + dx) + " " + std::to_string(y) + " " + std::to_string(z);
  };
  const std::string a = p(0, 0, 0), b = p(10, 0, 0), c = p(0, 10, 0), d = p(0, 0, 10);
  return "solid " + name + "\n" + text_facet("0 0 -1", a, c, b) + text_facet("0 -1 0", a, b, d) +
         text_facet("-1 0 0", a, d, c) + text_facet("1 1 1", b, c, d) + "endsolid " + name + "\n";
}

TEST_F(ReadManufacturingData, ATwoSolidFileGivesRootThenFirstThenSecondSolid) {
  SCRATCH_DIR dir("rmd_");
  const fs::path file = dir.write("two.stl", tetra_solid("first", 0) + tetra_solid("second", 50));
  ASSERT_EQ(eval("(defparameter *spec* (read-manufacturing-data " + quoted(file) + " :type :stl))")
                .rfind("ERROR", 0),
            std::string::npos);
  EXPECT_EQ(eval("(length *spec*)"), "3");
  EXPECT_EQ(eval("(first *spec*)"),
            "(:ID -1 :NAME \"two.stl\" :COMPONENTS ((:TM NIL :TARGET 1) (:TM NIL :TARGET 0)))");
  EXPECT_EQ(eval("(mapcar (lambda (n) (getf n :id)) *spec*)"), "(-1 1 0)");
  // Every node is named "Mesh", whatever the solid line says.
  EXPECT_EQ(eval("(mapcar (lambda (n) (getf n :name)) (rest *spec*))"), "(\"Mesh\" \"Mesh\")");
  EXPECT_EQ(eval("(loop for k in (second *spec*) by #'cddr collect k)"),
            "(:ID :NAME :BODY :RESOLUTION :FACET-COUNT :FACE-COUNT :REPAIRED-FACET-COUNT "
            ":DEGENERATE-FACET-COUNT :SURFACE-RECONSTRUCTION)");
  // Node 1 is the first solid (at the origin), node 0 the second (moved by 50).
  EXPECT_LT(body_of("(second *spec*)")->bound().lower().x(), 1.0);
  EXPECT_GT(body_of("(third *spec*)")->bound().lower().x(), 49.0);
  EXPECT_EQ(eval("(getf (second *spec*) :facet-count)"), "4");
  EXPECT_EQ(eval("(getf (second *spec*) :face-count)"), "4");
  EXPECT_EQ(eval("(getf (second *spec*) :surface-reconstruction)"), "NIL");
  EXPECT_EQ(eval("(getf (second *spec*) :repaired-facet-count)"), "0");
  EXPECT_EQ(eval("(getf (second *spec*) :degenerate-facet-count)"), "0");
}

TEST_F(ReadManufacturingData, A3mfFileGivesRootMeshAndColourKeys) {
  SCRATCH_DIR dir("rmd_");
  const fs::path file = dir.path() / "coloured.3mf";
  ASSERT_TRUE(threemf_test::write_package(
      file, threemf_test::model("<basematerials id=\"7\"><base name=\"blue\" displaycolor=\"#0000FFFF\"/>"
                                "</basematerials>" +
                                    threemf_test::cube_object(1, "name=\"cube\" pid=\"7\" pindex=\"0\""),
                                "<item objectid=\"1\" transform=\"1 0 0 0 1 0 0 0 1 5 0 0\"/>")));
  ASSERT_EQ(eval("(defparameter *spec* (read-manufacturing-data " + quoted(file) +
                 " :type :3mf :surface-reconstruction :planes))")
                .rfind("ERROR", 0),
            std::string::npos);
  EXPECT_EQ(eval("(length *spec*)"), "2");
  EXPECT_EQ(eval("(loop for k in (first *spec*) by #'cddr collect k)"), "(:ID :NAME :COMPONENTS :META-DATA)");
  EXPECT_EQ(eval("(getf (first *spec*) :meta-data)"), "NIL");
  EXPECT_EQ(eval("(getf (first (getf (first *spec*) :components)) :target)"),
            eval("(getf (second *spec*) :id)"));
  EXPECT_EQ(eval("(k2::transformation-p (getf (first (getf (first *spec*) :components)) :tm))"), "T");
  EXPECT_EQ(eval("(loop for k in (second *spec*) by #'cddr collect k)"),
            "(:ID :NAME :BODY :RESOLUTION :FACET-COUNT :FACE-COUNT :REPAIRED-FACET-COUNT "
            ":DEGENERATE-FACET-COUNT :SURFACE-RECONSTRUCTION :TRANSPARENCY :COLOR)");
  EXPECT_EQ(eval("(getf (second *spec*) :name)"), "\"cube\"");
  EXPECT_EQ(eval("(getf (second *spec*) :face-count)"), "6");
  EXPECT_EQ(eval("(getf (second *spec*) :transparency)"), "0.0d0");
  EXPECT_EQ(eval("(logand (getf (second *spec*) :color) #xFFFFFFFF)"), std::to_string(0xFF0000FFu));
}

TEST_F(ReadManufacturingData, A3mfFileWithoutMeshObjectsOrBrokenIsAClearError) {
  SCRATCH_DIR dir("rmd_");
  const fs::path empty = dir.path() / "empty.3mf";
  ASSERT_TRUE(threemf_test::write_package(empty, threemf_test::model("", "")));
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(empty) + " :type :3mf)"),
            "ERROR: The file holds no mesh data.");
  const fs::path junk = dir.write("junk.3mf", "not a package");
  get_k2_geores().set_resolution(6e-6, 0);
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(junk) + " :type :3mf :surface-reconstruction :planes)"),
            "ERROR: An unexpected error occurred.");
  EXPECT_DOUBLE_EQ(get_k2_geores().resabs(), 6e-6);
}

TEST_F(ReadManufacturingData, CylindersAloneAreReportedAsBoth) {
  SCRATCH_DIR dir("rmd_");
  const fs::path file = dir.write("t.stl", tetra_solid("t", 0));
  EXPECT_EQ(eval("(getf (second (read-manufacturing-data " + quoted(file) +
                 " :type :stl :surface-reconstruction '(:cylinders))) :surface-reconstruction)"),
            "(:PLANES :CYLINDERS)");
  EXPECT_EQ(eval("(getf (second (read-manufacturing-data " + quoted(file) +
                 " :type :stl :surface-reconstruction :planes)) :surface-reconstruction)"),
            "(:PLANES)");
}

TEST_F(ReadManufacturingData, ReachingTheLimitShowsPlanesThoughNoneWereAsked) {
  SCRATCH_DIR dir("rmd_");
  const fs::path file = dir.write("t.stl", tetra_solid("t", 0));
  EXPECT_EQ(eval("(let ((n (second (read-manufacturing-data " + quoted(file) +
                 " :type :stl :facecount-limit 4)))) (list (getf n :surface-reconstruction) "
                 "(getf n :resolution)))"),
            "((:PLANES) 0.001d0)");
  // One below the limit: nothing enforced, the body at the global resolution.
  EXPECT_EQ(eval("(getf (second (read-manufacturing-data " + quoted(file) +
                 " :type :stl :facecount-limit 5)) :surface-reconstruction)"),
            "NIL");
}

TEST_F(ReadManufacturingData, AGivenResolutionReachesTheBody) {
  SCRATCH_DIR dir("rmd_");
  const fs::path file = dir.write("t.stl", tetra_solid("t", 0));
  EXPECT_EQ(eval("(getf (second (read-manufacturing-data " + quoted(file) +
                 " :type :stl :surface-reconstruction :planes :resolution 0.02d0)) :resolution)"),
            "0.02d0");
}

TEST_F(ReadManufacturingData, ANonFinitePrecisionIsRefused) {
  SCRATCH_DIR dir("rmd_");
  const fs::path file = dir.write("t.stl", tetra_solid("t", 0));
  EXPECT_NE(eval("(read-manufacturing-data " + quoted(file) +
                 " :type :stl :surface-reconstruction :planes :resolution (/ 0d0 0d0))")
                .find("is not a valid recognition precision"),
            std::string::npos);
  EXPECT_NE(eval("(read-manufacturing-data " + quoted(file) +
                 " :type :stl :surface-reconstruction :planes :resolution (* 2 most-positive-double-float))")
                .find("is not a valid recognition precision"),
            std::string::npos);
}

TEST_F(ReadManufacturingData, APrecisionCoarserThanTheMeshIsAnError) {
  SCRATCH_DIR dir("rmd_");
  const fs::path file = dir.write("t.stl", tetra_solid("t", 0));
  get_k2_geores().set_resolution(3e-6, 0);
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(file) +
                 " :type :stl :surface-reconstruction :planes :resolution 1d6)"),
            "ERROR: No face could be built from the mesh: the recognition precision is coarser than "
            "the mesh itself.");
  EXPECT_DOUBLE_EQ(get_k2_geores().resabs(), 3e-6);
}

TEST_F(ReadManufacturingData, BadReconstructionOptionsAreNamed) {
  SCRATCH_DIR dir("rmd_");
  const fs::path file = dir.write("t.stl", tetra_solid("t", 0));
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(file) +
                 " :type :stl :surface-reconstruction '(:planes :foo))"),
            "ERROR: FOO is not a supported reconstruction option");
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(file) +
                 " :type :stl :surface-reconstruction \"PLANES\")"),
            "ERROR: PLANES is not a supported reconstruction option");
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(file) +
                 " :type :stl :surface-reconstruction '(:planes 3))"),
            "ERROR: 3 is not a supported reconstruction option");
}

TEST_F(ReadManufacturingData, AMissingOrUnknownTypeIsRefused) {
  SCRATCH_DIR dir("rmd_");
  const fs::path file = dir.write("t.stl", tetra_solid("t", 0));
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(file) + ")"),
            "ERROR: Unsupported manufacturing data type: NIL");
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(file) + " :type :obj)"),
            "ERROR: Unsupported manufacturing data type: OBJ");
}

TEST_F(ReadManufacturingData, BadArgumentsAreLispErrors) {
  SCRATCH_DIR dir("rmd_");
  const fs::path file = dir.write("t.stl", tetra_solid("t", 0));
  EXPECT_EQ(eval("(read-manufacturing-data)").rfind("ERROR", 0), 0u);
  EXPECT_EQ(eval("(read-manufacturing-data 42 :type :stl)").rfind("ERROR", 0), 0u);
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(file) + " :type :stl :resolution \"x\")")
                .rfind("ERROR", 0),
            0u);
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(file) + " :type :stl :facecount-limit 1.5)")
                .rfind("ERROR", 0),
            0u);
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(file) + " :type :stl :progress 7)")
                .rfind("ERROR", 0),
            0u);
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(file) + " :type :stl :colour 7)")
                .rfind("ERROR", 0),
            0u);
}

TEST_F(ReadManufacturingData, FilesWithoutMeshDataSaySo) {
  SCRATCH_DIR dir("rmd_");
  const std::string expected = "ERROR: The file holds no mesh data.";
  const fs::path empty_text = dir.write("empty.stl", "solid nothing\nendsolid nothing\n");
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(empty_text) + " :type :stl)"), expected);
  const fs::path empty_binary = dir.write("empty_bin.stl", stl_test::binary_stl(0, {}));
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(empty_binary) + " :type :stl)"), expected);
}

TEST_F(ReadManufacturingData, UnreadableFilesAreModuleErrors) {
  SCRATCH_DIR dir("rmd_");
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(dir.path() / "missing.stl") + " :type :stl)"),
            "ERROR: The file cannot be opened.");
  // A directory opens with fopen but is no file.
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(dir.path()) + " :type :stl)"),
            "ERROR: The file cannot be opened.");
  const fs::path garbage = dir.write("garbage.stl", "solid x\n  facet normal 0 0 1\n nonsense\n");
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(garbage) + " :type :stl)"),
            "ERROR: The file is not a valid STL file.");
}

TEST_F(ReadManufacturingData, AUserBreakCancelsTheRead) {
  SCRATCH_DIR dir("rmd_");
  const fs::path file = dir.write("t.stl", tetra_solid("t", 0));
  get_k2_geores().set_resolution(5e-6, 0);
  BREAK_STATUS::request();
  EXPECT_EQ(eval("(read-manufacturing-data " + quoted(file) +
                 " :type :stl :surface-reconstruction :planes)"),
            "ERROR: The operation was cancelled.");
  BREAK_STATUS::clear();
  EXPECT_DOUBLE_EQ(get_k2_geores().resabs(), 5e-6);
  // The next read goes through.
  EXPECT_EQ(eval("(length (read-manufacturing-data " + quoted(file) + " :type :stl))"), "2");
}

TEST_F(ReadManufacturingData, TheGlobalResolutionIsKeptOnEveryPath) {
  SCRATCH_DIR dir("rmd_");
  get_k2_geores().set_resolution(7e-6, 0);
  const fs::path file = dir.write("t.stl", tetra_solid("t", 0));
  const fs::path garbage = dir.write("garbage.stl", "solid x\n  facet normal 0 0 1\n nonsense\n");
  for (const std::string& form :
       {"(read-manufacturing-data " + quoted(file) + " :type :stl :surface-reconstruction :planes)",
        "(read-manufacturing-data " + quoted(file) + " :type :stl :facecount-limit 1)",
        "(read-manufacturing-data " + quoted(garbage) + " :type :stl :surface-reconstruction :planes)",
        "(read-manufacturing-data " + quoted(file) + " :type :bad :resolution 0.5)",
        "(read-manufacturing-data " + quoted(file) + " :type :stl :surface-reconstruction :foo)"}) {
    eval(form);
    EXPECT_DOUBLE_EQ(get_k2_geores().resabs(), 7e-6) << form;
    EXPECT_EQ(get_k2_geores().grid_mode(), 0) << form;
  }
}

TEST_F(ReadManufacturingData, ProgressGetsTheReadAndTheBodyShares) {
  SCRATCH_DIR dir("rmd_");
  const fs::path file = dir.write("two.stl", tetra_solid("a", 0) + tetra_solid("b", 50));
  LISP_OUTCOME bar = lisp_eval_string(
      "(progn (defparameter *bar* (create-progress-bar :title \"t\")) *bar*)", "LUMESH.DATA-EXCHANGE");
  ASSERT_TRUE(bar.ok) << bar.error;
  PROGRESS* progress = object_to_PROGRESS(bar.value);
  eval("(set-max-progress-ticks *bar* 205)");
  EXPECT_EQ(eval("(length (read-manufacturing-data " + quoted(file) + " :type :stl :progress *bar*))"), "3");
  // 100 for reading, 100 / 2 for each of the two bodies.
  EXPECT_EQ(progress->ticks(), 200);
  eval("(finalize-progress-bar *bar*)");
}

}  // namespace
