;;; mf_study_feature: The feature of a quality study.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *mf-study-feature-unit-loaded* t)
