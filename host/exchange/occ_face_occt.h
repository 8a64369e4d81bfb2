#pragma once
// The source face of an imported face, for the exchange layer's .cpp files
// (and its tests) only: it includes OpenCASCADE. The attribute answers the
// kernel's face queries (ops/foreign_face.h) on the exact face of the model.

#include <TopoDS_Face.hxx>
#include <memory>

#include "host/kernel/ops/foreign_face.h"

// The attribute for `face`, oriented as it lies in its shell (a reversed
// face's outward normal is opposite to its surface's).
std::shared_ptr<const FOREIGN_FACE_ATT> make_occ_face_att(const TopoDS_Face& face);

// The source face alone, for a face that the kernel answers by itself (a
// plane or cylinder bounded by straight edges): the face queries stay the
// kernel's, and writers that want the model's own topology still find it.
std::shared_ptr<const ATTRIB> make_occ_source_att(const TopoDS_Face& face);

// The model's face behind a kernel face, from either attribute, or null when
// the face has none. O(number of the face's attributes).
const TopoDS_Face* occ_source_face(const FACE* face);
