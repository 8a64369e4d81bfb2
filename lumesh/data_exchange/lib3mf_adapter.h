#pragma once
// Lib3mfAdapter: the module's one way into lib3mf. It loads and saves models
// with the host's progress and break handling, and converts what 3MF states
// (lengths in the model's unit, transforms, colours, UTF-8 names) into the
// host's values (millimetres, TRANSFORM3, RGBA_COLOR, wide strings).

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "host/geometry/transform3.h"
#include "lumesh/data_exchange/lib3mf_binding.h"
#include "lumesh/data_exchange/rgb_color.h"

class PROGRESS;

class Lib3mfAdapter : public Lib3MF::CWrapper {
 public:
  // The file types a reader or writer handles.
  // A fixed underlying type: a value from outside (a Lisp argument, a cast)
  // that names no type is a value of it all the same, and gets no reader.
  enum LIB3MF_CONTENT_TYPE : int {
    LIB3MF_STL = 0,  // "stl"
    LIB3MF_3MF = 1,  // "3mf"
  };

  // What the progress callback works with while one load or save runs.
  struct PROGRESS_DATA {
    std::int32_t last_percentage = 0;  // percent already passed on as ticks
    PROGRESS* progress;                // not owned; may be null
  };

  // Made at the first call and kept for the rest of the run.
  static std::shared_ptr<Lib3mfAdapter> GetInstance();

  // A new model with the file read into it. progress (may be null) gets one
  // tick per percent read. Throws Lib3MF::ELib3MFException when lib3mf
  // cannot read the file (missing, a directory, not the type, corrupt) or
  // the user broke off, and std::invalid_argument for a path that is not
  // valid UTF-16/UTF-32.
  //
  // A 3MF package that lib3mf refuses only because a production UUID repeats
  // in it is read a second time, from a copy in memory without the repeats
  // (tmf_package_repair.h); dropped_uuids (may be null) gets the number of
  // attributes dropped, 0 when the file was read as it is. When the copy
  // can't be made or read either, the exception carries lib3mf's code and
  // text for the file itself, followed by why the copy failed. The progress
  // never goes back: the second read ticks only past where the first stopped.
  std::shared_ptr<Lib3MF::CModel> LoadModel(const std::wstring& path, LIB3MF_CONTENT_TYPE type,
                                            PROGRESS* progress,
                                            std::size_t* dropped_uuids = nullptr);
  // Writes model to path in the given type, with the same progress, break
  // and error behaviour.
  void SaveModel(std::shared_ptr<Lib3MF::CModel> model, const std::wstring& path,
                 LIB3MF_CONTENT_TYPE type, PROGRESS* progress);

  // The reader or writer class of a content type: "stl", "3mf", or "" for
  // any other value (which lib3mf then refuses).
  static std::string content_type_name(LIB3MF_CONTENT_TYPE type);

  // Strict conversions: malformed input (an invalid or overlong UTF-8
  // sequence, a lone surrogate, a code point past U+10FFFF) throws
  // std::invalid_argument. Wide strings hold UTF-32 where wchar_t has 32
  // bits, UTF-16 where it has 16.
  static std::wstring utf8_to_utf16(const std::string& text);
  static std::string utf16_to_utf8(const std::wstring& text);

  // Lengths between the model's unit and millimetres, each by one
  // multiplication with a fixed factor; an unknown unit counts as
  // millimetres. The factors back to inch and foot are rounded (0.0394,
  // 0.0033), so those two do not round-trip exactly.
  static double to_3mf_length(double length_mm, Lib3MF::eModelUnit unit);
  static double from_3mf_length(double length, Lib3MF::eModelUnit unit);

  // A 3MF transform as a TRANSFORM3 in millimetres: the 3x3 part row by row
  // as it stands, the translation converted from the unit. Throws
  // std::invalid_argument for a singular or non-finite matrix.
  static TRANSFORM3 from_3mf_transform(const Lib3MF::sTransform& transform,
                                       Lib3MF::eModelUnit unit);
  // The reverse: rows times the transform's scale, and translation, each
  // converted to the unit and narrowed to float.
  static Lib3MF::sTransform to_3mf_transform(const TRANSFORM3& transform, Lib3MF::eModelUnit unit);

  // Each byte over 255, in single precision.
  static RGBA_COLOR from_3mf_color(const Lib3MF::sColor& color);

  // The reader's and writer's progress callback; data is a PROGRESS_DATA.
  // A pending user break stops the operation (and is consumed); otherwise
  // the whole percent reached, less the last one passed on, goes to the
  // progress as ticks, and a percent at or below the last one adds nothing.
  static void progress_callback(bool* abort, double value, Lib3MF::eProgressIdentifier identifier,
                                void* data);
};
