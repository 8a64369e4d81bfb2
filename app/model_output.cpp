#include "app/model_output.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <map>
#include <stdexcept>

#include "host/base/file_names.h"
#include "host/base/utf8.h"
#include "host/document/model_file.h"
#include "host/kernel/geometry/cylinder.h"
#include "host/kernel/geometry/plane.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_names.h"
#include "host/model/part_data.h"

namespace {

constexpr std::size_t kMaxPlaced = 1'000'000;

struct FACE_KINDS {
  long planes = 0, cylinders = 0;
};

SCAN_CNTRL count_face(FACE* f, void* data) {
  auto* c = static_cast<FACE_KINDS*>(data);
  if (f->geometry()->is_a(plane::type)) ++c->planes;
  if (f->geometry()->is_a(cylinder::type)) ++c->cylinders;
  return SCAN_CONTINUE;
}

std::string json_string(const std::string& text) {
  std::string out = "\"";
  for (unsigned char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", c);
      out += buf;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out + "\"";
}

unsigned channel(double v) {
  return static_cast<unsigned>(v * 255.0 + 0.5);
}

}  // namespace

bool is_model_file_name(const std::string& file) {
  return file_type_of(utf8_to_wide(file)) == L"lmx";
}

std::vector<NPARCEL*> parts_of_items(const std::vector<STEP_EXPORT_ITEM>& items) {
  std::map<const BODY*, NPARCEL*> part_of;
  std::vector<NPARCEL*> tops;
  for (const STEP_EXPORT_ITEM& item : items) {
    NPARCEL* part = nullptr;
    auto found = part_of.find(item.body);
    if (found == part_of.end()) {
      part = create_npart3(item.name);
      add_body_to_part(part, const_cast<BODY*>(item.body));
      if (item.has_color) set_part_color(part, item.r, item.g, item.b);
      part_of[item.body] = part;
    } else {
      part = create_instance(found->second, item.name);
    }
    if (!item.placement.is_identity()) set_tm(part, item.placement);
    insert_in_graph(part);
    tops.push_back(part);
  }
  return tops;
}

std::vector<STEP_EXPORT_ITEM> items_of_model(const std::vector<NPARCEL*>& tops) {
  std::vector<STEP_EXPORT_ITEM> items;
  // Depth first with an explicit stack; the model's contents form no cycle.
  std::vector<std::pair<NPARCEL*, TRANSFORM3>> stack;
  for (auto it = tops.rbegin(); it != tops.rend(); ++it) stack.push_back({*it, (*it)->tm()});
  while (!stack.empty()) {
    auto [p, to_world] = stack.back();
    stack.pop_back();
    if (BODY* body = get_part_body(p)) {
      if (items.size() >= kMaxPlaced)
        throw std::runtime_error("the model places more than a million bodies");
      STEP_EXPORT_ITEM item;
      item.body = body;
      item.placement = to_world;
      item.name = inq_obj_pathname(p);
      if (!item.name.empty() && item.name.front() == '/') item.name.erase(0, 1);
      RGB_COLOR c;
      if (get_part_color(p, c)) {
        item.has_color = true;
        item.r = c.r;
        item.g = c.g;
        item.b = c.b;
      }
      items.push_back(item);
    }
    const std::vector<NPARCEL*>& kids = children(p);
    for (auto it = kids.rbegin(); it != kids.rend(); ++it)
      stack.push_back({*it, (*it)->tm() * to_world});
  }
  return items;
}

int run_model_file_import(const std::string& file, bool json) {
  const auto t0 = std::chrono::steady_clock::now();
  std::vector<NPARCEL*> tops;
  try {
    tops = load_model_file(file);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "lumesh import: %s\n", e.what());
    return 1;
  }
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  std::vector<STEP_EXPORT_ITEM> items;
  try {
    items = items_of_model(tops);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "lumesh import: %s: %s\n", file.c_str(), e.what());
    return 1;
  }
  char buf[64];
  if (json) {
    std::snprintf(buf, sizeof buf, "%.3f", seconds);
    std::string out =
        "{\"file\": " + json_string(file) + ", \"seconds\": " + buf + ", \"bodies\": [";
    int id = 0;
    for (const STEP_EXPORT_ITEM& item : items) {
      FACE_KINDS kinds;
      item.body->scan_faces(&count_face, &kinds);
      std::snprintf(buf, sizeof buf, "%.10g", item.body->resabs());
      out += std::string(id == 0 ? "" : ", ");
      out += "{\"id\": " + std::to_string(++id) + ", \"name\": " + json_string(item.name) +
             ", \"faces\": " + std::to_string(item.body->number_of_faces()) +
             ", \"planes\": " + std::to_string(kinds.planes) +
             ", \"cylinders\": " + std::to_string(kinds.cylinders) +
             ", \"closed\": " + (is_face_part(item.body) ? "false" : "true") +
             ", \"resolution\": " + buf;
      if (item.has_color) {
        std::snprintf(buf, sizeof buf, "\"#FF%02X%02X%02X\"", channel(item.r), channel(item.g),
                      channel(item.b));
        out += std::string(", \"color\": ") + buf;
      }
      out += "}";
    }
    std::printf("%s]}\n", out.c_str());
    return 0;
  }
  std::printf("Loaded model file \"%s\": %zu top object%s, %zu bod%s\n", file.c_str(), tops.size(),
              tops.size() == 1 ? "" : "s", items.size(), items.size() == 1 ? "y" : "ies");
  std::printf("Body#  Res.     #Faces  #Planes  #Cylinders  Part\n");
  int id = 0;
  for (const STEP_EXPORT_ITEM& item : items) {
    FACE_KINDS kinds;
    item.body->scan_faces(&count_face, &kinds);
    std::printf("%5d  %.2e %7d %8ld %11ld  %s\n", ++id, item.body->resabs(),
                item.body->number_of_faces(), kinds.planes, kinds.cylinders, item.name.c_str());
  }
  return 0;
}
