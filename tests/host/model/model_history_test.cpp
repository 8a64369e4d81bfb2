// The model tree and the history: a recovered state brings back every name,
// child order, transform, colour and body; destroyed objects leave stale
// handles; model checkpoints.

#include <map>
#include <ostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/model/model_checkpoint.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_names.h"
#include "host/model/part_data.h"
#include "model_fixture.h"

namespace {

// What a test compares of one parcel and its contents, by sysids.
struct PARCEL_RECORD {
  bool alive = false;
  std::string name;
  TRANSFORM3 tm;
  std::uint64_t contents = 0;
  std::uint64_t parent = 0;
  std::vector<std::uint64_t> children;
  std::vector<std::uint64_t> instances;
  std::uint64_t body = 0;
  std::optional<RGB_COLOR> color;
  std::optional<float> transparency;
  bool operator==(const PARCEL_RECORD&) const = default;
};

using SNAPSHOT = std::map<std::uint64_t, PARCEL_RECORD>;

// Readable failure messages.
void PrintTo(const PARCEL_RECORD& r, std::ostream* os) {
  *os << (r.alive ? "alive" : "dead") << " '" << r.name << "' contents " << r.contents
      << " parent " << r.parent << " children " << r.children.size() << " body " << r.body
      << (r.color ? " coloured" : "") << (r.transparency ? " transparent" : "");
}

std::vector<std::uint64_t> ids(const std::vector<NPARCEL*>& list) {
  std::vector<std::uint64_t> out;
  for (const NPARCEL* p : list) out.push_back(p->sysid());
  return out;
}

// The handles a test made, kept with their sysids.
class TRACKER {
 public:
  template <class T>
  T* add(T* p) {
    handles_.emplace_back(p, p->sysid());
    return p;
  }
  SNAPSHOT snapshot() const {
    SNAPSHOT s;
    for (auto [p, id] : handles_) {
      PARCEL_RECORD r;
      r.alive = ENTITY::is_live(p, id);
      if (r.alive) {
        r.name = inquire_name(p);
        r.tm = inq_tm(p);
        r.contents = inq_shared_data(p)->sysid();
        r.parent = p->parent_contents() != nullptr ? p->parent_contents()->sysid() : 0;
        r.children = ids(children(p));
        r.instances = ids(inq_shared_data(p)->instances());
        BODY* body = get_part_body(p);
        r.body = body != nullptr ? body->sysid() : 0;
        RGB_COLOR c;
        if (get_part_color(p, c)) r.color = c;
        float t = 0.0f;
        if (get_part_transparency(p, t)) r.transparency = t;
      }
      s[id] = r;
    }
    return s;
  }

 private:
  std::vector<std::pair<NPARCEL*, std::uint64_t>> handles_;
};

class ModelHistoryTest : public ModelTest {};

TEST_F(ModelHistoryTest, RecoverBringsBackTheWholeTree) {
  HISTORY& h = HISTORY::instance();
  TRACKER t;
  NASMB3* top = t.add(create_nasmb3("top"));
  NASMB3* sub = t.add(create_nasmb3("sub"));
  NPART3* p1 = t.add(create_npart3("p1"));
  NPART3* p2 = t.add(create_npart3("p2"));
  NPARCEL* p1b = t.add(create_instance(p1, "p1b"));
  NCONT* box = t.add(create_cont("box"));
  ASSERT_EQ(insert_in_graph(top), nullptr);
  ASSERT_EQ(insert_child(top, sub), nullptr);
  ASSERT_EQ(insert_child(top, p1), nullptr);
  ASSERT_EQ(insert_child(sub, p2), nullptr);
  ASSERT_EQ(insert_child(sub, p1b), nullptr);
  ASSERT_EQ(insert_child(p2, box), nullptr);
  BODY* body1 = make_triangle_cube(1);
  const std::uint64_t body1_id = body1->sysid();
  ASSERT_EQ(add_body_to_part(p1, body1), nullptr);
  ASSERT_EQ(set_part_color(p2, 0.2, 0.4, 0.6), nullptr);
  ASSERT_EQ(set_tm(sub, TRANSFORM3::translation(VECTOR3(1, 2, 3))), nullptr);

  const auto noted = h.note_state();
  const SNAPSHOT before = t.snapshot();

  // Change everything the history must undo.
  ASSERT_EQ(assign_name(p1, "renamed"), nullptr);
  ASSERT_EQ(remove_child(top, p1), nullptr);               // move p1 ...
  ASSERT_EQ(insert_child(sub, p1, 0), nullptr);            // ... into sub, first
  ASSERT_EQ(set_tm(p2, TRANSFORM3::scaling(2)), nullptr);
  ASSERT_EQ(set_part_color(p2, 1, 0, 0), nullptr);
  ASSERT_EQ(set_part_transparency(p1b, 0.5), nullptr);
  ASSERT_EQ(add_body_to_part(p2, make_triangle_cube(3)), nullptr);
  ASSERT_EQ(add_body_to_part(p1, make_triangle_cube(2)), nullptr);  // loses body1
  EXPECT_FALSE(ENTITY::is_live(body1, body1_id));
  NPART3* fresh = t.add(create_npart3("fresh"));
  ASSERT_EQ(insert_child(top, fresh), nullptr);
  // The subtree goes: sub, p1, p1b, p2, box and the bodies of both parts.
  ASSERT_EQ(destroy_parcel(sub), nullptr);
  const SNAPSHOT after = t.snapshot();
  EXPECT_NE(before, after);
  EXPECT_FALSE(after.at(sub->sysid()).alive);
  EXPECT_FALSE(after.at(box->sysid()).alive);
  EXPECT_EQ(inq_num_children(top), 1);

  // Everything as it was; the object made since is gone.
  const auto as_noted = [&] {
    SNAPSHOT now = t.snapshot();
    EXPECT_FALSE(now.at(fresh->sysid()).alive);
    now.erase(fresh->sysid());
    return now;
  };
  ASSERT_TRUE(h.recover_state(noted));
  EXPECT_EQ(as_noted(), before);
  EXPECT_TRUE(ENTITY::is_live(body1, body1_id));
  EXPECT_EQ(body1->owner(), inq_shared_data(p1));
  EXPECT_EQ(inq_obj_pathname(p2), "/top/sub/p2");
  EXPECT_EQ(pathname_to_obj("/top/p1"), p1);

  // Forward again, and back once more.
  ASSERT_TRUE(h.recover_state(noted + 1));
  EXPECT_EQ(t.snapshot(), after);
  ASSERT_TRUE(h.recover_state(noted));
  EXPECT_EQ(as_noted(), before);

  destroy_parcel(top);
  EXPECT_EQ(assertions(), 0u);
}

TEST_F(ModelHistoryTest, DestroyedObjectsLeaveStaleHandles) {
  NASMB3* a = create_nasmb3("a");
  NPART3* p = create_npart3("p");
  NPARCEL* shared = create_instance(p, "shared");
  ASSERT_EQ(insert_in_graph(a), nullptr);
  ASSERT_EQ(insert_child(a, p), nullptr);
  BODY* body = make_triangle_cube(1);
  ASSERT_EQ(add_body_to_part(p, body), nullptr);
  PARCEL_STRUCT* asm_contents = inq_shared_data(a);
  PARCEL_STRUCT* part_contents = inq_shared_data(p);
  const std::uint64_t ids[] = {a->sysid(), p->sysid(), asm_contents->sysid(),
                               part_contents->sysid(), body->sysid()};
  const auto noted = HISTORY::instance().note_state();

  ASSERT_EQ(destroy_parcel(a), nullptr);
  EXPECT_FALSE(ENTITY::is_live(a, ids[0]));
  EXPECT_FALSE(ENTITY::is_live(p, ids[1]));
  EXPECT_FALSE(ENTITY::is_live(asm_contents, ids[2]));
  // `shared` still shows the part: contents and body live on.
  EXPECT_TRUE(ENTITY::is_live(part_contents, ids[3]));
  EXPECT_TRUE(ENTITY::is_live(body, ids[4]));
  EXPECT_EQ(ENTITY::lookup(ids[0]), nullptr);
  EXPECT_EQ(pathname_to_obj("/a"), nullptr);
  EXPECT_EQ(inq_num_children(root_parcel()), 0);

  ASSERT_EQ(destroy_parcel(shared), nullptr);
  EXPECT_FALSE(ENTITY::is_live(part_contents, ids[3]));
  EXPECT_FALSE(ENTITY::is_live(body, ids[4]));

  // Undo brings every handle back.
  ASSERT_TRUE(HISTORY::instance().recover_state(noted));
  for (std::uint64_t id : ids) EXPECT_NE(ENTITY::lookup(id), nullptr) << id;
  EXPECT_EQ(ENTITY::lookup(ids[0]), a);
  EXPECT_EQ(pathname_to_obj("/a/p"), p);
  EXPECT_EQ(get_part_body(shared), body);

  destroy_parcel(a);
  destroy_parcel(shared);
}

TEST_F(ModelHistoryTest, ObjectsMadeAndDestroyedInOneChangeSetAreFreedAtOnce) {
  const std::uint64_t before = ENTITY::registered_count();
  NASMB3* a = create_nasmb3("a");
  ASSERT_EQ(insert_child(a, create_npart3("p")), nullptr);
  ASSERT_EQ(add_body_to_part(inq_child(a, 0), make_triangle_cube(1)), nullptr);
  ASSERT_EQ(destroy_parcel(a), nullptr);
  EXPECT_EQ(ENTITY::registered_count(), before);
}

TEST_F(ModelHistoryTest, CheckpointsReturnTheModel) {
  NASMB3* a = create_nasmb3("a");
  ASSERT_EQ(insert_in_graph(a), nullptr);
  const int first = tv_set_model_checkpoint();
  EXPECT_GT(first, 0);

  NPART3* p = create_npart3("p");
  ASSERT_EQ(insert_child(a, p), nullptr);
  const std::uint64_t p_id = p->sysid();
  const int second = tv_set_model_checkpoint();
  EXPECT_NE(second, first);
  ASSERT_EQ(assign_name(a, "b"), nullptr);

  ASSERT_TRUE(tv_return_to_model_checkpoint(second));
  EXPECT_EQ(inquire_name(a), "a");
  EXPECT_EQ(inq_child(a, 0), p);

  ASSERT_TRUE(tv_return_to_model_checkpoint(first));
  EXPECT_EQ(inq_num_children(a), 0);
  EXPECT_FALSE(ENTITY::is_live(p, p_id));
  // The later checkpoint named a state that the next change cuts: forgotten.
  EXPECT_FALSE(tv_return_to_model_checkpoint(second));
  EXPECT_FALSE(tv_return_to_model_checkpoint(0));
  EXPECT_FALSE(tv_return_to_model_checkpoint(second + 100));
  // Returning twice is allowed.
  EXPECT_TRUE(tv_return_to_model_checkpoint(first));

  // A checkpoint whose state the history forgot is unknown.
  NCONT* c = create_cont("c");
  ASSERT_EQ(insert_in_graph(c), nullptr);
  HISTORY::instance().note_state();
  HISTORY::instance().forget();
  EXPECT_FALSE(tv_return_to_model_checkpoint(first));
  destroy_parcel(a);
  destroy_parcel(c);
}

}  // namespace
