// The kernel's merge and mass properties on bodies as the import makes them:
// a facet body without recognition, whose coplanar facets merge-3d joins
// without changing what the body encloses, and a recognised body of planes
// and cylinders, which is merged already and measures as the plate it
// stands for.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

#include "host/geometry/resolution.h"
#include "host/kernel/history/history.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/ops/mass_props.h"
#include "host/kernel/ops/merge_faces.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/shell.h"
#include "lumesh/mesh/mesh.h"
#include "lumesh/reverse_engineering/body_factory.h"
#include "support/sieve_plate.h"

namespace {

constexpr int kNx = 3, kNy = 2;

class RecognisedBodyOpsTest : public ::testing::Test {
 protected:
  void SetUp() override { saved_ = get_k2_geores(); }
  void TearDown() override {
    if (body_ != nullptr) body_->lose();
    get_k2_geores() = saved_;
    HISTORY::instance().forget();
  }

  // The sieve plate through the module's mesh and body factory.
  BODY* plate(MESH::SURFACE_RECONSTRUCTION options, double res) {
    const resolution weld(resolution::inq_min_resabs(), -1.0);
    auto mesh = std::make_unique<MESH>(weld);
    for (const TRI& t : SIEVE_PLATE(kNx, kNy).facets()) {
      mesh->add_triangle(POSITION3(t.v[0][0], t.v[0][1], t.v[0][2]),
                         POSITION3(t.v[1][0], t.v[1][1], t.v[1][2]),
                         POSITION3(t.v[2][0], t.v[2][1], t.v[2][2]), UNITVEC3(t.n[0], t.n[1], t.n[2]));
    }
    mesh->optimize(weld);
    BODY_FACTORY factory(nullptr, 100);
    std::uint64_t faces = 0;
    body_ = factory.make_body(*mesh, res, 1000000, options, faces);
    return body_;
  }

  static double polygon_hole() {
    const double n = SIEVE_PLATE::kSegments, r = SIEVE_PLATE::kRadius;
    return 0.5 * n * r * r * std::sin(2.0 * std::numbers::pi / n);
  }

  BODY* body_ = nullptr;
  resolution saved_;
};

TEST_F(RecognisedBodyOpsTest, CoplanarFacetsJoinAndTheVolumeStays) {
  BODY* body = plate(MESH::NONE, std::nan(""));
  ASSERT_NE(body, nullptr);
  MASS_PROPS before;
  ASSERT_EQ(mass_props(body, TRANSFORM3(), before), nullptr);
  MERGE_3D_RESULT r;
  ASSERT_EQ(merge_3d(body, {}, &r), nullptr);
  // Top, bottom, four outer walls, and each wall quad of each hole.
  EXPECT_EQ(body->number_of_faces(), 2 + 4 + kNx * kNy * SIEVE_PLATE::kSegments);
  const BODY_CHECK check = check_body(body);
  EXPECT_TRUE(check.ok()) << (check.problems.empty() ? "" : check.problems.front());
  EXPECT_EQ(check.open_edges, 0);
  for (const FACE* f : body->shell(0)->faces()) EXPECT_EQ(f->number_of_loops(), 1);
  MASS_PROPS after;
  ASSERT_EQ(mass_props(body, TRANSFORM3(), after), nullptr);
  EXPECT_NEAR(after.volume, before.volume, 1e-9 * before.volume);
  EXPECT_NEAR(after.closed_area, before.closed_area, 1e-9 * before.closed_area);
  const double volume =
      (SIEVE_PLATE::kPitch * SIEVE_PLATE::kPitch * kNx * kNy - kNx * kNy * polygon_hole()) *
      SIEVE_PLATE::kThickness;
  EXPECT_NEAR(after.volume, volume, 1e-5 * volume);
}

TEST_F(RecognisedBodyOpsTest, RecognisedPlateIsMergedAlreadyAndMeasuresAsThePlate) {
  const auto both = static_cast<MESH::SURFACE_RECONSTRUCTION>(MESH::PLANES | MESH::CYLINDERS);
  BODY* body = plate(both, 0.01);
  ASSERT_NE(body, nullptr);
  const int faces = body->number_of_faces();
  EXPECT_EQ(faces, 6 + kNx * kNy);
  MERGE_3D_RESULT r;
  ASSERT_EQ(merge_3d(body, {}, &r), nullptr);
  EXPECT_EQ(r.faces_removed, 0);
  EXPECT_TRUE(check_body(body).ok());
  // The holes' walls are fitted cylinders over rims of chords: the volume
  // lies between the plate with round holes and the plate with polygons.
  MASS_PROPS mp;
  ASSERT_EQ(mass_props(body, TRANSFORM3(), mp), nullptr);
  const double t = SIEVE_PLATE::kThickness, r2 = SIEVE_PLATE::kRadius * SIEVE_PLATE::kRadius;
  const double block = SIEVE_PLATE::kPitch * SIEVE_PLATE::kPitch * kNx * kNy * t;
  EXPECT_LT(mp.volume, block - kNx * kNy * polygon_hole() * t + 1e-3);
  EXPECT_GT(mp.volume, block - kNx * kNy * std::numbers::pi * r2 * t - 1e-3);
}

}  // namespace
