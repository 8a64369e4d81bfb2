#pragma once
// MODEL_EDIT: the one place that creates, writes and destroys model-tree
// entities. Internal to host/model: the public operations (model_tree.h,
// part_data.h, parcel_names.h) check their arguments and keep the tree's
// invariants; these helpers do neither. Every write goes through the history.

#include <string>

#include "host/model/nparcel.h"
#include "host/model/parcel_struct.h"

struct MODEL_EDIT {
  static NPARCEL_DATA& w(NPARCEL* p) { return p->w(); }
  static PARCEL_STRUCT_DATA& w(PARCEL_STRUCT* c) { return c->w(); }

  // New contents of that kind, without instances yet.
  static PARCEL_STRUCT* new_contents(PARCEL_KIND kind) {
    switch (kind) {
      case PARCEL_KIND::part:
        return new PART_STRUCT();
      case PARCEL_KIND::assembly:
        return new ASMB_STRUCT();
      case PARCEL_KIND::container:
        break;
    }
    return new CONT_STRUCT();
  }

  // A new instance of `contents` outside any tree, entered last in the
  // contents' instance list, with the identity transformation.
  static NPARCEL* new_instance(PARCEL_STRUCT* contents, std::string name) {
    NPARCEL_DATA data;
    data.name = std::move(name);
    data.contents = contents;
    NPARCEL* p = nullptr;
    switch (contents->kind()) {
      case PARCEL_KIND::part:
        p = new NPART3(std::move(data));
        break;
      case PARCEL_KIND::assembly:
        p = new NASMB3(std::move(data));
        break;
      case PARCEL_KIND::container:
        p = new NCONT(std::move(data));
        break;
    }
    w(contents).instances.push_back(p);
    return p;
  }

  // Destroy through the history. The entity may be freed at once: do not touch it.
  static void lose(NPARCEL* p) { p->lose_entity(); }
  static void lose(PARCEL_STRUCT* c) { c->lose_entity(); }
};

// A name for an instance of `kind` that no child of `in` other than `self`
// carries: `wanted` with each '/' replaced by '_' when free; an empty name
// becomes a fresh system name; a taken one gets the smallest suffix "-k"
// (k >= 1) that is free. `in` may be null (no clash possible).
// O(children of `in`). Defined in parcel_names.cpp.
std::string model_free_name(const PARCEL_STRUCT* in, const std::string& wanted, PARCEL_KIND kind,
                            const NPARCEL* self);
