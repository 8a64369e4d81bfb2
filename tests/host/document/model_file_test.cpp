// Model files object by object: save a model, empty the session, load it
// again, and find every parcel, name, transform, colour, body and sysid as
// it was.

#include "host/document/model_file.h"

#include <sqlite3.h>

#include <algorithm>
#include <map>

#include "host/document/file_loaders.h"
#include "host/kernel/entity/entity_registry.h"
#include "host/kernel/ops/body_checker.h"
#include "host/model/parcel_path.h"
#include "host/model/part_graphics.h"
#include "host/model/universal_feature.h"
#include "host/ui/viewport.h"
#include "tests/host/document/model_file_fixture.h"

using model_file_test::describe;
using model_file_test::num;
using model_file_test::xyz;

namespace {

class ModelFileTest : public ModelFileFixture {
 protected:
  // A model with every kind of object: an assembly holding a part twice
  // (one contents, two instances, moved apart), a part with a container, a
  // part with colour and transparency whose body has a subshell and face
  // colours, an empty container at the top, and an empty part.
  void build_model() {
    NPARCEL* asmb = create_nasmb3("Frame");
    NPARCEL* rail = create_npart3("Rail");
    add_body_to_part(rail, make_bored_block(20, 30, 10, 4, 12));
    set_part_color(rail, 0.5, 0.25, 1.0);
    NPARCEL* rail2 = create_instance(rail, "Rail");
    insert_child(asmb, rail);
    insert_child(asmb, rail2);
    set_tm(rail2, TRANSFORM3::rotation(POSITION3(0, 0, 0), VECTOR3(0, 0, 1), 1.25) *
                      TRANSFORM3::translation(VECTOR3(100, 0, 0)));
    NPARCEL* notes = create_cont("Notes");
    insert_child(rail, notes);
    insert_in_graph(asmb);
    set_tm(asmb, TRANSFORM3::translation(VECTOR3(0, 0, 5)));

    NPARCEL* plate = create_npart3("Plate / top");
    BODY* body = make_triangle_torus(12, 8, 40, 8);
    auto* sub = new SUBSHELL();
    body->shell(0)->add_subshell(sub);
    int i = 0;
    for (FACE* f = body->shell(0)->first_face(); f != nullptr && i < 40; ++i) {
      FACE* next = f->next_in_shell();
      if (i % 3 == 0) sub->add_face(f);
      if (i % 7 == 0) f->set_color(0.125, 0.75, 0.0);
      f = next;
    }
    add_body_to_part(plate, body);
    set_part_color(plate, 0.0, 1.0, 0.5);
    set_part_transparency(plate, 0.375);
    insert_in_graph(plate);
    insert_in_graph(create_cont("Studies"));
    insert_in_graph(create_npart3("Empty"));
  }

  // Everything a user can see of the model below the root, with sysids.
  static std::vector<std::string> snapshot(bool sysids = true) {
    return snapshot(children(root_parcel()), sysids);
  }
  static std::vector<std::string> snapshot(const std::vector<NPARCEL*>& tops, bool sysids = true) {
    std::vector<std::string> out;
    std::vector<std::pair<NPARCEL*, std::string>> todo;
    for (NPARCEL* p : tops) todo.push_back({p, ""});
    while (!todo.empty()) {
      auto [p, indent] = todo.front();
      todo.erase(todo.begin());
      std::string line =
          indent + inq_obj_pathname(p) + " kind " + std::to_string(static_cast<int>(p->kind()));
      if (sysids) {
        line += " sysid " + std::to_string(p->sysid()) + " contents " +
                std::to_string(p->shared_data()->sysid());
      }
      std::string tm;
      for (int i = 0; i < 3; ++i) tm += xyz(p->tm().row(i)) + ";";
      line += " tm " + tm + xyz(p->tm().translation_vector());
      RGB_COLOR c;
      if (get_part_color(p, c)) line += " color " + xyz(c.r, c.g, c.b);
      float t;
      if (get_part_transparency(p, t)) line += " transparency " + num(t);
      out.push_back(line);
      if (BODY* b = get_part_body(p)) {
        for (const std::string& l : describe(b, sysids)) out.push_back(indent + "  " + l);
      }
      for (NPARCEL* child : children(p)) todo.push_back({child, indent + "  "});
    }
    return out;
  }

  static void clear_model() {
    while (inq_num_children(root_parcel()) > 0) destroy_parcel(inq_child(root_parcel(), 0));
    HISTORY::instance().forget();
  }
};

TEST_F(ModelFileTest, RoundTripKeepsEveryObjectAndSysid) {
  build_model();
  const std::vector<std::string> before = snapshot();
  save_model_file(path("model.lmx"));
  clear_model();
  const std::vector<NPARCEL*> tops = load_model_file(path("model.lmx"));
  ASSERT_EQ(tops.size(), 4u);
  EXPECT_EQ(inq_obj_pathname(tops[0]), "/Frame");
  EXPECT_EQ(snapshot(), before);
  // Shared contents stay shared; bodies are valid.
  NPARCEL* rail = pathname_to_obj("/Frame/Rail");
  NPARCEL* rail2 = pathname_to_obj("/Frame/Rail-1");
  ASSERT_NE(rail, nullptr);
  ASSERT_NE(rail2, nullptr);
  EXPECT_EQ(rail->shared_data(), rail2->shared_data());
  EXPECT_TRUE(check_body(get_part_body(rail)).ok());
  EXPECT_TRUE(check_body(get_part_body(pathname_to_obj("/Plate _ top"))).ok());
  // The loaded entities are those the registry finds by the saved sysids.
  EXPECT_EQ(ENTITY::lookup(rail->sysid()), rail);
  clear_model();
}

// Features travel with the model: on contents and on instances, with their
// names, options, memory and references to items; those filed only.
TEST_F(ModelFileTest, FeaturesComeBackWithTheirPlacesMemoryAndReferences) {
  build_model();
  NPARCEL* rail = pathname_to_obj("/Frame/Rail");
  NPARCEL* rail2 = pathname_to_obj("/Frame/Rail-1");
  NPARCEL* notes = pathname_to_obj("/Frame/Rail/Notes");
  ASSERT_NE(notes, nullptr);
  FEATURE_MEMORY memory;
  memory.set("FEATURE-TYPE", FEATURE_VALUE::keyword("LMX-MESH-QUALITY-STUDY"));
  memory.set("ERROR-TOLERANCE", FEATURE_VALUE::real(0.05));
  memory.set("CAD-PART", FEATURE_VALUE::string("/Frame/Rail"));
  memory.set("DISTANCES", FEATURE_VALUE::list({FEATURE_VALUE::list({FEATURE_VALUE::integer(17), FEATURE_VALUE::real(0.5)}, true),
                                               FEATURE_VALUE::list({FEATURE_VALUE::integer(18), FEATURE_VALUE::real(-0.25)}, true)}));
  FEATURE_OPTIONS kept;
  kept.on_split = FEATURE_POLICY::MAINTAIN;
  THIN_UNIVERSAL_FEATURE* study = make_thin_universal_feature(feature_place(rail, true), kept, memory, "Study");
  add_universal_feature_entities(*study, {sel_item_of(rail2), sel_item_of(notes)});
  FEATURE_MEMORY result;
  result.set("FEATURE-TYPE", FEATURE_VALUE::keyword("STUDY-MEASUREMENT-RESULT"));
  make_thin_universal_feature(rail2, FEATURE_OPTIONS{}, result);
  FEATURE_OPTIONS unfiled;
  unfiled.filed = false;
  make_thin_universal_feature(notes, unfiled, result);
  const std::uint64_t rail2_sysid = rail2->sysid();

  save_model_file(path("features.lmx"));
  clear_model();
  load_model_file(path("features.lmx"));
  rail = pathname_to_obj("/Frame/Rail");
  rail2 = pathname_to_obj("/Frame/Rail-1");
  notes = pathname_to_obj("/Frame/Rail/Notes");
  ASSERT_NE(rail, nullptr);
  ASSERT_EQ(rail2->sysid(), rail2_sysid);
  const auto& on_contents = features_at(feature_place(rail, true));
  ASSERT_EQ(on_contents.size(), 1u);
  EXPECT_EQ(on_contents[0]->name(), "Study");
  EXPECT_EQ(on_contents[0]->options(), kept);
  EXPECT_EQ(on_contents[0]->memory(), memory);
  const std::vector<SEL_ITEM> refs = universal_feature_ref_sel_items(*on_contents[0]);
  ASSERT_EQ(refs.size(), 2u);
  EXPECT_EQ(refs[0].item(), rail2);
  EXPECT_EQ(refs[1].item(), notes);
  // The instance's own feature stays on that instance; the unfiled one is gone.
  ASSERT_EQ(features_at(rail2).size(), 1u);
  EXPECT_EQ(*features_at(rail2)[0]->memory().find("FEATURE-TYPE"), FEATURE_VALUE::keyword("STUDY-MEASUREMENT-RESULT"));
  EXPECT_TRUE(features_at(rail).empty());
  EXPECT_TRUE(features_at(notes).empty());
  // Loaded a second time, the copy's references would point into the first
  // copy: they are left out, the features themselves come.
  const std::vector<NPARCEL*> copy = load_model_file(path("features.lmx"));
  NPARCEL* rail_copy = copy[0]->shared_data()->children()[0];
  const auto& copied = features_at(feature_place(rail_copy, true));
  ASSERT_EQ(copied.size(), 1u);
  EXPECT_EQ(copied[0]->memory(), memory);
  EXPECT_TRUE(universal_feature_ref_sel_items(*copied[0]).empty());
  clear_model();
}

// How a part shows travels with it: edges off, drawn see-through.
TEST_F(ModelFileTest, ShowSettingsComeBack) {
  build_model();
  NPARCEL* rail = pathname_to_obj("/Frame/Rail");
  viewports().set_show_setting(rail->shared_data(), "3DGEO_EDGED", false);
  viewports().set_show_setting(rail->shared_data(), "3DGEO_PART_TRANSPARENCY", true);
  save_model_file(path("show.lmx"));
  clear_model();
  viewports().reset();
  load_model_file(path("show.lmx"));
  rail = pathname_to_obj("/Frame/Rail");
  const SHOW_SETTINGS show = viewports().show_settings(rail->shared_data());
  EXPECT_FALSE(show.edged);
  EXPECT_TRUE(show.see_through);
  const SHOW_SETTINGS plate = viewports().show_settings(pathname_to_obj("/Plate _ top")->shared_data());
  EXPECT_TRUE(plate.edged);
  EXPECT_FALSE(plate.see_through);
  clear_model();
  viewports().reset();
}

TEST_F(ModelFileTest, LoadingTheSameFileTwiceGivesTheSecondCopyFreshSysids) {
  build_model();
  save_model_file(path("model.lmx"));
  const std::vector<std::string> before = snapshot();
  const std::vector<NPARCEL*> first(children(root_parcel()).begin(), children(root_parcel()).end());
  const std::vector<NPARCEL*> copy = load_model_file(path("model.lmx"));
  ASSERT_EQ(copy.size(), 4u);
  // The first copy is untouched; the second has its objects under new
  // names and sysids, and describes the same apart from those.
  EXPECT_EQ(inq_obj_pathname(copy[0]), "/Frame-1");
  EXPECT_EQ(snapshot(first), before);
  for (NPARCEL* p : copy) {
    EXPECT_EQ(ENTITY::lookup(p->sysid()), p);
    EXPECT_EQ(std::count(first.begin(), first.end(), ENTITY::lookup(p->sysid())), 0);
  }
  const BODY* a = get_part_body(pathname_to_obj("/Plate _ top"));
  const BODY* b = get_part_body(pathname_to_obj("/Plate _ top-1"));
  ASSERT_NE(b, nullptr);
  EXPECT_NE(a->sysid(), b->sysid());
  EXPECT_EQ(describe(a, false), describe(b, false));
  clear_model();
}

TEST_F(ModelFileTest, ALoadIsUndoneByRecoveringTheStateBefore) {
  build_model();
  const std::vector<std::string> before = snapshot();
  save_model_file(path("model.lmx"));
  clear_model();
  const HISTORY::STATE_ID empty = HISTORY::instance().current_state();
  load_model_file(path("model.lmx"));
  const HISTORY::STATE_ID loaded = HISTORY::instance().current_state();
  EXPECT_EQ(inq_num_children(root_parcel()), 4);
  ASSERT_TRUE(HISTORY::instance().recover_state(empty));
  EXPECT_EQ(inq_num_children(root_parcel()), 0);
  ASSERT_TRUE(HISTORY::instance().recover_state(loaded));
  EXPECT_EQ(snapshot(), before);
  clear_model();
}

TEST_F(ModelFileTest, AGraphicsOnlyPartKeepsItsTriangles) {
  NPARCEL* solid = create_npart3("Solid");
  add_body_to_part(solid, make_bored_block(20, 30, 10, 4, 12));
  set_part_color(solid, 0.25, 0.5, 0.75);
  auto graphics = std::make_shared<const PART_GRAPHICS>(part_graphics(solid));
  destroy_parcel(solid);
  NPARCEL* light = create_graphics_part(graphics, "Light");
  insert_in_graph(light);
  const std::uint64_t sysid = light->sysid();
  save_model_file(path("light.lmx"));
  clear_model();
  const std::vector<NPARCEL*> tops = load_model_file(path("light.lmx"));
  ASSERT_EQ(tops.size(), 1u);
  EXPECT_EQ(tops[0]->sysid(), sysid);
  EXPECT_TRUE(is_graphics_only_part(tops[0]));
  EXPECT_EQ(get_part_body(tops[0]), nullptr);
  ASSERT_NE(get_part_graphics(tops[0]), nullptr);
  EXPECT_EQ(*get_part_graphics(tops[0]), *graphics);
  RGB_COLOR c;
  ASSERT_TRUE(get_part_color(tops[0], c));
  EXPECT_EQ(c, (RGB_COLOR{0.25, 0.5, 0.75}));
  clear_model();
}

TEST_F(ModelFileTest, AnEmptyModelSavesAndLoadsAsNothing) {
  save_model_file(path("empty.lmx"));
  EXPECT_TRUE(load_model_file(path("empty.lmx")).empty());
}

TEST_F(ModelFileTest, SavingReplacesTheEarlierFile) {
  insert_in_graph(create_npart3("First"));
  save_model_file(path("m.lmx"));
  clear_model();
  insert_in_graph(create_npart3("Second"));
  save_model_file(path("m.lmx"));
  clear_model();
  const std::vector<NPARCEL*> tops = load_file(path("m.lmx"), LOAD_MODE::ALL_AS_NEW);
  ASSERT_EQ(tops.size(), 1u);
  EXPECT_EQ(tops[0]->name(), "Second");
  clear_model();
  // No temporary file is left beside it.
  int files = 0;
  if (DIR* d = ::opendir(dir_.c_str())) {
    while (const dirent* e = ::readdir(d))
      files += e->d_name[0] != '.' || std::string(e->d_name).size() > 2;
    ::closedir(d);
  }
  EXPECT_EQ(files, 1);
}

TEST_F(ModelFileTest, ALargeMeshBodyStaysUnderSixtyFourBytesAFacet) {
  NPARCEL* part = create_npart3("Torus");
  add_body_to_part(part, make_triangle_torus(200, 100, 100, 30));  // 40,000 facets
  insert_in_graph(part);
  save_model_file(path("torus.lmx"));
  struct stat st {};
  ASSERT_EQ(::stat(path("torus.lmx").c_str(), &st), 0);
  EXPECT_LT(st.st_size, 64 * 40000);
  const std::vector<std::string> before = snapshot();
  clear_model();
  load_model_file(path("torus.lmx"));
  EXPECT_EQ(snapshot(), before);
  clear_model();
}

}  // namespace
