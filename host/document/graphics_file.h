#pragma once
// Graphics files: a part's triangles stored on their own, and the
// lightweight files that make graphics-only parts.
//
// A file is a sequence of chunks: an 8-byte tag, the payload's length and
// its FNV-1a hash (both 64-bit little-endian), then the payload. There are
// two kinds of chunk, and three kinds of file made of them:
//   "LMXDUMMY"  the dummy entry: what the graphics stand for (the contents'
//               sysid, type, symbolic name and version)
//   "LMXGRAPH"  the graphics: the part's colour and transparency, then
//               patches of triangles, each with an optional own colour,
//               positions and normals (float32) and index triples
//   dummy file = LMXDUMMY, graphics file = LMXGRAPH, lightweight file =
//   LMXDUMMY followed by LMXGRAPH.
// So a lightweight file is the plain concatenation of a dummy file and a
// graphics file. The hash and the bounds checks make a damaged or foreign
// file a clear error instead of a part with garbage triangles.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "host/model/nparcel.h"
#include "host/model/part_graphics.h"

struct DUMMY_ENTRY {
  std::uint64_t sysid = 0;  // of the contents the graphics were made from
  std::string type;         // "P" for a part
  std::string name;         // symbolic name: becomes the loaded part's name
  std::string version;      // symbolic version
  bool operator==(const DUMMY_ENTRY&) const = default;
};

struct GRAPHICS_FILE_CONTENTS {
  std::optional<DUMMY_ENTRY> dummy;
  std::shared_ptr<const PART_GRAPHICS> graphics;  // null for a dummy file
};

// The bytes of a dummy file and of a graphics file.
std::string dummy_file_bytes(const DUMMY_ENTRY& entry);
std::string graphics_file_bytes(const PART_GRAPHICS& graphics);

// Reads any of the three kinds. Throws DOCUMENT_ERROR naming `path` for a
// file that can't be read, is empty, truncated, damaged (hash), foreign, has
// chunks in another order, counts that don't fit its size, indices out of
// range or coordinates that are not finite. O(size of the file).
GRAPHICS_FILE_CONTENTS read_graphics_file(const std::string& path);
// The same on bytes in memory; `path` only names them in errors.
GRAPHICS_FILE_CONTENTS parse_graphics_file(const std::string& bytes, const std::string& path);
// True when the bytes begin like one of the three kinds (a loader that
// chooses by content asks this of a file's first 8 bytes).
bool looks_like_graphics_file(const std::string& first_bytes);

// Writes the graphics of `part` (part_graphics) as a graphics file, whole or
// not at all, and returns the number of triangles. Throws TV_EXCEPTION for a
// parcel that is no part or a face that can't be tessellated, and
// DOCUMENT_ERROR when the file can't be written.
std::size_t store_part_graphics(const NPARCEL* part, const std::string& path);

// Joins a dummy file and a graphics file into a lightweight file, whole or
// not at all. Both are read and checked first, so a wrong argument order or
// a damaged input leaves no lightweight file. Throws DOCUMENT_ERROR.
void join_lightweight_file(const std::string& dummy_path, const std::string& graphics_path,
                           const std::string& out_path);

// Loads a graphics or lightweight file as a new graphics-only part, placed
// last under the root of the model tree, and returns it. The part is named
// after the dummy entry's symbolic name, else after the file (without
// extension). The file is read and checked whole before the model is
// touched, so a bad file changes nothing. Throws DOCUMENT_ERROR.
NPART3* load_graphics_file(const std::string& path);
