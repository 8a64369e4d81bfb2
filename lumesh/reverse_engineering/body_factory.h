#pragma once
// BODY_FACTORY: the end of an import. It decides how much recognition a mesh
// gets (the face count limit enforces planes on big meshes), runs it at the
// recognition resolution, and makes the B-rep body of what is left. One
// factory serves all meshes of a file; each body adds its share of ticks.

#include <cstdint>

#include "lumesh/mesh/mesh.h"
#include "lumesh/reverse_engineering/shell_factory.h"

class BODY;
class PROGRESS;

class BODY_FACTORY : public SHELL_FACTORY {
 public:
  // `progress` may be null; `ticks` are added after each finished body.
  BODY_FACTORY(PROGRESS* progress, int ticks);

  // The body of `mesh`, which is used up (its coedges hold the body's edges
  // and its regions share their surfaces with the faces); the caller deletes
  // the mesh afterwards.
  //
  // `resolution` NaN means "not given". Any recognition asked for includes
  // planes (cylinders are found among planes). When the mesh has at least
  // `limit` polygons, planes are recognised whatever was asked, at 0.001 if
  // no resolution was given: a face per facet would exhaust the kernel.
  // Without recognition the faces are made at the global resolution as it
  // stands; with it, at the given resolution or the mesh's estimate, which
  // the body keeps. `options` comes back as what was really done and
  // `face_count` as the number of faces. A body whose shell doesn't close
  // carries the face-part marker.
  //
  // The global resolution is the same after the call as before, also when
  // it throws: a TV_EXCEPTION passes with its descriptor, anything else
  // becomes the module's unknown error. A body already made by then is left
  // to the host. A mesh with polygons that yields a body without faces (a
  // resolution coarser than the mesh) raises :MSG-NO-FACES-BUILT.
  BODY* make_body(MESH& mesh, double resolution, std::uint64_t limit,
                  MESH::SURFACE_RECONSTRUCTION& options, std::uint64_t& face_count);

 private:
  PROGRESS* progress_;  // not owned; may be null
  std::int32_t ticks_per_body_;
};

// True when a coedge of the body has no partner other than itself: the
// shells don't close a volume.
bool has_open_boundary(const BODY* body);
