#pragma once
// STL_READER: the facet readers of STL files, text and binary, and the
// choice between them.
//
// The choice looks at the first 80 bytes first: a file is text if they start
// with "solid " (lower case, blank included) and hold "facet normal" before
// any zero byte, so a binary file whose header holds both strings is read as
// text. Any other file is binary, unless the binary reading cannot hold (the
// stated facet count needs more bytes than the file has) while the text
// reading does (the file starts with the word "solid" and a "facet normal"
// follows within its first 4 KiB): then it is text. That reads text files
// whose first line is "solid" alone or whose first facet stands behind byte
// 80. A file in upper case stays binary.

#include <cstdint>
#include <string>
#include <string_view>

#include "lumesh/data_exchange/facet_reader.h"
#include "lumesh/data_exchange/stl_stream.h"

class STL_READER : public FACET_READER {
 public:
  // Open modes of the constructor.
  static constexpr int kOpenText = 0;
  static constexpr int kOpenBinary = 1;

  // A new reader of the class the first 80 bytes call for, owned by the
  // caller (who deletes it through FACET_READER), or null when the file can't
  // be opened. `progress` may be null; not owned, must outlive the reader.
  static STL_READER* make_stl_reader(std::wstring path, PROGRESS* const progress);

  // File size in bytes as seen at opening; -1 if the file could not be opened.
  std::int64_t file_size() const { return file_size_; }
  // True when the input is used up: every further read_facet answers false.
  bool at_end_of_input() const { return !stream_.is_open() || stream_.tell() >= file_size_; }

 protected:
  // Opens `path` (a failure is not reported here: the reader then delivers
  // nothing) and records the file size.
  STL_READER(std::wstring path, int open_mode, PROGRESS* const progress);

  STL_STREAM& get_stl_stream() { return stream_; }
  // update_progress with the fraction of the file consumed so far.
  void update_progress();

 private:
  STL_STREAM stream_;  // owned
  std::int64_t file_size_ = -1;
};

// Line-oriented STL: "solid", then "facet normal", "outer loop", three
// "vertex" lines, "endloop", "endfacet" per facet, "endsolid". A file may
// hold several solids; each ends with one false answer of read_facet and the
// next call carries on with the next solid.
class STL_TEXT_READER : public STL_READER {
 public:
  STL_TEXT_READER(std::wstring path, PROGRESS* const progress);

  // Skips every line up to the next facet line (five words, the first
  // "facet"); false at "endsolid" or at the end of the file. Inside a facet a
  // missing or malformed line raises :MSG-FILE_UNKNOWN-FORMAT. A number that
  // can't be converted throws std::invalid_argument("invalid stod argument"),
  // one out of range std::out_of_range("stod argument out of range").
  bool read_facet(TRIANGLULAR_FACET& facet) override;

 private:
  // Copies of the words of the lines that read_facet passed over in its
  // search for a facet line, kept for the words a later line of the same call
  // leaves in place; held between calls only for their capacity.
  std::string tokens_[5];
};

// Binary STL, little-endian: 80 bytes header, 4 bytes facet count, then per
// facet 12 float32 (normal, three corners), a 2-byte attribute count and that
// many attribute bytes, which are dropped. Exactly the stated count of facets
// is delivered: a truncated file delivers zeros for the missing bytes, a
// longer file has its tail ignored. A file exactly as long as its records of
// 50 bytes has no attribute bytes: the two bytes are then a colour or other
// data of the writer and are not taken for a length.
class STL_BIN_READER : public STL_READER {
 public:
  STL_BIN_READER(std::wstring path, PROGRESS* const progress);

  bool read_facet(TRIANGLULAR_FACET& facet) override;

  std::uint32_t remaining_facet_count() const { return remaining_; }

  // Once the input is used up, the facets still owed up to the stated count
  // are all zeros: they are dropped and counted, and read_facet answers false
  // from then on. Nothing is dropped (0) while input is left. A header that
  // states four billion facets over a few bytes so costs nothing.
  std::uint32_t skip_facets_past_end() override;

 private:
  std::uint32_t remaining_ = 0;
  bool fixed_records_ = false;  // every record is 50 bytes; see the class comment
};

// Converts the leading part of `token` to a double as std::stod does
// (trailing characters are ignored, the C locale's rules apply), but with the
// error texts "invalid stod argument" (std::invalid_argument) and "stod
// argument out of range" (std::out_of_range).
double stl_stod(const std::string& token);
// stl_stod(std::string(token)), value and errors alike; plain decimal numbers
// of up to 19 significant digits and an exponent within the exactly
// representable powers of ten are converted without a copy or strtod.
double stl_stod_view(std::string_view token);
