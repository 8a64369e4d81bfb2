#pragma once
// FACE: a bounded piece of a surface. sense true means the face's outward
// normal is opposite to the surface's normal. A face lies in one shell (or
// subshell) at a time; faces of a shell form an intrusive list, so moving a
// face between shells is O(1).
//
// The geometric queries (box, point test, inner point, normal, tessellation)
// work on faces of planes and cylinders bounded by straight edges; they are
// implemented in face_geometry.cpp. A face that carries a FOREIGN_FACE_ATT
// (ops/foreign_face.h), such as a face read from a CAD model, is answered by
// that attribute.

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/base/mod_info.h"
#include "host/base/pool.h"
#include "host/geometry/box3.h"
#include "host/geometry/position3.h"
#include "host/geometry/unitvec3.h"
#include "host/kernel/entity/geometry_entity.h"
#include "host/kernel/geometry/pt_on_sf.h"
#include "host/kernel/geometry/surface.h"
#include "host/kernel/history/historic_entity.h"
#include "host/kernel/scan.h"
#include "host/kernel/topology/attrib.h"
#include "host/kernel/topology/topology_fwd.h"

// Answers of point classification against a face.
enum POINT_FACE_CONTAINMENT {
  POINT_OUTSIDE_FACE = 0,
  POINT_ON_FACE = 1,       // inside the face
  POINT_ON_BOUNDARY = 2,   // on an edge or vertex of the face
  POINT_UNKNOWN = 3,       // the point is off the surface, or the face has no usable boundary
};

struct FACE_DATA {
  GEOM_REF<surface> sf;       // owned reference
  LOOP* first_loop = nullptr; // owned list
  SHELL* shell = nullptr;     // not owned; the owner
  FACE* prev = nullptr;       // not owned; neighbours in the shell's list
  FACE* next = nullptr;
  ATTRIB_SET attribs;
  bool sense = false;
};

// Triangles of a face: positions, one normal per position, index triples.
struct FACE_TESSELLATION {
  std::vector<POSITION3> positions;
  std::vector<UNITVEC3> normals;
  std::vector<std::array<std::uint32_t, 3>> triangles;
};

class FACE final : public TRACKED<FACE_DATA>, public POOLED<FACE> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

  // A face on `sf` without loops and outside any shell. Throws TV_EXCEPTION
  // (MISSING_GEOMETRY) for a null surface.
  FACE(surface* sf, bool sense);

  surface* get_geometry() const { return d().sf.get(); }
  surface* geometry() const { return d().sf.get(); }
  bool sense() const { return d().sense; }
  LOOP* loop() const { return d().first_loop; }
  int number_of_loops() const;
  SHELL* shell() const { return d().shell; }
  BODY* body() const;
  FACE* next_in_shell() const { return d().next; }
  FACE* prev_in_shell() const { return d().prev; }

  // Calls fn with the start vertex of every coedge of every loop, in ring
  // order (a vertex on a bridge comes twice). Returns SCAN_STOP when stopped.
  SCAN_CNTRL scan_vertices(SCAN_CNTRL (*fn)(VERTEX*, void*), void* data) const;

  // --- geometry (face_geometry.cpp) ---
  // The box of the face's points on its surface, in the body's frame.
  BOX3 box() const;
  // The outward normal of the face at a point of its surface.
  MOD_INFO* normal(const pt_on_sf& p, UNITVEC3& n) const;
  // A point in the interior of the face.
  MOD_INFO* innerPoint(pt_on_sf& p, void* reserved = nullptr) const;
  // Classifies a point of the face's surface: POINT_ON_FACE, POINT_ON_BOUNDARY
  // (within the global resolution of the boundary) or POINT_OUTSIDE_FACE.
  int point_test(const pt_on_sf& p, int reserved1 = 0, int reserved2 = 0) const;
  // Classifies a position: POINT_UNKNOWN when it lies farther than the global
  // resolution from the surface.
  int classify(const POSITION3& p) const;
  // Triangles covering the face, counter-clockwise seen against the outward normal.
  MOD_INFO* tessellate(FACE_TESSELLATION& out) const;

  // --- attributes ---
  const ATTRIB_SET& attributes() const { return d().attribs; }
  void add_attribute(std::shared_ptr<const ATTRIB> a);
  void remove_attribute(const char* name);
  void set_attributes(const ATTRIB_SET& a) { w().attribs = a; }
  void set_color(double r, double g, double b);
  bool get_color(double& r, double& g, double& b) const;
  void set_transparency(double t);
  bool get_transparency(double& t) const;

  // Destroys the face with its loops and coedges; edges and vertices that no
  // other face uses go too. The face leaves its shell first.
  void lose();

 private:
  friend class TOPOLOGY;
  ~FACE() override = default;
};

// Point classification as a free function: the answer of FACE::point_test.
int test_point_face(const pt_on_sf& p, FACE* face, int reserved, bool use_boundary,
                    void* reserved2);
