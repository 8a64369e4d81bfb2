#pragma once
// Attributes: small immutable records hung on bodies and faces (colour,
// transparency, the face-part marker). An entity holds an ATTRIB_SET, which is
// shared and copied on write, so saving an entity's state for the history
// costs one reference count, not a copy of its attributes.

#include <memory>
#include <string>
#include <vector>

class ATTRIB {
 public:
  virtual ~ATTRIB() = default;
  // Attributes of one name replace one another on an entity.
  virtual const char* name() const = 0;
};

class ATTRIB_SET {
 public:
  // The attribute of that name, or null. O(number of attributes).
  const ATTRIB* find(const char* name) const;
  template <class T>
  const T* find() const {
    return dynamic_cast<const T*>(find(T::kName));
  }
  // A set with `a` added, replacing an attribute of the same name.
  ATTRIB_SET with(std::shared_ptr<const ATTRIB> a) const;
  // A set without the attribute of that name.
  ATTRIB_SET without(const char* name) const;
  bool empty() const { return !list_ || list_->empty(); }
  std::size_t size() const { return list_ ? list_->size() : 0; }

 private:
  using LIST = std::vector<std::shared_ptr<const ATTRIB>>;
  std::shared_ptr<const LIST> list_;
};

// Marks a body as a face part: a body whose faces do not close a volume.
class FACE_PART_ATT final : public ATTRIB {
 public:
  static constexpr const char* kName = "face-part";
  explicit FACE_PART_ATT(const wchar_t* part_name = nullptr)
      : part_name_(part_name != nullptr ? part_name : L"") {}
  const char* name() const override { return kName; }
  const std::wstring& part_name() const { return part_name_; }

 private:
  std::wstring part_name_;
};

// Colour of a face, red, green and blue in [0, 1].
class COLOR_ATT final : public ATTRIB {
 public:
  static constexpr const char* kName = "color";
  COLOR_ATT(double r, double g, double b) : r_(r), g_(g), b_(b) {}
  const char* name() const override { return kName; }
  double red() const { return r_; }
  double green() const { return g_; }
  double blue() const { return b_; }

 private:
  double r_, g_, b_;
};

// Transparency of a face in [0, 1]: 0 opaque, 1 invisible.
class TRANSPARENCY_ATT final : public ATTRIB {
 public:
  static constexpr const char* kName = "transparency";
  explicit TRANSPARENCY_ATT(double t) : t_(t) {}
  const char* name() const override { return kName; }
  double transparency() const { return t_; }

 private:
  double t_;
};
