;;; assembly_builder: Parts and assemblies from a model description.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH.DATA-EXCHANGE")

(defparameter *assembly-builder-unit-loaded* t)
