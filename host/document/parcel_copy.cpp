#include "host/document/parcel_copy.h"

#include <memory>
#include <unordered_map>
#include <vector>

#include "host/document/body_codec.h"
#include "host/kernel/topology/body.h"
#include "host/model/model_errors.h"
#include "host/model/model_restore.h"
#include "host/model/model_tree.h"
#include "host/model/nparcel.h"
#include "host/model/parcel_struct.h"
#include "host/model/part_data.h"
#include "host/model/part_graphics.h"
#include "host/model/universal_feature.h"

namespace {

void check(MOD_INFO* status) {
  if (status != nullptr) throw TV_EXCEPTION(status);
}

// Fills the new part `to` with what the part contents `from` hold.
void copy_part_data(const PART_STRUCT* from, NPARCEL* to) {
  if (const PART_GRAPHICS* g = from->graphics()) {
    restore_part_graphics(to, std::make_shared<const PART_GRAPHICS>(*g));
  }
  if (const BODY* body = from->body()) check(add_body_to_part(to, decode_body(encode_body(*body))));
  RGB_COLOR c;
  if (from->get_color(c)) check(set_part_color(to, c.r, c.g, c.b));
  float t = 0.0f;
  if (from->get_transparency(t)) check(set_part_transparency(to, t));
}

}  // namespace

NPARCEL* copy_parcel(NPARCEL* p) {
  if (p == nullptr) model_throw(MODEL_ERROR::NULL_ARGUMENT);
  if (is_root_parcel(p)) model_throw(MODEL_ERROR::ROOT_PARCEL);
  // Contents in the order they are met, each made once: old -> the first
  // instance of its copy. Breadth first with a queue, so a deep tree costs
  // no stack.
  std::unordered_map<const PARCEL_STRUCT*, NPARCEL*> made;
  std::vector<const PARCEL_STRUCT*> order;
  NPARCEL* top = nullptr;
  try {
    auto copy_of = [&](const NPARCEL* original) -> NPARCEL* {
      const PARCEL_STRUCT* c = original->shared_data();
      auto it = made.find(c);
      NPARCEL* copy = nullptr;
      if (it == made.end()) {
        switch (c->kind()) {
          case PARCEL_KIND::part: copy = create_npart3(original->name()); break;
          case PARCEL_KIND::assembly: copy = create_nasmb3(original->name()); break;
          case PARCEL_KIND::container: copy = create_cont(original->name()); break;
        }
        made.emplace(c, copy);
        order.push_back(c);
        if (c->kind() == PARCEL_KIND::part) copy_part_data(static_cast<const PART_STRUCT*>(c), copy);
        copy_universal_features(c, copy->shared_data());
      } else {
        copy = create_instance(it->second, original->name());
      }
      if (!original->tm().is_identity()) check(set_tm(copy, original->tm()));
      copy_universal_features(original, copy);
      return copy;
    };
    top = copy_of(p);
    for (std::size_t i = 0; i < order.size(); ++i) {
      const PARCEL_STRUCT* c = order[i];
      NPARCEL* parent = made.at(c);
      for (const NPARCEL* child : c->children()) check(insert_child(parent, copy_of(child)));
    }
    return top;
  } catch (...) {
    if (top != nullptr) destroy_parcel(top);
    for (auto& [c, copy] : made) {
      if (copy->is_alive() && copy->parent_contents() == nullptr && copy != top) destroy_parcel(copy);
    }
    throw;
  }
}
