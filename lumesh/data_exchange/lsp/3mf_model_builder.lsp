;;; 3mf_model_builder: The 3MF model description of a selection.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH.DATA-EXCHANGE")

(defparameter *3mf-model-builder-unit-loaded* t)
