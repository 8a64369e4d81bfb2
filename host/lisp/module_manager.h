#pragma once
// The host's module manager: modules register here and get the MOD_INFO
// through which they raise their errors. The descriptor asks the module for
// the text and the key of its current error when an error is reported.

#include <memory>
#include <string>
#include <vector>

#include "host/base/mod_info.h"

class MODULE_MANAGER {
 public:
  using THROWER = void (*)(MOD_INFO*);
  using TEXT_QUERY = const wchar_t* (*)();

  static MODULE_MANAGER& instance();

  // Registers a module; the descriptor lives until the process ends.
  MOD_INFO* add_module(const char* name, const char* version, THROWER thrower,
                       TEXT_QUERY message, TEXT_QUERY id);
  // The descriptor of a registered module, or null.
  MOD_INFO* find_module(const std::string& name) const;
  const std::string* version_of(const std::string& name) const;

 private:
  MODULE_MANAGER() = default;
  struct ENTRY {
    std::string name, version;
    std::unique_ptr<MOD_INFO> info;
  };
  std::vector<ENTRY> modules_;
};
