;;; What commands ask of parcels: modification marks, generated names,
;;; groups, the current part, the bodies below an object, view sets.

(in-package "FRAME2")

;;; Modification marks: which parcels changed since the model was saved.

(defvar *modified-parcels* (make-hash-table :test 'eql)
  "Sysids of the parcels (and contents) changed since the last save.")

(defun %sysid (x) (k2::entity-handle-sysid x))

(defun set-new-parcel-modified (obj)
  "Marks a new or changed parcel."
  (let ((p (%item-parcel obj)))
    (unless p (error "~S is no object of the model." obj))
    (setf (gethash (%sysid p) *modified-parcels*) t)))

(defun set-path-modified (item &optional which)
  "Marks the object of ITEM and every parcel on its path; with :CONTENTS
its contents too (all instances of a part see the change)."
  (let ((p (%item-parcel item)))
    (unless p (error "~S is no object of the model." item))
    (dolist (q (if (sel_item-p item) (sel_item-path item) (list p)))
      (setf (gethash (%sysid q) *modified-parcels*) t))
    (setf (gethash (%sysid p) *modified-parcels*) t)
    (when (eq which :contents)
      (setf (gethash (%sysid (inq-shared-data p)) *modified-parcels*) t))
    t))

(defun parcel-modified-p (obj)
  (let ((p (%item-parcel obj)))
    (and p (or (gethash (%sysid p) *modified-parcels*)
               (gethash (%sysid (inq-shared-data p)) *modified-parcels*))
         t)))

(defun clear-modified-marks () (clrhash *modified-parcels*) t)

;;; Names and groups

;; The kinds of selection items, as values for the functions below.
(defvar s_part :part)
(defvar s_assembly :assembly)
(defvar s_container :container)
(defvar s_face :face)
(defvar s_feature :feature)

(defun tv-gen-obj-basename (kind &key parent (prefix nil))
  "A name for a new object of KIND (:part :assembly :container) that no
child of PARENT (the root when NIL) carries: PREFIX (the kind's name by
default) when free, otherwise PREFIX-k with the smallest free k."
  (let* ((base (or prefix (string-downcase (symbol-name kind))))
         (taken (mapcar #'tv-inq-obj-basename (tv-inq-obj-children (or parent (root-parcel))))))
    (if (not (member base taken :test #'string=))
        base
        (loop for k from 1
              for name = (format nil "~A-~D" base k)
              unless (member name taken :test #'string=) return name))))

(defun structure-subtype-p (obj kind)
  "True when OBJ (a parcel or its sel_item) is of KIND: :part, :assembly
or :container (the values of s_part, s_assembly, s_container)."
  (let ((p (%item-parcel obj)))
    (and p
         (let ((k (sel_item-type (sel-item-of p))))
           (and (member kind '(:part :assembly :container)) (eq k kind))))))

(defun get-contents (obj)
  "The contents (shared data) of a parcel or of a sel_item's parcel."
  (inq-shared-data (or (%item-parcel obj) (error "~S is no object of the model." obj))))

(defun select_by_grouping (obj kind &key recursive)
  "The parcels of KIND below OBJ, in tree order: its children, and with
:RECURSIVE their children in turn. Iterative, so a deep tree costs no stack."
  (let ((found nil)
        (work (list (or (%item-parcel obj) (error "~S is no object of the model." obj)))))
    (loop while work
          do (let* ((p (pop work))
                    (children (tv-inq-obj-children p)))
               (dolist (c children)
                 (when (structure-subtype-p c kind) (push c found)))
               (when recursive (setf work (append children work)))))
    (nreverse found)))

;;; The current part and what parts hold

(defvar *current-part* nil "The part the user works on, or NIL.")

(defun tv-inq-curr-part ()
  "The current part, while it exists; NIL otherwise."
  (and *current-part* (ignore-errors (tv-inq-obj-pathname *current-part*)) *current-part*))

(defun tv-set-curr-part (part)
  "Makes PART (a part or its sel_item; NIL for none) the current part."
  (let ((p (and part (%item-parcel part))))
    (when (and part (not (structure-subtype-p p :part)))
      (error "~S is no part." part))
    (setf *current-part* p)))

(defun get-entities (obj kind)
  "The entities of KIND below OBJ (a parcel or its sel_item): for :BODY the
bodies of the parts, OBJ's own when it is a part, else those below it."
  (unless (eq kind :body) (error "get-entities knows :BODY, not ~S." kind))
  (let ((p (or (%item-parcel obj) (error "~S is no object of the model." obj))))
    (remove nil (mapcar #'get-part-body
                        (if (structure-subtype-p p :part)
                            (list p)
                            (select_by_grouping p :part :recursive t))))))

(defun convert-entity (x)
  "The entity an argument stands for: the item of a sel_item, or the handle itself."
  (if (sel_item-p x) (sel_item-item x) x))


;;; View sets: named sets of objects the user switches between; new parts
;;; join all of them when *add_new_parts_automatically_to_view_sets* says so.

(defvar *add_new_parts_automatically_to_view_sets* t)
(defvar *view-sets* nil "View sets: (name . items), in the order made.")

(defun create-view-set (name)
  (unless (assoc name *view-sets* :test #'equal)
    (setf *view-sets* (append *view-sets* (list (list name)))))
  name)

(defun view-set-items (name)
  "The live items of the view set NAME."
  (remove-if-not (lambda (s) (ignore-errors (tv-inq-obj-pathname (sel_item-item s))))
                 (cdr (assoc name *view-sets* :test #'equal))))

(defun add-parts-automatically-to-all-view-sets (item)
  "Adds ITEM to every view set when *add_new_parts_automatically_to_view_sets*
is true; answers how many sets took it."
  (let ((n 0))
    (when *add_new_parts_automatically_to_view_sets*
      (dolist (set *view-sets*)
        (unless (member item (cdr set) :test #'equalp)
          (setf (cdr set) (append (cdr set) (list item)))
          (incf n))))
    n))

(export '(set-new-parcel-modified set-path-modified parcel-modified-p clear-modified-marks
          tv-gen-obj-basename structure-subtype-p get-contents select_by_grouping s_part
          s_assembly s_container s_face s_feature))
(export '(tv-inq-curr-part tv-set-curr-part *current-part* get-entities convert-entity
          *add_new_parts_automatically_to_view_sets* create-view-set view-set-items
          add-parts-automatically-to-all-view-sets))
