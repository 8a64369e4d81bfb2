;;; recognize_faces_dia: The dialog that recognises faces on an imported mesh.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *recognize-faces-dia-unit-loaded* t)
