// Encoding of bodies (body_codec.h).
//
// Indices: vertices and edges are numbered in the order a walk of the faces
// (shells in pre-order, each shell's own faces, loops, coedges) first meets
// them, so the edges of one face lie close together and the deltas written
// for coedges stay small. The encoder numbers entities through a table
// indexed by the slot of their sysid (ENTITY_REGISTRY): a vector of the
// registry's size, made once and reused, and no hashing.
//
// Predictions: most geometry of a mesh body is implied by its vertices. A
// straight edge made as the builders make it (through its start along the
// unit chord) and a plane through its face's first vertex with the normal the
// face's corners give (the mesh's rule: the corner cross product of largest
// length, or Newell's normal of the ring) are written as one flag; the
// decoder computes them the same way, so they read back bit for bit. Other
// planes store their normal as three binary32 when the face is small enough
// that the rounding moves no vertex by more than a thousandth of the body's
// resolution, and as binary64 otherwise.

#include <algorithm>
#include <stdexcept>
#include <unordered_map>

#include "host/base/utf8.h"
#include "host/document/body_codec.h"
#include "host/document/body_format.h"
#include "host/document/byte_codec.h"
#include "host/exchange/occ_storage.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/ops/polyhedron_builder.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/vertex.h"

namespace {

using namespace body_format;

// The table from sysid slots to indices, kept between encodings so that a
// model of many small bodies does not pay for a table of the registry's size
// each time; an encoder clears the entries it set (also when it throws).
std::vector<std::uint32_t>& slot_table() {
  static std::vector<std::uint32_t>* table = new std::vector<std::uint32_t>();
  return *table;
}

class ENCODER {
 public:
  explicit ENCODER(const BODY& body) : body_(body), index_(slot_table()) {}
  ~ENCODER() {
    for (const VERTEX* v : vertices_) index_[static_cast<std::uint32_t>(v->sysid())] = kNone;
    for (const EDGE* e : edges_) index_[static_cast<std::uint32_t>(e->sysid())] = kNone;
  }
  ENCODER(const ENCODER&) = delete;
  ENCODER& operator=(const ENCODER&) = delete;

  std::string run();

 private:
  static constexpr std::uint32_t kNone = 0xFFFFFFFFu;

  // The index of an entity in its table, or kNone.
  std::uint32_t& slot(const ENTITY* e) {
    const auto s = static_cast<std::uint32_t>(e->sysid());
    if (s >= index_.size()) index_.resize(std::max<std::size_t>(s + 1, index_.size() * 2), kNone);
    return index_[s];
  }
  void collect();
  void write_face(BYTE_WRITER& w, const FACE* f, std::size_t face_index);
  void write_plane(BYTE_WRITER& w, const FACE* f, const plane& p);

  const BODY& body_;
  std::vector<std::uint32_t>& index_;  // by sysid slot: vertex or edge index, or kNone
  std::vector<const SHELL*> shells_;   // pre-order
  std::vector<const FACE*> faces_;
  std::vector<const VERTEX*> vertices_;
  std::vector<const EDGE*> edges_;
  std::vector<std::uint64_t> sysids_;
  // Surfaces used by more than one holder, with the first face that has them.
  std::unordered_map<const surface*, std::size_t> shared_;
  std::vector<const surface*> cad_surfaces_;
  std::unordered_map<const surface*, std::size_t> cad_surface_index_;
  std::vector<const curve*> cad_curves_;
  std::vector<const FACE*> cad_faces_;
  std::vector<OCC_FACE_SOURCE> cad_sources_;
  std::uint32_t prev_edge_ = 0;
  std::vector<POSITION3> ring_;  // scratch
};

void ENCODER::collect() {
  // Shells in pre-order; each shell's own faces belong to it in that order.
  std::vector<const SHELL*> stack;
  for (auto it = body_.shells().rbegin(); it != body_.shells().rend(); ++it) stack.push_back(*it);
  while (!stack.empty()) {
    const SHELL* s = stack.back();
    stack.pop_back();
    shells_.push_back(s);
    std::vector<const SHELL*> subs;
    for (const SUBSHELL* sub = s->first_subshell(); sub != nullptr; sub = sub->next_subshell()) {
      subs.push_back(sub);
    }
    for (auto it = subs.rbegin(); it != subs.rend(); ++it) stack.push_back(*it);
  }
  for (const SHELL* s : shells_) {
    for (const FACE* f = s->first_face(); f != nullptr; f = f->next_in_shell()) faces_.push_back(f);
  }
  for (const FACE* f : faces_) {
    for_each_loop(f, [&](const LOOP* l) {
      for_each_coedge(l, [&](const COEDGE* c) {
        const EDGE* e = c->edge();
        std::uint32_t& ei = slot(e);
        if (ei != kNone) return;
        edges_.push_back(e);
        ei = static_cast<std::uint32_t>(edges_.size() - 1);
        for (const VERTEX* v :
             {static_cast<const VERTEX*>(e->start()), static_cast<const VERTEX*>(e->end())}) {
          std::uint32_t& vi = slot(v);
          if (vi == kNone) {
            vertices_.push_back(v);
            vi = static_cast<std::uint32_t>(vertices_.size() - 1);
          }
        }
      });
    });
  }
  // Sysids in the order the decoder makes the entities.
  sysids_.reserve(1 + shells_.size() + vertices_.size() + edges_.size() + faces_.size() * 5);
  sysids_.push_back(body_.sysid());
  for (const SHELL* s : shells_) sysids_.push_back(s->sysid());
  for (const VERTEX* v : vertices_) sysids_.push_back(v->sysid());
  for (const EDGE* e : edges_) sysids_.push_back(e->sysid());
  for (const FACE* f : faces_) {
    sysids_.push_back(f->sysid());
    for_each_loop(f, [&](const LOOP* l) {
      for_each_coedge(l, [&](const COEDGE* c) { sysids_.push_back(c->sysid()); });
      sysids_.push_back(l->sysid());
    });
  }
}

void ENCODER::write_plane(BYTE_WRITER& w, const FACE* f, const plane& p) {
  ring_.clear();
  if (f->loop() != nullptr) {
    for_each_coedge(f->loop(), [&](const COEDGE* c) { ring_.push_back(coedge_start(c)->pt3()); });
  }
  unsigned flags = 0;
  if (!ring_.empty() && same_bits(ring_.front(), p.root())) flags |= P_ROOT_FIRST;
  unsigned normal = N_EXPLICIT;
  if (ring_.size() == 3) {
    const POSITION3 tri[3] = {ring_[0], ring_[1], ring_[2]};
    if (same_bits(corner_normal(tri), p.nor())) normal = N_CORNERS;
  }
  if (normal == N_EXPLICIT && ring_.size() >= 3 && same_bits(ring_normal(ring_), p.nor())) {
    normal = N_NEWELL;
  }
  float fn[3] = {static_cast<float>(p.nor().x()), static_cast<float>(p.nor().y()),
                 static_cast<float>(p.nor().z())};
  if (normal == N_EXPLICIT && !ring_.empty() && ring_.size() <= 64) {
    // The float normal tilts the plane about its root: no vertex of the
    // outer loop may move by more than a thousandth of the resolution.
    const VECTOR3 tilt = float_normal(fn[0], fn[1], fn[2]) - p.nor();
    double reach = 0.0;
    for (const POSITION3& q : ring_) reach = std::max(reach, (q - p.root()).len());
    if (std::isfinite(reach) && tilt.len() * reach <= 1e-3 * body_.resabs()) normal = N_FLOAT;
  }
  flags |= normal << P_NORMAL_SHIFT;
  const UNITVEC3 u_default =
      normal == N_EXPLICIT || normal == N_FLOAT
          ? default_u_dir(normal == N_FLOAT ? float_normal(fn[0], fn[1], fn[2]) : p.nor())
          : default_u_dir(p.nor());
  if (normal == N_FLOAT) {
    // The decoded plane gets the default u of the float normal; keep it only
    // when that is what the plane has.
    if (same_bits(u_default, p.u_dir())) flags |= P_UDIR_DEFAULT;
  } else if (same_bits(u_default, p.u_dir())) {
    flags |= P_UDIR_DEFAULT;
  }
  w.u8(static_cast<std::uint8_t>(flags));
  if ((flags & P_ROOT_FIRST) == 0) w.pos(p.root());
  if (normal == N_EXPLICIT) w.vec(p.nor());
  if (normal == N_FLOAT) {
    w.f32(fn[0]);
    w.f32(fn[1]);
    w.f32(fn[2]);
  }
  if ((flags & P_UDIR_DEFAULT) == 0) w.vec(p.u_dir());
}

void ENCODER::write_face(BYTE_WRITER& w, const FACE* f, std::size_t face_index) {
  const surface* sf = f->geometry();
  unsigned flags = 0;
  std::size_t shared_with = 0;
  if (sf->use_count() > 1) {
    auto [it, fresh] = shared_.try_emplace(sf, face_index);
    if (!fresh) {
      flags = SF_SHARED;
      shared_with = it->second;
    }
  }
  if (flags != SF_SHARED) {
    if (sf->is_a(plane::type)) {
      flags = SF_PLANE;
    } else if (sf->is_a(cylinder::type)) {
      flags = SF_CYLINDER;
    } else if (is_occ_surface(sf)) {
      flags = SF_CAD;
    } else {
      throw std::runtime_error(std::string("a face on a surface of kind ") + sf->identity().name() +
                               " cannot be saved");
    }
  }
  if (f->sense()) flags |= F_SENSE;
  double r = 0, g = 0, b = 0, t = 0;
  const bool has_color = f->get_color(r, g, b);
  const bool has_transparency = f->get_transparency(t);
  if (has_color) flags |= F_COLOR;
  if (has_transparency) flags |= F_TRANSPARENCY;
  const int nloops = f->number_of_loops();
  if (nloops != 1) flags |= F_LOOPS;
  const OCC_FACE_SOURCE source = occ_face_source(f);
  flags |= static_cast<unsigned>(source) << F_SOURCE_SHIFT;
  if (source != OCC_FACE_SOURCE::NONE) {
    cad_faces_.push_back(f);
    cad_sources_.push_back(source);
  }
  w.u8(static_cast<std::uint8_t>(flags));
  switch (flags & 3) {
    case SF_PLANE:
      write_plane(w, f, static_cast<const plane&>(*sf));
      break;
    case SF_CYLINDER: {
      const auto& c = static_cast<const cylinder&>(*sf);
      w.pos(c.root());
      w.vec(c.axis());
      w.f64(c.radius());
      w.vec(c.ref_dir());
      break;
    }
    case SF_CAD: {
      auto [it, fresh] = cad_surface_index_.try_emplace(sf, cad_surfaces_.size());
      if (fresh) cad_surfaces_.push_back(sf);
      w.varint(it->second);
      break;
    }
    default:
      w.varint(face_index - shared_with);
  }
  if (has_color) w.xyz(r, g, b);
  if (has_transparency) w.f64(t);
  if (nloops != 1) w.varint(static_cast<std::uint64_t>(nloops));
  for_each_loop(f, [&](const LOOP* l) {
    w.varint((static_cast<std::uint64_t>(l->number_of_coedges()) << 2) |
             (static_cast<unsigned>(l->loop_type()) & 3));
    for_each_coedge(l, [&](const COEDGE* c) {
      const std::uint32_t ei = slot(c->edge());
      const std::int64_t delta =
          static_cast<std::int64_t>(ei) - static_cast<std::int64_t>(prev_edge_);
      w.svarint(delta * 2 + (c->sense() ? 1 : 0));
      prev_edge_ = ei;
    });
  });
}

std::string ENCODER::run() {
  collect();
  BYTE_WRITER w;
  w.reserve(64 * faces_.size() + 1024);
  w.raw(kMagic, 4);
  w.varint(kVersion);
  w.varint(sysids_.size());
  std::uint64_t prev = 0;
  for (std::uint64_t s : sysids_) {
    w.svarint(static_cast<std::int64_t>(s - prev));
    prev = s;
  }
  // Body.
  w.f64(body_.resabs());
  for (int i = 0; i < 3; ++i) w.vec(body_.transform().row(i));
  w.vec(body_.transform().translation_vector());
  const auto* marker = body_.attributes().find<FACE_PART_ATT>();
  w.u8(marker != nullptr ? 1 : 0);
  if (marker != nullptr) w.bytes(wide_to_utf8(marker->part_name()));
  // Shells in pre-order: type, own faces, number of subshells.
  w.varint(body_.shells().size());
  for (const SHELL* s : shells_) {
    w.svarint(s->shell_type());
    w.varint(static_cast<std::uint64_t>(s->number_of_faces()));
    std::uint64_t subs = 0;
    for (const SUBSHELL* sub = s->first_subshell(); sub != nullptr; sub = sub->next_subshell())
      ++subs;
    w.varint(subs);
  }
  // Faces go to a writer of their own first: they collect the CAD pieces,
  // which the decoder needs before it makes the faces.
  BYTE_WRITER fw;
  fw.reserve(24 * faces_.size());
  fw.varint(faces_.size());
  for (std::size_t i = 0; i < faces_.size(); ++i) write_face(fw, faces_[i], i);
  // Edges (they may add CAD curves).
  BYTE_WRITER ew;
  ew.reserve(6 * edges_.size());
  ew.varint(edges_.size());
  std::int64_t prev_start = 0;
  for (const EDGE* e : edges_) {
    const auto s = static_cast<std::int64_t>(slot(e->start()));
    const auto t = static_cast<std::int64_t>(slot(e->end()));
    const curve* c = e->geometry();
    unsigned kind = CURVE_LINE;
    if (c->is_a(straight::type)) {
      const auto& line = static_cast<const straight&>(*c);
      const POSITION3 p = e->start()->pt3();
      if (same_bits(line.root(), p) && same_bits(line.direction(), (e->end()->pt3() - p).uvec3())) {
        kind = CURVE_CHORD;
      }
    } else if (is_occ_curve(c)) {
      kind = CURVE_CAD;
    } else {
      throw std::runtime_error(std::string("an edge on a curve of kind ") + c->identity().name() +
                               " cannot be saved");
    }
    const std::int64_t ds = s - prev_start;
    ew.varint(((static_cast<std::uint64_t>(ds) << 1) ^ static_cast<std::uint64_t>(ds >> 63)) << 2 |
              kind);
    ew.svarint(t - s);
    prev_start = s;
    if (kind == CURVE_LINE) {
      const auto& line = static_cast<const straight&>(*c);
      ew.pos(line.root());
      ew.vec(line.direction());
    } else if (kind == CURVE_CAD) {
      ew.varint(cad_curves_.size());
      cad_curves_.push_back(c);
    }
  }
  // CAD section: the face sources, then the CAD bytes.
  w.varint(cad_sources_.size());
  for (OCC_FACE_SOURCE src : cad_sources_) w.u8(static_cast<std::uint8_t>(src));
  const bool any_cad = !cad_surfaces_.empty() || !cad_curves_.empty() || !cad_faces_.empty();
  w.bytes(any_cad ? write_occ_pieces(cad_surfaces_, cad_curves_, cad_faces_) : std::string());
  // Vertices.
  w.varint(vertices_.size());
  for (const VERTEX* v : vertices_) w.pos(v->pt3());
  w.raw(ew.str().data(), ew.size());
  w.raw(fw.str().data(), fw.size());
  return std::move(w.str());
}

}  // namespace

std::string encode_body(const BODY& body) {
  return ENCODER(body).run();
}
