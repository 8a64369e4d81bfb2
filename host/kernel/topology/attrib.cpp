#include "host/kernel/topology/attrib.h"

#include <cstring>

const ATTRIB* ATTRIB_SET::find(const char* name) const {
  if (!list_) return nullptr;
  for (const auto& a : *list_) {
    if (std::strcmp(a->name(), name) == 0) return a.get();
  }
  return nullptr;
}

ATTRIB_SET ATTRIB_SET::with(std::shared_ptr<const ATTRIB> a) const {
  auto list = std::make_shared<LIST>();
  if (list_) {
    for (const auto& b : *list_) {
      if (std::strcmp(b->name(), a->name()) != 0) list->push_back(b);
    }
  }
  list->push_back(std::move(a));
  ATTRIB_SET s;
  s.list_ = std::move(list);
  return s;
}

ATTRIB_SET ATTRIB_SET::without(const char* name) const {
  ATTRIB_SET s;
  if (find(name) == nullptr) {
    s.list_ = list_;
    return s;
  }
  auto list = std::make_shared<LIST>();
  for (const auto& b : *list_) {
    if (std::strcmp(b->name(), name) != 0) list->push_back(b);
  }
  s.list_ = std::move(list);
  return s;
}
