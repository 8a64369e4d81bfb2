#include "host/document/graphics_file.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

#include "host/base/mod_info.h"
#include "host/document/document_error.h"
#include "host/exchange/atomic_file.h"
#include "host/model/model_errors.h"
#include "host/model/model_tree.h"

namespace {

constexpr char kDummyTag[] = "LMXDUMMY";
constexpr char kGraphicsTag[] = "LMXGRAPH";
constexpr std::size_t kTagSize = 8;
constexpr std::size_t kChunkHead = kTagSize + 8 + 8;
constexpr std::uint32_t kGraphicsVersion = 1;

std::uint64_t fnv1a(const char* data, std::size_t n) {
  std::uint64_t h = 1469598103934665603ull;
  for (std::size_t i = 0; i < n; ++i) {
    h ^= static_cast<unsigned char>(data[i]);
    h *= 1099511628211ull;
  }
  return h;
}

// Little-endian writers, whatever the machine's order.
void put_u64(std::string& out, std::uint64_t v) {
  for (int i = 0; i < 8; ++i) out.push_back(static_cast<char>((v >> (8 * i)) & 0xff));
}
void put_u32(std::string& out, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((v >> (8 * i)) & 0xff));
}
void put_u8(std::string& out, std::uint8_t v) { out.push_back(static_cast<char>(v)); }
void put_f64(std::string& out, double v) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &v, 8);
  put_u64(out, bits);
}
void put_f32(std::string& out, float v) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &v, 4);
  put_u32(out, bits);
}
void put_string(std::string& out, const std::string& s) {
  put_u32(out, static_cast<std::uint32_t>(s.size()));
  out += s;
}
void put_color(std::string& out, const std::optional<RGB_COLOR>& c) {
  put_u8(out, c ? 1 : 0);
  put_f64(out, c ? c->r : 0.0);
  put_f64(out, c ? c->g : 0.0);
  put_f64(out, c ? c->b : 0.0);
}

std::string chunk(const char* tag, const std::string& payload) {
  std::string out(tag, kTagSize);
  put_u64(out, payload.size());
  put_u64(out, fnv1a(payload.data(), payload.size()));
  return out + payload;
}

// Reads a payload with every count checked against what is left, so a
// damaged count is an error and never a huge allocation or a read past the end.
class READER {
 public:
  READER(const char* data, std::size_t size, const std::string& path) : p_(data), left_(size), path_(path) {}

  [[noreturn]] void fail(const std::string& what) const {
    throw DOCUMENT_ERROR(path_, "is not a valid graphics file: " + what + ".");
  }
  void need(std::size_t n, const char* what) const {
    if (n > left_) fail(std::string("it ends inside ") + what);
  }
  std::size_t left() const { return left_; }

  std::uint64_t u64(const char* what) { return le(8, what); }
  std::uint32_t u32(const char* what) { return static_cast<std::uint32_t>(le(4, what)); }
  std::uint8_t u8(const char* what) { return static_cast<std::uint8_t>(le(1, what)); }
  double f64(const char* what) {
    const std::uint64_t bits = u64(what);
    double v = 0.0;
    std::memcpy(&v, &bits, 8);
    return v;
  }
  float f32(const char* what) {
    const std::uint32_t bits = u32(what);
    float v = 0.0f;
    std::memcpy(&v, &bits, 4);
    return v;
  }
  std::string string(const char* what) {
    const std::uint32_t n = u32(what);
    need(n, what);
    std::string s(p_, n);
    p_ += n;
    left_ -= n;
    return s;
  }
  std::optional<RGB_COLOR> color(const char* what) {
    const std::uint8_t has = u8(what);
    RGB_COLOR c{f64(what), f64(what), f64(what)};
    if (has > 1) fail(std::string("the flag of ") + what + " is neither 0 nor 1");
    // The writer leaves an absent colour zero: anything else is damage.
    if (!has) {
      if (c.r != 0.0 || c.g != 0.0 || c.b != 0.0 || std::signbit(c.r) || std::signbit(c.g) || std::signbit(c.b)) {
        fail(std::string(what) + " is absent but not zero");
      }
      return std::nullopt;
    }
    for (double v : {c.r, c.g, c.b}) {
      if (!(v >= 0.0 && v <= 1.0)) fail(std::string(what) + " has a component outside [0, 1]");
    }
    return c;
  }

 private:
  std::uint64_t le(int n, const char* what) {
    need(static_cast<std::size_t>(n), what);
    std::uint64_t v = 0;
    for (int i = 0; i < n; ++i) v |= static_cast<std::uint64_t>(static_cast<unsigned char>(p_[i])) << (8 * i);
    p_ += n;
    left_ -= static_cast<std::size_t>(n);
    return v;
  }

  const char* p_;
  std::size_t left_;
  const std::string& path_;
};

DUMMY_ENTRY parse_dummy(READER& r) {
  DUMMY_ENTRY e;
  e.sysid = r.u64("the dummy entry");
  e.type = r.string("the dummy entry's type");
  e.name = r.string("the dummy entry's name");
  e.version = r.string("the dummy entry's version");
  if (r.left() != 0) r.fail("the dummy entry has bytes after its end");
  return e;
}

std::shared_ptr<PART_GRAPHICS> parse_graphics(READER& r) {
  auto g = std::make_shared<PART_GRAPHICS>();
  const std::uint32_t version = r.u32("the graphics' version");
  if (version != kGraphicsVersion) {
    r.fail("its graphics are of version " + std::to_string(version) + ", this host reads version " +
           std::to_string(kGraphicsVersion));
  }
  g->color = r.color("the part's colour");
  const std::uint8_t has_transparency = r.u8("the part's transparency");
  const float transparency = r.f32("the part's transparency");
  if (has_transparency > 1) r.fail("the flag of the part's transparency is neither 0 nor 1");
  if (!has_transparency && (transparency != 0.0f || std::signbit(transparency))) {
    r.fail("the part's transparency is absent but not zero");
  }
  if (has_transparency) {
    if (!(transparency >= 0.0f && transparency <= 1.0f)) r.fail("the part's transparency lies outside [0, 1]");
    g->transparency = transparency;
  }
  const std::uint32_t patches = r.u32("the number of patches");
  // Each patch takes at least its colour and two counts.
  r.need(static_cast<std::size_t>(patches) * 33, "the patches");
  g->patches.resize(patches);
  for (GRAPHICS_PATCH& p : g->patches) {
    p.color = r.color("a patch's colour");
    const std::uint32_t nv = r.u32("a patch's number of positions");
    const std::uint32_t nt = r.u32("a patch's number of triangles");
    r.need(static_cast<std::size_t>(nv) * 24 + static_cast<std::size_t>(nt) * 12, "a patch's triangles");
    p.positions.resize(nv);
    p.normals.resize(nv);
    for (auto& v : p.positions) {
      for (float& c : v) {
        c = r.f32("a position");
        if (!std::isfinite(c)) r.fail("a position has a coordinate that is not a finite number");
      }
    }
    for (auto& v : p.normals) {
      for (float& c : v) {
        c = r.f32("a normal");
        if (!std::isfinite(c)) r.fail("a normal has a component that is not a finite number");
      }
    }
    p.triangles.resize(nt);
    for (auto& t : p.triangles) {
      for (std::uint32_t& i : t) {
        i = r.u32("a triangle");
        if (i >= nv) r.fail("a triangle refers to a position the patch doesn't have");
      }
    }
  }
  if (r.left() != 0) r.fail("the graphics have bytes after their end");
  return g;
}

std::string read_whole_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw DOCUMENT_ERROR(path, "can't be opened for reading.");
  std::ostringstream s;
  s << in.rdbuf();
  if (in.bad()) throw DOCUMENT_ERROR(path, "can't be read.");
  return std::move(s).str();
}

void write_whole_file(const std::string& path, const std::string& bytes) {
  try {
    write_file_atomically(path, bytes);
  } catch (const TV_EXCEPTION&) {
    throw DOCUMENT_ERROR(path, "can't be written (is its folder there and writable, and is there room?).");
  }
}

std::string base_name_without_extension(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  const std::size_t dot = name.find_last_of('.');
  if (dot != std::string::npos && dot > 0) name.resize(dot);
  return name;
}

}  // namespace

std::string dummy_file_bytes(const DUMMY_ENTRY& e) {
  std::string payload;
  put_u64(payload, e.sysid);
  put_string(payload, e.type);
  put_string(payload, e.name);
  put_string(payload, e.version);
  return chunk(kDummyTag, payload);
}

std::string graphics_file_bytes(const PART_GRAPHICS& g) {
  std::string payload;
  put_u32(payload, kGraphicsVersion);
  put_color(payload, g.color);
  put_u8(payload, g.transparency ? 1 : 0);
  put_f32(payload, g.transparency.value_or(0.0f));
  put_u32(payload, static_cast<std::uint32_t>(g.patches.size()));
  for (const GRAPHICS_PATCH& p : g.patches) {
    put_color(payload, p.color);
    put_u32(payload, static_cast<std::uint32_t>(p.positions.size()));
    put_u32(payload, static_cast<std::uint32_t>(p.triangles.size()));
    for (const auto& v : p.positions) for (float c : v) put_f32(payload, c);
    for (const auto& v : p.normals) for (float c : v) put_f32(payload, c);
    for (const auto& t : p.triangles) for (std::uint32_t i : t) put_u32(payload, i);
  }
  return chunk(kGraphicsTag, payload);
}

bool looks_like_graphics_file(const std::string& first_bytes) {
  return first_bytes.size() >= kTagSize && (first_bytes.compare(0, kTagSize, kDummyTag) == 0 ||
                                            first_bytes.compare(0, kTagSize, kGraphicsTag) == 0);
}

GRAPHICS_FILE_CONTENTS parse_graphics_file(const std::string& bytes, const std::string& path) {
  if (bytes.empty()) throw DOCUMENT_ERROR(path, "is empty: it holds no graphics.");
  if (!looks_like_graphics_file(bytes)) throw DOCUMENT_ERROR(path, "is not a graphics file of this host.");
  GRAPHICS_FILE_CONTENTS out;
  std::size_t at = 0;
  while (at < bytes.size()) {
    READER head(bytes.data() + at, bytes.size() - at, path);
    head.need(kChunkHead, "a chunk's head");
    const std::string tag = bytes.substr(at, kTagSize);
    at += kTagSize;
    READER sizes(bytes.data() + at, 16, path);
    const std::uint64_t length = sizes.u64("a chunk's head");
    const std::uint64_t hash = sizes.u64("a chunk's head");
    at += 16;
    if (length > bytes.size() - at) head.fail("it is truncated (a chunk ends past the end of the file)");
    const char* payload = bytes.data() + at;
    if (fnv1a(payload, length) != hash) head.fail("it is damaged (a chunk's checksum does not match)");
    READER r(payload, length, path);
    if (tag == kDummyTag) {
      if (out.dummy || out.graphics) head.fail("a dummy entry must come first, and only once");
      out.dummy = parse_dummy(r);
    } else if (tag == kGraphicsTag) {
      if (out.graphics) head.fail("it holds graphics twice");
      out.graphics = parse_graphics(r);
    } else {
      head.fail("it holds a chunk of unknown kind");
    }
    at += length;
  }
  return out;
}

GRAPHICS_FILE_CONTENTS read_graphics_file(const std::string& path) {
  return parse_graphics_file(read_whole_file(path), path);
}

std::size_t store_part_graphics(const NPARCEL* part, const std::string& path) {
  const PART_GRAPHICS g = part_graphics(part);
  write_whole_file(path, graphics_file_bytes(g));
  return g.triangle_count();
}

void join_lightweight_file(const std::string& dummy_path, const std::string& graphics_path,
                           const std::string& out_path) {
  const std::string dummy = read_whole_file(dummy_path);
  const GRAPHICS_FILE_CONTENTS d = parse_graphics_file(dummy, dummy_path);
  if (!d.dummy || d.graphics) throw DOCUMENT_ERROR(dummy_path, "is not a dummy file: it must hold a dummy entry alone.");
  const std::string graphics = read_whole_file(graphics_path);
  const GRAPHICS_FILE_CONTENTS g = parse_graphics_file(graphics, graphics_path);
  if (g.dummy || !g.graphics) throw DOCUMENT_ERROR(graphics_path, "is not a graphics file: it must hold graphics alone.");
  write_whole_file(out_path, dummy + graphics);
}

NPART3* load_graphics_file(const std::string& path) {
  GRAPHICS_FILE_CONTENTS c = read_graphics_file(path);
  if (!c.graphics) throw DOCUMENT_ERROR(path, "holds a dummy entry but no graphics.");
  const std::string name = c.dummy && !c.dummy->name.empty() ? c.dummy->name : base_name_without_extension(path);
  NPART3* part = create_graphics_part(std::move(c.graphics), name);
  if (MOD_INFO* e = insert_in_graph(part)) {
    destroy_parcel(part);
    throw TV_EXCEPTION(e);
  }
  return part;
}
