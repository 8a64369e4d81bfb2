;;; Small host services that commands and dialogs call: transformations as
;;; values, strings and numbers for the user, length units, checks of
;;; dialog input, modification marks, generated names, groups of parcels,
;;; the host's error object and the guarded call of an action.

(in-package "FRAME2")

;;; Transformations. A point p maps to p·M + t (row vectors), as in the
;;; kernel; (mult-transformation-3d a b) applies a first, then b.

(defun %elements (tm) (k2::transformation-elements tm))

(defun %transformation (m00 m01 m02 m10 m11 m12 m20 m21 m22 t0 t1 t2)
  (let ((e (make-array 12 :element-type 'double-float)))
    (loop for v in (list m00 m01 m02 m10 m11 m12 m20 m21 m22 t0 t1 t2)
          for i from 0
          do (setf (aref e i) (float v 1d0)))
    (k2::%make-transformation e)))

(defun make-matrix-3d (&key (t0 0) (t1 0) (t2 0) (a11 1) (a12 0) (a13 0) (a21 0) (a22 1)
                            (a23 0) (a31 0) (a32 0) (a33 1) (scale 1)
                            flag-1 flag-2 flag-3 flag-4 flag-5 flag-6)
  "A transformation from its matrix rows (:Aij, scaled by :SCALE) and its
translation (:T0 :T1 :T2); the identity by default. The flags are accepted
for callers that pass them; the matrix says all they could."
  (declare (ignore flag-1 flag-2 flag-3 flag-4 flag-5 flag-6))
  (%transformation (* scale a11) (* scale a12) (* scale a13)
                   (* scale a21) (* scale a22) (* scale a23)
                   (* scale a31) (* scale a32) (* scale a33) t0 t1 t2))

(defun mult-transformation-3d (a b)
  "The transformation that applies A, then B."
  (let ((x (%elements a)) (y (%elements b)) (e (make-array 12 :element-type 'double-float)))
    (dotimes (i 3)
      (dotimes (j 3)
        (setf (aref e (+ (* 3 i) j))
              (loop for k below 3 sum (* (aref x (+ (* 3 i) k)) (aref y (+ (* 3 k) j)))))))
    (dotimes (j 3)
      (setf (aref e (+ 9 j))
            (+ (aref y (+ 9 j))
               (loop for k below 3 sum (* (aref x (+ 9 k)) (aref y (+ (* 3 k) j)))))))
    (k2::%make-transformation e)))

(defun inverse-transformation-3d (tm)
  "The transformation that undoes TM; an error for a singular one."
  (let* ((x (%elements tm))
         (a (aref x 0)) (b (aref x 1)) (c (aref x 2))
         (d (aref x 3)) (e (aref x 4)) (f (aref x 5))
         (g (aref x 6)) (h (aref x 7)) (i (aref x 8))
         (det (+ (* a (- (* e i) (* f h))) (- (* b (- (* d i) (* f g)))) (* c (- (* d h) (* e g))))))
    (when (or (zerop det) (not (< (abs (/ 1 det)) most-positive-double-float)))
      (error "The transformation ~S is singular." tm))
    (let* ((r (/ 1 det))
           (m (list (* r (- (* e i) (* f h))) (* r (- (* c h) (* b i))) (* r (- (* b f) (* c e)))
                    (* r (- (* f g) (* d i))) (* r (- (* a i) (* c g))) (* r (- (* c d) (* a f)))
                    (* r (- (* d h) (* e g))) (* r (- (* b g) (* a h))) (* r (- (* a e) (* b d)))))
           (tx (aref x 9)) (ty (aref x 10)) (tz (aref x 11)))
      (flet ((col (j) (- (+ (* tx (nth j m)) (* ty (nth (+ 3 j) m)) (* tz (nth (+ 6 j) m))))))
        (apply #'%transformation (append m (list (col 0) (col 1) (col 2))))))))

(defun %xyz (p)
  (cond ((k2::gpnt3d-p p) (list (k2::gpnt3d-x p) (k2::gpnt3d-y p) (k2::gpnt3d-z p)))
        ((and (or (listp p) (vectorp p)) (= (length p) 3) (every #'realp p)) (coerce p 'list))
        (t (error "~S is no point." p))))

(defun pos-transformation-3d (point tm)
  "POINT (a gpnt3d or three numbers) moved by TM, as a gpnt3d."
  (destructuring-bind (px py pz) (%xyz point)
    (let ((x (%elements tm)))
      (flet ((c (j) (+ (* px (aref x j)) (* py (aref x (+ 3 j))) (* pz (aref x (+ 6 j))) (aref x (+ 9 j)))))
        (k2::make-gpnt3d (float (c 0) 1d0) (float (c 1) 1d0) (float (c 2) 1d0))))))

(defun gpntwc (x y z)
  "A point in world coordinates."
  (k2::make-gpnt3d (float x 1d0) (float y 1d0) (float z 1d0)))

;;; Strings, numbers and units

(defun tv-read-from-string (string &optional (eof-value nil))
  "The first object written in STRING, read without evaluation; EOF-VALUE
for an empty string; an error for text that is no object."
  (unless (stringp string) (error "tv-read-from-string takes a string, not ~S" string))
  (let ((*read-eval* nil))
    (values (read-from-string string nil eof-value))))

(defun tv-string-split (string &optional (separator #\Space))
  "The pieces of STRING between SEPARATOR characters (a character or a
string of them), empty pieces left out."
  (let ((seps (if (characterp separator) (list separator) (coerce (string separator) 'list)))
        (pieces nil) (start 0))
    (loop for i from 0 to (length string)
          do (when (or (= i (length string)) (member (char string i) seps))
               (when (> i start) (push (subseq string start i) pieces))
               (setf start (1+ i))))
    (nreverse pieces)))

(defvar *tv-num-digits* 6 "Significant digits of numbers shown to the user.")

(defun tv-num-to-string (number)
  "NUMBER as the user reads it: integers as they are, other reals with
*tv-num-digits* significant digits and no trailing zeros."
  (cond ((integerp number) (format nil "~D" number))
        ((and (floatp number) (/= number number)) "NaN")
        ((and (floatp number) (> (abs number) most-positive-double-float))
         (if (plusp number) "inf" "-inf"))
        ((realp number)
         (let* ((x (float number 1d0)))
           (if (or (zerop x) (< 1d-4 (abs x) 1d12))
               (let* ((digits (max 0 (- *tv-num-digits* 1
                                        (if (zerop x) 0 (floor (log (abs x) 10))))))
                      (text (format nil "~,vF" digits x)))
                 (when (find #\. text)
                   (setf text (string-right-trim "0" text))
                   (when (char= (char text (1- (length text))) #\.)
                     (setf text (subseq text 0 (1- (length text))))))
                 (if (member text '("-0" "") :test #'string=) "0" text))
               (format nil "~,v,,,,,'eE" (1- *tv-num-digits*) x))))
        (t (error "~S is no number." number))))

(defparameter +length-units+
  '(("MM" . 1d0) ("CM" . 10d0) ("M" . 1000d0) ("IN" . 25.4d0) ("FT" . 304.8d0))
  "Length units the user can choose, with their size in millimetres, the
kernel's unit.")

(defvar *user-length-unit* "MM" "The user's length unit, a name of +length-units+.")

(defun tv-inq-length-units ()
  "The user's length unit: its name and its size in millimetres."
  (let ((u (assoc *user-length-unit* +length-units+ :test #'string-equal)))
    (values (car u) (cdr u))))

(defun tv-set-length-units (name)
  (unless (assoc name +length-units+ :test #'string-equal)
    (error "~S is no length unit; units are ~{~A~^, ~}." name (mapcar #'car +length-units+)))
  (setf *user-length-unit* (string-upcase name)))

(defun tv-sys-to-user-units (kind value)
  "VALUE of KIND (:LENGTH, :AREA, :VOLUME, :ANGLE, :NUMBER) from the
kernel's units to the user's."
  (unless (realp value) (error "~S is no number." value))
  (let ((size (nth-value 1 (tv-inq-length-units))))
    (ecase kind
      (:length (/ value size))
      (:area (/ value (* size size)))
      (:volume (/ value (* size size size)))
      ((:angle :number) value))))

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

;;; The host's error object: what the last failed action said.

(defvar *tv-error-obj* nil "A property list (:MESSAGE text :ERROR-MESG text :CONDITION c), or NIL.")

(defun tv-set-error-obj (condition)
  (let ((text (format nil "~A" condition)))
    (setf *tv-error-obj* (list :message text :error-mesg text :condition condition))))

(defun tv-inq-error-obj (&optional key)
  "The last error object, or the value of KEY in it."
  (if key (getf *tv-error-obj* key) *tv-error-obj*))

(defun read-error-object (object key)
  (cond ((listp object) (getf object key))
        ((typep object 'condition) (format nil "~A" object))
        (t nil)))

(defun display-error (text)
  "Shows TEXT (a string, an error object or a condition) as an error in the output box."
  (tv-display-error (cond ((stringp text) text)
                          ((listp text) (or (getf text :message) (format nil "~S" text)))
                          (t (format nil "~A" text)))))

(defun %oli-symbol (name)
  (let ((s (intern name "OLI"))) (export s "OLI") s))

(defvar *action-call-active* nil "True while an action runs: another may not start inside it.")

(defun tv-call-action (function &rest args)
  "Runs an action: refused with the error :TV-CALL-ACTION-ILLEGAL-CALL
(package OLI) inside another action; an error of the action is caught, kept
as the error object and answered with NIL and the object."
  (when *action-call-active*
    (return-from tv-call-action
      (values nil (list :message "An action cannot start inside another action."
                        :error-mesg (%oli-symbol "TV-CALL-ACTION-ILLEGAL-CALL")))))
  (let ((*action-call-active* t))
    (handler-case (values (apply function args) nil)
      (error (c) (values nil (tv-set-error-obj c))))))

;;; The host itself

(defparameter +host-name+ "Lumesh")
(defparameter +host-version+ "0.1")

(defun tv-inq-version-string () (format nil "~A ~A" +host-name+ +host-version+))
(defun tv-inq-cluster-symbolic-name () +host-name+)
(defun tv-inq-cluster-symbolic-version () +host-version+)

(defvar *cursor-shape* :arrow "The pointer's shape as the front ends should show it.")
(defun set-cursor-shape (shape)
  (unless (keywordp shape) (error "~S is no cursor shape." shape))
  (setf *cursor-shape* shape))

(export '(make-matrix-3d mult-transformation-3d inverse-transformation-3d pos-transformation-3d gpntwc
          tv-read-from-string tv-string-split tv-num-to-string *tv-num-digits*
          tv-inq-length-units tv-set-length-units tv-sys-to-user-units
          check-positive-number check-part-with-body check-modifiable
          set-new-parcel-modified set-path-modified parcel-modified-p clear-modified-marks
          tv-gen-obj-basename structure-subtype-p get-contents select_by_grouping s_part
          s_assembly s_container s_face s_feature
          tv-inq-error-obj tv-set-error-obj read-error-object display-error tv-call-action
          *action-call-active* tv-inq-version-string tv-inq-cluster-symbolic-name
          tv-inq-cluster-symbolic-version set-cursor-shape *cursor-shape*))

;;; Undo and redo at the command line: each line the user types is one step
;;; (the command line notes the state after it).

(defun %state-manager () (symbol-value (find-symbol "*K2-STATE-MANAGER*" "K2")))

(defun undo (&optional (steps 1))
  "Takes the model back STEPS noted states; NIL when the history keeps none that far back."
  (let* ((sm (%state-manager))
         (now (k2::current-state sm)))
    (and (>= (- now steps) 0) (k2::recover-state sm (- now steps)))))

(defun redo (&optional (steps 1))
  "Goes forward again STEPS states that undo left; NIL when there are none."
  (let ((sm (%state-manager)))
    (k2::recover-state sm (+ (k2::current-state sm) steps))))

(defun note-command-state ()
  "Closes the changes made so far as one step of the history."
  (k2::note-state (%state-manager)))

(export '(undo redo note-command-state))

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

(export '(tv-inq-curr-part tv-set-curr-part *current-part* get-entities convert-entity))

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

(export '(*add_new_parts_automatically_to_view_sets* create-view-set view-set-items
          add-parts-automatically-to-all-view-sets))
