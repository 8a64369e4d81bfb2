;;; lmx_config: Module settings and the customization files.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *lmx-config-unit-loaded* t)
