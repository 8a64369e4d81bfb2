#pragma once
// STL_STREAM: the byte input of the STL readers. A narrow-character file
// input read in large blocks, with line reading, record access, position
// query and seek. The file is never held in memory: the buffer holds one
// block (it grows only for a line longer than a block).
//
// Reads past the end of the file never touch uninitialised memory: bytes
// that the file does not have read as zero, and the logical position still
// advances over them. Line ends are not translated; a carriage return stays
// in the line.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

class STL_STREAM {
 public:
  STL_STREAM() = default;
  ~STL_STREAM();
  STL_STREAM(const STL_STREAM&) = delete;
  STL_STREAM& operator=(const STL_STREAM&) = delete;

  // Opens `path` for input, positioned at 0; false if it can't be opened.
  bool open(const std::wstring& path);
  bool is_open() const { return file_ != nullptr; }
  void close();

  // Size of the file in bytes when it was opened; -1 when not open.
  std::int64_t size() const { return size_; }
  // Logical position: bytes consumed (including zero bytes read past the end).
  std::int64_t tell() const { return block_offset_ + static_cast<std::int64_t>(begin_); }
  // Drops the buffer and goes to `position` (>= 0); also past the end.
  void seek(std::int64_t position);

  // Reads up to the next line feed (not included) and returns a view of the
  // line, valid until the next call on this stream. False when no character
  // could be read (end of file or read error): a last line without a line
  // feed is still delivered. After false, every further call answers false.
  bool getline(std::string_view& line);

  // The next `n` bytes (n <= kBlockSize), zero-padded past the end of the
  // file; valid until the next call on this stream. Advances by n.
  const unsigned char* take(std::size_t n);
  // Advances by `n` bytes without looking at them.
  void skip(std::uint64_t n);
  // Copies up to `n` bytes into `out` (at most `capacity`); returns how many
  // the file had. Advances by the count copied.
  std::size_t read_some(char* out, std::size_t capacity);

  static constexpr std::size_t kBlockSize = std::size_t{1} << 16;

 private:
  // Moves the unread bytes to the front and reads more behind them. False
  // when the file gave nothing more.
  bool refill_();

  std::FILE* file_ = nullptr;  // owned; closed by close() and the destructor
  std::int64_t size_ = -1;
  std::int64_t block_offset_ = 0;  // file offset of buffer_[0]
  std::size_t begin_ = 0;          // next unread byte in buffer_
  std::size_t end_ = 0;            // end of the bytes read from the file
  bool at_eof_ = false;            // the file gave no more bytes
  bool failed_ = false;            // getline answered false
  std::vector<unsigned char> buffer_;
};
