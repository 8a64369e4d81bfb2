// Facets written from bodies read from STEP close up: the STL that lumesh
// convert writes for a sphere and a filleted box is read back with the
// module's own STL import, which must find no open edge, every edge used once
// each way, and the exact solid's volume within the mesh's deflection.

#include "app/mesh_output.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <BRepFilletAPI_MakeFillet.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <STEPControl_Writer.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/base/utf8.h"
#include "host/exchange/occt_setup.h"
#include "host/exchange/step_check.h"
#include "host/exchange/step_import.h"
#include "host/geometry/resolution.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "lumesh/data_exchange/manufacturing_import.h"
#include "lumesh/reverse_engineering/body_factory.h"
#include "support/tessellated_volume.h"

namespace {

// Counts of a body's coedges by how their edge is used.
struct EDGE_USES {
  int coedges = 0;
  int unpartnered = 0;  // a coedge alone on its edge
  int same_way = 0;     // partners that run the same way: a face turned over
  double volume = 0.0;  // of the faces' tessellation, by the divergence theorem
};

EDGE_USES edge_uses(const BODY* body) {
  EDGE_USES u;
  body->scan_faces(
      [](FACE* f, void* data) {
        auto* uu = static_cast<EDGE_USES*>(data);
        for (LOOP* l = f->loop(); l != nullptr; l = l->next()) {
          const COEDGE* c = l->start();
          do {
            ++uu->coedges;
            const COEDGE* p = c->partner();
            if (p == nullptr || p == c) {
              ++uu->unpartnered;
            } else if (p->start() == c->start()) {
              ++uu->same_way;
            }
            c = c->next();
          } while (c != nullptr && c != l->start());
        }
        uu->volume += tessellated_volume(f).value_or(std::nan(""));
        return SCAN_CONTINUE;
      },
      &u);
  return u;
}

class MeshOutput : public ::testing::Test {
 protected:
  void SetUp() override {
    saved_ = get_k2_geores();
    prepare_occt();
    std::string pattern = ::testing::TempDir() + "/lumesh-mesh-output-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    dir_ = pattern;
  }
  void TearDown() override {
    for (BODY* b : bodies_) b->lose();
    get_k2_geores() = saved_;
    for (const std::string& name : written_) std::remove(name.c_str());
    ::rmdir(dir_.c_str());
  }
  std::string path(const std::string& name) {
    written_.push_back(dir_ + "/" + name);
    return written_.back();
  }

  // `shape` written by OCCT as STEP, read by the host, written as STL by
  // lumesh convert's writer and read by the module's import: closed,
  // consistently oriented, with the volume of the exact solid.
  void expect_closed_stl(const TopoDS_Shape& shape, const std::string& name) {
    const std::string step = path(name + ".step"), stl = path(name + ".stl");
    STEPControl_Writer w;
    ASSERT_EQ(w.Transfer(shape, STEPControl_AsIs), IFSelect_RetDone);
    ASSERT_EQ(w.Write(step.c_str()), IFSelect_RetDone);
    const double exact = check_step_file(step).volume;
    ASSERT_GT(exact, 0.0);

    std::vector<BODY*> read = read_step(step);
    bodies_.insert(bodies_.end(), read.begin(), read.end());
    ASSERT_EQ(read.size(), 1u);
    STEP_EXPORT_ITEM item;
    item.body = read[0];
    item.name = name;
    const std::size_t triangles = write_bodies_as_stl({item}, stl);
    EXPECT_GT(triangles, 100u);

    MF_IMPORT_OPTIONS o;
    o.reconstruction = MESH::NONE;
    o.resolution = std::nan("");
    MF_MODEL_DESCRIPTION model = read_stl_model(utf8_to_wide(stl), o);
    ASSERT_EQ(model.size(), 2u);
    BODY* mesh = model[1].body;
    bodies_.push_back(mesh);
    EXPECT_FALSE(has_open_boundary(mesh)) << name;
    const BODY_CHECK c = check_body(mesh);
    EXPECT_TRUE(c.ok()) << (c.problems.empty() ? "" : c.problems.front());
    EXPECT_EQ(c.open_edges, 0) << name;
    EXPECT_EQ(c.nonmanifold_edges, 0) << name;
    // A closed surface of genus 0 has Euler characteristic 2.
    EXPECT_EQ(c.euler(), 2) << name;
    const EDGE_USES u = edge_uses(mesh);
    EXPECT_GT(u.coedges, 0);
    EXPECT_EQ(u.unpartnered, 0) << name;
    EXPECT_EQ(u.same_way, 0) << name;
    EXPECT_NEAR(u.volume, exact, 0.01 * exact) << name;
    std::printf("%s: %zu triangles, volume %.6g of %.6g (%.3g%% off)\n", name.c_str(), triangles,
                u.volume, exact, 100.0 * (u.volume - exact) / exact);
  }

  resolution saved_;
  std::string dir_;
  std::vector<std::string> written_;
  std::vector<BODY*> bodies_;
};

TEST_F(MeshOutput, SphereFromStepGivesAClosedStl) {
  expect_closed_stl(BRepPrimAPI_MakeSphere(gp_Pnt(1, -2, 3), 7.0).Shape(), "sphere");
}

TEST_F(MeshOutput, FilletedBoxFromStepGivesAClosedStl) {
  const TopoDS_Shape box = BRepPrimAPI_MakeBox(20.0, 15.0, 10.0).Shape();
  BRepFilletAPI_MakeFillet fillet(box);
  TopTools_IndexedMapOfShape edges;
  TopExp::MapShapes(box, TopAbs_EDGE, edges);
  for (int i = 1; i <= edges.Extent(); ++i) fillet.Add(2.0, TopoDS::Edge(edges(i)));
  expect_closed_stl(fillet.Shape(), "filleted");
}

}  // namespace
