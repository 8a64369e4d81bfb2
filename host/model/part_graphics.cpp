#include "host/model/part_graphics.h"

#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/model/model_edit.h"
#include "host/model/model_errors.h"
#include "host/model/model_tree.h"
#include "host/model/part_data.h"

namespace {

const PART_STRUCT* part_of(const NPARCEL* p) {
  if (p == nullptr || p->kind() != PARCEL_KIND::part) return nullptr;
  return static_cast<const PART_STRUCT*>(p->shared_data());
}

std::array<float, 3> to_float(double x, double y, double z) {
  return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
}

struct COLLECT {
  TRANSFORM3 to_part;
  std::vector<GRAPHICS_PATCH>* patches;
  MOD_INFO* failure = nullptr;
};

SCAN_CNTRL add_face(FACE* f, void* data) {
  auto* c = static_cast<COLLECT*>(data);
  FACE_TESSELLATION t;
  if (MOD_INFO* e = f->tessellate(t)) {
    c->failure = e;
    return SCAN_STOP;
  }
  GRAPHICS_PATCH patch;
  double r = 0.0, g = 0.0, b = 0.0;
  if (f->get_color(r, g, b)) patch.color = RGB_COLOR{r, g, b};
  patch.positions.reserve(t.positions.size());
  patch.normals.reserve(t.normals.size());
  for (const POSITION3& p : t.positions) {
    const POSITION3 q = p * c->to_part;
    patch.positions.push_back(to_float(q.x(), q.y(), q.z()));
  }
  for (const UNITVEC3& n : t.normals) {
    const UNITVEC3 m = n * c->to_part;
    patch.normals.push_back(to_float(m.x(), m.y(), m.z()));
  }
  patch.triangles.assign(t.triangles.begin(), t.triangles.end());
  c->patches->push_back(std::move(patch));
  return SCAN_CONTINUE;
}

}  // namespace

std::size_t PART_GRAPHICS::triangle_count() const {
  std::size_t n = 0;
  for (const GRAPHICS_PATCH& p : patches) n += p.triangles.size();
  return n;
}

BOX3 PART_GRAPHICS::box() const {
  BOX3 box;
  for (const GRAPHICS_PATCH& p : patches) {
    for (const auto& v : p.positions) box |= POSITION3(v[0], v[1], v[2]);
  }
  return box;
}

PART_GRAPHICS part_graphics(const NPARCEL* part) {
  const PART_STRUCT* contents = part_of(part);
  if (contents == nullptr) model_throw(MODEL_ERROR::NOT_A_PART);
  PART_GRAPHICS out;
  if (const PART_GRAPHICS* stored = contents->graphics()) out.patches = stored->patches;
  // The part's colour as it is now: a graphics-only part can be recoloured.
  RGB_COLOR color;
  if (contents->get_color(color)) out.color = color;
  float transparency = 0.0f;
  if (contents->get_transparency(transparency)) out.transparency = transparency;
  if (const BODY* body = contents->body()) {
    COLLECT c{body->transform(), &out.patches, nullptr};
    body->scan_faces(&add_face, &c);
    if (c.failure != nullptr) throw TV_EXCEPTION(c.failure);
  }
  return out;
}

NPART3* create_graphics_part(std::shared_ptr<const PART_GRAPHICS> graphics, const std::string& name) {
  NPART3* part = create_npart3(name);
  PARCEL_STRUCT_DATA& data = MODEL_EDIT::w(part->shared_data());
  data.color = graphics->color;
  data.transparency = graphics->transparency;
  data.graphics = std::move(graphics);
  return part;
}

const PART_GRAPHICS* get_part_graphics(const NPARCEL* part) {
  const PART_STRUCT* contents = part_of(part);
  return contents != nullptr ? contents->graphics() : nullptr;
}

bool is_graphics_only_part(const NPARCEL* part) { return get_part_graphics(part) != nullptr; }

BODY* require_part_body(const NPARCEL* part) {
  const PART_STRUCT* contents = part_of(part);
  if (contents == nullptr) model_throw(MODEL_ERROR::NOT_A_PART);
  if (contents->graphics() != nullptr) model_throw(MODEL_ERROR::GRAPHICS_ONLY);
  if (contents->body() == nullptr) model_throw(MODEL_ERROR::NO_BODY);
  return contents->body();
}
