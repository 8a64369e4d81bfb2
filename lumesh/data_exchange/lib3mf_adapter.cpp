// The adapter between lib3mf and the host: loading and saving with progress
// and break, and the conversions of units, transforms, colours and text.

#include "lumesh/data_exchange/lib3mf_adapter.h"

#include <exception>
#include <stdexcept>
#include <string>

#include "host/base/utf8.h"
#include "host/ui/break_status.h"
#include "host/ui/progress.h"
#include "lumesh/data_exchange/tmf_package_repair.h"

namespace {

using Lib3MF::eModelUnit;

// The factor that takes a length in the unit to millimetres, and the one
// that takes millimetres back. The way back for inch and foot is rounded on
// purpose: files written by the module have always used these factors.
struct UNIT_FACTORS {
  double from_unit;
  double to_unit;
};

UNIT_FACTORS factors(eModelUnit unit) {
  switch (unit) {
    case eModelUnit::MicroMeter: return {0.001, 1000.0};
    case eModelUnit::MilliMeter: return {1.0, 1.0};
    case eModelUnit::CentiMeter: return {10.0, 0.1};
    case eModelUnit::Inch: return {25.4, 0.0394};
    case eModelUnit::Foot: return {304.8, 0.0033};
    case eModelUnit::Meter: return {1000.0, 0.001};
  }
  return {1.0, 1.0};
}

// The error of a package that carries one production UUID on two elements.
bool repeats_a_uuid(const Lib3MF::ELib3MFException& e) {
  return e.getErrorCode() == Lib3MF::ELib3MFException::kUUIDNotUnique ||
         e.getErrorCode() == Lib3MF::ELib3MFException::kDuplicateUUID;
}

[[noreturn]] void malformed(const char* what) {
  throw std::invalid_argument(std::string("Lib3mfAdapter: ") + what);
}

bool surrogate(char32_t cp) { return cp >= 0xD800 && cp <= 0xDFFF; }

void append_wide(char32_t cp, std::wstring& out) {
  if constexpr (sizeof(wchar_t) >= 4) {
    out += static_cast<wchar_t>(cp);
  } else if (cp < 0x10000) {
    out += static_cast<wchar_t>(cp);
  } else {
    cp -= 0x10000;
    out += static_cast<wchar_t>(0xD800 + (cp >> 10));
    out += static_cast<wchar_t>(0xDC00 + (cp & 0x3FF));
  }
}

}  // namespace

std::shared_ptr<Lib3mfAdapter> Lib3mfAdapter::GetInstance() {
  // Never destroyed: lib3mf objects made through it may live until exit.
  static const auto* instance = new std::shared_ptr<Lib3mfAdapter>(new Lib3mfAdapter());
  return *instance;
}

std::string Lib3mfAdapter::content_type_name(LIB3MF_CONTENT_TYPE type) {
  switch (type) {
    case LIB3MF_STL: return "stl";
    case LIB3MF_3MF: return "3mf";
  }
  return "";
}

std::shared_ptr<Lib3MF::CModel> Lib3mfAdapter::LoadModel(const std::wstring& path,
                                                         LIB3MF_CONTENT_TYPE type,
                                                         PROGRESS* progress,
                                                         std::size_t* dropped_uuids) {
  const std::string file = utf16_to_utf8(path);
  if (dropped_uuids != nullptr) *dropped_uuids = 0;
  // One progress record for both reads, so that the ticks add up to 100.
  PROGRESS_DATA data{0, progress};
  // Each read into a fresh model: a failed read may leave a model half made.
  auto read = [&](const auto& read_into) {
    std::shared_ptr<Lib3MF::CModel> model = CreateModel();
    std::shared_ptr<Lib3MF::CReader> reader = model->QueryReader(content_type_name(type));
    if (progress != nullptr) reader->SetProgressCallback(progress_callback, &data);
    read_into(*reader);
    return model;
  };
  try {
    return read([&](Lib3MF::CReader& reader) { reader.ReadFromFile(file); });
  } catch (const Lib3MF::ELib3MFException& original) {
    if (type != LIB3MF_3MF || !repeats_a_uuid(original)) throw;
    std::string why;
    try {
      const TMF_REPAIRED_PACKAGE repaired = repair_repeated_uuids(file);
      if (repaired.dropped_count == 0) {
        why = "no repeated production UUID was found in its model parts";
      } else {
        std::shared_ptr<Lib3MF::CModel> model =
            read([&](Lib3MF::CReader& reader) { reader.ReadFromBuffer(repaired.bytes); });
        if (dropped_uuids != nullptr) *dropped_uuids = repaired.dropped_count;
        return model;
      }
    } catch (const Lib3MF::ELib3MFException& e) {
      why = "the package without its repeated UUIDs can't be read either: " + std::string(e.what());
    } catch (const std::exception& e) {
      why = e.what();
    }
    throw Lib3MF::ELib3MFException(original.getErrorCode(),
                                   original.getErrorMessage() + " (" + why + ")");
  }
}

void Lib3mfAdapter::SaveModel(std::shared_ptr<Lib3MF::CModel> model, const std::wstring& path,
                              LIB3MF_CONTENT_TYPE type, PROGRESS* progress) {
  if (model == nullptr) throw std::invalid_argument("Lib3mfAdapter::SaveModel: no model");
  const std::string file = utf16_to_utf8(path);
  std::shared_ptr<Lib3MF::CWriter> writer = model->QueryWriter(content_type_name(type));
  PROGRESS_DATA data{0, progress};
  if (progress != nullptr) writer->SetProgressCallback(progress_callback, &data);
  writer->WriteToFile(file);
}

std::wstring Lib3mfAdapter::utf8_to_utf16(const std::string& text) {
  std::wstring out;
  out.reserve(text.size());
  std::size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<unsigned char>(text[i]);
    int extra = 0;
    char32_t cp = 0;
    if (lead < 0x80) {
      cp = lead;
    } else if (lead >= 0xC2 && lead <= 0xDF) {
      extra = 1;
      cp = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      extra = 2;
      cp = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      extra = 3;
      cp = lead & 0x07;
    } else {
      malformed("invalid UTF-8 lead byte");
    }
    if (text.size() - i <= static_cast<std::size_t>(extra)) malformed("truncated UTF-8 sequence");
    for (int k = 1; k <= extra; ++k) {
      const auto next = static_cast<unsigned char>(text[i + k]);
      if ((next & 0xC0) != 0x80) malformed("invalid UTF-8 continuation byte");
      cp = (cp << 6) | (next & 0x3F);
    }
    // The shortest form only, and only scalar values.
    if ((extra == 2 && cp < 0x800) || (extra == 3 && cp < 0x10000))
      malformed("overlong UTF-8 sequence");
    if (surrogate(cp) || cp > 0x10FFFF) malformed("UTF-8 encodes no Unicode scalar value");
    append_wide(cp, out);
    i += static_cast<std::size_t>(extra) + 1;
  }
  return out;
}

std::string Lib3mfAdapter::utf16_to_utf8(const std::wstring& text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t cp = static_cast<char32_t>(text[i]);
    if constexpr (sizeof(wchar_t) < 4) {
      cp &= 0xFFFF;
      if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < text.size()) {
        const char32_t low = static_cast<char32_t>(text[i + 1]) & 0xFFFF;
        if (low >= 0xDC00 && low <= 0xDFFF) {
          cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
          ++i;
        }
      }
    }
    if (surrogate(cp)) malformed("lone UTF-16 surrogate");
    if (cp > 0x10FFFF) malformed("wide character past U+10FFFF");
    append_utf8(cp, out);
  }
  return out;
}

double Lib3mfAdapter::to_3mf_length(double length_mm, eModelUnit unit) {
  return length_mm * factors(unit).to_unit;
}

double Lib3mfAdapter::from_3mf_length(double length, eModelUnit unit) {
  return length * factors(unit).from_unit;
}

TRANSFORM3 Lib3mfAdapter::from_3mf_transform(const Lib3MF::sTransform& transform,
                                             eModelUnit unit) {
  double rows[3][3];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) rows[i][j] = transform.m_Fields[i][j];
  const VECTOR3 translation(from_3mf_length(transform.m_Fields[3][0], unit),
                            from_3mf_length(transform.m_Fields[3][1], unit),
                            from_3mf_length(transform.m_Fields[3][2], unit));
  return TRANSFORM3::from_matrix(rows, translation);
}

Lib3MF::sTransform Lib3mfAdapter::to_3mf_transform(const TRANSFORM3& transform, eModelUnit unit) {
  VECTOR3 translation;
  VECTOR3 rows[3];
  double scale = 0.0;
  transform.enquire(translation, rows, scale);
  Lib3MF::sTransform out;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      out.m_Fields[i][j] = static_cast<float>(to_3mf_length(scale * rows[i][j], unit));
  for (int j = 0; j < 3; ++j)
    out.m_Fields[3][j] = static_cast<float>(to_3mf_length(translation[j], unit));
  return out;
}

RGBA_COLOR Lib3mfAdapter::from_3mf_color(const Lib3MF::sColor& color) {
  constexpr float kByte = 1.0f / 255;
  return RGBA_COLOR(color.m_Red * kByte, color.m_Green * kByte, color.m_Blue * kByte,
                    color.m_Alpha * kByte);
}

void Lib3mfAdapter::progress_callback(bool* abort, double value,
                                      Lib3MF::eProgressIdentifier /*identifier*/, void* data) {
  if (BREAK_STATUS::mState && BREAK_STATUS::get_doer()) {
    if (abort != nullptr) *abort = true;
    return;
  }
  auto* progress_data = static_cast<PROGRESS_DATA*>(data);
  if (progress_data == nullptr || progress_data->progress == nullptr) return;
  const auto percentage = static_cast<std::int32_t>(value * 100);
  if (percentage <= progress_data->last_percentage) return;
  progress_data->progress->add_ticks(percentage - progress_data->last_percentage);
  progress_data->last_percentage = percentage;
}
