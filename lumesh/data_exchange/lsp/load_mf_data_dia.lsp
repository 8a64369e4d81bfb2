;;; load_mf_data_dia: The load dialog LOAD_MANUFACTURING_DATA.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH.DATA-EXCHANGE")

(defparameter *load-mf-data-dia-unit-loaded* t)
