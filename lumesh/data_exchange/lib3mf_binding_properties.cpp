// Colours, materials and metadata: the object-level property of an object,
// base material groups, the virtual colour group, and the model's metadata.

#include <cctype>
#include <cstdlib>
#include <string>
#include <utility>

#include "host/base/utf8.h"
#include "lumesh/data_exchange/lib3mf_binding.h"
#include "lumesh/data_exchange/lib3mf_call.h"

namespace Lib3MF {

namespace {

std::uint32_t pack_color(const sColor& c) {
  return (std::uint32_t{c.m_Red} << 24) | (std::uint32_t{c.m_Green} << 16) |
         (std::uint32_t{c.m_Blue} << 8) | std::uint32_t{c.m_Alpha};
}

sColor unpack_color(std::uint32_t packed) {
  return sColor{static_cast<std::uint8_t>(packed >> 24), static_cast<std::uint8_t>(packed >> 16),
                static_cast<std::uint8_t>(packed >> 8), static_cast<std::uint8_t>(packed)};
}

std::shared_ptr<void> default_property_handler(void* object) {
  auto* o = static_cast<NMR::PLib3MFModelObjectResource*>(object);
  if (o == nullptr) detail::refuse("the object has no lib3mf handle");
  NMR::PLib3MFDefaultPropertyHandler* handler = nullptr;
  const int result = NMR::lib3mf_object_createdefaultpropertyhandler(o, &handler);
  return detail::produced(result, o, handler);
}

// The metadata names a file may use without a namespace.
bool well_known_metadata_name(const std::string& name) {
  for (const char* known : {"Title", "Designer", "Description", "Copyright", "LicenseTerms",
                            "Rating", "CreationDate", "ModificationDate", "Application"}) {
    if (name == known) return true;
  }
  return false;
}

// lib3mf 1.8 writes metadata text as it is and reads it back without
// resolving references, so the binding does both: the three characters that
// XML text cannot hold go out as references, and every reference that comes
// in is resolved. A reference it cannot resolve stays as it stands.
std::string escape_text(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      default: out += c;
    }
  }
  return out;
}

// The reference body between '&' and ';' as the text it stands for; false
// for one that names nothing.
bool resolve_reference(const std::string& body, std::string& out) {
  static const std::pair<const char*, char> kNamed[] = {
      {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
  for (const auto& [name, c] : kNamed) {
    if (body == name) {
      out += c;
      return true;
    }
  }
  if (body.size() < 2 || body[0] != '#') return false;
  const bool hex = body[1] == 'x';
  const std::string digits = body.substr(hex ? 2 : 1);
  if (digits.empty() || digits.size() > 8) return false;
  for (char d : digits) {
    const bool ok = hex ? std::isxdigit(static_cast<unsigned char>(d)) != 0
                        : std::isdigit(static_cast<unsigned char>(d)) != 0;
    if (!ok) return false;
  }
  const unsigned long cp = std::strtoul(digits.c_str(), nullptr, hex ? 16 : 10);
  if (cp == 0 || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
  append_utf8(static_cast<char32_t>(cp), out);
  return true;
}

std::string unescape_text(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  std::size_t i = 0;
  while (i < text.size()) {
    const std::size_t amp = text.find('&', i);
    if (amp == std::string::npos) break;
    out.append(text, i, amp - i);
    const std::size_t semi = text.find(';', amp + 1);
    if (semi == std::string::npos || semi - amp > 12 ||
        !resolve_reference(text.substr(amp + 1, semi - amp - 1), out)) {
      out += '&';
      i = amp + 1;
      continue;
    }
    i = semi + 1;
  }
  out.append(text, i, std::string::npos);
  return out;
}

}  // namespace

// ---- the object-level property -----------------------------------------------

bool CObject::GetObjectLevelProperty(std::uint32_t& nUniqueResourceID,
                                     std::uint32_t& nPropertyID) {
  const std::shared_ptr<void> owner = default_property_handler(handle());
  auto* handler = static_cast<NMR::PLib3MFDefaultPropertyHandler*>(owner.get());
  NMR::eModelPropertyType type = NMR::MODELPROPERTYTYPE_NONE;
  detail::check(NMR::lib3mf_defaultpropertyhandler_getpropertytype(handler, &type), handler);
  switch (type) {
    case NMR::MODELPROPERTYTYPE_BASEMATERIALS: {
      DWORD group = 0, index = 0;
      detail::check(NMR::lib3mf_defaultpropertyhandler_getbasematerial(handler, &group, &index),
                    handler);
      nUniqueResourceID = group;
      nPropertyID = index;
      return true;
    }
    case NMR::MODELPROPERTYTYPE_COLOR: {
      NMR::MODELMESHCOLOR_SRGB color;
      detail::check(NMR::lib3mf_defaultpropertyhandler_getcolor(handler, 0, &color), handler);
      nUniqueResourceID = kColorGroupID;
      nPropertyID = pack_color(sColor{color.m_Red, color.m_Green, color.m_Blue, color.m_Alpha});
      return true;
    }
    default:
      return false;
  }
}

void CObject::SetObjectLevelProperty(std::uint32_t nUniqueResourceID, std::uint32_t nPropertyID) {
  const std::shared_ptr<void> owner = default_property_handler(handle());
  auto* handler = static_cast<NMR::PLib3MFDefaultPropertyHandler*>(owner.get());
  if (nUniqueResourceID == kColorGroupID) {
    const sColor c = unpack_color(nPropertyID);
    detail::check(NMR::lib3mf_defaultpropertyhandler_setcolorrgba(handler, c.m_Red, c.m_Green,
                                                                  c.m_Blue, c.m_Alpha),
                  handler);
    return;
  }
  // lib3mf 1.8 takes any group id here and writes a file that names a
  // resource it does not have; the group and the index are checked first.
  const std::shared_ptr<void> group =
      detail::find_base_material_group(model().get(), nUniqueResourceID);
  if (group == nullptr)
    detail::refuse("no property group with id " + std::to_string(nUniqueResourceID));
  auto* g = static_cast<NMR::PLib3MFModelBaseMaterial*>(group.get());
  DWORD count = 0;
  detail::check(NMR::lib3mf_basematerial_getcount(g, &count), g);
  if (nPropertyID >= count)
    detail::refuse("no material " + std::to_string(nPropertyID) + " in base material group " +
                   std::to_string(nUniqueResourceID));
  detail::check(
      NMR::lib3mf_defaultpropertyhandler_setbasematerial(handler, nUniqueResourceID, nPropertyID),
      handler);
}

// ---- CBaseMaterialGroup ------------------------------------------------------

CBaseMaterialGroup::CBaseMaterialGroup(std::shared_ptr<void> model, std::shared_ptr<void> group)
    : CBase(std::move(model), std::move(group)) {}

std::uint32_t CBaseMaterialGroup::GetResourceID() {
  auto* group = static_cast<NMR::PLib3MFModelBaseMaterial*>(handle());
  DWORD id = 0;
  detail::check(NMR::lib3mf_basematerial_getresourceid(group, &id), group);
  return id;
}

std::uint32_t CBaseMaterialGroup::GetCount() {
  auto* group = static_cast<NMR::PLib3MFModelBaseMaterial*>(handle());
  DWORD count = 0;
  detail::check(NMR::lib3mf_basematerial_getcount(group, &count), group);
  return count;
}

std::uint32_t CBaseMaterialGroup::AddMaterial(const std::string& sName, const sColor& DisplayColor) {
  auto* group = static_cast<NMR::PLib3MFModelBaseMaterial*>(handle());
  DWORD index = 0;
  detail::check(NMR::lib3mf_basematerial_addmaterialutf8(group, sName.c_str(), DisplayColor.m_Red,
                                                         DisplayColor.m_Green, DisplayColor.m_Blue,
                                                         &index),
                group);
  // The call above leaves the alpha at 0 (fully transparent).
  detail::check(NMR::lib3mf_basematerial_setdisplaycolorrgba(
                    group, index, DisplayColor.m_Red, DisplayColor.m_Green, DisplayColor.m_Blue,
                    DisplayColor.m_Alpha),
                group);
  return index;
}

sColor CBaseMaterialGroup::GetDisplayColor(std::uint32_t nPropertyID) {
  auto* group = static_cast<NMR::PLib3MFModelBaseMaterial*>(handle());
  BYTE red = 0, green = 0, blue = 0, alpha = 0;
  detail::check(
      NMR::lib3mf_basematerial_getdisplaycolor(group, nPropertyID, &red, &green, &blue, &alpha),
      group);
  return sColor{red, green, blue, alpha};
}

// ---- CColorGroup -------------------------------------------------------------

CColorGroup::CColorGroup(std::shared_ptr<void> model) : CBase(std::move(model), nullptr) {}

std::uint32_t CColorGroup::AddColor(const sColor& TheColor) { return pack_color(TheColor); }

sColor CColorGroup::GetColor(std::uint32_t nPropertyID) const { return unpack_color(nPropertyID); }

// ---- metadata ----------------------------------------------------------------

CMetaDataGroup::CMetaDataGroup(std::shared_ptr<void> model) : CBase(std::move(model), nullptr) {}

std::uint32_t CMetaDataGroup::GetMetaDataCount() {
  auto* m = static_cast<NMR::PLib3MFModel*>(model().get());
  DWORD count = 0;
  detail::check(NMR::lib3mf_model_getmetadatacount(m, &count), m);
  return count;
}

PMetaData CMetaDataGroup::GetMetaData(std::uint32_t nIndex) {
  auto* m = static_cast<NMR::PLib3MFModel*>(model().get());
  std::string key = detail::read_string(m, [m, nIndex](LPSTR buffer, ULONG size, ULONG* needed) {
    return NMR::lib3mf_model_getmetadatakeyutf8(m, nIndex, buffer, size, needed);
  });
  std::string value = detail::read_string(m, [m, nIndex](LPSTR buffer, ULONG size, ULONG* needed) {
    return NMR::lib3mf_model_getmetadatavalueutf8(m, nIndex, buffer, size, needed);
  });
  return std::make_shared<CMetaData>(model(), std::move(key), unescape_text(value));
}

// lib3mf 1.8 writes a namespaced name without declaring its namespace, and
// then cannot read its own file; it also drops unknown names without a
// namespace when it reads. Both are refused here rather than lost later.
PMetaData CMetaDataGroup::AddMetaData(const std::string& sNameSpace, const std::string& sName,
                                      const std::string& sValue, const std::string& /*sType*/,
                                      bool /*bMustPreserve*/) {
  if (!sNameSpace.empty() || sName.find(':') != std::string::npos)
    detail::refuse("metadata with a namespace cannot be written: " + sNameSpace + ":" + sName);
  if (!well_known_metadata_name(sName))
    detail::refuse("metadata without a namespace must have a well-known name, not " + sName);
  auto* m = static_cast<NMR::PLib3MFModel*>(model().get());
  detail::check(NMR::lib3mf_model_addmetadatautf8(m, sName.c_str(), escape_text(sValue).c_str()),
                m);
  return std::make_shared<CMetaData>(model(), sName, sValue);
}

CMetaData::CMetaData(std::shared_ptr<void> model, std::string key, std::string value)
    : CBase(std::move(model), nullptr), key_(std::move(key)), value_(std::move(value)) {}

std::string CMetaData::GetNameSpace() const {
  const std::size_t colon = key_.rfind(':');
  return colon == std::string::npos ? std::string() : key_.substr(0, colon);
}

std::string CMetaData::GetName() const {
  const std::size_t colon = key_.rfind(':');
  return colon == std::string::npos ? key_ : key_.substr(colon + 1);
}

}  // namespace Lib3MF
