#pragma once
// FOREIGN_FACE_ATT: the face queries of a face whose boundary the kernel's own
// routines cannot follow. Those routines work in the developed plane of a
// plane or a cylinder bounded by straight edges; a face read from a CAD model
// may lie on a cone, a sphere, a torus or a spline surface and be bounded by
// circles and splines. Such a face carries an attribute of this kind, made by
// the layer that knows the face's exact boundary (the exchange layer keeps the
// source face of an imported model), and FACE::box, point_test, classify,
// innerPoint and tessellate ask it instead of walking the loops. The kernel
// itself stays free of any modelling library: it only sees this interface.
//
// The attribute is immutable like every attribute and answers in the body's
// frame, as the face's own geometry does. It is kept when faces are copied
// together with their body's transform (copy_faces), so it stays valid.

#include "host/base/mod_info.h"
#include "host/geometry/box3.h"
#include "host/geometry/position3.h"
#include "host/kernel/topology/attrib.h"
#include "host/kernel/topology/face.h"

class FOREIGN_FACE_ATT : public ATTRIB {
 public:
  static constexpr const char* kName = "foreign-face";
  const char* name() const override { return kName; }

  // The box of the face's points, no smaller than the face.
  virtual BOX3 box() const = 0;
  // POINT_ON_FACE, POINT_ON_BOUNDARY (within tol of the boundary) or
  // POINT_OUTSIDE_FACE for a position within tol of the face's surface;
  // POINT_UNKNOWN for one farther away or a non-finite one.
  virtual int classify(const POSITION3& p, double tol) const = 0;
  // A position on the face's surface inside the face; NOT_ON_FACE when none
  // is found.
  virtual MOD_INFO* inner_point(POSITION3& p) const = 0;
  // Triangles covering the face, counter-clockwise seen against the face's
  // outward normal, with the outward normal at each position. BAD_FACE when
  // the face cannot be meshed.
  virtual MOD_INFO* tessellate(FACE_TESSELLATION& out) const = 0;

 protected:
  FOREIGN_FACE_ATT() = default;
};

// The attribute of the face, or null when the kernel answers by itself.
// O(number of the face's attributes).
inline const FOREIGN_FACE_ATT* foreign_face(const FACE* face) {
  return face->attributes().find<FOREIGN_FACE_ATT>();
}
