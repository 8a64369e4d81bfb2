#include "host/lisp/module_manager.h"

#include "host/base/utf8.h"

namespace {

// A module's descriptor: text and key come from the module's queries, which
// answer for the module's current error.
class MODULE_INFO final : public MOD_INFO {
 public:
  MODULE_INFO(const std::string& name, MODULE_MANAGER::THROWER thrower,
              MODULE_MANAGER::TEXT_QUERY message, MODULE_MANAGER::TEXT_QUERY id)
      : MOD_INFO(name, 0, "", ""), thrower_(thrower), message_(message), id_(id) {}

  std::string key() const override { return ask(id_); }
  std::string message() const override { return ask(message_); }
  [[noreturn]] void throw_error() override {
    if (thrower_ != nullptr) thrower_(this);
    throw TV_EXCEPTION(this);
  }

 private:
  static std::string ask(MODULE_MANAGER::TEXT_QUERY q) {
    const wchar_t* text = q != nullptr ? q() : nullptr;
    return text != nullptr ? wide_to_utf8(text) : std::string();
  }

  MODULE_MANAGER::THROWER thrower_;
  MODULE_MANAGER::TEXT_QUERY message_;
  MODULE_MANAGER::TEXT_QUERY id_;
};

}  // namespace

MODULE_MANAGER& MODULE_MANAGER::instance() {
  static MODULE_MANAGER* m = new MODULE_MANAGER();
  return *m;
}

MOD_INFO* MODULE_MANAGER::add_module(const char* name, const char* version, THROWER thrower,
                                     TEXT_QUERY message, TEXT_QUERY id) {
  modules_.push_back({name, version, std::make_unique<MODULE_INFO>(name, thrower, message, id)});
  return modules_.back().info.get();
}

MOD_INFO* MODULE_MANAGER::find_module(const std::string& name) const {
  for (const auto& m : modules_) {
    if (m.name == name) return m.info.get();
  }
  return nullptr;
}

const std::string* MODULE_MANAGER::version_of(const std::string& name) const {
  for (const auto& m : modules_) {
    if (m.name == name) return &m.version;
  }
  return nullptr;
}

