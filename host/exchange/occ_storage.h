#pragma once
// Storage of the exact geometry of imported CAD faces, for the model file:
// the surfaces and curves the kernel has no kind of its own for (occ_surface,
// occ_curve) and the source faces that imported faces keep (occ_face_occt.h),
// written with OpenCASCADE's own binary serialisation (BinTools). The model
// file's body encoding stores everything else itself and hands these pieces
// here by index; nothing of OpenCASCADE shows through this header.
//
// The source faces of one body are written as one compound, so the edges and
// vertices they share are written once and come back shared.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/kernel/entity/geometry_entity.h"
#include "host/kernel/geometry/curve.h"
#include "host/kernel/geometry/surface.h"
#include "host/kernel/topology/attrib.h"
#include "host/kernel/topology/topology_fwd.h"

// What a face keeps of its CAD source.
enum class OCC_FACE_SOURCE : unsigned char {
  NONE = 0,
  ANSWERING = 1,    // the source face answers the face queries (foreign_face.h)
  SOURCE_ONLY = 2,  // the kernel answers; the source face is kept for the writers
};

bool is_occ_surface(const surface* s);
bool is_occ_curve(const curve* c);
OCC_FACE_SOURCE occ_face_source(const FACE* face);

// The pieces of one body. Geometry comes back referenced (GEOM_REF), so
// whatever the caller does not use is freed with the value.
struct OCC_PIECES {
  std::vector<GEOM_REF<surface>> surfaces;
  std::vector<GEOM_REF<curve>> curves;
  std::vector<std::shared_ptr<const ATTRIB>> face_attributes;  // one per stored face
};

// The bytes of the pieces, in the order given. Each surface must be an
// occ_surface, each curve an occ_curve, each face one with a source.
// Throws std::runtime_error when OpenCASCADE cannot write them.
std::string write_occ_pieces(const std::vector<const surface*>& surfaces,
                             const std::vector<const curve*>& curves,
                             const std::vector<const FACE*>& faces);

// Reads what write_occ_pieces wrote; `sources` says, for each stored face,
// which attribute it gets. Throws std::runtime_error for bytes that do not
// read back (truncated, garbage, counts that disagree); nothing is left
// behind then.
OCC_PIECES read_occ_pieces(std::string_view bytes, const std::vector<OCC_FACE_SOURCE>& sources);
