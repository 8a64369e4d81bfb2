#pragma once
// SHELL_FACTORY: turns what is left of a mesh after recognition into B-rep
// shells, one per piece of faces joined by edges: a face per polygon, a straight edge per pair of partner
// coedges, a vertex per used mesh vertex. Faces of recognised regions lie on
// the region's surface; a polygon outside any region gets a plane of its own.

#include <forward_list>

#include "host/geometry/resolution.h"

class FACE;
class MESH;
class MESH_POLYGON;
class MOD_INFO;
class SHELL;

class SHELL_FACTORY {
 public:
  // Starts with a copy of the host's global resolution.
  SHELL_FACTORY();

  // Builds the shells of the mesh and pushes them on `shells`, one per piece
  // of faces that share edges (in the order of their first faces; one empty
  // shell for a mesh without faces): the faces of the regions that have a
  // surface, region by region, or, for a mesh without regions, one face per
  // polygon of its list. The kernel's edges and
  // vertices are made on the way and kept by the mesh's coedges and
  // vertices. Returns null: nothing here fails as a whole.
  MOD_INFO* make_outer_shells(MESH& mesh, const resolution& res, std::forward_list<SHELL*>& shells);

  const resolution& get_resolution() const { return resolution_; }

 private:
  // The face of one REGULAR polygon with one loop through its whole ring (a
  // hole comes in through a bridge, so its edge occurs twice). Null for a
  // polygon of another type or one whose coedges yield no edge at all.
  FACE* make_face(MESH_POLYGON* polygon, bool sense);

  resolution resolution_;  // the one of the last make_outer_shells
};
