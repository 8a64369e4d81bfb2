// libFuzzer target of the graphics file reader. A malformed input may end
// with DOCUMENT_ERROR, the reader's one documented error; any other
// exception escapes and ends the run as a finding, as do crashes, sanitizer
// reports, leaks and hangs. What the reader accepts must write back to the
// same bytes, so that a file that loads is a file the host could have made.
//
// A mutation almost never keeps a chunk's checksum right, which would leave
// everything behind the check unexplored; so each input first gets the
// right checksums (and the checksum check itself is covered by the unit
// tests), then goes to the reader.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "host/document/document_error.h"
#include "host/document/graphics_file.h"

namespace {

std::uint64_t get_u64(const std::string& b, std::size_t at) {
  std::uint64_t v = 0;
  for (int i = 0; i < 8; ++i) v |= static_cast<std::uint64_t>(static_cast<unsigned char>(b[at + i])) << (8 * i);
  return v;
}

// The checksum of the file format (FNV-1a, 64 bits).
std::uint64_t fnv1a(const char* p, std::size_t n) {
  std::uint64_t h = 1469598103934665603ull;
  for (std::size_t i = 0; i < n; ++i) {
    h ^= static_cast<unsigned char>(p[i]);
    h *= 1099511628211ull;
  }
  return h;
}

// Writes the right checksum into every chunk head that lies whole in the bytes.
void fix_checksums(std::string& b) {
  std::size_t at = 0;
  while (at + 24 <= b.size()) {
    const std::uint64_t length = get_u64(b, at + 8);
    if (length > b.size() - at - 24) return;
    const std::uint64_t h = fnv1a(b.data() + at + 24, length);
    for (int i = 0; i < 8; ++i) b[at + 16 + i] = static_cast<char>((h >> (8 * i)) & 0xff);
    at += 24 + length;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string bytes(reinterpret_cast<const char*>(data), size);
  fix_checksums(bytes);
  GRAPHICS_FILE_CONTENTS c;
  try {
    c = parse_graphics_file(bytes, "fuzz input");
  } catch (const DOCUMENT_ERROR&) {
    return 0;
  }
  std::string again;
  if (c.dummy) again += dummy_file_bytes(*c.dummy);
  if (c.graphics) again += graphics_file_bytes(*c.graphics);
  if (again != bytes) {
    std::fprintf(stderr, "graphics_file_fuzz: an accepted file does not write back to its bytes\n");
    std::abort();
  }
  return 0;
}
