#pragma once
// Which customization files the host loads, and in what order.
//
// A customization file is Lisp source that a company, a site or a user
// writes to set up the host and its modules. Each level has a folder: the
// corporate one from TVCORPCUSTOMIZEDIR, the site one from
// TVSITECUSTOMIZEDIR, the user's own folder (user_folders.h). A module's file
// lies in a subfolder named after the module's application id, so modules
// that all call their file "customize.lsp" don't read each other's:
//   <folder>/<application>/<file>     with an application
//   <folder>/<file>                   without one (the host's own)
// Finding the files reads the file system only; nothing is written.

#include <string>
#include <vector>

enum class CUSTOMIZATION_LEVEL { corporate, site, user };

// Which levels to load: all, or a single one.
enum class CUSTOMIZATION_WHICH { all, corporate, site, user };
// In which order: the company first and the user last, so that the user has
// the last word (the usual), or the other way round.
enum class CUSTOMIZATION_ORDER { corp_site_user, user_site_corp };

struct CUSTOMIZATION_FILE {
  CUSTOMIZATION_LEVEL level;
  std::string path;
};

// The files of the chosen levels that exist and can be read, in load order.
// `file` is a plain file name ("customize.lsp"); `application` may be empty.
// Throws DOCUMENT_ERROR when `file` or `application` is empty where needed or
// holds a '/' or is "." or "..", which would leave the level's folder.
std::vector<CUSTOMIZATION_FILE> customization_files(const std::string& file, const std::string& application,
                                                    CUSTOMIZATION_WHICH which, CUSTOMIZATION_ORDER order);

// "corporate", "site" or "user".
const char* customization_level_name(CUSTOMIZATION_LEVEL level);
