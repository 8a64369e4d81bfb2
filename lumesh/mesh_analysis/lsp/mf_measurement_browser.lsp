;;; mf_measurement_browser: The browser of measurements.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *mf-measurement-browser-unit-loaded* t)
