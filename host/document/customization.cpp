#include "host/document/customization.h"

#include <optional>

#include "host/base/file_names.h"
#include "host/base/utf8.h"
#include "host/document/document_error.h"
#include "host/document/user_folders.h"

namespace {

void check_name(const std::string& name, const char* what) {
  if (name == "." || name == ".." || name.find('/') != std::string::npos || name.find('\0') != std::string::npos) {
    throw DOCUMENT_ERROR(name, std::string("can't be a customization ") + what +
                                   ": it must be a plain name without '/'.");
  }
}

std::optional<std::string> folder_of(CUSTOMIZATION_LEVEL level) {
  switch (level) {
    case CUSTOMIZATION_LEVEL::corporate: return corporate_customization_folder();
    case CUSTOMIZATION_LEVEL::site: return site_customization_folder();
    case CUSTOMIZATION_LEVEL::user: break;
  }
  try {
    return host_user_folder();
  } catch (const DOCUMENT_ERROR&) {
    return std::nullopt;  // no home at all: the user has no customization
  }
}

bool wanted(CUSTOMIZATION_WHICH which, CUSTOMIZATION_LEVEL level) {
  switch (which) {
    case CUSTOMIZATION_WHICH::all: return true;
    case CUSTOMIZATION_WHICH::corporate: return level == CUSTOMIZATION_LEVEL::corporate;
    case CUSTOMIZATION_WHICH::site: return level == CUSTOMIZATION_LEVEL::site;
    case CUSTOMIZATION_WHICH::user: return level == CUSTOMIZATION_LEVEL::user;
  }
  return false;
}

}  // namespace

std::vector<CUSTOMIZATION_FILE> customization_files(const std::string& file, const std::string& application,
                                                    CUSTOMIZATION_WHICH which, CUSTOMIZATION_ORDER order) {
  if (file.empty()) throw DOCUMENT_ERROR(file, "can't be a customization file: the name is empty.");
  check_name(file, "file");
  if (!application.empty()) check_name(application, "application");
  std::vector<CUSTOMIZATION_LEVEL> levels{CUSTOMIZATION_LEVEL::corporate, CUSTOMIZATION_LEVEL::site,
                                          CUSTOMIZATION_LEVEL::user};
  if (order == CUSTOMIZATION_ORDER::user_site_corp) levels = {levels[2], levels[1], levels[0]};
  std::vector<CUSTOMIZATION_FILE> out;
  for (CUSTOMIZATION_LEVEL level : levels) {
    if (!wanted(which, level)) continue;
    std::optional<std::string> folder = folder_of(level);
    if (!folder) continue;
    std::string path = *folder + "/";
    if (!application.empty()) path += application + "/";
    path += file;
    if (is_readable_file(utf8_to_wide(path))) out.push_back({level, std::move(path)});
  }
  return out;
}

const char* customization_level_name(CUSTOMIZATION_LEVEL level) {
  switch (level) {
    case CUSTOMIZATION_LEVEL::corporate: return "corporate";
    case CUSTOMIZATION_LEVEL::site: return "site";
    case CUSTOMIZATION_LEVEL::user: return "user";
  }
  return "user";
}
