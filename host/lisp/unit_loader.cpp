#include "host/lisp/unit_loader.h"

#include <ecl/ecl.h>

#include <map>
#include <stdexcept>

#include "host/lisp/lisp_runtime.h"
#include "host/lisp/lisp_text.h"

namespace {

std::map<std::string, LISP_UNIT>& units() {
  static auto* table = new std::map<std::string, LISP_UNIT>();
  return *table;
}

std::vector<std::string>& loaded() {
  static auto* list = new std::vector<std::string>();
  return *list;
}

// The failure of the unit that is loading, handed from its initialisation
// function (called through a C pointer) to the loader.
std::string g_unit_error;

}  // namespace

void register_lisp_unit(const LISP_UNIT& unit) { units()[unit.path] = unit; }

const LISP_UNIT* find_lisp_unit(const std::string& path) {
  auto it = units().find(path);
  return it == units().end() ? nullptr : &it->second;
}

std::vector<std::string> lisp_unit_paths() {
  std::vector<std::string> out;
  for (const auto& [path, unit] : units()) out.push_back(path);
  return out;
}

void evaluate_unit_text(const char* text, std::size_t length, LAOBJ*) {
  LISP_OUTCOME o = lisp_eval_unit(std::string(text, length));
  if (!o.ok) g_unit_error = o.error;
}

void hcl_load_and_compile_lisp(const char* path, const char*, int, int) {
  const LISP_UNIT* unit = find_lisp_unit(path);
  if (unit == nullptr) throw std::runtime_error(std::string("no logic unit ") + path);
  g_unit_error.clear();
  unit->initialize(unit->text, unit->length, utf8_to_lisp_string(unit->path));
  if (!g_unit_error.empty()) {
    const std::string message = g_unit_error;
    g_unit_error.clear();
    throw std::runtime_error(message);
  }
  loaded().push_back(path);
}

const std::vector<std::string>& loaded_lisp_units() { return loaded(); }
