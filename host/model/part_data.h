#pragma once
// The data of parts: body, colour and transparency. They live in the part's
// contents, so every instance of a part shows the same body and colour.
// Changes go through the history; refused calls change nothing.

#include "host/base/mod_info.h"
#include "host/model/nparcel.h"

class BODY;

// Makes `body` the body of the part. The part's contents become the body's
// owner; a body held by another part leaves it. The part's previous body, if
// any, is lost (BODY::lose, through the history). Refused: null arguments, a
// parcel that is not a part, a graphics-only part (part_graphics.h), a body
// owned by anything but a part.
MOD_INFO* add_body_to_part(NPARCEL* part, BODY* body);
// The body of a part; null for a part without one and for other parcels.
BODY* get_part_body(const NPARCEL* part);

// Colour of a part, each component in [0, 1] (NaN refused).
MOD_INFO* set_part_color(NPARCEL* part, double r, double g, double b);
// The part has no colour afterwards.
MOD_INFO* remove_part_color(NPARCEL* part);
// False, and `color` untouched, when the parcel is no part or has no colour.
bool get_part_color(const NPARCEL* part, RGB_COLOR& color);
// The colour of part contents: false, and `color` untouched, when it has none
// or `contents` is null or not part contents.
bool get_base_color(const PARCEL_STRUCT* contents, RGB_COLOR& color);
// The same, giving the three shades of the part's display (base, shaded,
// highlighted). The host keeps one colour per part, so all three are that one.
bool get_base_color(const PARCEL_STRUCT* contents, RGB_COLOR& base, RGB_COLOR& shaded,
                    RGB_COLOR& highlighted);

// Transparency of a part in [0, 1]: 0 opaque, 1 invisible (NaN refused).
MOD_INFO* set_part_transparency(NPARCEL* part, double t);
// The part has no transparency afterwards.
MOD_INFO* remove_part_transparency(NPARCEL* part);
// False, and `t` untouched, when the parcel is no part or has no transparency.
bool get_part_transparency(const NPARCEL* part, float& t);
