;;; reverse_engineering_doc: Documentation of the facet set functions.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *reverse-engineering-doc-unit-loaded* t)
