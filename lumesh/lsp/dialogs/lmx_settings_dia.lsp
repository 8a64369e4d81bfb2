;;; lmx_settings_dia: The settings dialog LMX_SETTINGS.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *lmx-settings-dia-unit-loaded* t)
