;;; mf_measurement_feature: The feature of a measurement.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *mf-measurement-feature-unit-loaded* t)
