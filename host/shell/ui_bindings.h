#pragma once
// The Lisp face of the host's user-interface services: the output box,
// errors for the user and progress bars.
//   (display x)                    a line in the output box; (display :show) brings it up
//   (tv-display-error text)        an error for the user
//   (create-progress-bar &key title) -> a FRAME2:PROGRESS
//   (set-max-progress-ticks bar n), (add-progress-ticks bar n), (finalize-progress-bar bar)

#include "host/lisp/laobj.h"

class PROGRESS;

void register_ui_bindings();

// The native progress indicator behind a FRAME2:PROGRESS, or null for NIL;
// an error for anything else and for a finalized bar.
PROGRESS* object_to_PROGRESS(LAOBJ* x);
