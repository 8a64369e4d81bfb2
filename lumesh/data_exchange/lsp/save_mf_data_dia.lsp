;;; save_mf_data_dia: The save dialog SAVE_3MF_MODEL.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH.DATA-EXCHANGE")

(defparameter *save-mf-data-dia-unit-loaded* t)
