#include "app/import_command.h"

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "app/mesh_output.h"
#include "app/step_output.h"
#include "host/base/file_names.h"
#include "host/base/utf8.h"
#include "host/exchange/step_import.h"
#include "host/base/mod_info.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"

namespace {

struct IMPORT_ARGS {
  std::vector<std::string> files;  // the import's one, or convert's two
  std::string file;
  bool planes = false;
  bool cylinders = false;
  std::string precision;   // as typed; empty: automatic
  std::string face_limit;  // as typed; empty: the setting
  bool json = false;
  std::string out;  // a STEP file to write; empty: none
};

bool is_positive_number(const std::string& s) {
  char* end = nullptr;
  const double v = std::strtod(s.c_str(), &end);
  return !s.empty() && *end == '\0' && std::isfinite(v) && v > 0.0;
}

bool is_count(const std::string& s) {
  if (s.empty() || s.size() > 18) return false;
  for (char c : s) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

// Empty on success; otherwise what is wrong with the command line.
std::string parse(int argc, char** argv, IMPORT_ARGS& args) {
  for (int i = 2; i < argc; ++i) {
    const std::string a = argv[i];
    auto value = [&](const char* what) -> std::string {
      if (i + 1 >= argc) return {};
      (void)what;
      return argv[++i];
    };
    if (a == "--planes") {
      args.planes = true;
    } else if (a == "--cylinders") {
      args.cylinders = true;
    } else if (a == "--json") {
      args.json = true;
    } else if (a == "--precision") {
      args.precision = value("MM");
      if (!is_positive_number(args.precision)) return "--precision needs a positive number of mm";
    } else if (a == "--out") {
      args.out = value("FILE");
      if (args.out.empty()) return "--out needs a file name";
    } else if (a == "--face-limit") {
      args.face_limit = value("N");
      if (!is_count(args.face_limit)) return "--face-limit needs a whole number of facets";
    } else if (a.size() > 1 && a[0] == '-') {
      return "unknown option '" + a + "'";
    } else {
      args.files.push_back(a);
    }
  }
  if (!args.files.empty()) args.file = args.files.front();
  return {};
}

// A Lisp string literal of the text.
std::string lisp_string(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + "\"";
}

// A double-float literal: 0.01 read as a single float would be 0.0099999998.
std::string lisp_double(double v) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.17g", v);
  std::string text = buf;
  const std::string::size_type e = text.find('e');
  if (e != std::string::npos) return text.replace(e, 1, "d");
  return text + "d0";
}

std::string json_string(const std::string& text) {
  std::string out = "\"";
  for (unsigned char c : text) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (c < 0x20) {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\u%04x", c);
          out += buf;
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  return out + "\"";
}

// The load command's read of `file` with the options of the command line.
std::string read_form(const IMPORT_ARGS& args, const std::string& file) {
  std::string form = "(read-manufacturing-data-file " + lisp_string(file) +
                     " :plane-recognition " + (args.planes ? "t" : "nil") +
                     " :cylinder-recognition " + (args.cylinders ? "t" : "nil");
  if (!args.precision.empty()) {
    form += " :resolution " + lisp_double(std::strtod(args.precision.c_str(), nullptr));
  }
  if (!args.face_limit.empty()) form += " :face-count-limit " + args.face_limit;
  return form + ")";
}

struct FACE_COUNTS {
  long planes = 0, cylinders = 0;
};

SCAN_CNTRL count_face(FACE* f, void* data) {
  auto* c = static_cast<FACE_COUNTS*>(data);
  if (f->geometry()->is_a(plane::type)) ++c->planes;
  if (f->geometry()->is_a(cylinder::type)) ++c->cylinders;
  return SCAN_CONTINUE;
}

long long int_key(LAOBJ* node, const char* key) {
  return object_to_integer(plist_get(node, make_keyword(key), make_fixnum(0)));
}

void print_json(const IMPORT_ARGS& args, LAOBJ* spec, double seconds) {
  std::string out = "{\"file\": " + json_string(args.file);
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.3f", seconds);
  out += ", \"seconds\": " + std::string(buf) + ", \"bodies\": [";
  bool first = true;
  for (LAOBJ* node : list_elements(spec)) {
    LAOBJ* res = plist_get(node, make_keyword("RESOLUTION"), lisp_nil());
    if (lisp_null(res)) continue;
    BODY* body = object_to_entity<BODY>(plist_get(node, make_keyword("BODY"), lisp_nil()));
    FACE_COUNTS counts;
    body->scan_faces(&count_face, &counts);
    std::string reconstruction;
    for (LAOBJ* k : list_elements(plist_get(node, make_keyword("SURFACE-RECONSTRUCTION"), lisp_nil()))) {
      reconstruction += std::string(reconstruction.empty() ? "" : ", ") +
                        json_string(symbol_name(k) == "PLANES" ? "planes" : "cylinders");
    }
    std::snprintf(buf, sizeof buf, "%.10g", object_to_double(res));
    out += std::string(first ? "" : ", ") + "{\"id\": " + std::to_string(int_key(node, "ID")) +
           ", \"name\": " + json_string(object_to_string(plist_get(node, make_keyword("NAME"), make_string("")))) +
           ", \"facets\": " + std::to_string(int_key(node, "FACET-COUNT")) +
           ", \"faces\": " + std::to_string(int_key(node, "FACE-COUNT")) +
           ", \"planes\": " + std::to_string(counts.planes) +
           ", \"cylinders\": " + std::to_string(counts.cylinders) +
           ", \"closed\": " + (is_face_part(body) ? "false" : "true") +
           ", \"resolution\": " + buf +
           ", \"repaired\": " + std::to_string(int_key(node, "REPAIRED-FACET-COUNT")) +
           ", \"degenerate\": " + std::to_string(int_key(node, "DEGENERATE-FACET-COUNT")) +
           ", \"reconstruction\": [" + reconstruction + "]";
    LAOBJ* color = plist_get(node, make_keyword("COLOR"), lisp_nil());
    if (!lisp_null(color)) {
      std::snprintf(buf, sizeof buf, "\"#%08X\"", static_cast<unsigned>(object_to_integer(color)));
      out += std::string(", \"color\": ") + buf;
    }
    out += "}";
    first = false;
  }
  out += "]}";
  std::printf("%s\n", out.c_str());
}

}  // namespace

void import_usage(std::FILE* out) {
  std::fprintf(out,
               "usage: lumesh import FILE [--planes] [--cylinders] [--precision MM]\n"
               "                          [--face-limit N] [--json] [--out FILE.step]\n"
               "  FILE          an STL (text or binary) or 3MF file; the type is its extension\n"
               "  --planes      recognise flat regions as plane faces\n"
               "  --cylinders   also recognise cylinders (includes --planes)\n"
               "  --precision   recognition precision in mm (default: chosen from the mesh)\n"
               "  --face-limit  facets from which plane recognition is enforced (default: the\n"
               "                setting *lmx-face-count-limit*)\n"
               "  --json        print one JSON object instead of the report\n"
               "  --out F.step  also write the imported bodies, placed as the file places\n"
               "                them, as a STEP file (closed bodies as solids)\n");
}

int run_import(int argc, char** argv, bool (*start)(int, char**)) {
  IMPORT_ARGS args;
  std::string problem = parse(argc, argv, args);
  if (problem.empty() && args.files.empty()) problem = "which file? (lumesh import FILE)";
  if (problem.empty() && args.files.size() > 1) {
    problem = "one file at a time ('" + args.files[1] + "' is a second one)";
  }
  if (!problem.empty()) {
    std::fprintf(stderr, "lumesh import: %s\n", problem.c_str());
    import_usage(stderr);
    return 2;
  }
  // As the load command's form: cylinders are only recognised among planes.
  if (args.cylinders) args.planes = true;
  if (!start(argc, argv)) return 1;

  const std::string form = read_form(args, args.file);
  const auto t0 = std::chrono::steady_clock::now();
  LISP_OUTCOME read = lisp_eval_string(form, "LUMESH.DATA-EXCHANGE");
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  if (!read.ok) {
    std::fprintf(stderr, "lumesh import: %s: %s\n", args.file.c_str(), read.error.c_str());
    return 1;
  }
  if (lisp_null(read.value)) {
    std::fprintf(stderr, "lumesh import: %s: nothing was read\n", args.file.c_str());
    return 1;
  }
  int exported = 0;
  if (!args.out.empty()) {
    try {
      exported = write_spec_as_step(read.value, args.out);
    } catch (const TV_EXCEPTION& e) {
      std::fprintf(stderr, "lumesh import: %s: %s\n", args.out.c_str(), e.info()->message().c_str());
      return 1;
    } catch (const std::exception& e) {
      std::fprintf(stderr, "lumesh import: %s: %s\n", args.out.c_str(), e.what());
      return 1;
    }
  }
  if (args.json) {
    print_json(args, read.value, seconds);
    return 0;
  }
  LISP_OUTCOME report = lisp_apply(hcl_find_symbol("REPORT-IMPORT", "LUMESH.DATA-EXCHANGE"),
                                   make_list({make_string(args.file), read.value}));
  if (!report.ok) {
    std::fprintf(stderr, "lumesh import: %s\n", report.error.c_str());
    return 1;
  }
  if (!args.out.empty()) {
    std::printf("Wrote STEP file \"%s\" (%d bod%s)\n", args.out.c_str(), exported,
                exported == 1 ? "y" : "ies");
  }
  return 0;
}

void convert_usage(std::FILE* out) {
  std::fprintf(out,
               "usage: lumesh convert IN OUT [--planes] [--cylinders] [--precision MM]\n"
               "                             [--face-limit N]\n"
               "  IN   an STL, 3MF or STEP (.step, .stp) file\n"
               "  OUT  an STL, 3MF or STEP file; the types are the extensions\n"
               "  The options are those of lumesh import and apply to STL and 3MF input.\n");
}

int run_convert(int argc, char** argv, bool (*start)(int, char**)) {
  IMPORT_ARGS args;
  std::string problem = parse(argc, argv, args);
  if (problem.empty() && args.files.size() != 2) problem = "needs IN and OUT";
  if (problem.empty() && (args.json || !args.out.empty())) problem = "--json and --out belong to import";
  const std::wstring in_type = args.files.size() == 2 ? file_type_of(utf8_to_wide(args.files[0])) : L"";
  const std::wstring out_type = args.files.size() == 2 ? file_type_of(utf8_to_wide(args.files[1])) : L"";
  auto is_step = [](const std::wstring& t) { return t == L"step" || t == L"stp"; };
  if (problem.empty() && !(in_type == L"stl" || in_type == L"3mf" || is_step(in_type))) {
    problem = "IN must be an .stl, .3mf, .step or .stp file";
  }
  if (problem.empty() && !(out_type == L"stl" || out_type == L"3mf" || is_step(out_type))) {
    problem = "OUT must be an .stl, .3mf, .step or .stp file";
  }
  if (!problem.empty()) {
    std::fprintf(stderr, "lumesh convert: %s\n", problem.c_str());
    convert_usage(stderr);
    return 2;
  }
  if (args.cylinders) args.planes = true;
  if (!start(argc, argv)) return 1;
  const std::string& in = args.files[0];
  const std::string& out = args.files[1];

  std::vector<STEP_EXPORT_ITEM> items;
  // Bodies read from STEP are this command's; they go when it ends, on every
  // path, together with what OpenCASCADE keeps for them.
  struct OWNED_BODIES {
    std::vector<BODY*> bodies;
    ~OWNED_BODIES() {
      for (BODY* b : bodies) b->lose();
    }
  } owned;
  try {
    if (is_step(in_type)) {
      std::wstring directory, name;
      me_filenamesplit(utf8_to_wide(in), directory, name);
      int n = 0;
      owned.bodies = read_step(in);
      for (BODY* body : owned.bodies) {
        STEP_EXPORT_ITEM item;
        item.body = body;
        item.name = wide_to_utf8(name) + (n++ == 0 ? "" : "-" + std::to_string(n));
        items.push_back(item);
      }
    } else {
      LISP_OUTCOME read = lisp_eval_string(read_form(args, in), "LUMESH.DATA-EXCHANGE");
      if (!read.ok) {
        std::fprintf(stderr, "lumesh convert: %s: %s\n", in.c_str(), read.error.c_str());
        return 1;
      }
      items = placed_bodies(read.value);
    }
  } catch (const TV_EXCEPTION& e) {
    std::fprintf(stderr, "lumesh convert: %s: %s\n", in.c_str(), e.info()->message().c_str());
    return 1;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "lumesh convert: %s: %s\n", in.c_str(), e.what());
    return 1;
  }
  if (items.empty()) {
    std::fprintf(stderr, "lumesh convert: %s: the file places no body\n", in.c_str());
    return 1;
  }
  try {
    std::string what;
    if (is_step(out_type)) {
      write_step(items, out);
      what = std::to_string(items.size()) + (items.size() == 1 ? " body" : " bodies");
    } else if (out_type == L"stl") {
      what = std::to_string(write_bodies_as_stl(items, out)) + " triangles";
    } else {
      what = std::to_string(write_bodies_as_3mf(items, out)) + " triangles in " +
             std::to_string(items.size()) + (items.size() == 1 ? " object" : " objects");
    }
    std::printf("Converted \"%s\" to \"%s\": %s\n", in.c_str(), out.c_str(), what.c_str());
  } catch (const TV_EXCEPTION& e) {
    std::fprintf(stderr, "lumesh convert: %s: %s\n", out.c_str(), e.info()->message().c_str());
    return 1;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "lumesh convert: %s: %s\n", out.c_str(), e.what());
    return 1;
  }
  return 0;
}
