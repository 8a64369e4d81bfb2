;;; The custom bottom form of a display table as Lisp code holds it: it names
;;; its display table, and grid areas are added to it.

(in-package "FRAME2")

(defstruct (display-table-form (:constructor %make-display-table-form (table))) table)

(export '(display-table-form display-table-form-p display-table-form-table))
