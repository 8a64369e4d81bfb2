// The reader of binary STL. Records are taken from the stream's block
// buffer, so reading costs a copy of 50 bytes per facet and no system call.

#include <cstring>
#include <utility>

#include "lumesh/data_exchange/stl_reader.h"

namespace {

constexpr std::int64_t kCountOffset = 80;
constexpr std::size_t kRecordSize = 50;  // without attribute bytes

std::uint32_t read_u32_le(const unsigned char* bytes) {
  return static_cast<std::uint32_t>(bytes[0]) | (static_cast<std::uint32_t>(bytes[1]) << 8) |
         (static_cast<std::uint32_t>(bytes[2]) << 16) |
         (static_cast<std::uint32_t>(bytes[3]) << 24);
}

double read_f32_le(const unsigned char* bytes) {
  const std::uint32_t bits = read_u32_le(bytes);
  float value;
  static_assert(sizeof(value) == sizeof(bits));
  std::memcpy(&value, &bits, sizeof(value));
  return static_cast<double>(value);
}

}  // namespace

STL_BIN_READER::STL_BIN_READER(std::wstring path, PROGRESS* const progress)
    : STL_READER(std::move(path), kOpenBinary, progress) {
  STL_STREAM& stream = get_stl_stream();
  if (!stream.is_open()) return;
  stream.seek(kCountOffset);
  remaining_ = read_u32_le(stream.take(4));
  // Writers that colour their facets keep the colour in the two bytes that
  // announce attribute bytes, and write none: a file exactly as long as its
  // stated records of 50 bytes has no attribute bytes, whatever those two
  // bytes hold. Taking them for lengths there would misalign every record
  // after the first coloured one.
  const std::int64_t records = file_size() - kCountOffset - 4;
  fixed_records_ = records >= 0 && records % static_cast<std::int64_t>(kRecordSize) == 0 &&
                   records / static_cast<std::int64_t>(kRecordSize) == remaining_;
}

std::uint32_t STL_BIN_READER::skip_facets_past_end() {
  if (!at_end_of_input()) return 0;
  const std::uint32_t skipped = remaining_;
  remaining_ = 0;
  return skipped;
}

bool STL_BIN_READER::read_facet(TRIANGLULAR_FACET& facet) {
  if (remaining_ == 0) return false;
  --remaining_;
  const unsigned char* record = get_stl_stream().take(kRecordSize);
  facet.normal = VECTOR3(read_f32_le(record), read_f32_le(record + 4), read_f32_le(record + 8));
  facet.vertex1 =
      POSITION3(read_f32_le(record + 12), read_f32_le(record + 16), read_f32_le(record + 20));
  facet.vertex2 =
      POSITION3(read_f32_le(record + 24), read_f32_le(record + 28), read_f32_le(record + 32));
  facet.vertex3 =
      POSITION3(read_f32_le(record + 36), read_f32_le(record + 40), read_f32_le(record + 44));
  const unsigned attribute_bytes =
      static_cast<unsigned>(record[48]) | (static_cast<unsigned>(record[49]) << 8);
  if (attribute_bytes > 0 && !fixed_records_) get_stl_stream().skip(attribute_bytes);
  update_progress();
  return true;
}
