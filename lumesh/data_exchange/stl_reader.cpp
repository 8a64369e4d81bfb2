// Opening STL files and choosing the reader by a look at the header.

#include "lumesh/data_exchange/stl_reader.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t kHeaderSize = 80;

// Text if the header starts with "solid " and holds "facet normal" before its
// first zero byte.
bool looks_like_text(const char* header, std::size_t length) {
  const void* zero = std::memchr(header, '\0', length);
  if (zero != nullptr) length = static_cast<std::size_t>(static_cast<const char*>(zero) - header);
  const std::string_view text(header, length);
  return text.starts_with("solid ") && text.find("facet normal") != std::string_view::npos;
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
    char header[kHeaderSize];
    const std::size_t got = probe.read_some(header, kHeaderSize);
    text = looks_like_text(header, got);
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
