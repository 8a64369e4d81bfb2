#pragma once
// BODY: the root of a topology: shells, a transformation from the body's own
// frame to its owner's, and the linear resolution the body was made at.

#include <memory>
#include <vector>

#include "host/base/pool.h"
#include "host/geometry/box3.h"
#include "host/geometry/resolution.h"
#include "host/geometry/transform3.h"
#include "host/kernel/history/historic_entity.h"
#include "host/kernel/scan.h"
#include "host/kernel/topology/attrib.h"
#include "host/kernel/topology/topology_fwd.h"

struct BODY_DATA {
  std::vector<SHELL*> shells;  // owned
  TRANSFORM3 transform;
  double resabs = resolution::_min_resabs;
  ATTRIB_SET attribs;
  HISTORIC_ENTITY* owner = nullptr;  // not owned; the model object that holds the body
};

class BODY final : public TRACKED<BODY_DATA>, public POOLED<BODY> {
 public:
  static const ENTITY_TYPE type;
  const ENTITY_TYPE& identity() const override { return type; }

  // An empty body at the global resolution.
  BODY();
  // A body around a shell (taken from the body it was in, if any), made at
  // the linear resolution `resabs`. Throws TV_EXCEPTION: BAD_TOPOLOGY for a
  // subshell, which only ever hangs below another shell; WRONG_TYPE for a
  // resolution that is not a finite number > 0. A null shell gives an empty
  // body.
  BODY(SHELL* shell, double resabs);

  int number_of_shells() const { return static_cast<int>(d().shells.size()); }
  SHELL* shell(int i) const { return d().shells[static_cast<std::size_t>(i)]; }
  const std::vector<SHELL*>& shells() const { return d().shells; }
  // Takes the shell from the body it was in, if any.
  void add_shell(SHELL* s);
  // Takes the shell out of the body; it then belongs to the caller.
  bool remove_shell(SHELL* s);

  const TRANSFORM3& transform() const { return d().transform; }
  void set_transform(const TRANSFORM3& t) { w().transform = t; }
  resolution getResolution() const { return resolution(d().resabs, -1.0); }
  double resabs() const { return d().resabs; }
  void set_resabs(double r) { w().resabs = r; }

  HISTORIC_ENTITY* owner() const { return d().owner; }
  void set_owner(HISTORIC_ENTITY* o) { w().owner = o; }

  // Faces in all shells and subshells. O(shells + subshells).
  int number_of_faces() const;
  // The box of all faces in the body's frame; nil for a body without faces.
  BOX3 bound() const;

  SCAN_CNTRL scan_shells(SCAN_CNTRL (*fn)(SHELL*, void*), void* data) const;
  SCAN_CNTRL scan_faces(SCAN_CNTRL (*fn)(FACE*, void*), void* data) const;
  // Every edge once.
  SCAN_CNTRL scan_edges(SCAN_CNTRL (*fn)(EDGE*, void*), void* data) const;
  // Every vertex once.
  SCAN_CNTRL scan_vertices(SCAN_CNTRL (*fn)(VERTEX*, void*), void* data) const;

  const ATTRIB_SET& attributes() const { return d().attribs; }
  void add_attribute(std::shared_ptr<const ATTRIB> a);
  void remove_attribute(const char* name);
  void set_attributes(const ATTRIB_SET& a) { w().attribs = a; }

  // Destroys the body and everything in it, in O(size), through the history.
  void lose();

 private:
  friend class TOPOLOGY;
  ~BODY() override = default;
};

// True when the body carries the face-part marker.
bool is_face_part(const BODY* body);
