// Block-buffered file input of the STL readers.

#include "lumesh/data_exchange/stl_stream.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "host/base/utf8.h"

STL_STREAM::~STL_STREAM() {
  close();
}

bool STL_STREAM::open(const std::wstring& path) {
  close();
  const std::string narrow = wide_to_utf8(path);
  std::FILE* file = std::fopen(narrow.c_str(), "rb");
  if (file == nullptr) return false;
  // fopen opens a directory too, which then reads as nothing: that is a
  // file that can't be opened, not an empty one.
  struct stat info {};
  if (fstat(fileno(file), &info) != 0 || S_ISDIR(info.st_mode)) {
    std::fclose(file);
    return false;
  }
  // We buffer ourselves; stdio's own buffer would only add a copy.
  std::setvbuf(file, nullptr, _IONBF, 0);
  std::int64_t size = -1;
  if (fseeko(file, 0, SEEK_END) == 0) size = static_cast<std::int64_t>(ftello(file));
  if (size < 0 || fseeko(file, 0, SEEK_SET) != 0) {
    std::fclose(file);
    return false;
  }
  file_ = file;
  size_ = size;
  buffer_.assign(kBlockSize, 0);
  block_offset_ = 0;
  begin_ = end_ = 0;
  at_eof_ = failed_ = false;
  return true;
}

void STL_STREAM::close() {
  if (file_ != nullptr) std::fclose(file_);
  file_ = nullptr;
  size_ = -1;
  block_offset_ = 0;
  begin_ = end_ = 0;
  at_eof_ = true;
}

void STL_STREAM::seek(std::int64_t position) {
  if (position < 0) position = 0;
  block_offset_ = position;
  begin_ = end_ = 0;
  failed_ = false;
  at_eof_ = file_ == nullptr || fseeko(file_, static_cast<off_t>(position), SEEK_SET) != 0;
}

bool STL_STREAM::refill_() {
  if (at_eof_ || file_ == nullptr) return false;
  if (begin_ > 0) {
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    block_offset_ += static_cast<std::int64_t>(begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  if (end_ == buffer_.size()) buffer_.resize(buffer_.size() * 2, 0);  // a very long line
  const std::size_t got = std::fread(buffer_.data() + end_, 1, buffer_.size() - end_, file_);
  if (got == 0) {
    at_eof_ = true;
    return false;
  }
  end_ += got;
  return true;
}

bool STL_STREAM::getline(std::string_view& line) {
  if (failed_) return false;
  std::size_t scanned = begin_;
  for (;;) {
    const void* lf = std::memchr(buffer_.data() + scanned, '\n', end_ - scanned);
    if (lf != nullptr) {
      const std::size_t at =
          static_cast<std::size_t>(static_cast<const unsigned char*>(lf) - buffer_.data());
      line = std::string_view(reinterpret_cast<const char*>(buffer_.data()) + begin_, at - begin_);
      begin_ = at + 1;
      return true;
    }
    const std::size_t scanned_len = end_ - begin_;
    if (!refill_()) break;
    scanned = begin_ + scanned_len;
  }
  if (end_ > begin_) {  // a last line without a line feed
    line = std::string_view(reinterpret_cast<const char*>(buffer_.data()) + begin_, end_ - begin_);
    begin_ = end_;
    return true;
  }
  failed_ = true;
  line = std::string_view();
  return false;
}

const unsigned char* STL_STREAM::take(std::size_t n) {
  if (end_ - begin_ < n) {
    while (end_ - begin_ < n && refill_()) {
    }
    if (end_ - begin_ < n) {
      // Past the end of the file: pad with zeros, and count the padding as
      // consumed so that the position keeps advancing.
      if (buffer_.size() - begin_ < n) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
        block_offset_ += static_cast<std::int64_t>(begin_);
        end_ -= begin_;
        begin_ = 0;
      }
      std::memset(buffer_.data() + end_, 0, begin_ + n - end_);
      const unsigned char* bytes = buffer_.data() + begin_;
      // Everything up to begin_ + n is now consumed; the buffer is empty
      // again at the new logical position.
      block_offset_ += static_cast<std::int64_t>(begin_ + n);
      begin_ = end_ = 0;
      // The caller reads the bytes before the next call; the next refill
      // writes at the front, which is what `bytes` may point at, but only
      // after the caller is done with them.
      return bytes;
    }
  }
  const unsigned char* bytes = buffer_.data() + begin_;
  begin_ += n;
  return bytes;
}

void STL_STREAM::skip(std::uint64_t n) {
  const std::uint64_t available = end_ - begin_;
  if (n <= available) {
    begin_ += static_cast<std::size_t>(n);
    return;
  }
  seek(tell() + static_cast<std::int64_t>(n));
}

std::size_t STL_STREAM::read_some(char* out, std::size_t capacity) {
  std::size_t copied = 0;
  while (copied < capacity) {
    if (begin_ == end_ && !refill_()) break;
    const std::size_t chunk = std::min(capacity - copied, end_ - begin_);
    std::memcpy(out + copied, buffer_.data() + begin_, chunk);
    begin_ += chunk;
    copied += chunk;
  }
  return copied;
}
