;;; lmx_features: The framework of model features.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *lmx-features-unit-loaded* t)
