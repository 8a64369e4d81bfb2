;;; delete_recognition_dia: The dialog that takes a recognition back.
;;; The unit's definitions arrive with the work on its subject; until then it
;;; only takes its place in the start-up order.

(in-package "LUMESH")

(defparameter *delete-recognition-dia-unit-loaded* t)
