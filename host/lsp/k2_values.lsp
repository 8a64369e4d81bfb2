;;; The host's Lisp forms of geometry values and entity handles.
;;;   GPNT3D          a 3D point or vector: x y z as double floats
;;;   TRANSFORMATION  a 3D transformation: rows of its 3x3 matrix and its
;;;                   translation, twelve double floats (points multiply it
;;;                   from the left)
;;;   ENTITY-HANDLE   a kernel entity: its type symbol, address and sysid. A
;;;                   handle whose entity was destroyed is stale, and every
;;;                   native function refuses it with an error.

(in-package "K2")

(defstruct (gpnt3d (:constructor make-gpnt3d (x y z)))
  (x 0d0 :type double-float)
  (y 0d0 :type double-float)
  (z 0d0 :type double-float))

(defstruct (transformation (:constructor %make-transformation (elements)))
  (elements (make-array 12 :element-type 'double-float :initial-element 0d0)
   :type (simple-array double-float (12))))

(defstruct (entity-handle (:constructor %make-entity-handle (type address sysid))
                          (:print-function %print-entity-handle))
  type address sysid)

(defun %print-entity-handle (h stream depth)
  (declare (ignore depth))
  (format stream "#<~A ~D>" (entity-handle-type h) (entity-handle-sysid h)))

(export '(gpnt3d make-gpnt3d gpnt3d-p gpnt3d-x gpnt3d-y gpnt3d-z
          transformation transformation-p transformation-elements
          entity-handle entity-handle-p entity-handle-type entity-handle-sysid))
