;;; lmx_boxtree: Box trees of faces as Lisp handles.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *lmx-boxtree-unit-loaded* t)
