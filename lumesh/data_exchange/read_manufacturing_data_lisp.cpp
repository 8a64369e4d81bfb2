// READ-MANUFACTURING-DATA: the Lisp entry of the import. It parses the
// options, keeps the host's global resolution, runs the branch of the file
// type and turns the native model description into property lists.

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "host/base/file_names.h"
#include "host/geometry/resolution.h"
#include "host/kernel/topology/body.h"
#include "host/lisp/lisp_error.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/native_function.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/ui/progress.h"
#include "lumesh/core/load_module.h"
#include "lumesh/core/resource_id.h"
#include "lumesh/data_exchange/manufacturing_import.h"
#include "lumesh/data_exchange/read_manufacturing_data.h"

namespace {

constexpr long long kDefaultFaceCountLimit = 150000;

LAOBJ* kw(const char* name) { return make_keyword(name); }

// The plist of pairs, in the order given.
LAOBJ* plist(const std::vector<std::pair<LAOBJ*, LAOBJ*>>& pairs) {
  std::vector<LAOBJ*> items;
  items.reserve(2 * pairs.size());
  for (const auto& [key, value] : pairs) {
    items.push_back(key);
    items.push_back(value);
  }
  return make_list(items);
}

LAOBJ* count(std::uint64_t n) { return make_fixnum(static_cast<long long>(n)); }

LAOBJ* components_to_lisp(const std::vector<MF_INSTANCE_REF>& refs) {
  std::vector<LAOBJ*> items;
  items.reserve(refs.size());
  for (const MF_INSTANCE_REF& r : refs) {
    LAOBJ* tm = r.has_transform && !r.transform.is_identity() ? make_transf(r.transform) : lisp_nil();
    items.push_back(plist({{kw("TM"), tm}, {kw("TARGET"), make_fixnum(r.target)}}));
  }
  return make_list(items);
}

LAOBJ* reconstruction_to_lisp(MESH::SURFACE_RECONSTRUCTION options) {
  std::vector<LAOBJ*> items;
  if ((options & MESH::PLANES) != 0) items.push_back(kw("PLANES"));
  if ((options & MESH::CYLINDERS) != 0) items.push_back(kw("CYLINDERS"));
  return make_list(items);
}

LAOBJ* name_to_lisp(const std::wstring& name) { return make_simple_string(name.c_str()); }

LAOBJ* node_to_lisp(const MF_MODEL_NODE& node) {
  switch (node.kind) {
    case MF_MODEL_NODE::ROOT: {
      std::vector<std::pair<LAOBJ*, LAOBJ*>> pairs = {
          {kw("ID"), make_fixnum(node.id)},
          {kw("NAME"), name_to_lisp(node.name)},
          {kw("COMPONENTS"), components_to_lisp(node.components)}};
      if (node.has_meta_data) {
        std::vector<LAOBJ*> entries;
        for (const auto& [name, value] : node.meta_data) {
          entries.push_back(plist({{kw("NAME"), name_to_lisp(name)}, {kw("VALUE"), name_to_lisp(value)}}));
        }
        pairs.emplace_back(kw("META-DATA"), make_list(entries));
      }
      return plist(pairs);
    }
    case MF_MODEL_NODE::COMPONENTS:
      return plist({{kw("ID"), make_fixnum(node.id)},
                    {kw("NAME"), name_to_lisp(node.name)},
                    {kw("COMPONENTS"), components_to_lisp(node.components)}});
    case MF_MODEL_NODE::MESH_BODY: {
      std::vector<std::pair<LAOBJ*, LAOBJ*>> pairs = {
          {kw("ID"), make_fixnum(node.id)},
          {kw("NAME"), name_to_lisp(node.name)},
          {kw("BODY"), make_ptr(node.body)},
          {kw("RESOLUTION"), make_double(node.resolution)},
          {kw("FACET-COUNT"), count(node.facet_count)},
          {kw("FACE-COUNT"), count(node.face_count)},
          {kw("REPAIRED-FACET-COUNT"), count(node.repaired_facet_count)},
          {kw("DEGENERATE-FACET-COUNT"), count(node.degenerate_facet_count)},
          {kw("SURFACE-RECONSTRUCTION"), reconstruction_to_lisp(node.reconstruction)}};
      if (node.has_color) {
        pairs.emplace_back(kw("TRANSPARENCY"), make_double(node.transparency));
        pairs.emplace_back(kw("COLOR"), make_fixnum(node.packed_color));
      }
      return plist(pairs);
    }
  }
  return lisp_nil();
}

LAOBJ* read_manufacturing_data(NATIVE_CALL& call) {
  if (call.narg() < 1) call.check_count(1, 1);
  LAOBJ* file = call.arg(0);
  call.parse_keys(1, {kw("RESOLUTION"), kw("PROGRESS"), kw("SURFACE-RECONSTRUCTION"),
                      kw("FACECOUNT-LIMIT"), kw("TYPE")});
  MF_IMPORT_OPTIONS options;
  options.progress =
      static_cast<PROGRESS*>(object_to_NonEntity_ptr(call.key(kw("PROGRESS"), lisp_nil()), "PROGRESS"));
  options.reconstruction = object_to_recognition_options(call.key(kw("SURFACE-RECONSTRUCTION"), lisp_nil()));
  LAOBJ* limit = call.key(kw("FACECOUNT-LIMIT"), lisp_nil());
  const long long limit_value = lisp_null(limit) ? kDefaultFaceCountLimit : object_to_integer(limit);
  // A negative limit can't be reached by a count; it is read as no limit.
  options.face_count_limit = limit_value < 0 ? std::numeric_limits<std::uint64_t>::max()
                                             : static_cast<std::uint64_t>(limit_value);
  LAOBJ* res = call.key(kw("RESOLUTION"), lisp_nil());
  options.resolution = lisp_null(res) ? std::numeric_limits<double>::quiet_NaN() : object_to_double(res);
  // NaN stands for "not given" inside; from Lisp only NIL says that.
  if (!lisp_null(res) && !std::isfinite(options.resolution)) {
    hcl_error("~A is not a valid recognition precision", {res});
  }
  LAOBJ* type = call.key(kw("TYPE"), lisp_nil());

  const GLOBAL_RESOLUTION_SCOPE keep_resolution;
  const std::wstring path = me_cvrt_path(object_to_wstring(file));
  MF_MODEL_DESCRIPTION spec;
  if (type == kw("STL")) {
    spec = read_stl_model(path, options);
  } else if (type == kw("3MF")) {
    spec = read_3mf_model(path, options);
  } else {
    hcl_error("Unsupported manufacturing data type: ~A", {type});
  }
  std::vector<LAOBJ*> nodes;
  nodes.reserve(spec.size());
  for (const MF_MODEL_NODE& node : spec) nodes.push_back(node_to_lisp(node));
  return make_list(nodes);
}

MOD_INFO* unknown_error() { return sModule.get_error_info(MSK_UNKNOWN_ERROR); }

}  // namespace

MESH::SURFACE_RECONSTRUCTION object_to_recognition_options(LAOBJ* object) {
  if (lisp_null(object)) return MESH::NONE;
  if (object == make_keyword("PLANES")) return MESH::PLANES;
  if (object == make_keyword("CYLINDERS")) return MESH::CYLINDERS;
  if (is_cons(object)) {
    int bits = MESH::NONE;
    for (LAOBJ* element : list_elements(object)) {
      if (!is_keyword(element)) hcl_error("~A is not a supported reconstruction option", {element});
      bits |= object_to_recognition_options(element);
    }
    return static_cast<MESH::SURFACE_RECONSTRUCTION>(bits);
  }
  hcl_error("~A is not a supported reconstruction option", {object});
}

void register_read_manufacturing_data() {
  LAOBJ* package = find_package("LUMESH.DATA-EXCHANGE");
  make_package_function("READ-MANUFACTURING-DATA", &read_manufacturing_data, &package, 2,
                        &unknown_error);
}
