;;; lmx: The main unit: commands, user-interface integration, customization.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *lmx-unit-loaded* t)
