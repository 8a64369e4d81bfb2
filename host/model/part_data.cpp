#include "host/model/part_data.h"

#include "host/kernel/topology/body.h"
#include "host/model/model_edit.h"
#include "host/model/model_errors.h"

namespace {

bool in_unit_range(double v) { return v >= 0.0 && v <= 1.0; }  // false for NaN

// The part contents of `p`, or null when `p` is null or no part.
PART_STRUCT* part_of(const NPARCEL* p) {
  if (p == nullptr || p->kind() != PARCEL_KIND::part) return nullptr;
  return static_cast<PART_STRUCT*>(p->shared_data());
}

}  // namespace

MOD_INFO* add_body_to_part(NPARCEL* part, BODY* body) {
  if (part == nullptr || body == nullptr) return model_error(MODEL_ERROR::NULL_ARGUMENT);
  PART_STRUCT* contents = part_of(part);
  if (contents == nullptr) return model_error(MODEL_ERROR::NOT_A_PART);
  if (contents->graphics() != nullptr) return model_error(MODEL_ERROR::GRAPHICS_ONLY);
  if (contents->body() == body) return nullptr;
  PART_STRUCT* previous_owner = nullptr;
  if (HISTORIC_ENTITY* owner = body->owner()) {
    previous_owner = entity_cast<PART_STRUCT>(owner);
    if (previous_owner == nullptr) return model_error(MODEL_ERROR::BODY_IN_USE);
  }
  if (previous_owner != nullptr && previous_owner->body() == body) {
    MODEL_EDIT::w(previous_owner).body = nullptr;
  }
  BODY* old = contents->body();
  MODEL_EDIT::w(contents).body = body;
  body->set_owner(contents);
  if (old != nullptr) old->lose();
  return nullptr;
}

BODY* get_part_body(const NPARCEL* part) {
  const PART_STRUCT* contents = part_of(part);
  return contents != nullptr ? contents->body() : nullptr;
}

MOD_INFO* set_part_color(NPARCEL* part, double r, double g, double b) {
  if (part == nullptr) return model_error(MODEL_ERROR::NULL_ARGUMENT);
  PART_STRUCT* contents = part_of(part);
  if (contents == nullptr) return model_error(MODEL_ERROR::NOT_A_PART);
  if (!in_unit_range(r) || !in_unit_range(g) || !in_unit_range(b)) {
    return model_error(MODEL_ERROR::BAD_COLOR);
  }
  MODEL_EDIT::w(contents).color = RGB_COLOR{r, g, b};
  return nullptr;
}

MOD_INFO* remove_part_color(NPARCEL* part) {
  if (part == nullptr) return model_error(MODEL_ERROR::NULL_ARGUMENT);
  PART_STRUCT* contents = part_of(part);
  if (contents == nullptr) return model_error(MODEL_ERROR::NOT_A_PART);
  RGB_COLOR unused;
  if (contents->get_color(unused)) MODEL_EDIT::w(contents).color.reset();
  return nullptr;
}

bool get_part_color(const NPARCEL* part, RGB_COLOR& color) {
  const PART_STRUCT* contents = part_of(part);
  return contents != nullptr && contents->get_color(color);
}

bool get_base_color(const PARCEL_STRUCT* contents, RGB_COLOR& color) {
  const PART_STRUCT* part = entity_cast<PART_STRUCT>(contents);
  return part != nullptr && part->get_color(color);
}

bool get_base_color(const PARCEL_STRUCT* contents, RGB_COLOR& base, RGB_COLOR& shaded,
                    RGB_COLOR& highlighted) {
  if (!get_base_color(contents, base)) return false;
  shaded = base;
  highlighted = base;
  return true;
}

MOD_INFO* set_part_transparency(NPARCEL* part, double t) {
  if (part == nullptr) return model_error(MODEL_ERROR::NULL_ARGUMENT);
  PART_STRUCT* contents = part_of(part);
  if (contents == nullptr) return model_error(MODEL_ERROR::NOT_A_PART);
  if (!in_unit_range(t)) return model_error(MODEL_ERROR::BAD_TRANSPARENCY);
  MODEL_EDIT::w(contents).transparency = static_cast<float>(t);
  return nullptr;
}

MOD_INFO* remove_part_transparency(NPARCEL* part) {
  if (part == nullptr) return model_error(MODEL_ERROR::NULL_ARGUMENT);
  PART_STRUCT* contents = part_of(part);
  if (contents == nullptr) return model_error(MODEL_ERROR::NOT_A_PART);
  float unused = 0.0f;
  if (contents->get_transparency(unused)) MODEL_EDIT::w(contents).transparency.reset();
  return nullptr;
}

bool get_part_transparency(const NPARCEL* part, float& t) {
  const PART_STRUCT* contents = part_of(part);
  return contents != nullptr && contents->get_transparency(t);
}
