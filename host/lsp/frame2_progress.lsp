;;; The Lisp form of a progress indicator: a handle of a native PROGRESS that
;;; lives until the bar is finalized.

(in-package "FRAME2")

(defstruct (progress (:constructor %make-progress (id title)))
  id title)

(export '(progress progress-p))
