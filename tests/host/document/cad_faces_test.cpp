// Bodies read from STEP keep their exact CAD faces through a model file:
// spheres, cones and their circles come back as OpenCASCADE geometry, every
// face keeps its source face, and the faces answer their queries as before.

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRep_Builder.hxx>
#include <TopoDS_Compound.hxx>
#include <gp_Ax2.hxx>

#include "host/document/model_file.h"
#include "host/exchange/occ_storage.h"
#include "host/exchange/step_export.h"
#include "host/exchange/step_import.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/ops/foreign_face.h"
#include "tests/host/document/model_file_fixture.h"

using model_file_test::describe;
using model_file_test::xyz;

namespace {

class CadFacesTest : public ModelFileFixture {
 protected:
  // Per face: its CAD source, its box and its number of triangles.
  static std::vector<std::string> queries(const BODY* body) {
    std::vector<std::string> out;
    body->scan_faces(
        [](FACE* f, void* data) {
          auto* lines = static_cast<std::vector<std::string>*>(data);
          const BOX3 b = f->box();
          FACE_TESSELLATION t;
          f->tessellate(t);
          lines->push_back("source " + std::to_string(static_cast<int>(occ_face_source(f))) +
                           " foreign " + std::to_string(foreign_face(f) != nullptr) + " box " +
                           xyz(b.lower()) + " " + xyz(b.upper()) + " triangles " +
                           std::to_string(t.triangles.size() > 0));
          return SCAN_CONTINUE;
        },
        &out);
    return out;
  }
};

TEST_F(CadFacesTest, StepBodiesComeBackWithTheirCadFaces) {
  TopoDS_Compound all;
  BRep_Builder b;
  b.MakeCompound(all);
  b.Add(all, BRepPrimAPI_MakeSphere(gp_Pnt(0, 0, 0), 10.0).Shape());
  b.Add(all,
        BRepPrimAPI_MakeCone(gp_Ax2(gp_Pnt(40, 0, 0), gp_Dir(0, 0, 1)), 8.0, 3.0, 12.0).Shape());
  b.Add(all, BRepPrimAPI_MakeBox(gp_Pnt(-50, 0, 0), 5.0, 6.0, 7.0).Shape());
  ASSERT_TRUE(write_plain_part(path("cad.step"), all));
  std::vector<BODY*> bodies = read_step(path("cad.step"));
  ASSERT_EQ(bodies.size(), 3u);
  std::vector<std::vector<std::string>> before, answers;
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    NPARCEL* part = create_npart3("Solid");
    add_body_to_part(part, bodies[i]);
    insert_in_graph(part);
    before.push_back(describe(bodies[i]));
    answers.push_back(queries(bodies[i]));
  }
  // The sphere and the cone hold CAD geometry; the box only source faces.
  EXPECT_NE(before[0][2].find("OCC-SURFACE"), std::string::npos) << before[0][2];
  save_model_file(path("cad.lmx"));
  while (inq_num_children(root_parcel()) > 0) destroy_parcel(inq_child(root_parcel(), 0));
  HISTORY::instance().forget();

  const std::vector<NPARCEL*> tops = load_model_file(path("cad.lmx"));
  ASSERT_EQ(tops.size(), 3u);
  std::vector<STEP_EXPORT_ITEM> items;
  for (std::size_t i = 0; i < tops.size(); ++i) {
    BODY* body = get_part_body(tops[i]);
    ASSERT_NE(body, nullptr);
    EXPECT_TRUE(check_body(body).ok());
    EXPECT_EQ(describe(body), before[i]);
    EXPECT_EQ(queries(body), answers[i]);
    STEP_EXPORT_ITEM item;
    item.body = body;
    item.name = "solid-" + std::to_string(i);
    items.push_back(item);
  }
  // The writers find the source faces again.
  write_step(items, path("again.step"));
  std::vector<BODY*> again = read_step(path("again.step"));
  EXPECT_EQ(again.size(), 3u);
  for (BODY* body : again) body->lose();
  for (NPARCEL* p : tops) destroy_parcel(p);
}

TEST_F(CadFacesTest, DamagedCadBytesAreRefused) {
  EXPECT_THROW(read_occ_pieces("not a shape at all", {}), std::runtime_error);
  EXPECT_THROW(read_occ_pieces(std::string("\x01\x00\x00\x00garbage", 11), {}), std::runtime_error);
  EXPECT_THROW(read_occ_pieces(std::string(12, '\0'), {OCC_FACE_SOURCE::ANSWERING}),
               std::runtime_error);
}

}  // namespace
