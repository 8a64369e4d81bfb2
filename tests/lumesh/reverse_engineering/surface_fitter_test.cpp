// The fitter base: the fit cycle, one level of undo, note_state, the
// precision, and the references it holds on its surfaces. A small plane
// fitter (the least-squares plane through the scatter matrix) drives it.

#include "lumesh/reverse_engineering/surface_fitter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <unordered_set>
#include <vector>

#include "host/base/assertion.h"
#include "host/base/mod_info.h"
#include "host/geometry/constants.h"
#include "host/kernel/geometry/plane.h"
#include "lumesh/mesh/mesh_vertex.h"
#include "lumesh/reverse_engineering/energy_matrix3x3.h"

namespace {

class PLANE_TEST_FITTER : public SURFACE_FITTER {
 public:
  using SURFACE_FITTER::get_center_of_gravity;

  int fits = 0;         // calls of compute_fitted_surface
  bool refuse = false;  // the next fits give no surface

 protected:
  // The plane across the eigenvector of the smallest eigenvalue (the first
  // of equal ones); none below three points or without convergence.
  surface* compute_fitted_surface(std::vector<POSITION3>& centered) override {
    ++fits;
    if (refuse || centered.size() < 3) return nullptr;
    const EIGENSYSTEM3x3 es = ENERGY_MATRIX3x3(centered).compute_eigensystem();
    if (!es.IsValid()) return nullptr;
    int k = 0;
    for (int i = 1; i < 3; ++i) {
      if (es[i].first < es[k].first) k = i;
    }
    try {
      return new plane(get_center_of_gravity(), es[k].second);
    } catch (const TV_EXCEPTION&) {
      return nullptr;
    }
  }
};

void add_square(SURFACE_FITTER& f, double z) {
  f.add_point(POSITION3(0, 0, z));
  f.add_point(POSITION3(1, 0, z));
  f.add_point(POSITION3(1, 1, z));
  f.add_point(POSITION3(0, 1, z));
}

TEST(SurfaceFitter, FreshFitterHasNothing) {
  PLANE_TEST_FITTER f;
  EXPECT_EQ(f.get_fitted_surface(), nullptr);
  EXPECT_EQ(f.get_fitting_precision(), host_pos_inf());
  EXPECT_EQ(f.get_point_count(), 0u);
  EXPECT_TRUE(host_is_nan(f.get_center_of_gravity().x()));
  EXPECT_TRUE(host_is_nan(f.measure_distance(POSITION3(1, 2, 3))));
  EXPECT_EQ(f.measure_max_distance(std::vector<const MESH_VERTEX*>()), 0.0);
  EXPECT_FALSE(f.undo());
  // Nothing added: no fit is tried.
  EXPECT_FALSE(f.fit_surface());
  EXPECT_EQ(f.fits, 0);
}

TEST(SurfaceFitter, FitMeasuresTheFarthestPoint) {
  PLANE_TEST_FITTER f;
  add_square(f, 2.0);
  f.add_point(POSITION3(0.5, 0.5, 2.5));
  ASSERT_TRUE(f.fit_surface());
  EXPECT_EQ(f.fits, 1);
  const plane* pl = entity_cast<plane>(f.get_fitted_surface());
  ASSERT_NE(pl, nullptr);
  EXPECT_NEAR(f.get_center_of_gravity().z(), 2.1, 1e-15);
  EXPECT_NEAR(std::fabs(pl->nor().z()), 1.0, 1e-15);
  // The plane z = 2.1: the raised point is 0.4 away, the corners 0.1.
  EXPECT_NEAR(f.get_fitting_precision(), 0.4, 1e-14);
  EXPECT_NEAR(f.measure_distance(POSITION3(7, -3, 5.1)), 3.0, 1e-14);
}

TEST(SurfaceFitter, MaxDistanceOverVertices) {
  PLANE_TEST_FITTER f;
  add_square(f, 0.0);
  ASSERT_TRUE(f.fit_surface());
  std::vector<std::unique_ptr<MESH_VERTEX>> owned;
  std::unordered_set<MESH_VERTEX*> vertices;
  for (double z : {0.5, -2.0, 1.0}) {
    owned.push_back(std::make_unique<MESH_VERTEX>(POSITION3(3, 4, z)));
    vertices.insert(owned.back().get());
  }
  EXPECT_NEAR(f.measure_max_distance(vertices), 2.0, 1e-15);
  EXPECT_EQ(f.measure_max_distance(std::unordered_set<MESH_VERTEX*>()), 0.0);
}

TEST(SurfaceFitter, UndoAfterTheFirstFitReturnsFalse) {
  PLANE_TEST_FITTER f;
  add_square(f, 1.0);
  ASSERT_TRUE(f.fit_surface());
  surface* s = f.get_fitted_surface();
  EXPECT_FALSE(f.undo());
  EXPECT_EQ(f.get_fitted_surface(), s);
  EXPECT_EQ(f.get_point_count(), 4u);
}

TEST(SurfaceFitter, UndoRestoresTheFitBeforeOnce) {
  PLANE_TEST_FITTER f;
  add_square(f, 1.0);
  ASSERT_TRUE(f.fit_surface());
  surface* first = f.get_fitted_surface();
  const double first_precision = f.get_fitting_precision();
  const POSITION3 first_center = f.get_center_of_gravity();
  f.add_point(POSITION3(0.5, 0.5, 3.0));
  ASSERT_TRUE(f.fit_surface());
  EXPECT_NE(f.get_fitted_surface(), first);
  EXPECT_GT(f.get_fitting_precision(), first_precision);

  ASSERT_TRUE(f.undo());
  EXPECT_EQ(f.get_fitted_surface(), first);
  EXPECT_EQ(f.get_fitting_precision(), first_precision);
  EXPECT_EQ(f.get_center_of_gravity(), first_center);
  EXPECT_EQ(f.get_point_count(), 4u);
  EXPECT_NEAR(f.measure_distance(POSITION3(0, 0, 3)), 2.0, 1e-15);
  EXPECT_FALSE(f.undo());
  EXPECT_EQ(f.get_fitted_surface(), first);
  // Nothing new since the restored fit: no fit is tried.
  EXPECT_TRUE(f.fit_surface());
  EXPECT_EQ(f.fits, 2);
}

TEST(SurfaceFitter, FitWithoutNewPointsLeavesTheSavedStateAlone) {
  PLANE_TEST_FITTER f;
  add_square(f, 1.0);
  ASSERT_TRUE(f.fit_surface());
  surface* first = f.get_fitted_surface();
  f.add_point(POSITION3(0.5, 0.5, 3.0));
  ASSERT_TRUE(f.fit_surface());
  surface* second = f.get_fitted_surface();
  EXPECT_TRUE(f.fit_surface());
  EXPECT_TRUE(f.fit_surface());
  EXPECT_EQ(f.fits, 2);
  EXPECT_EQ(f.get_fitted_surface(), second);
  ASSERT_TRUE(f.undo());
  EXPECT_EQ(f.get_fitted_surface(), first);
}

TEST(SurfaceFitter, FailedFitKeepsThePrecisionAndCanBeUndone) {
  PLANE_TEST_FITTER f;
  add_square(f, 1.0);
  ASSERT_TRUE(f.fit_surface());
  surface* first = f.get_fitted_surface();
  const double precision = f.get_fitting_precision();
  f.refuse = true;
  f.add_point(POSITION3(0, 0, 0));
  EXPECT_FALSE(f.fit_surface());
  EXPECT_EQ(f.get_fitted_surface(), nullptr);
  EXPECT_TRUE(host_is_nan(f.measure_distance(POSITION3())));
  EXPECT_EQ(f.get_fitting_precision(), precision);
  // Asking again answers the same without a new try.
  EXPECT_FALSE(f.fit_surface());
  EXPECT_EQ(f.fits, 2);
  ASSERT_TRUE(f.undo());
  EXPECT_EQ(f.get_fitted_surface(), first);
  EXPECT_EQ(f.get_point_count(), 4u);
}

TEST(SurfaceFitter, FirstFitFailureCannotBeUndoneWhateverNoteStateSaid) {
  PLANE_TEST_FITTER f;
  f.add_point(POSITION3(0, 0, 0));
  f.add_point(POSITION3(1, 0, 0));
  f.note_state();
  EXPECT_FALSE(f.fit_surface());  // two points: no plane
  EXPECT_FALSE(f.undo());
  EXPECT_EQ(f.get_point_count(), 2u);
  // Its points stay and count in the next fit.
  f.add_point(POSITION3(0, 1, 0));
  EXPECT_TRUE(f.fit_surface());
}

TEST(SurfaceFitter, NoteStateArmsTheUndoAtThePresentPoints) {
  PLANE_TEST_FITTER f;
  add_square(f, 1.0);
  ASSERT_TRUE(f.fit_surface());
  surface* first = f.get_fitted_surface();
  f.add_point(POSITION3(0.5, 0.5, 1.0));
  f.add_point(POSITION3(0.2, 0.5, 1.0));
  f.note_state();  // six points, two of them not fitted
  f.add_point(POSITION3(0.5, 0.5, 4.0));
  ASSERT_TRUE(f.undo());
  EXPECT_EQ(f.get_point_count(), 6u);
  EXPECT_EQ(f.get_fitted_surface(), first);
  // The noted points count as fitted now: fit_surface doesn't refit.
  EXPECT_TRUE(f.fit_surface());
  EXPECT_EQ(f.fits, 1);
  EXPECT_FALSE(f.undo());
}

TEST(SurfaceFitter, FitOverwritesWhatNoteStateStored) {
  PLANE_TEST_FITTER f;
  add_square(f, 1.0);
  ASSERT_TRUE(f.fit_surface());
  f.add_point(POSITION3(0.5, 0.5, 1.0));
  f.note_state();
  f.add_point(POSITION3(0.5, 0.5, 2.0));
  ASSERT_TRUE(f.fit_surface());
  // The fit saved its own state: undo goes back to the four fitted points.
  ASSERT_TRUE(f.undo());
  EXPECT_EQ(f.get_point_count(), 4u);
}

TEST(SurfaceFitter, OneReferencePerDistinctSurface) {
  GEOM_REF<surface> first, second, third;
  {
    PLANE_TEST_FITTER f;
    add_square(f, 1.0);
    ASSERT_TRUE(f.fit_surface());
    first = f.get_fitted_surface();
    EXPECT_EQ(first->use_count(), 2u);  // the fitter's and ours
    f.add_point(POSITION3(0.5, 0.5, 3.0));
    ASSERT_TRUE(f.fit_surface());
    second = f.get_fitted_surface();
    EXPECT_EQ(first->use_count(), 2u);   // saved
    EXPECT_EQ(second->use_count(), 2u);  // fitted
    f.add_point(POSITION3(0.5, 0.2, 3.0));
    ASSERT_TRUE(f.fit_surface());
    third = f.get_fitted_surface();
    EXPECT_EQ(first->use_count(), 1u);  // dropped by the fitter
    EXPECT_EQ(second->use_count(), 2u);
    EXPECT_EQ(third->use_count(), 2u);
    ASSERT_TRUE(f.undo());
    EXPECT_EQ(third->use_count(), 1u);  // the undone fit's surface is released
    EXPECT_EQ(second->use_count(), 2u);
    f.note_state();  // fitted and saved are one surface, on one reference
    EXPECT_EQ(second->use_count(), 2u);
    ASSERT_TRUE(f.undo());
    EXPECT_EQ(second->use_count(), 2u);
  }
  EXPECT_EQ(first->use_count(), 1u);
  EXPECT_EQ(second->use_count(), 1u);
  EXPECT_EQ(third->use_count(), 1u);
}

TEST(SurfaceFitter, CoincidentPointsTakeTheFirstAxisOfTheZeroMatrix) {
  PLANE_TEST_FITTER f;
  for (int i = 0; i < 3; ++i) f.add_point(POSITION3(2, 3, 4));
  ASSERT_TRUE(f.fit_surface());
  const plane* pl = entity_cast<plane>(f.get_fitted_surface());
  ASSERT_NE(pl, nullptr);
  EXPECT_EQ(VECTOR3(pl->nor()), VECTOR3(1, 0, 0));
  EXPECT_EQ(f.get_fitting_precision(), 0.0);
}

ASSERTION_REPORT g_last_report;
int g_reports = 0;
void record(const ASSERTION_REPORT& r) {
  g_last_report = r;
  ++g_reports;
}

TEST(SurfaceFitter, FailedClosestPointIsReportedAndItsDistanceUsed) {
  PLANE_TEST_FITTER f;
  add_square(f, 1.0);
  ASSERT_TRUE(f.fit_surface());
  g_reports = 0;
  const ASSERTION_HANDLER previous = set_assertion_handler(record);
  const double d = f.measure_distance(POSITION3(host_nan(), 0, 0));
  set_assertion_handler(previous);
  EXPECT_TRUE(host_is_nan(d));
  ASSERT_EQ(g_reports, 1);
  EXPECT_STREQ(g_last_report.condition, "!status");
  EXPECT_STREQ(g_last_report.message, "surface closest point failed");
}

}  // namespace
