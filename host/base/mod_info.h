#pragma once
// MOD_INFO: the host's record of one error of one module. Host operations that
// can fail return a MOD_INFO* (null means success); code that cannot go on
// throws a TV_EXCEPTION that carries one.

#include <exception>
#include <string>

class MOD_INFO;

// Turns a message key into the text a user reads. The module layer installs one
// (its language resources); without one the record's own default text is used.
using MOD_INFO_TEXT_RESOLVER = std::string (*)(const MOD_INFO&);

class MOD_INFO {
 public:
  // module: the owner ("k2" for the kernel); id: the owner's error number;
  // key: the message key (":MSG-CANNOT-OPEN-FILE"); text: the default text.
  MOD_INFO(std::string module, int id, std::string key, std::string text);
  virtual ~MOD_INFO() = default;
  MOD_INFO(const MOD_INFO&) = delete;
  MOD_INFO& operator=(const MOD_INFO&) = delete;

  const std::string& module() const { return module_; }
  int id() const { return id_; }
  const std::string& default_text() const { return text_; }

  // The key of the error (for a module: of its current error).
  virtual std::string key() const { return key_; }
  // The text for users: through the installed resolver, else the default text.
  // A module's descriptor asks the module for the text of its current error.
  virtual std::string message() const;

  // Raises a TV_EXCEPTION that carries this record. The record must outlive the
  // exception: records are static or owned by a module that is never unloaded.
  [[noreturn]] virtual void throw_error();

  static MOD_INFO_TEXT_RESOLVER set_text_resolver(MOD_INFO_TEXT_RESOLVER resolver);

 private:
  std::string module_;
  int id_;
  std::string key_;
  std::string text_;
};

// Base of the host's own exceptions.
class THROWABLE : public std::exception {
 public:
  const char* what() const noexcept override { return what_.c_str(); }

 protected:
  explicit THROWABLE(std::string what) : what_(std::move(what)) {}

 private:
  std::string what_;
};

// The exception of a failed host or module operation.
class TV_EXCEPTION : public THROWABLE {
 public:
  explicit TV_EXCEPTION(MOD_INFO* info);
  MOD_INFO* info() const { return info_; }  // not owned

 private:
  MOD_INFO* info_;
};
