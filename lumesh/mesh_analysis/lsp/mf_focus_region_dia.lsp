;;; mf_focus_region_dia: The dialog LMX_FOCUS_STUDY_REGION.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *mf-focus-region-dia-unit-loaded* t)
