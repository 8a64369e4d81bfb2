// How far the area of a polygon strays from a cylinder: corners and the
// boundary between them.

#include "lumesh/mesh/facet_deviation.h"

#include <gtest/gtest.h>

#include <cmath>

#include "host/geometry/constants.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/entity/geometry_entity.h"
#include "lumesh/mesh/mesh.h"
#include "support/mesh_shapes.h"

namespace {

using mesh_shapes::on_circle;

struct FIXTURE {
  MESH mesh{resolution(1e-6, -1.0)};
  GEOM_REF<cylinder> c{new cylinder(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1), 10.0)};
};

TEST(FacetDeviation, AChordSagsByTheSagittaOfItsAngle) {
  for (double span : {0.1, 0.5, 1.0}) {
    FIXTURE f;
    // A strip between two generators: its corners lie on the cylinder.
    MESH_POLYGON& p = mesh_shapes::add_ring_polygon(
        f.mesh, {on_circle(10, 0, 0), on_circle(10, span, 0), on_circle(10, span, 5),
                 on_circle(10, 0, 5)});
    EXPECT_NEAR(polygon_deviation_from_cylinder(p, *f.c), 10.0 * (1.0 - std::cos(span / 2)), 1e-12)
        << span;
  }
}

TEST(FacetDeviation, CornersOffTheCylinderCountToo) {
  FIXTURE f;
  // A narrow strip whose corners stand 0.2 outside the cylinder.
  MESH_POLYGON& p = mesh_shapes::add_ring_polygon(
      f.mesh, {on_circle(10.2, 0, 0), on_circle(10.2, 0.001, 0), on_circle(10.2, 0.001, 5)});
  EXPECT_NEAR(polygon_deviation_from_cylinder(p, *f.c), 0.2, 1e-6);
}

TEST(FacetDeviation, TwoRowsOfCornersOnAWideCylinderBulgeBetweenThem) {
  // A flat wall 60 long whose corners lie in two rows on a cylinder of radius
  // 155: the cylinder fits every corner and leaves the wall by 2.9 between
  // the rows.
  FIXTURE f;
  GEOM_REF<cylinder> wide(new cylinder(POSITION3(0, 0, 0), UNITVEC3(0, 0, 1), 155.0));
  const double half = std::asin(30.0 / 155.0);
  MESH_POLYGON& p = mesh_shapes::add_ring_polygon(
      f.mesh, {on_circle(155, -half, 0), on_circle(155, half, 0), on_circle(155, half, 8.5),
               on_circle(155, -half, 8.5)});
  EXPECT_NEAR(polygon_deviation_from_cylinder(p, *wide), 155.0 * (1.0 - std::cos(half)), 1e-9);
  EXPECT_GT(polygon_deviation_from_cylinder(p, *wide), 2.9);
}

}  // namespace
