;;; mf_quality_study: The quality study kept in the model.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *mf-quality-study-unit-loaded* t)
