#include "host/document/feature_codec.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "host/document/byte_codec.h"

namespace {

enum TAG : std::uint8_t { kNil = 0, kT = 1, kInteger = 2, kReal = 3, kString = 4, kSymbol = 5, kList = 6, kDotted = 7 };

constexpr std::uint8_t kFormat = 1;

void put_value(BYTE_WRITER& w, const FEATURE_VALUE& v) {
  switch (v.kind()) {
    case FEATURE_VALUE::KIND::NIL: w.u8(kNil); return;
    case FEATURE_VALUE::KIND::T: w.u8(kT); return;
    case FEATURE_VALUE::KIND::INTEGER: w.u8(kInteger); w.svarint(v.as_integer()); return;
    case FEATURE_VALUE::KIND::REAL: w.u8(kReal); w.f64(v.as_real()); return;
    case FEATURE_VALUE::KIND::STRING: w.u8(kString); w.bytes(v.text()); return;
    case FEATURE_VALUE::KIND::SYMBOL:
      w.u8(kSymbol);
      w.bytes(v.package());
      w.bytes(v.text());
      return;
    case FEATURE_VALUE::KIND::LIST:
      w.u8(v.dotted() ? kDotted : kList);
      w.varint(v.items().size());
      for (const FEATURE_VALUE& item : v.items()) put_value(w, item);
      return;
  }
}

std::string get_text(BYTE_READER& r) { return std::string(r.bytes()); }

FEATURE_VALUE get_value(BYTE_READER& r, int depth) {
  const std::uint8_t tag = r.u8();
  switch (tag) {
    case kNil: return FEATURE_VALUE();
    case kT: return FEATURE_VALUE::t();
    case kInteger: return FEATURE_VALUE::integer(r.svarint());
    case kReal: return FEATURE_VALUE::real(r.f64());
    case kString: return FEATURE_VALUE::string(get_text(r));
    case kSymbol: {
      std::string package = get_text(r);
      std::string name = get_text(r);
      return FEATURE_VALUE::symbol(std::move(package), std::move(name));
    }
    case kList:
    case kDotted: {
      if (depth >= kMaxFeatureNesting) throw BLOB_ERROR("a feature's list nests too deeply");
      const std::uint64_t n = r.varint();
      // Every item takes at least one byte: a count beyond the bytes left is garbage.
      if (n > r.left()) throw BLOB_ERROR("a feature's list is longer than its blob");
      std::vector<FEATURE_VALUE> items;
      items.reserve(static_cast<std::size_t>(n));
      for (std::uint64_t i = 0; i < n; ++i) items.push_back(get_value(r, depth + 1));
      if (tag == kDotted && items.size() < 2) throw BLOB_ERROR("a dotted list of fewer than two items");
      return FEATURE_VALUE::list(std::move(items), tag == kDotted);
    }
    default: break;
  }
  throw BLOB_ERROR("an unknown value tag in a feature");
}

FEATURE_POLICY policy(std::uint8_t b) {
  if (b > static_cast<std::uint8_t>(FEATURE_POLICY::COPY)) throw BLOB_ERROR("an unknown feature option");
  return static_cast<FEATURE_POLICY>(b);
}

}  // namespace

std::string encode_feature(const FEATURE_RECORD& f) {
  BYTE_WRITER w;
  w.u8(kFormat);
  for (FEATURE_POLICY p : {f.options.on_split, f.options.on_merge, f.options.on_xform, f.options.on_copy,
                           f.options.on_sysid_change}) {
    w.u8(static_cast<std::uint8_t>(p));
  }
  w.u8(f.options.filed ? 1 : 0);
  w.bytes(f.name);
  w.varint(f.memory.entries().size());
  for (const auto& [key, value] : f.memory.entries()) {
    w.bytes(key);
    put_value(w, value);
  }
  return std::move(w.str());
}

FEATURE_RECORD decode_feature(std::string_view blob) {
  BYTE_READER r(blob);
  if (r.u8() != kFormat) throw BLOB_ERROR("a feature of an unknown format");
  FEATURE_RECORD f;
  f.options.on_split = policy(r.u8());
  f.options.on_merge = policy(r.u8());
  f.options.on_xform = policy(r.u8());
  f.options.on_copy = policy(r.u8());
  f.options.on_sysid_change = policy(r.u8());
  f.options.filed = r.u8() != 0;
  f.name = get_text(r);
  const std::uint64_t n = r.varint();
  if (n > r.left()) throw BLOB_ERROR("a feature's memory is longer than its blob");
  for (std::uint64_t i = 0; i < n; ++i) {
    std::string key = get_text(r);
    f.memory.set(key, get_value(r, 0));
  }
  if (!r.at_end()) throw BLOB_ERROR("bytes after a feature");
  return f;
}

std::string encode_feature_references(const std::vector<FEATURE_REFERENCE_RECORD>& refs) {
  BYTE_WRITER w;
  w.varint(refs.size());
  for (const FEATURE_REFERENCE_RECORD& r : refs) {
    w.varint(r.item);
    w.varint(r.path.size());
    for (std::uint64_t s : r.path) w.varint(s);
  }
  return std::move(w.str());
}

std::vector<FEATURE_REFERENCE_RECORD> decode_feature_references(std::string_view blob) {
  BYTE_READER r(blob);
  const std::uint64_t n = r.varint();
  if (n > r.left()) throw BLOB_ERROR("more references than bytes");
  std::vector<FEATURE_REFERENCE_RECORD> refs;
  refs.reserve(static_cast<std::size_t>(n));
  for (std::uint64_t i = 0; i < n; ++i) {
    FEATURE_REFERENCE_RECORD ref;
    ref.item = r.varint();
    const std::uint64_t len = r.varint();
    if (len > r.left()) throw BLOB_ERROR("a reference's path is longer than its blob");
    for (std::uint64_t k = 0; k < len; ++k) ref.path.push_back(r.varint());
    refs.push_back(std::move(ref));
  }
  if (!r.at_end()) throw BLOB_ERROR("bytes after a feature's references");
  return refs;
}
