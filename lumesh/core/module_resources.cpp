#include "lumesh/core/module_resources.h"

#include "host/base/utf8.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/packages.h"

MODULE_RESOURCES& MODULE_RESOURCES::instance() {
  static MODULE_RESOURCES* r = new MODULE_RESOURCES();
  return *r;
}

MODULE_RESOURCES::MODULE_RESOURCES() : missing_(L"*** Requested resource unvailable!") {
  for (LAOBJ*& k : id_keywords_) k = lisp_nil();
}

const std::wstring& MODULE_RESOURCES::operator[](LAOBJ* key) const {
  auto it = texts_.find(key);
  return it == texts_.end() ? missing_ : it->second;
}

const std::wstring& MODULE_RESOURCES::operator[](RESOURCE_ID id) const {
  if (id >= RESOURCE_ID_COUNT || lisp_null(id_keywords_[id])) return missing_;
  return (*this)[id_keywords_[id]];
}

LAOBJ* MODULE_RESOURCES::get_resource_key(RESOURCE_ID id) const {
  return id < RESOURCE_ID_COUNT ? id_keywords_[id] : lisp_nil();
}

void MODULE_RESOURCES::add_resource(LAOBJ* key, const wchar_t* text) {
  texts_[key] = text != nullptr ? text : L"";
}

void MODULE_RESOURCES::map_id_to_resource(RESOURCE_ID id, const wchar_t* name) {
  if (id < RESOURCE_ID_COUNT) id_keywords_[id] = make_keyword(wide_to_utf8(name).c_str());
}

bool MODULE_RESOURCES::has_text(LAOBJ* key) const {
  auto it = texts_.find(key);
  return it != texts_.end() && !it->second.empty();
}
