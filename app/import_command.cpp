#include "app/import_command.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <string>

#include "app/import_options.h"
#include "app/model_output.h"
#include "app/step_output.h"
#include "app/step_tree_report.h"
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
  std::string out = "{\"file\": " + json_string(args.files.front());
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
               "  FILE          an STL (text or binary) or 3MF file; the type is its extension;\n"
               "                a STEP file (.step, .stp) goes into the model tree, whose\n"
               "                parts and assemblies are printed (no options apply);\n"
               "                a model file (.lmx) is loaded and its bodies are printed\n"
               "                (only --json applies)\n"
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
  std::string problem = parse_import_args(argc, argv, args);
  if (problem.empty() && args.files.empty()) problem = "which file? (lumesh import FILE)";
  if (problem.empty() && args.files.size() > 1) {
    problem = "one file at a time ('" + args.files[1] + "' is a second one)";
  }
  if (problem.empty() && is_step_file(args.files.front()) && (args.json || !args.out.empty())) {
    problem = "--json and --out are for mesh files, not STEP files";
  }
  if (problem.empty() && is_model_file_name(args.files.front()) && !args.out.empty()) {
    problem = "--out is for mesh files, not model files";
  }
  if (!problem.empty()) {
    std::fprintf(stderr, "lumesh import: %s\n", problem.c_str());
    import_usage(stderr);
    return 2;
  }
  if (!start(argc, argv)) return 1;
  const std::string& file = args.files.front();
  if (is_step_file(file)) return run_step_import(file);
  if (is_model_file_name(file)) return run_model_file_import(file, args.json);

  const auto t0 = std::chrono::steady_clock::now();
  LISP_OUTCOME read = read_manufacturing_data_file(args, file);
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  if (!read.ok) {
    std::fprintf(stderr, "lumesh import: %s: %s\n", file.c_str(), read.error.c_str());
    return 1;
  }
  if (lisp_null(read.value)) {
    std::fprintf(stderr, "lumesh import: %s: nothing was read\n", file.c_str());
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
                                   make_list({make_string(file), read.value}));
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

