// Opening STL files and choosing the reader by a look at the header.

#include "lumesh/data_exchange/stl_reader.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t kHeaderSize = 80;
constexpr std::int64_t kBinaryPrelude = 84;      // header and facet count
constexpr std::int64_t kBinaryRecordSize = 50;   // a record without attribute bytes
// How far into a text file its first facet line is looked for when the
// header alone did not decide: past a long solid name or comment block.
constexpr std::size_t kTextProbeSize = 4096;

// Text if the header starts with "solid " and holds "facet normal" before its
// first zero byte.
bool looks_like_text(const char* header, std::size_t length) {
  const void* zero = std::memchr(header, '\0', length);
  if (zero != nullptr) length = static_cast<std::size_t>(static_cast<const char*>(zero) - header);
  const std::string_view text(header, length);
  return text.starts_with("solid ") && text.find("facet normal") != std::string_view::npos;
}

std::uint32_t read_count_at_80(const char* bytes, std::size_t length) {
  std::uint32_t count = 0;
  for (std::size_t i = 0; i < 4 && kHeaderSize + i < length; ++i) {
    count |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[kHeaderSize + i]))
             << (8 * i);
  }
  return count;
}

// The binary reading holds when the file is long enough for the records that
// its count states (attribute bytes aside, which only lengthen a record).
bool binary_count_fits(const char* bytes, std::size_t length, std::int64_t file_size) {
  if (file_size < kBinaryPrelude) return false;
  const std::int64_t count = read_count_at_80(bytes, length);
  return count <= (file_size - kBinaryPrelude) / kBinaryRecordSize;
}

// The text reading holds when the file starts with the word "solid" (after
// blanks, followed by any white space) and a "facet normal" line follows
// within the probe. That is a text file whatever its first line looks like;
// garbage that merely starts with "solid" has no facet line.
bool text_reading_holds(const char* bytes, std::size_t length) {
  std::string_view text(bytes, length);
  const std::size_t zero = text.find('\0');
  if (zero != std::string_view::npos) text = text.substr(0, zero);
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return false;
  text.remove_prefix(first);
  if (!text.starts_with("solid")) return false;
  if (text.size() > 5 && std::string_view(" \t\r\n").find(text[5]) == std::string_view::npos)
    return false;
  return text.find("facet normal") != std::string_view::npos;
}

}  // namespace

STL_READER::STL_READER(std::wstring path, int /*open_mode: both read bytes as they are*/,
                       PROGRESS* const progress)
    : FACET_READER(progress) {
  if (stream_.open(path)) file_size_ = stream_.size();
}

void STL_READER::update_progress() {
  double fraction = 1.0;
  if (file_size_ > 0) {
    const std::int64_t position = stream_.tell();
    fraction = position >= file_size_
                   ? 1.0
                   : static_cast<double>(position) / static_cast<double>(file_size_);
  }
  FACET_READER::update_progress(fraction);
}

STL_READER* STL_READER::make_stl_reader(std::wstring path, PROGRESS* const progress) {
  bool text = false;
  {
    STL_STREAM probe;
    if (!probe.open(path)) return nullptr;
    char head[kTextProbeSize];
    const std::size_t got = probe.read_some(head, kTextProbeSize);
    text = looks_like_text(head, got < kHeaderSize ? got : kHeaderSize);
    // The header's rule alone sends a text file that starts "solid" and a
    // line end, or whose first facet stands behind byte 80, to the binary
    // reader, which would read its characters as a few garbage facets and
    // lose the file. Such a file is read as text when the binary reading
    // cannot hold (its stated count needs more bytes than the file has) and
    // the text reading does. A file that fits the binary rule stays binary.
    if (!text && !binary_count_fits(head, got, probe.size())) text = text_reading_holds(head, got);
  }
  if (text) return new STL_TEXT_READER(std::move(path), progress);
  return new STL_BIN_READER(std::move(path), progress);
}

double stl_stod(const std::string& token) {
  const char* begin = token.c_str();
  char* end = nullptr;
  const int saved_errno = errno;
  errno = 0;
  const double value = std::strtod(begin, &end);
  if (end == begin) {
    errno = saved_errno;
    throw std::invalid_argument("invalid stod argument");
  }
  if (errno == ERANGE) {
    errno = saved_errno;
    throw std::out_of_range("stod argument out of range");
  }
  errno = saved_errno;
  return value;
}

double stl_stod_view(std::string_view token) {
  // Clinger's fast path: a mantissa m of at most 2^53 and a power of ten of
  // at most 10^22 are both exact doubles, so m * 10^e and m / 10^e are
  // rounded once, correctly, as strtod rounds the decimal value. Such a value
  // is zero or normal, never out of range. Everything else, and every token
  // that is not wholly such a number, goes to strtod through stl_stod.
  static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                       1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  const char* p = token.data();
  const char* const end = p + token.size();
  const bool negative = p != end && *p == '-';
  if (negative) ++p;
  std::uint64_t m = 0;
  int significant = 0;  // digits in m, leading zeros not counted
  int scale = 0;        // digits after the point
  bool digits = false;
  bool point = false;
  for (; p != end; ++p) {
    const char c = *p;
    if (c >= '0' && c <= '9') {
      digits = true;
      if (significant > 0 || c != '0') {
        if (++significant > 19) return stl_stod(std::string(token));
        m = m * 10 + static_cast<std::uint64_t>(c - '0');
      }
      if (point) ++scale;
    } else if (c == '.' && !point) {
      point = true;
    } else {
      break;
    }
  }
  if (!digits) return stl_stod(std::string(token));
  int exponent = 0;
  if (p != end) {
    if (*p != 'e' && *p != 'E') return stl_stod(std::string(token));
    ++p;
    bool exponent_negative = false;
    if (p != end && (*p == '+' || *p == '-')) exponent_negative = *p++ == '-';
    if (p == end) return stl_stod(std::string(token));
    for (; p != end; ++p) {
      if (*p < '0' || *p > '9' || exponent > 9999) return stl_stod(std::string(token));
      exponent = exponent * 10 + (*p - '0');
    }
    if (exponent_negative) exponent = -exponent;
  }
  double value;
  if (m == 0) {
    value = 0.0;
  } else {
    const int e10 = exponent - scale;
    if (m > (std::uint64_t{1} << 53) || e10 < -22 || e10 > 22) return stl_stod(std::string(token));
    value = static_cast<double>(m);
    value = e10 < 0 ? value / kPowers[-e10] : value * kPowers[e10];
  }
  return negative ? -value : value;
}
