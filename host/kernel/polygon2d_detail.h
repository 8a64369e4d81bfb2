#pragma once
// Internal to the polygon routines: plain 2D points with their few
// operations, and a filing of items by the horizontal bands their y extents
// cover.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace polygon2d_detail {

struct PT {
  double x;
  double y;
};

// Twice the signed area of triangle abc: positive when abc turns left.
inline double orient(const PT& a, const PT& b, const PT& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}
inline double cross(const PT& a, const PT& b) {
  return a.x * b.y - a.y * b.x;
}
inline double dot(const PT& a, const PT& b) {
  return a.x * b.x + a.y * b.y;
}
inline PT sub(const PT& a, const PT& b) {
  return PT{a.x - b.x, a.y - b.y};
}
inline bool same(const PT& a, const PT& b) {
  return a.x == b.x && a.y == b.y;
}

// True when direction e lies strictly inside the angle swept counter-clockwise
// from direction d1 to direction d2 (the bounding rays excluded). A zero angle
// contains nothing.
inline bool in_open_arc(const PT& d1, const PT& d2, const PT& e) {
  if ((cross(d1, e) == 0 && dot(d1, e) > 0) || (cross(d2, e) == 0 && dot(d2, e) > 0)) {
    return false;
  }
  const double c = cross(d1, d2);
  if (c > 0) return cross(d1, e) > 0 && cross(e, d2) > 0;
  if (c < 0) return cross(d1, e) > 0 || cross(e, d2) > 0;
  if (dot(d1, d2) < 0) return cross(d1, e) > 0;
  return false;
}

// Items (ids) filed in horizontal bands by the y range they cover, so that
// those a horizontal line can meet are found in one band. Append-only; an
// item filed again with another range shows up in the bands of both.
class Y_BANDS {
 public:
  void init(double ylo, double yhi, std::size_t bands) {
    lo_ = ylo;
    scale_ = yhi > ylo ? static_cast<double>(bands) / (yhi - ylo) : 0;
    band_.assign(bands, {});
  }
  void add(std::uint32_t id, double y0, double y1) {
    const std::size_t b1 = band(std::max(y0, y1));
    for (std::size_t b = band(std::min(y0, y1)); b <= b1; ++b) band_[b].push_back(id);
  }
  std::size_t band(double y) const {
    const double t = (y - lo_) * scale_;
    if (!(t > 0)) return 0;
    return t >= static_cast<double>(band_.size()) ? band_.size() - 1 : static_cast<std::size_t>(t);
  }
  const std::vector<std::uint32_t>& operator[](std::size_t b) const { return band_[b]; }

  // A band count for `items` items whose y extents sum to `spans` times the
  // whole height: about four items a band, but no more than about four
  // filings an item, so that long items do not fill every band.
  static std::size_t count_for(std::size_t items, double spans) {
    const double n = static_cast<double>(items);
    const double by_spans = spans > 0 ? 4 * n / spans : n;
    return static_cast<std::size_t>(std::clamp(std::min(n / 4, by_spans), 1.0, 65536.0));
  }

 private:
  double lo_ = 0;
  double scale_ = 0;
  std::vector<std::vector<std::uint32_t>> band_;
};

}  // namespace polygon2d_detail
