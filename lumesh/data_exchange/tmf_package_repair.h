#pragma once
// A 3MF package made readable for lib3mf 1.8 when its producer wrote one
// production UUID (p:UUID on an object, component, build or build item) on
// more than one element. lib3mf refuses such a package outright, though the
// geometry, the components and the colours are all sound, and the module
// uses none of those UUIDs. The repair keeps each UUID on the first element
// that carries it and drops the attribute from every later one; nothing
// else of the package changes.
//
// Pure C++ over libzip; no lib3mf, no Lisp.

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

// Why a package could not be repaired: not a zip archive libzip can read, an
// entry that fails to decompress or is bigger than allowed, a model part
// that is not well-formed where the scan needs it to be.
class TMF_PACKAGE_REPAIR_ERROR : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The bounds that keep a hostile archive (a zip bomb) from exhausting memory:
// the repair holds every entry decompressed, and the new archive beside them.
inline constexpr std::uint64_t kTmfRepairMaxEntryBytes = std::uint64_t{1} << 30;    // 1 GiB
inline constexpr std::uint64_t kTmfRepairMaxPackageBytes = std::uint64_t{2} << 30;  // 2 GiB

struct TMF_REPAIRED_PACKAGE {
  std::vector<std::uint8_t> bytes;  // the new archive; empty when nothing was dropped
  std::size_t dropped_count = 0;    // UUID attributes dropped over all model parts
};

// Reads the package at path (UTF-8) read-only and, when some production UUID
// repeats in its model parts (the entries whose names end in ".model", in any
// case), returns a new archive in memory: every entry of the package under
// its name and in its order, the model parts with the repeats dropped and
// otherwise byte for byte as they were, stored uncompressed. When nothing
// repeats, returns no bytes and a count of 0 without building an archive.
//
// Throws TMF_PACKAGE_REPAIR_ERROR when the package can't be read, an entry
// states or yields more than kTmfRepairMaxEntryBytes, all entries together
// more than kTmfRepairMaxPackageBytes, or a model part breaks off inside a
// tag. Peak memory is about twice the package's uncompressed size.
TMF_REPAIRED_PACKAGE repair_repeated_uuids(const std::string& path);

// The scan of one model part, for repair_repeated_uuids and its tests: xml
// with every production UUID attribute whose value is already in seen
// removed, together with the white space before it; the other values are
// added to seen. dropped grows by the number removed.
//
// An attribute is a production UUID when its local name is "UUID" and its
// prefix is bound to the production namespace where it stands (the binding
// may be on the element itself or on any ancestor, under any prefix). Values
// compare by their hexadecimal digits, in any case, whatever hyphens, braces
// or blanks stand around and between them, as lib3mf 1.8 compares them; a
// value without exactly 32 hexadecimal digits (or with a character reference
// in it) is taken for no UUID and left alone. Comments, CDATA sections,
// processing instructions and a document type declaration are skipped.
// Throws TMF_PACKAGE_REPAIR_ERROR where a tag or one of those breaks off, or
// an attribute has no quoted value. O(length of xml); the nesting of the
// document lives in a vector, not on the call stack.
std::string drop_repeated_uuids(std::string_view xml, std::unordered_set<std::string>& seen,
                                std::size_t& dropped);
