#pragma once
// 3MF packages written byte for byte by the tests: the three parts of a
// minimal package (content types, relationships, the model) zipped with
// libzip, so that a test states the model XML it means, explicit identity
// transforms and unnamed objects included.

#include <zip.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace threemf_test {

inline const char* const kContentTypes =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
    "<Default Extension=\"rels\" "
    "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
    "<Default Extension=\"model\" "
    "ContentType=\"application/vnd.ms-package.3dmanufacturing-3dmodel+xml\"/></Types>\n";

inline const char* const kRelationships =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
    "<Relationship Target=\"/3D/3dmodel.model\" Id=\"rel0\" "
    "Type=\"http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel\"/></Relationships>\n";

// A zip archive of the given entries, deflated, in this order. True when
// it was written.
inline bool write_entries(const std::filesystem::path& path,
                          const std::vector<std::pair<std::string, std::string>>& entries) {
  int error = 0;
  zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
  if (archive == nullptr) return false;
  // libzip reads the buffers at zip_close, so they must live until then.
  for (const auto& [name, text] : entries) {
    zip_source_t* source = zip_source_buffer(archive, text.data(), text.size(), 0);
    if (source == nullptr || zip_file_add(archive, name.c_str(), source, ZIP_FL_ENC_UTF_8) < 0) {
      if (source != nullptr) zip_source_free(source);
      zip_discard(archive);
      return false;
    }
  }
  return zip_close(archive) == 0;
}

// True when the package was written.
inline bool write_package(const std::filesystem::path& path, const std::string& model_xml) {
  return write_entries(path, {{"[Content_Types].xml", kContentTypes},
                              {"_rels/.rels", kRelationships},
                              {"3D/3dmodel.model", model_xml}});
}

// The namespace of the production extension, whose p:UUID attributes name
// objects, components, the build and its items.
inline const char* const kProductionNamespace =
    "http://schemas.microsoft.com/3dmanufacturing/production/2015/06";

// The model element around `resources` and `build`. `extra_namespaces`
// go among the model element's namespace declarations.
inline std::string model(const std::string& resources, const std::string& build,
                         const std::string& unit = "millimeter",
                         const std::string& extra_head = "",
                         const std::string& extra_namespaces = "") {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<model unit=\"" + unit +
         "\" xml:lang=\"en-US\" "
         "xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\" "
         "xmlns:m=\"http://schemas.microsoft.com/3dmanufacturing/material/2015/02\"" +
         extra_namespaces + ">" + extra_head + "<resources>" + resources +
         "</resources><build>" + build + "</build></model>\n";
}

// model() with the production namespace declared under the prefix p.
inline std::string production_model(const std::string& resources, const std::string& build) {
  return model(resources, build, "millimeter", "",
               std::string(" xmlns:p=\"") + kProductionNamespace + "\"");
}

// A mesh object: the box [0, size]^3 with outward triangles. `attributes`
// go on the object element (name, pid, pindex).
inline std::string cube_object(int id, const std::string& attributes, double size = 10.0) {
  std::string v = "<vertices>";
  for (int i = 0; i < 8; ++i) {
    v += "<vertex x=\"" + std::to_string((i & 1) != 0 ? size : 0.0) + "\" y=\"" +
         std::to_string((i & 2) != 0 ? size : 0.0) + "\" z=\"" +
         std::to_string((i & 4) != 0 ? size : 0.0) + "\"/>";
  }
  v += "</vertices>";
  const int tris[12][3] = {{0, 2, 1}, {1, 2, 3}, {4, 5, 6}, {5, 7, 6}, {0, 1, 4}, {1, 5, 4},
                           {2, 6, 3}, {3, 6, 7}, {0, 4, 2}, {2, 4, 6}, {1, 3, 5}, {3, 7, 5}};
  std::string t = "<triangles>";
  for (const auto& tri : tris) {
    t += "<triangle v1=\"" + std::to_string(tri[0]) + "\" v2=\"" + std::to_string(tri[1]) +
         "\" v3=\"" + std::to_string(tri[2]) + "\"/>";
  }
  t += "</triangles>";
  return "<object id=\"" + std::to_string(id) + "\" type=\"model\" " + attributes + "><mesh>" + v +
         t + "</mesh></object>";
}

}  // namespace threemf_test
