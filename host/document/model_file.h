#pragma once
// Model files: the model below the root, stored in one SQLite database.
//
// Contents (schema 2; schema 1 files, without features, still load): the parcel graph (contents with their kind, body,
// colour and transparency, and the triangles of a graphics-only part in the
// graphics files' form; instances with their contents, parent contents,
// place among the parent's children, name and transform), every body in the
// encoding of body_codec.h with a checksum, the sysids of all of them, and the
// universal features filed with the model (feature_codec.h), on contents and
// instances, with their references to items by sysid and path. A reference
// whose item or path the load does not bring back with its saved sysids
// (the same file loaded twice) is left out. Parts' show settings (edges,
// see-through) that differ from the default come along too.
// The database carries the application id 0x4C4D5831 ("LMX1") and the
// schema in its user version; a later schema adds tables and raises the
// version, and this reader refuses such a file rather than drop what it
// cannot read.
//
// Saving writes a new temporary file in the target's folder in one
// transaction, forces it to disk, and renames it over the target only when it
// is complete: a failed or killed save leaves the earlier file as it was (a
// killed one may leave its temporary file, ".NAME.XXXXXX", behind).
//
// Loading reads and checks the whole file and decodes every body before it
// touches the model; any problem is a MODEL_FILE_ERROR naming the file, and
// the model stays as it was.
//
// Sysids: every parcel, contents, body and topology entity asks for the sysid
// it was saved with (ENTITY_REGISTRY, entity_registry.h). It gets it unless an
// entity of this session holds it; so loading a file into a fresh session
// keeps all sysids, and loading the same file twice gives the second copy
// fresh ones, without error. Geometry (surfaces, curves, points) gets fresh
// sysids.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

class NPARCEL;

// A model file that cannot be written or read; the message names the file.
class MODEL_FILE_ERROR : public std::runtime_error {
 public:
  MODEL_FILE_ERROR(const std::string& path, const std::string& problem);
};

// The schema this build writes and the newest it reads.
constexpr int kModelFileSchema = 2;
// The first bytes of every SQLite database, and the application id of ours.
constexpr std::uint32_t kModelFileApplicationId = 0x4C4D5831;

// Saves the root's children and everything below them. Throws
// MODEL_FILE_ERROR; the file at `path`, if any, is then unchanged.
void save_model_file(const std::string& path);
// Saves the given top objects (live parcels, not the root) and everything
// below them; each becomes a top object of the file.
void save_model_file(const std::string& path, const std::vector<NPARCEL*>& tops);

// Adds the file's top objects to the model as new children of the root (a
// name taken there gets a suffix) and returns them in the file's order.
// Throws MODEL_FILE_ERROR; the model is then unchanged.
std::vector<NPARCEL*> load_model_file(const std::string& path);

// True when the first bytes `head` (at least 100 of them) are those of a
// model file of any schema: an SQLite database with our application id.
bool looks_like_model_file(const std::string& head);
