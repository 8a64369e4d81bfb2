#pragma once
// The model file's encoding of one body: a compact binary image of the
// kernel's own entities, shared vertices and edges written once and referred
// to by index, coordinates as binary64.
//
// Layout (all integers varints, see byte_codec.h):
//   "LMXB" version
//   sysids: count, then zigzag deltas, in the order the decoder makes the
//           entities: body, shells (pre-order), vertices, edges, and per face
//           the face, then per loop its coedges and the loop
//   body: resolution, transform (12 reals), face-part marker and its name
//   shells: pre-order records (type, own faces, subshells)
//   vertices: positions
//   edges: start, end (deltas), curve (a straight through the ends as the
//          builders make it costs nothing; other lines are written out; CAD
//          curves by index into the CAD section)
//   faces: flags, surface (a plane through the first vertex with the normal
//          its corners give costs a byte; other planes, cylinders written
//          out; CAD surfaces by index; a surface shared with an earlier face
//          by reference), colour, transparency, loops of (edge, sense) pairs
//          as deltas of edge indices
//   CAD section: bytes of occ_storage.h, or empty
// A triangle mesh body takes about 40 to 60 bytes per facet.
//
// Face attributes other than colour, transparency and a CAD source are not
// written (there are none yet that need to live beyond the session).

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/kernel/topology/topology_fwd.h"

// The blob of a body. O(size of the body). Throws std::runtime_error for a
// body that holds geometry of a kind that cannot be written.
std::string encode_body(const BODY& body);

// The sysids saved with a blob, in the order decode_body makes the entities;
// throws BLOB_ERROR (byte_codec.h) for a blob that does not start right.
std::vector<std::uint64_t> body_sysids(std::string_view blob);

// A new body from a blob, outside any part (its owner is null). Each entity
// asks the registry for its saved sysid (ENTITY_REGISTRY::reserve must have
// kept the ones it may take) and gets a fresh one otherwise. Throws
// BLOB_ERROR or std::runtime_error for a blob that does not decode into a
// valid body; nothing of it is left behind then. Without `with_cad` a blob
// that holds CAD geometry is refused before OpenCASCADE reads any of it (the
// fuzzer's way to reach this decoder alone).
BODY* decode_body(std::string_view blob, bool with_cad = true);
