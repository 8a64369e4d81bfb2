#pragma once
// The binding's own machinery around lib3mf 1.8's C calls: result checks,
// handle ownership, string reads, and the transform layouts. Only the
// binding's .cpp files include this header (it brings in lib3mf's).

#include <Model/COM/NMR_DLLInterfaces.h>

#include <cstdint>
#include <memory>
#include <string>

#include "lumesh/data_exchange/lib3mf_types.h"

namespace Lib3MF::detail {

// Throws ELib3MFException with the error that lib3mf recorded on instance
// (the object the failed call was made on) unless result is success.
void check(int result, void* instance);

// Throws ELib3MFException(kInvalidParam, message).
[[noreturn]] void refuse(const std::string& message);

// A handle owned by the returned pointer: lib3mf_release when the last owner
// goes. Null stays null.
std::shared_ptr<void> own(void* handle);

// Calls a lib3mf getter of the shape (buffer, buffer size, needed chars) on
// instance and returns the text. get(nullptr, 0, &needed) first asks the size.
template <typename GET>
std::string read_string(void* instance, GET get) {
  ULONG needed = 0;
  check(get(nullptr, 0, &needed), instance);
  std::string text(static_cast<std::size_t>(needed) + 1, '\0');
  check(get(text.data(), static_cast<ULONG>(text.size()), &needed), instance);
  text.resize(std::char_traits<char>::length(text.c_str()));
  return text;
}

// lib3mf 1.8 keeps a map as three rows of four: row j holds column j of the
// 3x3 matrix and, last, component j of the translation (the column-vector
// layout). sTransform is the row-vector layout of the file, so the 3x3 part
// is transposed both ways.
NMR::MODELTRANSFORM to_model_transform(const sTransform& transform);
sTransform from_model_transform(const NMR::MODELTRANSFORM& transform);

// The handle a lib3mf call handed out through an out parameter, owned from
// the first moment; then the call's result is checked (a failed call may
// still have handed out something to release). Throws also for a successful
// call that handed out nothing.
std::shared_ptr<void> produced(int result, void* instance, void* handle);

// The object iterators of a model by kind, and a walk over one: the object
// with the given id, or null.
enum class RESOURCE_KIND { MESH_OBJECTS, COMPONENTS_OBJECTS };
std::shared_ptr<void> find_resource(void* model, RESOURCE_KIND kind, std::uint32_t id);
// A fresh iterator over the model's objects of that kind.
std::shared_ptr<void> resource_iterator(void* model, RESOURCE_KIND kind);

// The base material group or the texture with the given id, or null when
// the id names none (or a resource of another kind).
std::shared_ptr<void> find_base_material_group(void* model, std::uint32_t id);
std::shared_ptr<void> find_texture(void* model, std::uint32_t id);

}  // namespace Lib3MF::detail
