#pragma once
// RGB_COLOR and RGBA_COLOR: colours as float channels in [0, 1], and their
// packed form, one 32-bit int 0xAARRGGBB (the host's colour value).
//
// A channel c packs as q(c) = (int)(c * 255 + 0.5), computed in single
// precision and truncated toward zero, masked to its 8 bits. Opaque black
// packs to 0xFF000000, a negative int; only its bit pattern matters.

class RGB_COLOR {
 public:
  RGB_COLOR() = default;  // black
  RGB_COLOR(float red, float green, float blue) : red_(red), green_(green), blue_(blue) {}

  float Red() const { return red_; }
  float Green() const { return green_; }
  float Blue() const { return blue_; }

 private:
  float red_ = 0.0f;
  float green_ = 0.0f;
  float blue_ = 0.0f;
};

class RGBA_COLOR : public RGB_COLOR {
 public:
  RGBA_COLOR() = default;  // transparent black
  RGBA_COLOR(float red, float green, float blue, float alpha)
      : RGB_COLOR(red, green, blue), alpha_(alpha) {}
  // Each channel narrowed to float.
  RGBA_COLOR(double red, double green, double blue, double alpha);
  // Opaque.
  explicit RGBA_COLOR(const RGB_COLOR& rgb) : RGB_COLOR(rgb), alpha_(1.0f) {}

  float Alpha() const { return alpha_; }
  void SetAlpha(float alpha) { alpha_ = alpha; }

  // The packed colour 0xAARRGGBB.
  operator int() const;
  // True unless packed is this colour's packed form.
  bool operator!=(int packed) const;

 private:
  float alpha_ = 0.0f;
};

// The channels in their places of the packed colour.
int Red2Int(float red);      // bits 16..23
int Green2Int(float green);  // bits 8..15
int Blue2Int(float blue);    // bits 0..7
int Alpha2Int(float alpha);  // bits 24..31
int Color2Int(float red, float green, float blue, float alpha);
// True when the four channels pack to packed.
bool ColorsEqual(int packed, float red, float green, float blue, float alpha);
