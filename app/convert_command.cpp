#include "app/convert_command.h"

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "app/import_options.h"
#include "app/mesh_output.h"
#include "app/model_output.h"
#include "app/step_output.h"
#include "host/base/file_names.h"
#include "host/base/mod_info.h"
#include "host/base/utf8.h"
#include "host/document/model_file.h"
#include "host/exchange/step_export.h"
#include "host/exchange/step_import.h"
#include "host/kernel/topology/body.h"
#include "host/lisp/lisp_runtime.h"

void convert_usage(std::FILE* out) {
  std::fprintf(out,
               "usage: lumesh convert IN OUT [--planes] [--cylinders] [--precision MM]\n"
               "                             [--face-limit N]\n"
               "  IN   an STL, 3MF, STEP (.step, .stp) or model (.lmx) file\n"
               "  OUT  an STL, 3MF, STEP or model file; the types are the extensions\n"
               "  The options are those of lumesh import and apply to STL and 3MF input.\n"
               "  A model file keeps the parts that were read with their bodies (recognised\n"
               "  faces included); read back, its parts' bodies are written out.\n");
}

int run_convert(int argc, char** argv, bool (*start)(int, char**)) {
  IMPORT_ARGS args;
  std::string problem = parse_import_args(argc, argv, args);
  if (problem.empty() && args.files.size() != 2) problem = "needs IN and OUT";
  if (problem.empty() && (args.json || !args.out.empty())) problem = "--json and --out belong to import";
  const std::wstring in_type = args.files.size() == 2 ? file_type_of(utf8_to_wide(args.files[0])) : L"";
  const std::wstring out_type = args.files.size() == 2 ? file_type_of(utf8_to_wide(args.files[1])) : L"";
  auto is_step = [](const std::wstring& t) { return t == L"step" || t == L"stp"; };
  auto known = [&](const std::wstring& t) { return t == L"stl" || t == L"3mf" || t == L"lmx" || is_step(t); };
  if (problem.empty() && !known(in_type)) problem = "IN must be an .stl, .3mf, .step, .stp or .lmx file";
  if (problem.empty() && !known(out_type)) problem = "OUT must be an .stl, .3mf, .step, .stp or .lmx file";
  if (!problem.empty()) {
    std::fprintf(stderr, "lumesh convert: %s\n", problem.c_str());
    convert_usage(stderr);
    return 2;
  }
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
    if (in_type == L"lmx") {
      items = items_of_model(load_model_file(in));
    } else if (is_step(in_type)) {
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
      LISP_OUTCOME read = read_manufacturing_data_file(args, in);
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
    if (out_type == L"lmx") {
      // The parts take the bodies over from this command.
      const std::vector<NPARCEL*> tops = parts_of_items(items);
      owned.bodies.clear();
      save_model_file(out, tops);
      what = std::to_string(items.size()) + (items.size() == 1 ? " part" : " parts");
    } else if (is_step(out_type)) {
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
