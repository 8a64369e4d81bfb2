;;; Face predicates by surface kind. Each takes a face handle or a selection
;;; item and answers whether the face lies on a surface of that kind, whatever
;;; made the face: the kernel's own planes and cylinders, or the cones,
;;; spheres and tori of an imported CAD model. NIL and a selection item that
;;; is not a face answer NIL; any other object, and the handle of a destroyed
;;; face, is an error, so a wrong argument does not pass for "not a plane".

(in-package "FRAME2")

(defun %face-kind-of (face)
  (cond ((null face) nil)
        ((sel_item-p face)
         (and (eq (sel_item-type face) :face)
              (k2::face-surface-kind (sel_item-item face))))
        (t (k2::face-surface-kind face))))

(defun is-plane-face-p (face) (eq (%face-kind-of face) :plane))
(defun is-cylinder-face-p (face) (eq (%face-kind-of face) :cylinder))
(defun is-cone-face-p (face) (eq (%face-kind-of face) :cone))
(defun is-sphere-face-p (face) (eq (%face-kind-of face) :sphere))
(defun is-torus-face-p (face) (eq (%face-kind-of face) :torus))

(export '(is-plane-face-p is-cylinder-face-p is-cone-face-p is-sphere-face-p is-torus-face-p))
