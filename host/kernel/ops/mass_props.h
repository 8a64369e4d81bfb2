#pragma once
// Mass properties of bodies: surface area and enclosed volume.
//
// Faces of planes and cylinders bounded by straight edges (the kernel's own
// faces) are measured exactly: a planar face as the polygon of its loops, a
// cylindrical face as the patch of the cylinder over its developed boundary.
// The volume follows from the divergence theorem, V = 1/3 * sum over faces
// of the integral of (x - c).n, which is exact for both kinds too. Other
// faces (read from a CAD model, FOREIGN_FACE_ATT) are measured on their
// tessellation.

#include "host/geometry/position3.h"
#include "host/geometry/transform3.h"
#include "host/kernel/topology/topology_fwd.h"

class MOD_INFO;

struct MASS_PROPS {
  // Enclosed by the closed shells: those whose every edge is used by exactly
  // two coedges. A void (a shell whose faces point inwards) counts negative.
  double volume = 0.0;
  double closed_area = 0.0;  // faces of closed shells
  double open_area = 0.0;    // faces of the other shells, and of face parts
  int faces = 0;
  int closed_shells = 0;
  int open_shells = 0;
  double area() const { return closed_area + open_area; }
};

// Adds the measures of `body`, moved by its own transform and then by `tm`, to
// `props`. Lengths scale with the transforms' linear scale (exact for
// similarities). A face part (FACE_PART_ATT) is open whatever its edges say.
// EMPTY_BODY for a body without faces, MISSING_GEOMETRY for null,
// UNMEASURABLE_FACE for a face that can be neither measured nor tessellated;
// `props` is unchanged then. O(faces + coedges), no allocation per face of a
// plane.
MOD_INFO* mass_props(const BODY* body, const TRANSFORM3& tm, MASS_PROPS& props);

// The area of one face and its flux, the integral of (x - ref).n over the
// face with n its outward normal, in the body's own frame.
MOD_INFO* face_area_flux(const FACE* face, const POSITION3& ref, double& area, double& flux);
