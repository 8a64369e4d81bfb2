#pragma once
// LOADMODULE: the module towards the host. It registers the module with the
// host's module manager and hands out the module's error descriptor: native
// code names an error with get_error_info(id)->throw_error().

#include <cstdint>

#include "host/base/mod_info.h"
#include "host/lisp/laobj.h"
#include "lumesh/core/resource_id.h"

class MODULE_RESOURCES;

class LOADMODULE {
 public:
  static LOADMODULE& instance();

  LAOBJ* get_main_package() const { return main_package_; }
  void set_main_package(LAOBJ* package) { main_package_ = package; }
  // Stores `id` as the current error and returns the module's descriptor.
  MOD_INFO* get_error_info(RESOURCE_ID id);
  RESOURCE_ID current_error_id() const { return current_error_; }

  // The text and the keyword name of the current error (what the host asks).
  static const wchar_t* inq_msg();
  static const wchar_t* inq_id();

 private:
  LOADMODULE();
  [[noreturn]] static void throw_error(MOD_INFO* info);

  RESOURCE_ID current_error_;
  MOD_INFO* error_info_;       // the host's, never freed
  LAOBJ* main_package_;        // the package LUMESH; packages live for the run
  MODULE_RESOURCES* resources_;
};

// The module's singleton, as native code reaches it.
extern LOADMODULE& sModule;

// The module's version and build date, as the manifest reports them.
const char* lumesh_version();
const char* lumesh_build_date();
const char* lumesh_copyright();
