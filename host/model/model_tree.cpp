#include "host/model/model_tree.h"

#include <algorithm>
#include <cstdint>
#include <unordered_set>

#include "host/kernel/topology/body.h"
#include "host/model/model_edit.h"
#include "host/model/model_errors.h"
#include "host/model/parcel_path.h"
#include "host/model/universal_feature.h"

namespace {

// The root and its sysid; the pointer is only compared after the sysid was
// found live, so a root that a recovered state took away is never read.
NPARCEL* g_root = nullptr;
std::uint64_t g_root_sysid = 0;

const std::vector<NPARCEL*>& no_children() {
  static const std::vector<NPARCEL*> none;
  return none;
}

NPARCEL* new_parcel(PARCEL_KIND kind, const std::string& name) {
  PARCEL_STRUCT* contents = MODEL_EDIT::new_contents(kind);
  return MODEL_EDIT::new_instance(contents, model_free_name(nullptr, name, kind, nullptr));
}

// True when `target` is `from` or lies below it. Iterative over the contents
// graph, each contents visited once.
bool reaches(PARCEL_STRUCT* from, const PARCEL_STRUCT* target) {
  std::vector<PARCEL_STRUCT*> work{from};
  std::unordered_set<const PARCEL_STRUCT*> seen{from};
  while (!work.empty()) {
    PARCEL_STRUCT* c = work.back();
    work.pop_back();
    if (c == target) return true;
    for (NPARCEL* child : c->children()) {
      PARCEL_STRUCT* next = child->shared_data();
      if (seen.insert(next).second) work.push_back(next);
    }
  }
  return false;
}

void erase_one(std::vector<NPARCEL*>& list, NPARCEL* p) {
  auto it = std::find(list.begin(), list.end(), p);
  if (it != list.end()) list.erase(it);
}

}  // namespace

NPARCEL* root_parcel() {
  if (!ENTITY::is_live(g_root, g_root_sysid)) {
    PARCEL_STRUCT* contents = MODEL_EDIT::new_contents(PARCEL_KIND::assembly);
    g_root = MODEL_EDIT::new_instance(contents, std::string());
    g_root_sysid = g_root->sysid();
  }
  return g_root;
}

bool is_root_parcel(const NPARCEL* p) {
  return p != nullptr && p == g_root && ENTITY::is_live(g_root, g_root_sysid);
}

NPART3* create_npart3(const std::string& name) {
  return static_cast<NPART3*>(new_parcel(PARCEL_KIND::part, name));
}

NASMB3* create_nasmb3(const std::string& name) {
  return static_cast<NASMB3*>(new_parcel(PARCEL_KIND::assembly, name));
}

NCONT* create_cont(const std::string& name) {
  return static_cast<NCONT*>(new_parcel(PARCEL_KIND::container, name));
}

NPARCEL* create_instance(NPARCEL* of, const std::string& name) {
  if (of == nullptr || is_root_parcel(of)) return nullptr;
  return MODEL_EDIT::new_instance(of->shared_data(),
                                  model_free_name(nullptr, name, of->kind(), nullptr));
}

MOD_INFO* insert_child(NPARCEL* parent, NPARCEL* child, int position) {
  if (parent == nullptr || child == nullptr) return model_error(MODEL_ERROR::NULL_ARGUMENT);
  if (is_root_parcel(child)) return model_error(MODEL_ERROR::ROOT_PARCEL);
  if (child->parent_contents() != nullptr) return model_error(MODEL_ERROR::ALREADY_IN_TREE);
  if (parent->kind() == PARCEL_KIND::part && child->kind() != PARCEL_KIND::container) {
    return model_error(MODEL_ERROR::PARENT_IS_PART);
  }
  PARCEL_STRUCT* in = parent->shared_data();
  if (reaches(child->shared_data(), in)) return model_error(MODEL_ERROR::CYCLE);

  const std::string name = model_free_name(in, child->name(), child->kind(), child);
  if (name != child->name()) MODEL_EDIT::w(child).name = name;
  MODEL_EDIT::w(child).parent = in;
  std::vector<NPARCEL*>& list = MODEL_EDIT::w(in).children;
  if (position < 0 || position >= static_cast<int>(list.size())) {
    list.push_back(child);
  } else {
    list.insert(list.begin() + position, child);
  }
  return nullptr;
}

MOD_INFO* insert_in_graph(NPARCEL* child, int position) {
  return insert_child(root_parcel(), child, position);
}

MOD_INFO* remove_child(NPARCEL* parent, NPARCEL* child) {
  if (parent == nullptr || child == nullptr) return model_error(MODEL_ERROR::NULL_ARGUMENT);
  PARCEL_STRUCT* in = parent->shared_data();
  if (child->parent_contents() != in) return model_error(MODEL_ERROR::NOT_A_CHILD);
  erase_one(MODEL_EDIT::w(in).children, child);
  MODEL_EDIT::w(child).parent = nullptr;
  return nullptr;
}

MOD_INFO* destroy_parcel(NPARCEL* p) {
  if (p == nullptr) return model_error(MODEL_ERROR::NULL_ARGUMENT);
  if (is_root_parcel(p)) return model_error(MODEL_ERROR::ROOT_PARCEL);
  if (PARCEL_STRUCT* in = p->parent_contents()) erase_one(MODEL_EDIT::w(in).children, p);

  // Depth first with an explicit stack: the depth of a model tree is the
  // user's to choose. Dying instances keep their own fields, so that a
  // recovered state finds them as they were.
  std::vector<NPARCEL*> work{p};
  while (!work.empty()) {
    NPARCEL* inst = work.back();
    work.pop_back();
    PARCEL_STRUCT* contents = inst->shared_data();
    erase_one(MODEL_EDIT::w(contents).instances, inst);
    lose_universal_features(inst);
    MODEL_EDIT::lose(inst);
    if (!contents->instances().empty()) continue;
    // The last instance is gone: the contents dies with its children and body.
    const std::vector<NPARCEL*>& kids = contents->children();
    work.insert(work.end(), kids.rbegin(), kids.rend());
    if (contents->kind() == PARCEL_KIND::part) {
      if (BODY* body = static_cast<PART_STRUCT*>(contents)->body()) body->lose();
    }
    lose_universal_features(contents);
    MODEL_EDIT::lose(contents);
  }
  return nullptr;
}

MOD_INFO* set_tm(NPARCEL* p, const TRANSFORM3& tm) {
  if (p == nullptr) return model_error(MODEL_ERROR::NULL_ARGUMENT);
  if (is_root_parcel(p)) return model_error(MODEL_ERROR::ROOT_PARCEL);
  MODEL_EDIT::w(p).tm = tm;
  return nullptr;
}

const TRANSFORM3& inq_tm(const NPARCEL* p) {
  static const TRANSFORM3 identity;
  return p != nullptr ? p->tm() : identity;
}

int inq_num_children(const NPARCEL* p) {
  return p != nullptr ? p->shared_data()->number_of_children() : 0;
}

NPARCEL* inq_child(const NPARCEL* p, int i) {
  const std::vector<NPARCEL*>& list = children(p);
  if (i < 0 || i >= static_cast<int>(list.size())) return nullptr;
  return list[static_cast<std::size_t>(i)];
}

const std::vector<NPARCEL*>& children(const NPARCEL* p) {
  return p != nullptr ? p->shared_data()->children() : no_children();
}

NPARCEL* inq_parent(const NPARCEL* p) {
  if (p == nullptr || p->parent_contents() == nullptr || is_root_parcel(p)) return nullptr;
  const PARCEL_PATH path = path_of(p);
  if (path.size() >= 2) return path.at(path.size() - 2);
  return path.rooted() ? root_parcel() : nullptr;
}

PARCEL_STRUCT* inq_shared_data(const NPARCEL* p) {
  return p != nullptr ? p->shared_data() : nullptr;
}
