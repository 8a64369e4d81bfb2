#include "host/base/file_names.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cwctype>

#include "host/base/utf8.h"

std::wstring me_cvrt_path(const std::wstring& path) {
  if (path.empty() || path[0] != L'~' || (path.size() > 1 && path[1] != L'/')) return path;
  const char* home = std::getenv("HOME");
  if (home == nullptr || *home == '\0') return path;
  return utf8_to_wide(home) + path.substr(1);
}

void me_filenamesplit(const std::wstring& path, std::wstring& directory, std::wstring& name) {
  const std::wstring::size_type slash = path.rfind(L'/');
  if (slash == std::wstring::npos) {
    directory.clear();
    name = path;
    return;
  }
  directory = slash == 0 ? L"/" : path.substr(0, slash);
  name = path.substr(slash + 1);
}

std::wstring file_type_of(const std::wstring& path) {
  std::wstring directory, name;
  me_filenamesplit(path, directory, name);
  const std::wstring::size_type dot = name.rfind(L'.');
  if (dot == std::wstring::npos || dot == 0) return L"";
  std::wstring type = name.substr(dot + 1);
  for (wchar_t& c : type) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return type;
}

bool is_readable_file(const std::wstring& path) {
  std::FILE* file = std::fopen(wide_to_utf8(path).c_str(), "rb");
  if (file == nullptr) return false;
  struct stat info {};
  const bool regular = fstat(fileno(file), &info) == 0 && !S_ISDIR(info.st_mode);
  std::fclose(file);
  return regular;
}
