;;; Running actions: the error object of the last failed one, the guarded
;;; call, undo and redo of the command line's steps, the host's own name.

(in-package "FRAME2")

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

(export '(tv-inq-error-obj tv-set-error-obj read-error-object display-error tv-call-action
          *action-call-active* tv-inq-version-string tv-inq-cluster-symbolic-name
          tv-inq-cluster-symbolic-version set-cursor-shape *cursor-shape*))
(export '(undo redo note-command-state))
