#pragma once
// MODULE_RESOURCES: the table of the module's texts, filled at run time by the
// language resource file through REGISTER-MODULE-RESOURCE and read by keyword
// (GET-RESOURCE) or, from native code, by RESOURCE_ID.
//
// Keys are keywords, compared by identity; keywords are interned and live for
// the whole run (the keyword package holds them), so keeping them in a C++
// table is safe from the collector.

#include <string>
#include <unordered_map>

#include "host/lisp/laobj.h"
#include "lumesh/core/resource_id.h"

class MODULE_RESOURCES {
 public:
  static MODULE_RESOURCES& instance();

  // The text of the key, or the missing text.
  const std::wstring& operator[](LAOBJ* key) const;
  // Through the id's keyword; the missing text when the id has none.
  const std::wstring& operator[](RESOURCE_ID id) const;
  LAOBJ* get_resource_key(RESOURCE_ID id) const;
  // Enters or replaces a text.
  void add_resource(LAOBJ* key, const wchar_t* text);
  // Makes the keyword `name` and stores it as the id's keyword.
  void map_id_to_resource(RESOURCE_ID id, const wchar_t* name);
  // True when a non-empty text is registered for the key.
  bool has_text(LAOBJ* key) const;
  std::size_t size() const { return texts_.size(); }

 private:
  MODULE_RESOURCES();
  std::unordered_map<LAOBJ*, std::wstring> texts_;
  LAOBJ* id_keywords_[RESOURCE_ID_COUNT];
  std::wstring missing_;
};
