// Repeated production UUIDs dropped from a 3MF package, in memory.
//
// The package is read entry by entry with libzip, each entry decompressed in
// full within the size bounds; the model parts are scanned once, front to
// back, as a sequence of markup constructs (no tree is built): start tags
// are cut into attributes, the production namespace's prefixes are tracked
// per open element, and an attribute to drop is left out when the text is
// copied. The new archive is written by libzip into a buffer source.

#include "lumesh/data_exchange/tmf_package_repair.h"

#include <zip.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace {

constexpr std::string_view kProductionNamespace =
    "http://schemas.microsoft.com/3dmanufacturing/production/2015/06";
constexpr std::string_view kUuidName = "UUID";
constexpr std::string_view kNamespacePrefix = "xmlns:";
constexpr std::string_view kModelExtension = ".model";

[[noreturn]] void fail(const std::string& why) {
  throw TMF_PACKAGE_REPAIR_ERROR("3MF package repair: " + why);
}

// ---- the scan of a model part ------------------------------------------------

bool is_space(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool is_hex_digit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// The 32 hexadecimal digits of a UUID in lower case, or "" when the value
// holds another count of them or a character that is neither a digit nor a
// separator lib3mf accepts around and between them.
std::string uuid_key(std::string_view value) {
  std::string key;
  key.reserve(32);
  for (const char c : value) {
    if (is_hex_digit(c)) {
      if (key.size() == 32) return {};
      key += static_cast<char>(c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c);
    } else if (c != '-' && c != '{' && c != '}' && !is_space(c)) {
      return {};
    }
  }
  return key.size() == 32 ? key : std::string();
}

// One attribute of a start tag, by its place in the part.
struct ATTRIBUTE {
  std::size_t begin;  // where the white space before the name starts
  std::size_t end;    // one past the closing quote
  std::string_view name;
  std::string_view value;
};

// The production prefixes in force at each open element. Elements share
// their parent's set unless they declare a namespace; a set made for an
// element goes when the element closes, so the sets are never more than
// the open elements.
class NAMESPACE_SCOPES {
 public:
  NAMESPACE_SCOPES() : sets_(1) {}

  const std::vector<std::string_view>& current() const {
    return sets_[open_.empty() ? 0 : open_.back().set];
  }

  // The set for an element with these attributes, made current until the
  // element closes (at once for an empty-element tag, with close()).
  void enter(const std::vector<ATTRIBUTE>& attributes) {
    const std::size_t parent = open_.empty() ? 0 : open_.back().set;
    bool declares = false;
    for (const ATTRIBUTE& a : attributes)
      declares = declares || a.name.starts_with(kNamespacePrefix);
    if (!declares) {
      open_.push_back({parent, false});
      return;
    }
    std::vector<std::string_view> set = sets_[parent];
    for (const ATTRIBUTE& a : attributes) {
      if (!a.name.starts_with(kNamespacePrefix)) continue;
      const std::string_view prefix = a.name.substr(kNamespacePrefix.size());
      set.erase(std::remove(set.begin(), set.end(), prefix), set.end());
      if (a.value == kProductionNamespace) set.push_back(prefix);
    }
    sets_.push_back(std::move(set));
    open_.push_back({sets_.size() - 1, true});
  }

  // An end tag without a start tag is lib3mf's to refuse; here it closes nothing.
  void close() {
    if (open_.empty()) return;
    if (open_.back().made) sets_.pop_back();
    open_.pop_back();
  }

  bool is_production_uuid(std::string_view name) const {
    const std::size_t colon = name.find(':');
    if (colon == std::string_view::npos || name.substr(colon + 1) != kUuidName) return false;
    const std::vector<std::string_view>& set = current();
    return std::find(set.begin(), set.end(), name.substr(0, colon)) != set.end();
  }

 private:
  struct OPEN_ELEMENT {
    std::size_t set;  // index into sets_
    bool made;        // the set was made for this element
  };
  std::vector<std::vector<std::string_view>> sets_;  // [0]: no production prefix
  std::vector<OPEN_ELEMENT> open_;
};

// Walks one model part. Views point into the part, which outlives the walk.
class MODEL_PART_SCAN {
 public:
  MODEL_PART_SCAN(std::string_view xml, std::unordered_set<std::string>& seen, std::size_t& dropped)
      : xml_(xml), seen_(seen), dropped_(dropped) {}

  std::string run() {
    out_.reserve(xml_.size());
    std::size_t pos = 0;
    while ((pos = xml_.find('<', pos)) != std::string_view::npos) {
      const std::string_view rest = xml_.substr(pos);
      if (rest.starts_with("<!--")) {
        pos = past(pos + 4, "-->", "a comment");
      } else if (rest.starts_with("<![CDATA[")) {
        pos = past(pos + 9, "]]>", "a CDATA section");
      } else if (rest.starts_with("<?")) {
        pos = past(pos + 2, "?>", "a processing instruction");
      } else if (rest.starts_with("<!")) {
        pos = past_declaration(pos + 2);
      } else if (rest.starts_with("</")) {
        pos = past(pos + 2, ">", "an end tag");
        scopes_.close();
      } else {
        pos = start_tag(pos + 1);
      }
    }
    out_.append(xml_.substr(copied_));
    return std::move(out_);
  }

 private:
  // One past the end of the first `close` at or after from.
  std::size_t past(std::size_t from, std::string_view close, const char* what) const {
    const std::size_t at = xml_.find(close, from);
    if (at == std::string_view::npos) broken(std::string(what) + " does not end");
    return at + close.size();
  }

  // A document type declaration may hold quoted text and an internal subset
  // in brackets, either of which may contain '>'.
  std::size_t past_declaration(std::size_t from) const {
    int depth = 0;
    for (std::size_t i = from; i < xml_.size(); ++i) {
      const char c = xml_[i];
      if (c == '"' || c == '\'') {
        i = xml_.find(c, i + 1);
        if (i == std::string_view::npos) break;
      } else if (c == '[') {
        ++depth;
      } else if (c == ']') {
        --depth;
      } else if (c == '>' && depth <= 0) {
        return i + 1;
      }
    }
    broken("a declaration does not end");
  }

  std::size_t skip_space(std::size_t i) const {
    while (i < xml_.size() && is_space(xml_[i])) ++i;
    return i;
  }

  // The start tag whose name begins at i: its attributes read, the repeats
  // among its production UUIDs left out of the copy. Returns one past '>'.
  std::size_t start_tag(std::size_t i) {
    const std::size_t n = xml_.size();
    while (i < n && !is_space(xml_[i]) && xml_[i] != '>' && xml_[i] != '/') ++i;
    attributes_.clear();
    bool empty_element = false;
    for (;;) {
      const std::size_t begin = i;
      i = skip_space(i);
      if (i >= n) broken("a start tag does not end");
      if (xml_[i] == '>') {
        ++i;
        break;
      }
      if (xml_[i] == '/') {
        if (i + 1 >= n || xml_[i + 1] != '>') broken("a start tag has a stray '/'");
        empty_element = true;
        i += 2;
        break;
      }
      const std::size_t name_begin = i;
      while (i < n && !is_space(xml_[i]) && xml_[i] != '=' && xml_[i] != '>' && xml_[i] != '/') ++i;
      const std::string_view name = xml_.substr(name_begin, i - name_begin);
      i = skip_space(i);
      if (i >= n || xml_[i] != '=') broken("an attribute has no value");
      i = skip_space(i + 1);
      if (i >= n || (xml_[i] != '"' && xml_[i] != '\'')) broken("an attribute value is not quoted");
      const std::size_t close = xml_.find(xml_[i], i + 1);
      if (close == std::string_view::npos) broken("an attribute value does not end");
      attributes_.push_back({begin, close + 1, name, xml_.substr(i + 1, close - i - 1)});
      i = close + 1;
    }
    scopes_.enter(attributes_);
    for (const ATTRIBUTE& a : attributes_) {
      if (!scopes_.is_production_uuid(a.name)) continue;
      std::string key = uuid_key(a.value);
      if (key.empty() || seen_.insert(std::move(key)).second) continue;
      out_.append(xml_.substr(copied_, a.begin - copied_));
      copied_ = a.end;
      ++dropped_;
    }
    if (empty_element) scopes_.close();
    return i;
  }

  [[noreturn]] static void broken(const std::string& why) {
    fail("a model part is not well-formed: " + why);
  }

  std::string_view xml_;
  std::unordered_set<std::string>& seen_;  // not owned
  std::size_t& dropped_;                   // not owned
  std::string out_;
  std::size_t copied_ = 0;  // xml_[0, copied_) is accounted for in out_
  NAMESPACE_SCOPES scopes_;
  std::vector<ATTRIBUTE> attributes_;  // of the current start tag; reused
};

// ---- the package ----------------------------------------------------------------

struct ARCHIVE_DISCARD {
  void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct FILE_CLOSE {
  void operator()(zip_file_t* file) const { zip_fclose(file); }
};
struct SOURCE_FREE {
  void operator()(zip_source_t* source) const { zip_source_free(source); }
};
using ARCHIVE = std::unique_ptr<zip_t, ARCHIVE_DISCARD>;
using ENTRY_FILE = std::unique_ptr<zip_file_t, FILE_CLOSE>;
using SOURCE = std::unique_ptr<zip_source_t, SOURCE_FREE>;

// libzip's text for an error code.
std::string zip_text(int code) {
  zip_error_t error;
  zip_error_init_with_code(&error, code);
  std::string text = zip_error_strerror(&error);
  zip_error_fini(&error);
  return text;
}

std::string zip_text(zip_error_t& error) {
  std::string text = zip_error_strerror(&error);
  zip_error_fini(&error);
  return text;
}

struct ENTRY {
  std::string name;  // UTF-8, as libzip reports it
  std::string data;  // decompressed; empty for a directory
  bool directory = false;
};

bool is_model_part(const std::string& name) {
  if (name.size() < kModelExtension.size()) return false;
  const std::string_view tail = std::string_view(name).substr(name.size() - kModelExtension.size());
  return std::equal(tail.begin(), tail.end(), kModelExtension.begin(),
                    [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; });
}

// The whole of one entry, of `size` bytes as the archive states: an entry
// that yields more or less, or fails its checksum, is refused.
std::string read_entry(zip_t* archive, zip_uint64_t index, zip_uint64_t size,
                       const std::string& name) {
  const ENTRY_FILE file(zip_fopen_index(archive, index, 0));
  if (file == nullptr) fail("cannot open entry \"" + name + "\": " + zip_strerror(archive));
  std::string data(static_cast<std::size_t>(size), '\0');
  std::size_t got = 0;
  while (got < data.size()) {
    const zip_int64_t n = zip_fread(file.get(), data.data() + got, data.size() - got);
    if (n < 0) fail("cannot read entry \"" + name + "\": " + zip_file_strerror(file.get()));
    if (n == 0) fail("entry \"" + name + "\" is shorter than the archive states");
    got += static_cast<std::size_t>(n);
  }
  // The read at the end is also where libzip compares the checksum.
  char extra = 0;
  const zip_int64_t n = zip_fread(file.get(), &extra, 1);
  if (n < 0) fail("cannot read entry \"" + name + "\": " + zip_file_strerror(file.get()));
  if (n > 0) fail("entry \"" + name + "\" is longer than the archive states");
  return data;
}

std::vector<ENTRY> read_entries(const std::string& path) {
  int code = 0;
  const ARCHIVE archive(zip_open(path.c_str(), ZIP_RDONLY, &code));
  if (archive == nullptr) fail("cannot open the package as a zip archive: " + zip_text(code));
  const zip_int64_t count = zip_get_num_entries(archive.get(), 0);
  if (count < 0) fail("cannot count the package's entries");
  std::vector<ENTRY> entries;
  entries.reserve(static_cast<std::size_t>(count));
  std::uint64_t total = 0;
  for (zip_int64_t i = 0; i < count; ++i) {
    const auto index = static_cast<zip_uint64_t>(i);
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_stat_index(archive.get(), index, 0, &stat) != 0 || (stat.valid & ZIP_STAT_NAME) == 0 ||
        (stat.valid & ZIP_STAT_SIZE) == 0) {
      fail("cannot read the directory of the package: " + std::string(zip_strerror(archive.get())));
    }
    ENTRY entry;
    entry.name = stat.name;
    entry.directory = !entry.name.empty() && entry.name.back() == '/';
    if (!entry.directory) {
      if (stat.size > kTmfRepairMaxEntryBytes) {
        fail("entry \"" + entry.name + "\" states " + std::to_string(stat.size) +
             " bytes uncompressed, more than the " + std::to_string(kTmfRepairMaxEntryBytes) +
             " allowed");
      }
      total += stat.size;
      if (total > kTmfRepairMaxPackageBytes) {
        fail("the entries state more than " + std::to_string(kTmfRepairMaxPackageBytes) +
             " bytes uncompressed together");
      }
      entry.data = read_entry(archive.get(), index, stat.size, entry.name);
    }
    entries.push_back(std::move(entry));
  }
  return entries;
}

// The entries as a new archive, stored uncompressed. The entries' data must
// stay where it is until this returns: libzip reads it at zip_close.
std::vector<std::uint8_t> write_archive(const std::vector<ENTRY>& entries) {
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* created = zip_source_buffer_create(nullptr, 0, 0, &error);
  if (created == nullptr) fail("cannot make an archive in memory: " + zip_text(error));
  ARCHIVE archive(zip_open_from_source(created, ZIP_TRUNCATE, &error));
  if (archive == nullptr) {
    zip_source_free(created);
    fail("cannot make an archive in memory: " + zip_text(error));
  }
  zip_error_fini(&error);
  // The archive owns the source from here; this second reference keeps the
  // bytes after the archive is closed. The source counts its references, so
  // the two holders may let go in either order.
  zip_source_keep(created);
  const SOURCE buffer(created);

  for (const ENTRY& entry : entries) {
    const char* name = entry.name.c_str();
    if (entry.directory) {
      if (zip_dir_add(archive.get(), name, ZIP_FL_ENC_UTF_8) < 0) {
        fail("cannot add \"" + entry.name + "\": " + zip_strerror(archive.get()));
      }
      continue;
    }
    zip_source_t* data = zip_source_buffer(archive.get(), entry.data.data(), entry.data.size(), 0);
    if (data == nullptr) fail("cannot add \"" + entry.name + "\": " + zip_strerror(archive.get()));
    const zip_int64_t index = zip_file_add(archive.get(), name, data, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
      zip_source_free(data);
      fail("cannot add \"" + entry.name + "\": " + zip_strerror(archive.get()));
    }
    if (zip_set_file_compression(archive.get(), static_cast<zip_uint64_t>(index), ZIP_CM_STORE,
                                 0) != 0) {
      fail("cannot store \"" + entry.name + "\": " + zip_strerror(archive.get()));
    }
  }
  if (zip_close(archive.get()) != 0)
    fail("cannot write the new archive: " + std::string(zip_strerror(archive.get())));
  (void)archive.release();  // closed, and so freed, by zip_close

  if (zip_source_is_deleted(buffer.get())) fail("the new archive has no entries");
  zip_stat_t stat;
  zip_stat_init(&stat);
  if (zip_source_stat(buffer.get(), &stat) != 0 || (stat.valid & ZIP_STAT_SIZE) == 0 ||
      zip_source_open(buffer.get()) != 0) {
    fail("cannot read the new archive back");
  }
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(stat.size));
  std::size_t got = 0;
  while (got < bytes.size()) {
    const zip_int64_t n = zip_source_read(buffer.get(), bytes.data() + got, bytes.size() - got);
    if (n <= 0) break;
    got += static_cast<std::size_t>(n);
  }
  zip_source_close(buffer.get());
  if (got != bytes.size()) fail("cannot read the new archive back");
  return bytes;
}

}  // namespace

std::string drop_repeated_uuids(std::string_view xml, std::unordered_set<std::string>& seen,
                                std::size_t& dropped) {
  return MODEL_PART_SCAN(xml, seen, dropped).run();
}

TMF_REPAIRED_PACKAGE repair_repeated_uuids(const std::string& path) {
  if (path.find('\0') != std::string::npos) fail("the file name contains a NUL character");
  std::vector<ENTRY> entries = read_entries(path);
  TMF_REPAIRED_PACKAGE repaired;
  // One set for all model parts: lib3mf wants a UUID once in the package.
  std::unordered_set<std::string> seen;
  for (ENTRY& entry : entries) {
    if (!entry.directory && is_model_part(entry.name)) {
      entry.data = drop_repeated_uuids(entry.data, seen, repaired.dropped_count);
    }
  }
  if (repaired.dropped_count > 0) repaired.bytes = write_archive(entries);
  return repaired;
}
