#include "host/base/mod_info.h"

#include <utility>

namespace {
MOD_INFO_TEXT_RESOLVER g_resolver = nullptr;
}

MOD_INFO::MOD_INFO(std::string module, int id, std::string key, std::string text)
    : module_(std::move(module)), id_(id), key_(std::move(key)), text_(std::move(text)) {}

std::string MOD_INFO::message() const {
  if (g_resolver != nullptr) {
    return g_resolver(*this);
  }
  return text_;
}

void MOD_INFO::throw_error() { throw TV_EXCEPTION(this); }

MOD_INFO_TEXT_RESOLVER MOD_INFO::set_text_resolver(MOD_INFO_TEXT_RESOLVER resolver) {
  return std::exchange(g_resolver, resolver);
}

TV_EXCEPTION::TV_EXCEPTION(MOD_INFO* info)
    : THROWABLE(info != nullptr ? info->message() : std::string("unknown error")), info_(info) {}
