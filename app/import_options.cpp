#include "app/import_options.h"

#include <cmath>
#include <cstdlib>

#include "host/lisp/objects.h"
#include "host/lisp/packages.h"

namespace {

bool parse_positive_number(const std::string& s, double& v) {
  char* end = nullptr;
  v = std::strtod(s.c_str(), &end);
  return !s.empty() && *end == '\0' && std::isfinite(v) && v > 0.0;
}

bool parse_count(const std::string& s, long long& n) {
  if (s.empty() || s.size() > 18) return false;
  n = 0;
  for (char c : s) {
    if (c < '0' || c > '9') return false;
    n = 10 * n + (c - '0');
  }
  return true;
}

}  // namespace

std::string parse_import_args(int argc, char** argv, IMPORT_ARGS& args) {
  for (int i = 2; i < argc; ++i) {
    const std::string a = argv[i];
    const std::string next = i + 1 < argc ? argv[i + 1] : "";
    if (a == "--planes") {
      args.planes = true;
    } else if (a == "--cylinders") {
      args.cylinders = true;
    } else if (a == "--json") {
      args.json = true;
    } else if (a == "--precision") {
      ++i;
      if (!parse_positive_number(next, args.precision)) return "--precision needs a positive number of mm";
    } else if (a == "--out") {
      ++i;
      args.out = next;
      if (args.out.empty()) return "--out needs a file name";
    } else if (a == "--face-limit") {
      ++i;
      if (!parse_count(next, args.face_limit)) return "--face-limit needs a whole number of facets";
    } else if (a.size() > 1 && a[0] == '-') {
      return "unknown option '" + a + "'";
    } else {
      args.files.push_back(a);
    }
  }
  // As in the load command's form: cylinders are only found among planes.
  if (args.cylinders) args.planes = true;
  return {};
}

LISP_OUTCOME read_manufacturing_data_file(const IMPORT_ARGS& args, const std::string& file) {
  std::vector<LAOBJ*> call = {make_string(file),
                              make_keyword("PLANE-RECOGNITION"), make_bool(args.planes),
                              make_keyword("CYLINDER-RECOGNITION"), make_bool(args.cylinders)};
  if (args.precision > 0.0) {
    call.push_back(make_keyword("RESOLUTION"));
    call.push_back(make_double(args.precision));
  }
  if (args.face_limit >= 0) {
    call.push_back(make_keyword("FACE-COUNT-LIMIT"));
    call.push_back(make_fixnum(args.face_limit));
  }
  return lisp_apply(hcl_find_symbol("READ-MANUFACTURING-DATA-FILE", "LUMESH.DATA-EXCHANGE"),
                    make_list(call));
}
