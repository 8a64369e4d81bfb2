#pragma once
// The value types of the 3MF binding (namespace Lib3MF): what crosses the
// border between the module and lib3mf by value, and the exception that every
// failed lib3mf call becomes. Shaped like lib3mf's published 2.x C++ binding,
// so that code written against that binding reads the same here; nothing of
// lib3mf's own headers is needed to use them.

#include <cstdint>
#include <exception>
#include <string>

namespace Lib3MF {

// An affine map in the order 3MF files write it: rows 0..2 are the images of
// the basis vectors x, y, z, row 3 is the translation, and a point maps as a
// row vector, p' = p·M + t. (lib3mf 1.8 keeps maps as three rows of four, the
// transposed layout with the translation in the last column; the binding
// converts at its border.)
struct sTransform {
  float m_Fields[4][3];
};

// sRGB with straight alpha, one byte per channel.
struct sColor {
  std::uint8_t m_Red;
  std::uint8_t m_Green;
  std::uint8_t m_Blue;
  std::uint8_t m_Alpha;
};

// A vertex in the model's unit.
struct sPosition {
  float m_Coordinates[3];
};

// Three indices into the vertices of the same mesh object, counter-clockwise
// seen from outside.
struct sTriangle {
  std::uint32_t m_Indices[3];
};

// The length unit of a model's coordinates.
enum class eModelUnit : std::int32_t {
  MicroMeter = 0,
  MilliMeter = 1,
  CentiMeter = 2,
  Inch = 3,
  Foot = 4,
  Meter = 5,
};

// What kind of resource a property resource id names.
enum class ePropertyType : std::int32_t {
  NoPropertyType = 0,
  BaseMaterial = 1,
  TexCoord = 2,
  Colors = 3,
  Composite = 4,
  Multi = 5,
};

// The stage a progress callback reports. The numbers are lib3mf 1.8's.
enum class eProgressIdentifier : std::int32_t {
  QUERYCANCELED = 0,
  DONE = 1,
  CLEANUP = 2,
  READSTREAM = 3,
  EXTRACTOPCPACKAGE = 4,
  READNONROOTMODELS = 5,
  READROOTMODEL = 6,
  READRESOURCES = 7,
  READMESH = 8,
  READSLICES = 9,
  READBUILD = 10,
  CREATEOPCPACKAGE = 11,
  WRITEMODELSTOSTREAM = 12,
  WRITEROOTMODEL = 13,
  WRITENONROOTMODELS = 14,
  WRITEATTACHMENTS = 15,
  WRITECONTENTTYPES = 16,
  WRITENOBJECTS = 17,
  WRITENODES = 18,
  WRITETRIANGLES = 19,
  WRITESLICES = 20,
};

// Called while a reader or writer works: dProgressValue runs from 0 to 1 and
// never goes back; setting *pAbort to true stops the operation, which then
// fails with an ELib3MFException. pUserData is what SetProgressCallback got.
using ProgressCallback = void (*)(bool* pAbort, double dProgressValue,
                                  eProgressIdentifier eProgressIdentifier, void* pUserData);

// A failed lib3mf call: lib3mf's error code and its text, or the binding's own
// code and text for what the binding itself refuses.
class ELib3MFException : public std::exception {
 public:
  // The binding's own codes: the one used when lib3mf gives no error code,
  // and the one for arguments the binding refuses before calling lib3mf.
  static constexpr std::uint32_t kGenericError = 0x80004005u;
  static constexpr std::uint32_t kInvalidParam = 0x80070057u;
  // lib3mf 1.8's two codes for a UUID that a package carries more than once;
  // its reader gives the first for a repeated production UUID.
  static constexpr std::uint32_t kUUIDNotUnique = 0x80ADu;
  static constexpr std::uint32_t kDuplicateUUID = 0x80A0u;

  ELib3MFException(std::uint32_t errorCode, const std::string& errorMessage);

  std::uint32_t getErrorCode() const noexcept { return errorCode_; }
  // lib3mf's text, without the code.
  const std::string& getErrorMessage() const noexcept { return errorMessage_; }
  // "lib3mf error 0x....: text".
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  std::uint32_t errorCode_;
  std::string errorMessage_;
  std::string what_;
};

}  // namespace Lib3MF
