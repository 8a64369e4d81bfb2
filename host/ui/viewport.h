#pragma once
// Viewports: what the model shows and how it is looked at. A viewport has a
// draw list of selection items (parcels at their places in the tree; an
// assembly draws everything below it), a view (the viewer's right and up
// directions and a window on the plane they span), per-part show settings,
// persistently highlighted entities, and feedback elements (named sets of
// coloured lines, such as a region's box). What it draws comes out as
// triangles with colours and transparency in world coordinates, ready for
// any renderer; nothing here knows one.
//
// Viewports hold handles, never ownership: an item whose object was
// destroyed (or undone) is skipped when drawing and can be removed.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/geometry/box3.h"
#include "host/geometry/position3.h"
#include "host/geometry/unitvec3.h"
#include "host/model/parcel_struct.h"
#include "host/model/sel_item.h"

// One triangle as drawn: corners in world coordinates, its colour, its
// transparency (0 opaque), and the sysid of the face (or part) it shows.
struct DRAWN_TRIANGLE {
  POSITION3 corners[3];
  RGB_COLOR color;
  float transparency = 0.0f;
  std::uint64_t source = 0;
  std::uint64_t part = 0;  // the sysid of the part instance drawn
  bool edged = true;       // the facets' edges are drawn
};

struct FEEDBACK_LINE {
  POSITION3 from, to;
  RGB_COLOR color;
};

// What a part shows beyond its own data.
struct SHOW_SETTINGS {
  bool edged = true;                 // :3dgeo_edged
  bool see_through = false;          // :3dgeo_part_transparency: drawn half transparent
};

class G_VP {
 public:
  explicit G_VP(int id) : id_(id) {}
  int id() const { return id_; }

  // The draw list. add() leaves out an item already listed (the same object
  // at the same place); with `checking` an item that is not live is refused
  // (false). remove() answers whether it was there.
  bool add(const SEL_ITEM& item, bool checking = false);
  bool remove(const ENTITY* object);
  void set_drawlist(const std::vector<SEL_ITEM>& items);
  void clear() { drawlist_.clear(); }
  const std::vector<SEL_ITEM>& drawlist() const { return drawlist_; }

  // The view: unit right and up directions (kept perpendicular) and the
  // window, a box in view coordinates (x right, y up, z toward the viewer).
  const UNITVEC3& inq_x_vec() const { return x_; }
  const UNITVEC3& inq_up_vec() const { return up_; }
  // Throws std::invalid_argument for parallel or zero directions.
  void set_view(const VECTOR3& x, const VECTOR3& up);
  const BOX3& window() const { return window_; }
  // Zooms to the box between two corners given in view coordinates.
  void window_vp(const POSITION3& lower, const POSITION3& upper);
  // Zooms to all that is drawn; false (window unchanged) when nothing is.
  bool fit();
  // World to view coordinates.
  POSITION3 to_view(const POSITION3& world) const;
  std::uint64_t redraws() const { return redraws_; }
  void redraw() { ++redraws_; }

  // Everything drawn, in draw-list order. Throws the kernel's error for a
  // face that cannot be tessellated. O(faces + triangles).
  std::vector<DRAWN_TRIANGLE> triangles() const;
  // The world box of what is drawn; nil when nothing is.
  BOX3 box() const;

 private:
  int id_;
  std::vector<SEL_ITEM> drawlist_;
  UNITVEC3 x_ = UNITVEC3(1, 0, 0);
  UNITVEC3 up_ = UNITVEC3(0, 1, 0);
  BOX3 window_;
  std::uint64_t redraws_ = 0;
};

// The viewports of the session, the current one, and what all of them share:
// show settings per part contents, highlights, feedback elements.
class VIEWPORTS {
 public:
  // The current viewport; made on first use.
  G_VP& current();
  G_VP* find(int id);
  G_VP& create();
  // False for an unknown id.
  bool set_current(int id);
  const std::vector<std::unique_ptr<G_VP>>& all() const { return vps_; }
  // Removes the object from every draw list; how many lists had it.
  int remove_everywhere(const ENTITY* object);

  void set_show_setting(const PARCEL_STRUCT* contents, const std::string& setting, bool on);
  SHOW_SETTINGS show_settings(const PARCEL_STRUCT* contents) const;

  void hilite(const ENTITY* e, const RGB_COLOR& color);
  bool unhilite(const ENTITY* e);
  void unhilite_all() { hilites_.clear(); }
  // The highlight colour of a live entity, if it has one.
  bool hilite_color(const ENTITY* e, RGB_COLOR& color) const;
  std::size_t hilite_count() const { return hilites_.size(); }

  int create_feedback(const std::string& name);
  // False for an unknown element.
  bool add_feedback_line(int id, const FEEDBACK_LINE& line);
  bool delete_feedback(int id);
  const std::map<int, std::pair<std::string, std::vector<FEEDBACK_LINE>>>& feedback() const {
    return feedback_;
  }

  // Called after every change a front end would show.
  void set_listener(std::function<void()> listener) { listener_ = std::move(listener); }
  void changed() const {
    if (listener_) listener_();
  }

  // Forgets everything (tests, a new session).
  void reset();

 private:
  std::vector<std::unique_ptr<G_VP>> vps_;
  int current_ = 0;
  std::map<std::uint64_t, SHOW_SETTINGS> show_;   // by contents sysid
  std::map<std::uint64_t, RGB_COLOR> hilites_;   // by entity sysid
  std::map<int, std::pair<std::string, std::vector<FEEDBACK_LINE>>> feedback_;
  int next_feedback_ = 1;
  std::function<void()> listener_;
};

VIEWPORTS& viewports();

// The default colour of a part without one of its own.
constexpr RGB_COLOR kDefaultPartColor{0.7, 0.7, 0.75};
