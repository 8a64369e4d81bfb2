#pragma once
// The Lisp face of the viewports, in FRAME2 (external). A viewport is named
// by its number; NIL or :CURRENT is the current one.
//   (tv-inq-current-vp) (create-viewport) (set-current-vp vp)
//   (add-to-vp-drawlist item [vp]) (add-to-vp-drawlist-with-checking item [vp])
//   (remove-from-vp-drawlist obj [vp]) (remove-from-all-vp-drawlists obj)
//   (set_vp_drawlist vp items) (vp-drawlist [vp]) (clear_vp [vp]) (redraw_vp [vp])
//   (fit_vp [vp]) (window_vp vp lower upper) (set-vp-view vp x up) (vp-view [vp])
//   (prim-add-show-part-setting obj setting on)
//   (persistent-hilite-entity item [(r g b)]) (persistent-unhilite-entity item)
//   (get-modeling-settings-feedback-color kind)
//   (tv-create-feedback-elem name) (tv-create-feedback-elem-line elem from to [(r g b)])
//   (tv-delete-feedback-elem elem) (vp-picture [vp])

#include "host/lisp/laobj.h"

class G_VP;

void register_viewport_bindings();

// The viewport a Lisp object names (its number; NIL or :CURRENT for the
// current one); null when it names none.
G_VP* g_lisp_util_get_gvp(LAOBJ* x);
