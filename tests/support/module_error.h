#pragma once
// The module error that an action raises, for tests of failure paths.

#include <functional>

#include "host/base/mod_info.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/resource_id.h"

// The id of the module error raised by `action` (a TV_EXCEPTION), or
// RESOURCE_ID_COUNT when it raises none. Other exceptions pass through.
inline RESOURCE_ID module_error(const std::function<void()>& action) {
  try {
    action();
  } catch (const TV_EXCEPTION&) {
    return sModule.current_error_id();
  }
  return RESOURCE_ID_COUNT;
}
