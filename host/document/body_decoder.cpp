// Decoding of bodies (body_codec.h).
//
// Directions written out (normals, axes, lines) are made unit again as they
// are read; a unit vector comes back unchanged or within a unit in the last
// place.
//
// The decoder checks every record before it makes the entities of a face,
// and on any failure loses what it made: the edges no face took and the
// vertices left without edges, then the body with its shells and faces.

#include <algorithm>
#include <stdexcept>

#include "host/base/utf8.h"
#include "host/document/body_codec.h"
#include "host/document/body_format.h"
#include "host/document/byte_codec.h"
#include "host/exchange/occ_storage.h"
#include "host/kernel/entity/entity_registry.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/geometry/point.h"
#include "host/kernel/geometry/straight.h"
#include "host/kernel/ops/polyhedron_builder.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/vertex.h"

namespace {

using namespace body_format;

void check(bool ok, const char* what) {
  if (!ok) throw BLOB_ERROR(what);
}

// An index plus a delta read from the blob; a sum beyond 64 bits is garbage.
std::int64_t sum(std::int64_t a, std::int64_t b) {
  std::int64_t out = 0;
  if (__builtin_add_overflow(a, b, &out)) throw BLOB_ERROR("an index out of range");
  return out;
}

void read_header(BYTE_READER& r) {
  char magic[4];
  r.get(magic, 4);
  check(std::memcmp(magic, kMagic, 4) == 0, "not a body");
  check(r.varint() == kVersion, "a body of an unknown version");
}

std::vector<std::uint64_t> read_sysids(BYTE_READER& r) {
  const std::size_t n = r.count(r.left(), "sysids");
  std::vector<std::uint64_t> out(n);
  std::uint64_t prev = 0;
  for (std::size_t i = 0; i < n; ++i) {
    prev += static_cast<std::uint64_t>(r.svarint());
    out[i] = prev;
  }
  return out;
}

bool finite(const VECTOR3& v) {
  return std::isfinite(v.x()) && std::isfinite(v.y()) && std::isfinite(v.z());
}
bool finite(const POSITION3& p) {
  return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

class DECODER {
 public:
  DECODER(std::string_view blob, bool with_cad) : r_(blob), with_cad_(with_cad) {}
  ~DECODER() { drop(); }
  BODY* run();

 private:
  struct EDGE_REC {
    std::uint32_t start, end;
  };
  struct USE {
    std::uint32_t edge;
    bool sense;
  };

  // The next saved sysid is asked for by the entity made next.
  void next_sysid() {
    if (next_sysid_ < sysids_.size()) ENTITY_REGISTRY::instance().request(sysids_[next_sysid_]);
    ++next_sysid_;
  }
  // Loses what was made when the decoding failed.
  void drop();
  surface* read_surface(unsigned flags, const std::vector<USE>& first_loop);
  void read_face(std::size_t index, SHELL* shell);

  BYTE_READER r_;
  bool with_cad_;
  std::vector<std::uint64_t> sysids_;
  std::size_t next_sysid_ = 0;
  BODY* body_ = nullptr;  // owned until run() returns it
  double resabs_ = 0.0;
  std::vector<std::pair<VERTEX*, std::uint64_t>> vertices_;  // with sysids, for drop()
  std::vector<std::pair<EDGE*, std::uint64_t>> edges_;
  std::vector<EDGE_REC> edge_recs_;
  std::vector<POSITION3> points_;
  std::vector<surface*> face_surfaces_;  // not owned: the faces hold them
  OCC_PIECES cad_;
  std::size_t cad_faces_used_ = 0;
  std::vector<OCC_FACE_SOURCE> cad_sources_;
  std::uint32_t prev_edge_ = 0;
  // Scratch of read_face.
  std::vector<std::vector<USE>> loops_;
  std::vector<unsigned> loop_types_;
};

void DECODER::drop() {
  // Edges no face took go first, then vertices left without edges: losing
  // the body takes every edge its faces reach and every vertex whose first
  // edge is one of those, so it must find no edge of its vertices unused.
  for (auto& [e, id] : edges_) {
    if (ENTITY::is_live(e, id) && e->coedge() == nullptr) e->lose();
  }
  for (auto& [v, id] : vertices_) {
    if (ENTITY::is_live(v, id) && v->first_edge() == nullptr) v->lose();
  }
  if (body_ != nullptr) body_->lose();
  body_ = nullptr;
  edges_.clear();
  vertices_.clear();
}

surface* DECODER::read_surface(unsigned flags, const std::vector<USE>& first_loop) {
  switch (flags & 3) {
    case SF_PLANE: {
      const unsigned pf = r_.u8();
      // The ring of the first loop, for the predicted parts.
      std::vector<POSITION3>& ring = points_;
      ring.clear();
      for (const USE& u : first_loop) {
        const EDGE_REC& e = edge_recs_[u.edge];
        ring.push_back(vertices_[u.sense ? e.end : e.start].first->pt3());
      }
      POSITION3 root;
      if ((pf & P_ROOT_FIRST) != 0) {
        check(!ring.empty(), "a plane through a missing vertex");
        root = ring.front();
      } else {
        root = r_.pos();
      }
      UNITVEC3 nor;
      switch ((pf >> P_NORMAL_SHIFT) & 3) {
        case N_CORNERS: {
          check(ring.size() == 3, "a triangle's normal for a face that is no triangle");
          const POSITION3 tri[3] = {ring[0], ring[1], ring[2]};
          nor = corner_normal(tri);
          break;
        }
        case N_NEWELL:
          check(ring.size() >= 3, "a ring's normal for a face of fewer than three vertices");
          nor = ring_normal(ring);
          break;
        case N_FLOAT: {
          const float x = r_.f32(), y = r_.f32(), z = r_.f32();
          nor = float_normal(x, y, z);
          break;
        }
        default: {
          const VECTOR3 n = r_.vec();
          nor = n.uvec3();
        }
      }
      check(finite(root) && finite(nor), "a plane without a finite root and normal");
      if ((pf & P_UDIR_DEFAULT) != 0) return new plane(root, nor);
      const VECTOR3 u = r_.vec();
      check(finite(u), "a plane without a finite u direction");
      return new plane(root, nor, u);
    }
    case SF_CYLINDER: {
      const POSITION3 root = r_.pos();
      const VECTOR3 axis = r_.vec();
      const double radius = r_.f64();
      const VECTOR3 ref = r_.vec();
      check(finite(root) && finite(axis) && finite(ref) && std::isfinite(radius) && radius > 0.0 &&
                axis.len2() > 0.5,
            "a cylinder that is no cylinder");
      return new cylinder(root, axis.uvec3(), radius, ref);
    }
    case SF_CAD: {
      const std::uint64_t i = r_.varint();
      check(i < cad_.surfaces.size(), "a CAD surface that is not there");
      return cad_.surfaces[i].get();
    }
    default: {
      const std::uint64_t back = r_.varint();
      check(back >= 1 && back <= face_surfaces_.size(), "a shared surface that is not there");
      return face_surfaces_[face_surfaces_.size() - back];
    }
  }
}

void DECODER::read_face(std::size_t index, SHELL* shell) {
  (void)index;
  const unsigned flags = r_.u8();
  // The surface record comes before the loops, but a predicted plane needs
  // the first loop: skip the record, read and check the loops, then go back
  // and make the surface.
  BYTE_READER surface_start = r_;
  auto skip_surface = [&](BYTE_READER& rr) {
    switch (flags & 3) {
      case SF_PLANE: {
        const unsigned pf = rr.u8();
        if ((pf & P_ROOT_FIRST) == 0) rr.pos();
        const unsigned n = (pf >> P_NORMAL_SHIFT) & 3;
        if (n == N_EXPLICIT) rr.vec();
        if (n == N_FLOAT) {
          rr.f32();
          rr.f32();
          rr.f32();
        }
        if ((pf & P_UDIR_DEFAULT) == 0) rr.vec();
        break;
      }
      case SF_CYLINDER:
        rr.pos();
        rr.vec();
        rr.f64();
        rr.vec();
        break;
      default:
        rr.varint();
    }
  };
  skip_surface(r_);
  double rgb[3] = {0, 0, 0}, transparency = 0;
  if ((flags & F_COLOR) != 0) {
    for (double& c : rgb) c = r_.f64();
  }
  if ((flags & F_TRANSPARENCY) != 0) transparency = r_.f64();
  const std::size_t nloops = (flags & F_LOOPS) != 0 ? r_.count(r_.left(), "loops") : 1;
  if (loops_.size() < nloops) loops_.resize(nloops);
  loop_types_.assign(nloops, 0);
  for (std::size_t l = 0; l < nloops; ++l) {
    const std::uint64_t head = r_.varint();
    const std::uint64_t n = head >> 2;
    check(n >= 1 && n <= r_.left(), "a loop of no coedges");
    loop_types_[l] = static_cast<unsigned>(head & 3);
    std::vector<USE>& uses = loops_[l];
    uses.clear();
    for (std::uint64_t k = 0; k < n; ++k) {
      const std::int64_t v = r_.svarint();
      const bool sense = (v & 1) != 0;
      const std::int64_t edge = sum(static_cast<std::int64_t>(prev_edge_), (v - (sense ? 1 : 0)) / 2);
      check(edge >= 0 && static_cast<std::uint64_t>(edge) < edges_.size(),
            "an edge that is not there");
      uses.push_back({static_cast<std::uint32_t>(edge), sense});
      prev_edge_ = static_cast<std::uint32_t>(edge);
    }
    // The ring must close: each coedge ends where the next one starts.
    for (std::size_t k = 0; k < uses.size(); ++k) {
      const EDGE_REC& a = edge_recs_[uses[k].edge];
      const EDGE_REC& b = edge_recs_[uses[(k + 1) % uses.size()].edge];
      const std::uint32_t a_end = uses[k].sense ? a.start : a.end;
      const std::uint32_t b_start = uses[(k + 1) % uses.size()].sense ? b.end : b.start;
      check(a_end == b_start, "a loop that does not close");
    }
  }
  const auto source = static_cast<OCC_FACE_SOURCE>((flags >> F_SOURCE_SHIFT) & 3);
  check(static_cast<unsigned>(source) <= 2, "an unknown kind of CAD source");
  if (source != OCC_FACE_SOURCE::NONE) {
    check(cad_faces_used_ < cad_.face_attributes.size() && cad_sources_[cad_faces_used_] == source,
          "a CAD face that is not there");
  }
  // Everything is read and checked: now the entities.
  BYTE_READER end_of_face = r_;
  r_ = surface_start;
  static const std::vector<USE> kNoLoop;
  GEOM_REF<surface> sf(read_surface(flags, nloops > 0 ? loops_[0] : kNoLoop));
  r_ = end_of_face;
  face_surfaces_.push_back(sf.get());
  next_sysid();
  auto* face = new FACE(sf.get(), (flags & F_SENSE) != 0);
  shell->add_face(face);
  if ((flags & F_COLOR) != 0) face->set_color(rgb[0], rgb[1], rgb[2]);
  if ((flags & F_TRANSPARENCY) != 0) face->set_transparency(transparency);
  if (source != OCC_FACE_SOURCE::NONE) face->add_attribute(cad_.face_attributes[cad_faces_used_++]);
  for (std::size_t l = 0; l < nloops; ++l) {
    COEDGE* first = nullptr;
    COEDGE* last = nullptr;
    const std::vector<USE>& uses = loops_[l];
    for (std::size_t k = 0; k < uses.size(); ++k) {
      next_sysid();
      last = new COEDGE(edges_[uses[k].edge].first, uses[k].sense, last,
                        k + 1 == uses.size() ? first : nullptr);
      if (first == nullptr) first = last;
    }
    if (uses.size() == 1) {
      first->set_next(first);
    }
    next_sysid();
    new LOOP(first, face, static_cast<LOOP_TYPE>(loop_types_[l]));
  }
}

BODY* DECODER::run() {
  read_header(r_);
  sysids_ = read_sysids(r_);
  resabs_ = r_.f64();
  check(std::isfinite(resabs_) && resabs_ > 0.0, "a body without a resolution");
  double rows[3][3];
  for (auto& row : rows) {
    const VECTOR3 v = r_.vec();
    row[0] = v.x();
    row[1] = v.y();
    row[2] = v.z();
  }
  const VECTOR3 translation = r_.vec();
  TRANSFORM3 transform;
  try {
    transform = TRANSFORM3::from_matrix(rows, translation);
  } catch (const std::exception&) {
    throw BLOB_ERROR("a body whose transform is no transform");
  }
  const unsigned body_flags = r_.u8();
  check(body_flags <= 1, "unknown body flags");
  std::string part_name;
  if (body_flags == 1) part_name = std::string(r_.bytes());
  // Shells.
  const std::size_t ntop = r_.count(r_.left(), "shells");
  struct SHELL_REC {
    int type;
    std::size_t faces, subs;
  };
  std::vector<SHELL_REC> shell_recs;
  {
    // Pre-order records; `open` counts the records still to come.
    std::size_t open = ntop;
    while (open > 0) {
      --open;
      SHELL_REC s{};
      s.type = static_cast<int>(r_.svarint());
      s.faces = r_.count(r_.left(), "faces");
      s.subs = r_.count(r_.left(), "subshells");
      open += s.subs;
      shell_recs.push_back(s);
      check(shell_recs.size() <= r_.left() + 1, "too many shells");
    }
  }
  // CAD pieces: the source kind of each CAD face, then OpenCASCADE's bytes.
  const std::size_t ncad = r_.count(r_.left(), "CAD faces");
  cad_sources_.resize(ncad);
  for (OCC_FACE_SOURCE& src : cad_sources_) {
    const unsigned k = r_.u8();
    check(k == 1 || k == 2, "an unknown kind of CAD source");
    src = static_cast<OCC_FACE_SOURCE>(k);
  }
  const std::string_view cad_bytes = r_.bytes();
  check(ncad == 0 || !cad_bytes.empty(), "CAD faces without their geometry");
  // Vertices and edges, read before any entity is made.
  const std::size_t nv = r_.count(r_.left() / 24, "vertices");
  std::vector<POSITION3> positions(nv);
  for (POSITION3& p : positions) {
    p = r_.pos();
    check(finite(p), "a vertex without a finite position");
  }
  const std::size_t ne = r_.count(r_.left() / 2, "edges");
  edge_recs_.resize(ne);
  struct LINE {
    POSITION3 root;
    VECTOR3 dir;
  };
  std::vector<unsigned> kinds(ne);
  std::vector<LINE> lines;
  std::vector<std::uint64_t> cad_curve_of(ne, 0);
  std::int64_t prev_start = 0;
  for (std::size_t i = 0; i < ne; ++i) {
    const std::uint64_t head = r_.varint();
    kinds[i] = static_cast<unsigned>(head & 3);
    const std::uint64_t z = head >> 2;
    const std::int64_t start = sum(prev_start, static_cast<std::int64_t>((z >> 1) ^ (~(z & 1) + 1)));
    const std::int64_t end = sum(start, r_.svarint());
    check(start >= 0 && end >= 0 && static_cast<std::uint64_t>(start) < nv &&
              static_cast<std::uint64_t>(end) < nv && start != end,
          "an edge between vertices that are not there");
    prev_start = start;
    edge_recs_[i] = {static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end)};
    if (kinds[i] == CURVE_LINE) {
      LINE l{r_.pos(), r_.vec()};
      check(finite(l.root) && finite(l.dir) && l.dir.len2() > 0.5, "a line that is no line");
      lines.push_back(l);
    } else if (kinds[i] == CURVE_CAD) {
      cad_curve_of[i] = r_.varint();
    } else {
      check(kinds[i] == CURVE_CHORD, "an unknown kind of curve");
    }
  }
  check(sysids_.size() <= 1 + shell_recs.size() + nv + ne + r_.left(), "too many sysids");
  // The CAD pieces: geometry only, and all of it checked before the first
  // topology entity is made.
  check(with_cad_ || cad_bytes.empty(), "CAD geometry where none may be");
  if (!cad_bytes.empty()) cad_ = read_occ_pieces(cad_bytes, cad_sources_);
  // Entities: body, shells, vertices, edges, faces.
  next_sysid();
  body_ = new BODY();
  body_->set_resabs(resabs_);
  body_->set_transform(transform);
  if (body_flags == 1) {
    const std::wstring name = utf8_to_wide(part_name);
    body_->add_attribute(std::make_shared<FACE_PART_ATT>(name.c_str()));
  }
  std::vector<std::pair<SHELL*, std::size_t>> shells;  // pre-order, with own face counts
  {
    struct OPEN {
      SHELL* shell;
      std::size_t subs_left;
    };
    std::vector<OPEN> stack;
    for (const SHELL_REC& rec : shell_recs) {
      while (!stack.empty() && stack.back().subs_left == 0) stack.pop_back();
      SHELL* s = nullptr;
      next_sysid();
      if (stack.empty()) {
        s = new SHELL();
        body_->add_shell(s);
      } else {
        auto* sub = new SUBSHELL();
        stack.back().shell->add_subshell(sub);
        --stack.back().subs_left;
        s = sub;
      }
      s->set_shell_type(rec.type);
      shells.push_back({s, rec.faces});
      stack.push_back({s, rec.subs});
    }
  }
  vertices_.reserve(nv);
  for (const POSITION3& p : positions) {
    auto* pt = new point3(p);
    next_sysid();
    auto* v = new VERTEX(pt);
    vertices_.push_back({v, v->sysid()});
  }
  std::vector<POSITION3>().swap(positions);
  edges_.reserve(ne);
  std::size_t line = 0;
  for (std::size_t i = 0; i < ne; ++i) {
    const EDGE_REC& rec = edge_recs_[i];
    VERTEX* vs = vertices_[rec.start].first;
    VERTEX* ve = vertices_[rec.end].first;
    curve* c = nullptr;
    if (kinds[i] == CURVE_CHORD) {
      const POSITION3 p = vs->pt3();
      const UNITVEC3 dir = (ve->pt3() - p).uvec3();
      check(!std::isnan(dir.x()), "an edge of no length");
      c = new straight(p, dir);
    } else if (kinds[i] == CURVE_LINE) {
      const LINE& l = lines[line++];
      c = new straight(l.root, l.dir.uvec3());
    } else {
      check(cad_curve_of[i] < cad_.curves.size(), "a CAD curve that is not there");
      c = cad_.curves[cad_curve_of[i]].get();
    }
    GEOM_REF<curve> held(c);
    MOD_INFO* status = nullptr;
    next_sysid();
    auto* e = new EDGE(vs, ve, c, status);
    edges_.push_back({e, e->sysid()});
    check(status == nullptr, "an edge whose ends coincide");
  }
  // Faces.
  const std::size_t nf = r_.count(r_.left(), "faces");
  std::size_t face_index = 0;
  for (auto& [shell, count] : shells) {
    for (std::size_t k = 0; k < count; ++k, ++face_index) {
      check(face_index < nf, "more faces in the shells than in the body");
      read_face(face_index, shell);
    }
  }
  check(face_index == nf, "faces that lie in no shell");
  check(r_.at_end(), "bytes after the body");
  check(cad_faces_used_ == cad_.face_attributes.size(), "CAD faces that belong to no face");
  BODY* out = body_;
  body_ = nullptr;
  edges_.clear();
  vertices_.clear();
  return out;
}

}  // namespace

std::vector<std::uint64_t> body_sysids(std::string_view blob) {
  BYTE_READER r(blob);
  read_header(r);
  return read_sysids(r);
}

BODY* decode_body(std::string_view blob, bool with_cad) {
  return DECODER(blob, with_cad).run();
}
