;;; measure_mesh_quality_dia: The dialog LMX_MEASURE_MESH_QUALITY.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *measure-mesh-quality-dia-unit-loaded* t)
