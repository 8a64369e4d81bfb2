// The automatic recognition resolution: the chordal deviation read off the
// bends of tessellated cylinders, the fallback for meshes without bends, and
// the floor that float coordinates set.

#include "lumesh/mesh/mesh_resolution.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "host/geometry/constants.h"
#include "support/mesh_shapes.h"

namespace {

std::unique_ptr<MESH> new_mesh() { return std::make_unique<MESH>(resolution(1e-6, -1.0)); }

// A closed prism of `facets` sides around the axis through (cx, cy), with
// caps, as mesh_shapes::add_closed_prism makes it at the origin.
void add_prism_at(MESH& mesh, double cx, double cy, double r, double h, int facets) {
  auto at = [&](double a, double z) {
    return POSITION3(cx + r * std::cos(a), cy + r * std::sin(a), z);
  };
  for (int i = 0; i < facets; ++i) {
    const double a = HOST_TWO_PI * i / facets;
    const double b = i + 1 == facets ? 0.0 : HOST_TWO_PI * (i + 1) / facets;
    mesh.add_triangle(at(a, 0), at(b, 0), at(b, h), MESH::computed_normal());
    mesh.add_triangle(at(a, 0), at(b, h), at(a, h), MESH::computed_normal());
    mesh.add_triangle(POSITION3(cx, cy, 0), at(b, 0), at(a, 0), MESH::computed_normal());
    mesh.add_triangle(POSITION3(cx, cy, h), at(a, h), at(b, h), MESH::computed_normal());
  }
}

// The sag of a chord between neighbouring corners of an n-gon of radius r.
double sag(double r, int n) { return r * (1.0 - std::cos(HOST_PI / n)); }

TEST(MeshResolution, FloatFloorIsEightStepsOfFloatSpacing) {
  EXPECT_DOUBLE_EQ(float_noise_floor(100.0), 8.0 * 100.0 / 8388608.0);
  EXPECT_DOUBLE_EQ(float_noise_floor(-100.0), float_noise_floor(100.0));
  EXPECT_EQ(float_noise_floor(0.0), 0.0);
}

TEST(MeshResolution, TheBendsOfACylinderGiveItsChordSag) {
  auto mesh = new_mesh();
  mesh_shapes::add_closed_prism(*mesh, 20.0, 40.0, 64);
  mesh->optimize(mesh->get_import_resolution());
  const MESH_RESOLUTION_ESTIMATE e = estimate_mesh_resolution(*mesh);
  // 64 bends between the strips; the diagonals of the strips and the fans of
  // the caps are flat, the rims sharp.
  EXPECT_EQ(e.smooth_bends, 64u);
  // Every chord of a uniform tessellation sags alike: the upper quartile is
  // that sag, and the deviation a mesher allowed is taken as twice it.
  EXPECT_NEAR(e.chordal_deviation, 2.0 * sag(20.0, 64), 0.02 * sag(20.0, 64));
  EXPECT_DOUBLE_EQ(e.resolution, e.chordal_deviation);
  // The shortest edge says nothing of it.
  EXPECT_GT(std::fabs(mesh->estimate_resolution() - e.resolution), e.resolution);
}

TEST(MeshResolution, FinerTessellationGivesAFinerResolution) {
  double previous = HUGE_VAL;
  for (int facets : {32, 64, 128, 256}) {
    SCOPED_TRACE(facets);
    auto mesh = new_mesh();
    mesh_shapes::add_closed_prism(*mesh, 10.0, 5.0, facets);
    mesh->optimize(mesh->get_import_resolution());
    const double r = estimate_mesh_resolution(*mesh).resolution;
    EXPECT_LT(r, previous);
    EXPECT_NEAR(r, 2.0 * sag(10.0, facets), 0.05 * sag(10.0, facets));
    previous = r;
  }
}

TEST(MeshResolution, WithoutBendsTheSmallerOfTheEdgeEstimateAndAShareOfTheSize) {
  // A cube has only sharp edges: no deviation can be read. The edge estimate
  // (a third of 10, capped at 0.5) is far coarser than a CAD export's
  // deviation, which is a small share of the diagonal.
  auto mesh = new_mesh();
  mesh_shapes::add_box(*mesh, POSITION3(0, 0, 0), POSITION3(10, 10, 10));
  mesh->optimize(mesh->get_import_resolution());
  const MESH_RESOLUTION_ESTIMATE e = estimate_mesh_resolution(*mesh);
  EXPECT_TRUE(std::isnan(e.chordal_deviation));
  EXPECT_EQ(e.smooth_bends, 0u);
  EXPECT_NEAR(e.resolution, 5e-4 * std::sqrt(300.0), 1e-12);

  // A tiny cube keeps the edge estimate where that is the smaller.
  auto tiny = new_mesh();
  mesh_shapes::add_box(*tiny, POSITION3(0, 0, 0), POSITION3(0.001, 0.001, 0.001));
  tiny->optimize(tiny->get_import_resolution());
  EXPECT_DOUBLE_EQ(estimate_mesh_resolution(*tiny).resolution,
                   std::min(tiny->estimate_resolution(), 5e-4 * std::sqrt(3e-6)));
}

TEST(MeshResolution, AFewBendsAreNotEnoughToSpeakForTheMesh) {
  // Ten strips bend by 36 degrees (smooth), but ten bends are too few.
  auto mesh = new_mesh();
  mesh_shapes::add_closed_prism(*mesh, 5.0, 5.0, 10);
  mesh->optimize(mesh->get_import_resolution());
  const MESH_RESOLUTION_ESTIMATE e = estimate_mesh_resolution(*mesh);
  EXPECT_EQ(e.smooth_bends, 10u);
  EXPECT_TRUE(std::isnan(e.chordal_deviation));
}

TEST(MeshResolution, SharpPrismEdgesAreNoBends) {
  // A hexagonal prism bends by 60 degrees at its sides: edges of the model.
  auto mesh = new_mesh();
  mesh_shapes::add_closed_prism(*mesh, 5.0, 5.0, 6);
  mesh->optimize(mesh->get_import_resolution());
  EXPECT_EQ(estimate_mesh_resolution(*mesh).smooth_bends, 0u);
}

TEST(MeshResolution, NeverFinerThanTheFloatsOfThePartCanCarry) {
  // A fine cylinder far from the origin: its chords sag by about 4e-4, but
  // float coordinates around 1e5 are 0.008 apart, and sags below a few of
  // those steps are rounding.
  auto mesh = new_mesh();
  add_prism_at(*mesh, 1e5, 0.0, 5.0, 5.0, 256);
  mesh->optimize(mesh->get_import_resolution());
  const MESH_RESOLUTION_ESTIMATE e = estimate_mesh_resolution(*mesh);
  EXPECT_NEAR(e.float_floor, float_noise_floor(1e5 + 5.0), 1e-12);
  EXPECT_GT(e.float_floor, 10.0 * sag(5.0, 256));
  EXPECT_DOUBLE_EQ(e.resolution, e.float_floor);

  // The same cylinder at the origin keeps its own deviation.
  auto near = new_mesh();
  add_prism_at(*near, 0.0, 0.0, 5.0, 5.0, 256);
  near->optimize(near->get_import_resolution());
  EXPECT_NEAR(estimate_mesh_resolution(*near).resolution, 2.0 * sag(5.0, 256),
              0.05 * sag(5.0, 256));
}

TEST(MeshResolution, CappedAtHalfAMillimetre) {
  // A cylinder of 10 m radius in 64 strips sags by about 12 mm.
  auto mesh = new_mesh();
  mesh_shapes::add_closed_prism(*mesh, 10000.0, 100.0, 64);
  mesh->optimize(mesh->get_import_resolution());
  EXPECT_DOUBLE_EQ(estimate_mesh_resolution(*mesh).resolution, 0.5);
}

TEST(MeshResolution, AnEmptyMeshHasTheEdgeEstimate) {
  auto mesh = new_mesh();
  const MESH_RESOLUTION_ESTIMATE e = estimate_mesh_resolution(*mesh);
  EXPECT_EQ(e.float_floor, 0.0);
  EXPECT_DOUBLE_EQ(e.resolution, 0.5);
}

}  // namespace
