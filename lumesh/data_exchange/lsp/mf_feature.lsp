;;; mf_feature: The import feature and its report.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH.DATA-EXCHANGE")

(defparameter *mf-feature-unit-loaded* t)
