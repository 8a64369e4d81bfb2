;;; lmx_config: Module settings and the customization files.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *lmx-config-unit-loaded* t)

(defvar *lmx-face-count-limit* 157000
  "Number of faces an imported body may have before data reduction is
enforced: a mesh of at least this many facets gets plane recognition.")
