#include "lumesh/core/load_module.h"

#include <string>

#include "host/base/utf8.h"
#include "host/lisp/module_manager.h"
#include "host/lisp/packages.h"
#include "lumesh/core/module_resources.h"

LOADMODULE& sModule = LOADMODULE::instance();

const char* lumesh_version() { return "0.1.0"; }

const char* lumesh_build_date() {
  // __DATE__ is "Mmm dd yyyy" with a space before a one-digit day.
  static std::string date = [] {
    std::string d = __DATE__;
    if (d.size() == 11 && d[4] == ' ') d.erase(4, 1);
    return d;
  }();
  return date.c_str();
}

const char* lumesh_copyright() { return "Copyright (c) 2026 the Lumesh developers"; }

LOADMODULE& LOADMODULE::instance() {
  static LOADMODULE* m = new LOADMODULE();
  return *m;
}

LOADMODULE::LOADMODULE()
    : current_error_(RESOURCE_ID_COUNT), error_info_(nullptr), main_package_(nullptr),
      resources_(&MODULE_RESOURCES::instance()) {
  error_info_ = MODULE_MANAGER::instance().add_module("LUMESH", lumesh_version(), &throw_error,
                                                      &inq_msg, &inq_id);
}

MOD_INFO* LOADMODULE::get_error_info(RESOURCE_ID id) {
  current_error_ = id;
  return error_info_;
}

void LOADMODULE::throw_error(MOD_INFO* info) { throw TV_EXCEPTION(info); }

const wchar_t* LOADMODULE::inq_msg() {
  const LOADMODULE& m = instance();
  return (*m.resources_)[m.current_error_].c_str();
}

const wchar_t* LOADMODULE::inq_id() {
  static std::wstring name;
  const LOADMODULE& m = instance();
  name = utf8_to_wide(symbol_name(m.resources_->get_resource_key(m.current_error_)));
  return name.c_str();
}
