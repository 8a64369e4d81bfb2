;;; lmx_boxtree: box trees of the faces of a body, as Lisp handles.
;;;
;;; A BOXTREE is made by MAKE-BODY-BOXTREE and released by DESTROY-BOXTREE;
;;; the garbage collector does not release it, so its maker must destroy it.
;;; Its one slot holds the number under which the module keeps the tree, not
;;; an address: a handle of a destroyed tree, and one made by hand, is refused
;;; with an error. A tree is a snapshot of its body's faces: use it only while
;;; the body is unchanged (a query that meets a face deleted since is an error).

(in-package "LUMESH")

(defstruct (boxtree (:conc-name nil))
  "A handle of a box tree over the faces of a body (see MAKE-BODY-BOXTREE)."
  (boxtree-ptr 0 :type fixnum))

