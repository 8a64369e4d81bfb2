#include "app/step_tree_report.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <utility>
#include <vector>

#include "host/exchange/occ_geometry.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/lisp/lisp_runtime.h"
#include "host/lisp/objects.h"
#include "host/lisp/packages.h"
#include "host/lisp/values.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_names.h"
#include "host/model/part_data.h"

namespace {

const char* surface_kind(const surface* sf) {
  if (sf->is_a(plane::type)) return "plane";
  if (sf->is_a(cylinder::type)) return "cylinder";
  if (const auto* occ = entity_cast<occ_surface>(sf)) return occ_surface_kind_name(occ->kind());
  return "other";
}

// "12 faces: 8 plane, 4 cylinder", kinds in the order first met.
std::string faces_by_kind(const BODY* body) {
  if (body == nullptr) return "no body";
  std::vector<std::pair<std::string, int>> kinds;
  body->scan_faces(
      [](FACE* f, void* data) {
        auto* k = static_cast<std::vector<std::pair<std::string, int>>*>(data);
        const std::string name = surface_kind(f->geometry());
        auto it = std::find_if(k->begin(), k->end(), [&](const auto& e) { return e.first == name; });
        if (it == k->end()) {
          k->emplace_back(name, 1);
        } else {
          ++it->second;
        }
        return SCAN_CONTINUE;
      },
      &kinds);
  int total = 0;
  std::string list;
  for (const auto& [name, n] : kinds) {
    total += n;
    list += (list.empty() ? "" : ", ") + std::to_string(n) + " " + name;
  }
  return std::to_string(total) + (total == 1 ? " face" : " faces") + (list.empty() ? "" : ": " + list);
}

std::string placement(const TRANSFORM3& tm) {
  if (tm.is_identity()) return "";
  const VECTOR3& t = tm.translation_vector();
  char buf[128];
  std::snprintf(buf, sizeof buf, "  at (%.6g, %.6g, %.6g)", t.x(), t.y(), t.z());
  std::string out = buf;
  VECTOR3 rows[3];
  VECTOR3 move;
  double scale = 1.0;
  tm.enquire(move, rows, scale);
  if (!(rows[0] == VECTOR3(1, 0, 0) && rows[1] == VECTOR3(0, 1, 0) && rows[2] == VECTOR3(0, 0, 1))) {
    out += ", turned";
  }
  return out;
}

// The tree below `top`, depth first with an explicit stack.
void print_tree(NPARCEL* top) {
  std::map<const PARCEL_STRUCT*, std::string> shown;  // contents to the path of its first instance
  std::vector<std::pair<NPARCEL*, int>> stack{{top, 0}};
  while (!stack.empty()) {
    const auto [p, depth] = stack.back();
    stack.pop_back();
    const std::string indent(static_cast<std::size_t>(2 * depth), ' ');
    const char* kind = p->kind() == PARCEL_KIND::part ? "part" : p->kind() == PARCEL_KIND::assembly ? "assembly" : "container";
    std::string line = indent + inquire_name(p) + " (" + kind;
    const auto first = shown.find(inq_shared_data(p));
    if (first != shown.end()) {
      line += ", as " + first->second + ")";
    } else {
      shown.emplace(inq_shared_data(p), inq_obj_pathname(p));
      if (p->kind() == PARCEL_KIND::part) line += ", " + faces_by_kind(get_part_body(p));
      line += ")";
      const std::vector<NPARCEL*>& kids = children(p);
      for (auto it = kids.rbegin(); it != kids.rend(); ++it) stack.emplace_back(*it, depth + 1);
    }
    std::printf("%s%s\n", line.c_str(), placement(inq_tm(p)).c_str());
  }
}

}  // namespace

bool is_step_file(const std::string& file) {
  const std::size_t dot = file.find_last_of('.');
  if (dot == std::string::npos || file.find('/', dot) != std::string::npos) return false;
  std::string ext = file.substr(dot + 1);
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  return ext == "step" || ext == "stp";
}

int run_step_import(const std::string& file) {
  LISP_OUTCOME o = lisp_apply(hcl_find_symbol("LOAD-STEP-FILE", "FRAME2"), make_list({make_string(file)}));
  if (!o.ok) {
    std::fprintf(stderr, "lumesh import: %s: %s\n", file.c_str(), o.error.c_str());
    return 1;
  }
  LISP_OUTCOME item = lisp_apply(hcl_find_symbol("SEL_ITEM-ITEM", "FRAME2"), make_list({o.value}));
  if (!item.ok) {
    std::fprintf(stderr, "lumesh import: %s\n", item.error.c_str());
    return 1;
  }
  NPARCEL* top = nullptr;
  try {
    top = object_to_entity<NPARCEL>(item.value);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "lumesh import: %s\n", e.what());
    return 1;
  }
  std::printf("Imported STEP file \"%s\"\n", file.c_str());
  print_tree(top);
  return 0;
}
