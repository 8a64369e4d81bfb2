// The face predicates by surface kind on a CAD model read from STEP: cones,
// spheres and tori of the model answer like the kernel's own planes and
// cylinders, and a spline face answers no to every kind.

#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <Geom_BSplineSurface.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array2OfPnt.hxx>
#include <TopoDS_Compound.hxx>
#include <BRep_Builder.hxx>

#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/shell.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/shell/host_start.h"
#include "tests/host/shell/step_tree_fixture.h"

namespace {

// Every face of a body, shell by shell.
LAOBJ* body_faces(NATIVE_CALL& call) {
  call.check_count(1, 1);
  const BODY* body = object_to_entity<BODY>(call.arg(0));
  std::vector<LAOBJ*> out;
  for (int s = 0; s < body->number_of_shells(); ++s) {
    for (FACE* f = body->shell(s)->first_face(); f != nullptr; f = f->next_in_shell()) {
      out.push_back(make_ptr(f));
    }
  }
  return make_list(out);
}

// A bicubic patch over [0,30] x [0,30] with a bump in the middle.
TopoDS_Shape spline_face() {
  TColgp_Array2OfPnt poles(1, 4, 1, 4);
  for (int i = 1; i <= 4; ++i) {
    for (int j = 1; j <= 4; ++j) {
      const bool inner = (i == 2 || i == 3) && (j == 2 || j == 3);
      poles.SetValue(i, j, gp_Pnt(10.0 * (i - 1), 10.0 * (j - 1), inner ? 8.0 : 0.0));
    }
  }
  TColStd_Array1OfReal knots(1, 2);
  knots.SetValue(1, 0.0);
  knots.SetValue(2, 1.0);
  TColStd_Array1OfInteger mults(1, 2);
  mults.SetValue(1, 4);
  mults.SetValue(2, 4);
  Handle(Geom_BSplineSurface) s = new Geom_BSplineSurface(poles, knots, knots, mults, mults, 3, 3);
  return BRepBuilderAPI_MakeFace(s, 1e-7).Shape();
}

class FaceKindsOfStepTest : public STEP_TREE_TEST {
 protected:
  static void SetUpTestSuite() {
    host_start(0, nullptr);
    LAOBJ* pkg = make_package("FACE-KINDS-OF-STEP-TEST", nullptr);
    make_package_function("BODY-FACES", &body_faces, &pkg, 1);
  }
  static std::string run(const std::string& text) {
    LISP_OUTCOME o = lisp_eval_string(text, "FACE-KINDS-OF-STEP-TEST");
    return o.ok ? lisp_prin1(o.value) : "ERROR: " + o.error;
  }
};

TEST_F(FaceKindsOfStepTest, EveryKindOfAnImportedModelAnswersForItself) {
  BRep_Builder b;
  TopoDS_Compound all;
  b.MakeCompound(all);
  b.Add(all, BRepPrimAPI_MakeSphere(gp_Pnt(0, 0, 0), 10).Shape());
  b.Add(all, BRepPrimAPI_MakeCone(gp_Ax2(gp_Pnt(40, 0, 0), gp_Dir(0, 0, 1)), 8, 4, 12).Shape());
  b.Add(all, BRepPrimAPI_MakeTorus(gp_Ax2(gp_Pnt(0, 40, 0), gp_Dir(0, 0, 1)), 12, 3).Shape());
  b.Add(all, BRepPrimAPI_MakeCylinder(gp_Ax2(gp_Pnt(40, 40, 0), gp_Dir(0, 0, 1)), 5, 10).Shape());
  b.Add(all, spline_face());
  ASSERT_TRUE(write_plain_part(path("kinds.step"), all));

  // The compound comes in as an assembly of five parts, one per shape.
  EXPECT_EQ(run("(progn (defparameter *item* (frame2:load-step-file \"" + path("kinds.step") + "\"))"
                "  (defparameter *faces*"
                "    (loop for part in (frame2:tv-inq-obj-children (frame2:sel_item-item *item*))"
                "          append (body-faces (frame2:get-part-body part))))"
                "  (length *faces*))"),
            "9");
  // Faces per kind: the cone's and the cylinder's ends are planes.
  EXPECT_EQ(run("(mapcar (lambda (p) (count-if p *faces*))"
                "  (list #'frame2:is-plane-face-p #'frame2:is-cylinder-face-p #'frame2:is-cone-face-p"
                "        #'frame2:is-sphere-face-p #'frame2:is-torus-face-p))"),
            "(4 1 1 1 1)");
  // The spline face is none of them.
  EXPECT_EQ(run("(count :other (mapcar #'k2:face-surface-kind *faces*))"), "1");
  EXPECT_EQ(run("(progn (frame2:destroy-parcel (frame2:sel_item-item *item*)) t)"), "T");
}

}  // namespace
