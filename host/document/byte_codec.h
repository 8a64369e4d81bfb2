#pragma once
// BYTE_WRITER and BYTE_READER: the primitives of the model file's binary
// blobs. Integers are LEB128 varints (signed ones zigzag-coded, so small
// deltas of either sign take one byte); reals are IEEE binary64 or binary32,
// little-endian, copied bit for bit. The reader checks every read against the
// end of its buffer and throws BLOB_ERROR instead of reading past it, so a
// truncated or garbage blob is an error, never a wild read.

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/geometry/position3.h"
#include "host/geometry/vector3.h"

// A blob that does not decode: truncated, out-of-range index, bad marker.
class BLOB_ERROR : public std::runtime_error {
 public:
  explicit BLOB_ERROR(const std::string& what) : std::runtime_error(what) {}
};

class BYTE_WRITER {
 public:
  void reserve(std::size_t n) { out_.reserve(n); }
  void u8(std::uint8_t v) { out_.push_back(static_cast<char>(v)); }
  void varint(std::uint64_t v) {
    while (v >= 0x80) {
      out_.push_back(static_cast<char>((v & 0x7F) | 0x80));
      v >>= 7;
    }
    out_.push_back(static_cast<char>(v));
  }
  void svarint(std::int64_t v) {
    varint((static_cast<std::uint64_t>(v) << 1) ^ static_cast<std::uint64_t>(v >> 63));
  }
  void f64(double v) { raw(&v, sizeof v); }
  void f32(float v) { raw(&v, sizeof v); }
  void xyz(double x, double y, double z) {
    f64(x);
    f64(y);
    f64(z);
  }
  void pos(const POSITION3& p) { xyz(p.x(), p.y(), p.z()); }
  void vec(const VECTOR3& v) { xyz(v.x(), v.y(), v.z()); }
  void bytes(std::string_view b) {
    varint(b.size());
    out_.append(b.data(), b.size());
  }
  void raw(const void* p, std::size_t n) { out_.append(static_cast<const char*>(p), n); }

  std::size_t size() const { return out_.size(); }
  std::string& str() { return out_; }

 private:
  std::string out_;
};

class BYTE_READER {
 public:
  explicit BYTE_READER(std::string_view in) : p_(in.data()), end_(in.data() + in.size()) {}

  bool at_end() const { return p_ == end_; }
  std::size_t left() const { return static_cast<std::size_t>(end_ - p_); }

  std::uint8_t u8() {
    need(1);
    return static_cast<std::uint8_t>(*p_++);
  }
  std::uint64_t varint() {
    std::uint64_t v = 0;
    for (unsigned shift = 0; shift < 64; shift += 7) {
      need(1);
      const auto b = static_cast<std::uint8_t>(*p_++);
      v |= static_cast<std::uint64_t>(b & 0x7F) << shift;
      if ((b & 0x80) == 0) return v;
    }
    throw BLOB_ERROR("an integer runs over 64 bits");
  }
  std::int64_t svarint() {
    const std::uint64_t z = varint();
    return static_cast<std::int64_t>((z >> 1) ^ (~(z & 1) + 1));
  }
  // A count that is at most `limit` (a bound from the blob's own size, so a
  // garbage count cannot ask for gigabytes).
  std::size_t count(std::size_t limit, const char* what) {
    const std::uint64_t n = varint();
    if (n > limit) throw BLOB_ERROR(std::string("too many ") + what);
    return static_cast<std::size_t>(n);
  }
  double f64() {
    double v;
    get(&v, sizeof v);
    return v;
  }
  float f32() {
    float v;
    get(&v, sizeof v);
    return v;
  }
  POSITION3 pos() {
    const double x = f64(), y = f64(), z = f64();
    return POSITION3(x, y, z);
  }
  VECTOR3 vec() {
    const double x = f64(), y = f64(), z = f64();
    return VECTOR3(x, y, z);
  }
  std::string_view bytes() {
    // The length is checked against what is left after it is read.
    const std::uint64_t n = varint();
    if (n > left()) throw BLOB_ERROR("the data ends too early");
    std::string_view out(p_, static_cast<std::size_t>(n));
    p_ += n;
    return out;
  }
  void get(void* out, std::size_t n) {
    need(n);
    std::memcpy(out, p_, n);
    p_ += n;
  }

 private:
  void need(std::size_t n) const {
    if (static_cast<std::size_t>(end_ - p_) < n) throw BLOB_ERROR("the data ends too early");
  }
  const char* p_;
  const char* end_;
};
