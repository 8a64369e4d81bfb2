#include "host/ui/viewport.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "host/base/mod_info.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/model/model_tree.h"
#include "host/model/nparcel.h"
#include "host/model/parcel_path.h"
#include "host/model/part_data.h"
#include "host/model/part_graphics.h"

namespace {

struct DRAW_CONTEXT {
  const VIEWPORTS* vps = nullptr;
  std::vector<DRAWN_TRIANGLE>* out = nullptr;
  TRANSFORM3 to_world;
  RGB_COLOR part_color;
  bool part_hilited = false;
  RGB_COLOR hilite;
  float transparency = 0.0f;
  bool edged = true;
  std::uint64_t part = 0;
  MOD_INFO* failure = nullptr;
};

SCAN_CNTRL draw_face(FACE* f, void* data) {
  auto* c = static_cast<DRAW_CONTEXT*>(data);
  FACE_TESSELLATION t;
  if (MOD_INFO* e = f->tessellate(t)) {
    c->failure = e;
    return SCAN_STOP;
  }
  RGB_COLOR color = c->part_color;
  double r = 0, g = 0, b = 0;
  if (f->get_color(r, g, b)) color = RGB_COLOR{r, g, b};
  if (c->part_hilited) color = c->hilite;
  c->vps->hilite_color(f, color);
  for (const auto& tri : t.triangles) {
    DRAWN_TRIANGLE d;
    for (int k = 0; k < 3; ++k) d.corners[k] = t.positions[tri[static_cast<std::size_t>(k)]] * c->to_world;
    d.color = color;
    d.transparency = c->transparency;
    d.source = f->sysid();
    d.part = c->part;
    d.edged = c->edged;
    c->out->push_back(d);
  }
  return SCAN_CONTINUE;
}

void draw_part(const VIEWPORTS& vps, const NPARCEL* part, const TRANSFORM3& world,
               std::vector<DRAWN_TRIANGLE>& out) {
  const PARCEL_STRUCT* contents = part->shared_data();
  DRAW_CONTEXT c;
  c.vps = &vps;
  c.out = &out;
  c.to_world = world;
  c.part_color = kDefaultPartColor;
  c.part = part->sysid();
  get_part_color(part, c.part_color);
  c.part_hilited = vps.hilite_color(part, c.hilite) || vps.hilite_color(contents, c.hilite);
  float t = 0.0f;
  if (static_cast<const PART_STRUCT*>(contents)->get_transparency(t)) c.transparency = t;
  const SHOW_SETTINGS s = vps.show_settings(contents);
  if (s.see_through) c.transparency = std::max(c.transparency, 0.5f);
  c.edged = s.edged;
  if (const PART_GRAPHICS* g = get_part_graphics(part)) {
    for (const GRAPHICS_PATCH& patch : g->patches) {
      const RGB_COLOR color = c.part_hilited ? c.hilite : patch.color.value_or(c.part_color);
      for (const auto& tri : patch.triangles) {
        DRAWN_TRIANGLE d;
        for (int k = 0; k < 3; ++k) {
          const auto& p = patch.positions[tri[static_cast<std::size_t>(k)]];
          d.corners[k] = POSITION3(p[0], p[1], p[2]) * world;
        }
        d.color = color;
        d.transparency = c.transparency;
        d.source = part->sysid();
        d.part = part->sysid();
        d.edged = c.edged;
        out.push_back(d);
      }
    }
    return;
  }
  const BODY* body = get_part_body(part);
  if (body == nullptr) return;
  c.to_world = body->transform() * world;
  body->scan_faces(&draw_face, &c);
  if (c.failure != nullptr) throw TV_EXCEPTION(c.failure);
}

// Draws a parcel and everything below it; iterative, so a deep tree costs
// no stack.
void draw_subtree(const VIEWPORTS& vps, const NPARCEL* top, const TRANSFORM3& world,
                  std::vector<DRAWN_TRIANGLE>& out) {
  std::vector<std::pair<const NPARCEL*, TRANSFORM3>> work{{top, world}};
  while (!work.empty()) {
    auto [p, tm] = work.back();
    work.pop_back();
    if (p->kind() == PARCEL_KIND::part) draw_part(vps, p, tm, out);
    const auto& kids = p->shared_data()->children();
    for (auto it = kids.rbegin(); it != kids.rend(); ++it) work.emplace_back(*it, (*it)->tm() * tm);
  }
}

}  // namespace

bool G_VP::add(const SEL_ITEM& item, bool checking) {
  if (checking && !item.is_live()) return false;
  if (std::find(drawlist_.begin(), drawlist_.end(), item) != drawlist_.end()) return true;
  drawlist_.push_back(item);
  viewports().changed();
  return true;
}

bool G_VP::remove(const ENTITY* object) {
  const auto before = drawlist_.size();
  drawlist_.erase(std::remove_if(drawlist_.begin(), drawlist_.end(),
                                 [&](const SEL_ITEM& s) { return s.item() == object; }),
                  drawlist_.end());
  if (drawlist_.size() == before) return false;
  viewports().changed();
  return true;
}

void G_VP::set_drawlist(const std::vector<SEL_ITEM>& items) {
  drawlist_.clear();
  for (const SEL_ITEM& s : items) {
    if (std::find(drawlist_.begin(), drawlist_.end(), s) == drawlist_.end()) drawlist_.push_back(s);
  }
  viewports().changed();
}

void G_VP::set_view(const VECTOR3& x, const VECTOR3& up) {
  const VECTOR3 z = cross(x, up);
  if (!(z.len() > 1e-12) || !(x.len() > 0.0)) {
    throw std::invalid_argument("the view's right and up directions must be two directions that are not parallel");
  }
  x_ = UNITVEC3(x);
  up_ = UNITVEC3(cross(z, x));  // up made perpendicular to x, on up's side
  viewports().changed();
}

void G_VP::window_vp(const POSITION3& lower, const POSITION3& upper) {
  window_ = BOX3(lower, upper);
  viewports().changed();
}

POSITION3 G_VP::to_view(const POSITION3& p) const {
  const VECTOR3 v = p - POSITION3(0, 0, 0);
  const VECTOR3 z = cross(VECTOR3(x_), VECTOR3(up_));
  return POSITION3(dot(v, VECTOR3(x_)), dot(v, VECTOR3(up_)), dot(v, z));
}

std::vector<DRAWN_TRIANGLE> G_VP::triangles() const {
  std::vector<DRAWN_TRIANGLE> out;
  for (const SEL_ITEM& s : drawlist_) {
    if (!s.is_live()) continue;
    ENTITY* e = s.item();
    if (const auto* p = entity_cast<NPARCEL>(e)) {
      draw_subtree(viewports(), p, s.path().tm(), out);
    } else if (const auto* f = entity_cast<FACE>(e)) {
      const auto* part = entity_cast<NPART3>(s.path().last());
      if (part == nullptr || part->body() == nullptr) continue;
      DRAW_CONTEXT c;
      c.vps = &viewports();
      c.out = &out;
      c.to_world = part->body()->transform() * s.path().tm();
      c.part_color = kDefaultPartColor;
      c.part = part->sysid();
      get_part_color(part, c.part_color);
      draw_face(const_cast<FACE*>(f), &c);
      if (c.failure != nullptr) throw TV_EXCEPTION(c.failure);
    }
  }
  return out;
}

BOX3 G_VP::box() const {
  BOX3 b;
  for (const DRAWN_TRIANGLE& t : triangles()) {
    for (const POSITION3& p : t.corners) b |= p;
  }
  for (const auto& [id, element] : viewports().feedback()) {
    for (const FEEDBACK_LINE& l : element.second) {
      b |= l.from;
      b |= l.to;
    }
  }
  return b;
}

bool G_VP::fit() {
  BOX3 view;
  for (const DRAWN_TRIANGLE& t : triangles()) {
    for (const POSITION3& p : t.corners) view |= to_view(p);
  }
  if (view.is_nil()) return false;
  window_ = view;
  viewports().changed();
  return true;
}

G_VP& VIEWPORTS::current() {
  if (vps_.empty()) create();
  for (auto& v : vps_) {
    if (v->id() == current_) return *v;
  }
  current_ = vps_.front()->id();
  return *vps_.front();
}

G_VP* VIEWPORTS::find(int id) {
  for (auto& v : vps_) {
    if (v->id() == id) return v.get();
  }
  return nullptr;
}

G_VP& VIEWPORTS::create() {
  const int id = vps_.empty() ? 1 : vps_.back()->id() + 1;
  vps_.push_back(std::make_unique<G_VP>(id));
  if (vps_.size() == 1) current_ = id;
  changed();
  return *vps_.back();
}

bool VIEWPORTS::set_current(int id) {
  if (find(id) == nullptr) return false;
  current_ = id;
  changed();
  return true;
}

int VIEWPORTS::remove_everywhere(const ENTITY* object) {
  int n = 0;
  for (auto& v : vps_) n += v->remove(object) ? 1 : 0;
  return n;
}

void VIEWPORTS::set_show_setting(const PARCEL_STRUCT* contents, const std::string& setting, bool on) {
  SHOW_SETTINGS& s = show_[contents->sysid()];
  if (setting == "3DGEO_EDGED") {
    s.edged = on;
  } else if (setting == "3DGEO_PART_TRANSPARENCY") {
    s.see_through = on;
  } else {
    throw std::invalid_argument("unknown show setting " + setting +
                                "; settings are :3dgeo_edged and :3dgeo_part_transparency");
  }
  changed();
}

SHOW_SETTINGS VIEWPORTS::show_settings(const PARCEL_STRUCT* contents) const {
  const auto it = show_.find(contents->sysid());
  return it == show_.end() ? SHOW_SETTINGS{} : it->second;
}

void VIEWPORTS::hilite(const ENTITY* e, const RGB_COLOR& color) {
  hilites_[e->sysid()] = color;
  changed();
}

bool VIEWPORTS::unhilite(const ENTITY* e) {
  const bool had = hilites_.erase(e->sysid()) > 0;
  if (had) changed();
  return had;
}

bool VIEWPORTS::hilite_color(const ENTITY* e, RGB_COLOR& color) const {
  const auto it = hilites_.find(e->sysid());
  if (it == hilites_.end()) return false;
  color = it->second;
  return true;
}

int VIEWPORTS::create_feedback(const std::string& name) {
  const int id = next_feedback_++;
  feedback_[id] = {name, {}};
  changed();
  return id;
}

bool VIEWPORTS::add_feedback_line(int id, const FEEDBACK_LINE& line) {
  auto it = feedback_.find(id);
  if (it == feedback_.end()) return false;
  it->second.second.push_back(line);
  changed();
  return true;
}

bool VIEWPORTS::delete_feedback(int id) {
  const bool had = feedback_.erase(id) > 0;
  if (had) changed();
  return had;
}

void VIEWPORTS::reset() {
  vps_.clear();
  current_ = 0;
  show_.clear();
  hilites_.clear();
  feedback_.clear();
  next_feedback_ = 1;
}

VIEWPORTS& viewports() {
  static auto* v = new VIEWPORTS();
  return *v;
}
