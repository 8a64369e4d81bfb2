;;; Checks of dialog input and of the objects commands work on.

(in-package "FRAME2")

;;; Checks. Each answers NIL for an acceptable value and the reason as a
;;; string otherwise, the way a dialog variable's :CHECK does.

(defun check-positive-number (value)
  (unless (and (realp value) (> value 0)) (format nil "~S is not a positive number." value)))

(defun %item-parcel (item)
  (let ((x (if (sel_item-p item) (sel_item-item item) item)))
    (and x (ignore-errors (tv-inq-obj-pathname x)) x)))

(defun check-part-with-body (item)
  (let ((p (%item-parcel item)))
    (cond ((null p) (format nil "~S is no object of the model." item))
          ((not (eq (sel_item-type (sel-item-of p)) :part)) (format nil "~A is not a part." (tv-inq-obj-pathname p)))
          ((null (get-part-body p)) (format nil "The part ~A has no body." (tv-inq-obj-pathname p))))))

(defun check-modifiable (item &optional (which :contents))
  "NIL when the object of ITEM (or, with :CONTENTS, its contents) may be
changed: it exists and is no graphics-only part."
  (declare (ignore which))
  (let ((p (%item-parcel item)))
    (cond ((null p) (format nil "~S is no object of the model." item))
          ((and (fboundp 'tv-graphics-only-part-p) (funcall 'tv-graphics-only-part-p p))
           (format nil "~A is a lightweight part and cannot be changed." (tv-inq-obj-pathname p))))))

(export '(check-positive-number check-part-with-body check-modifiable))
