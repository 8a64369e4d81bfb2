;;; The dialog framework: a dialog is a command with variables that the user
;;; fills in from the input line, then completes or cancels.
;;;
;;; A dialog is defined once (define-dialog) and started by its command; one
;;; dialog is active at a time. Its state is plain data (dialog-state) that
;;; any front end can render, and it changes only through the functions
;;; below, which the input line (frame2_input.lsp) calls as the user types:
;;; nothing here knows how the dialog is shown.
;;;
;;; A variable has a type that turns the typed token into its value and
;;; refuses what does not fit; a check function of its own may refuse more.
;;; A refused value leaves the variable as it was and keeps the input on it,
;;; with the reason as the dialog's message. Complete checks that every
;;; visible must-variable has a value, runs the before-ok function (NIL keeps
;;; the dialog open), stores the session values, runs the action and only
;;; then ends the dialog (deferred termination): an action that signals an
;;; error leaves the dialog open with the error as its message. Cancel ends
;;; it, and takes the model back to the checkpoint noted at the start when
;;; the dialog asks for that.

(in-package "FRAME2")

(defstruct (dialog-def (:constructor %make-dialog-def))
  name title variables before-ok action cancel-action cancel-to-checkpoint on-start next-input)

(defstruct (dialog-var (:constructor %make-dialog-var))
  name type title prompt default must check after-input visible enabled pds
  range direction multiple section action half local)

(defstruct (dialog-run (:constructor %make-dialog-run (def)))
  def
  (values (make-hash-table :test 'eq))
  (enabled (make-hash-table :test 'eq))   ; overrides of the variables' rules
  (visible (make-hash-table :test 'eq))
  focus message checkpoint)

(defvar *dialogs* (make-hash-table :test 'equal)
  "Dialog definitions by the name of their command.")
(defvar *session-values* (make-hash-table :test 'equal)
  "Values of :PDS :SESSION variables, by (dialog name . variable).")
(defvar *active-dialog* nil "The dialog run that takes input, or NIL.")
(defvar *dialog-listeners* nil
  "Functions called with no argument after every change of dialog state.")

(define-condition dialog-input-error (simple-error) ()
  (:documentation "Input the active dialog refuses; the dialog stays as it was."))

(defun dialog-refuse (format &rest args)
  (error 'dialog-input-error :format-control format :format-arguments args))

(defparameter +variable-types+
  '(:string :filename :boolean :number :positive-number :integer :length :angle
    :range :rgb :push :part :assembly :parcel :face :read-only)
  "The types a dialog variable can have.")

(defun %make-var (spec)
  (destructuring-bind (name &key (type :string) title prompt default must check
                              after-input visible enabled pds range direction
                              multiple section action half local)
      spec
    (unless (keywordp name) (error "a dialog variable is named by a keyword, not ~S" name))
    (unless (member type +variable-types+) (error "unknown dialog variable type ~S of ~S" type name))
    (when (and (eq type :range) (null range)) (error "the range variable ~S needs :RANGE" name))
    (%make-dialog-var :name name :type type :title (or title (string-capitalize (symbol-name name)))
                      :prompt prompt :default default :must must :check check
                      :after-input after-input :visible visible :enabled enabled :pds pds
                      :range range :direction direction :multiple multiple :section section
                      :action action :half half :local local)))

(defun dialog-command-symbol (name)
  "The symbol of a dialog's command, made known to the input line's packages."
  (let ((text (string name)))
    (dolist (p '("MEI" "OLI"))
      (export (intern text p) p))
    (intern text "MEI")))

(defun define-dialog (name &key title variables before-ok action cancel-action
                                cancel-to-checkpoint on-start next-input)
  "Defines (or redefines) the dialog NAME, a symbol or string: its command
is typed at the input line. VARIABLES is a list of specs (:KEY &key :TYPE
:TITLE :PROMPT :DEFAULT :MUST :CHECK :AFTER-INPUT :VISIBLE :ENABLED :PDS
:RANGE :DIRECTION :MULTIPLE :SECTION :ACTION :HALF :LOCAL), in input order.
A :LOCAL variable is the dialog's own: never shown, never typed, set by
its code with set-dialog-value. NEXT-INPUT, a function of no argument,
names the variable that takes the input after each value (NIL: the top
prompt); without it the input moves to the next variable to fill."
  (let* ((key (string-upcase (string name)))
         (vars (mapcar #'%make-var variables))
         (def (%make-dialog-def :name key :title (or title key) :variables vars
                                :before-ok before-ok :action action :cancel-action cancel-action
                                :cancel-to-checkpoint cancel-to-checkpoint :on-start on-start
                                :next-input next-input)))
    (let ((names (mapcar #'dialog-var-name vars)))
      (when (/= (length names) (length (remove-duplicates names)))
        (error "dialog ~A names a variable twice" key)))
    (setf (gethash key *dialogs*) def)
    (dialog-command-symbol key)
    key))

(defun find-dialog (name)
  (and (or (symbolp name) (stringp name))
       (gethash (string-upcase (string name)) *dialogs*)))

(defun %changed ()
  (dolist (f *dialog-listeners*)
    (handler-case (funcall f)
      (error (c) (tv-display-error (format nil "~A" c))))))

(defun %call (f &rest args)
  (cond ((null f) nil)
        ((or (functionp f) (and (symbolp f) (fboundp f))) (apply f args))
        (t f)))

(defun %var (name &optional (run *active-dialog*))
  (and run (find name (dialog-def-variables (dialog-run-def run)) :key #'dialog-var-name)))

(defun %need-active ()
  (or *active-dialog* (dialog-refuse "No dialog is active.")))

(defun %need-var (name)
  (or (%var name (%need-active))
      (dialog-refuse "The dialog ~A has no variable ~S."
                     (dialog-def-name (dialog-run-def *active-dialog*)) name)))

;;; Values

(defun dialog-value (name &optional (run *active-dialog*))
  "The value of a variable of the active dialog (NIL when it has none)."
  (and run (values (gethash name (dialog-run-values run)))))

(defun dialog-value-given-p (name &optional (run *active-dialog*))
  (and run (nth-value 1 (gethash name (dialog-run-values run)))))

(defun %flag (table rule name run)
  (multiple-value-bind (v found) (gethash name table)
    (if found v (if (null rule) t (and (%call rule run) t)))))

(defun dialog-variable-visible-p (name &optional (run *active-dialog*))
  (let ((v (%var name run)))
    (and v (not (dialog-var-local v))
         (%flag (dialog-run-visible run) (dialog-var-visible v) name run))))

(defun set-dialog-value (name value)
  "Sets a variable of the active dialog from the dialog's own code, without
the checks of typed input (a local variable, or a value the code derived)."
  (%need-var name)
  (setf (gethash name (dialog-run-values *active-dialog*)) value)
  (%changed)
  value)

(defun dialog-variable-enabled-p (name &optional (run *active-dialog*))
  (let ((v (%var name run)))
    (and v (not (eq (dialog-var-type v) :read-only))
         (%flag (dialog-run-enabled run) (dialog-var-enabled v) name run))))

(defun set-dialog-variable-enabled (name flag)
  (%need-var name)
  (setf (gethash name (dialog-run-enabled *active-dialog*)) (and flag t))
  (%changed)
  flag)

(defun set-dialog-variable-visible (name flag)
  (%need-var name)
  (setf (gethash name (dialog-run-visible *active-dialog*)) (and flag t))
  (%changed)
  flag)

(defun %positive-real (x what)
  (unless (and (realp x) (> x 0)) (dialog-refuse "~A must be a positive number, not ~S." what x))
  x)

(defun %parcel-of (x)
  (cond ((sel_item-p x) (sel_item-item x))
        ((stringp x) (or (tv-pathname-to-obj x) (dialog-refuse "No object is named ~S." x)))
        (t x)))

(defun %selection (x var kinds)
  "The selection item of a parcel of one of KINDS (:part :assembly
:container), from a sel_item, a parcel handle or a path name."
  (let ((s (handler-case
               (cond ((sel_item-p x)
                      (unless (tv-inq-obj-pathname (sel_item-item x)) (error "stale"))
                      x)
                     (t (sel-item-of (%parcel-of x))))
             (dialog-input-error (c) (error c))
             (error () (dialog-refuse "~S is no object of the model." x)))))
    (unless (member (sel_item-type s) kinds)
      (dialog-refuse "~A takes ~{~(~A~)~^ or ~}, not ~A." (dialog-var-title var) kinds
                     (tv-inq-obj-pathname (sel_item-item s))))
    s))

(defun check-file-status (file &key (direction :input) if-exists)
  "Signals an error unless FILE can be read (:DIRECTION :INPUT) or written
(:OUTPUT: its folder exists and the file, if there, is no folder). With
:IF-EXISTS :ERROR an existing output file is refused; :CONFIRM-OVERWRITE
and :OVERWRITE let it be replaced. Returns the file's name."
  (let ((path (ignore-errors (pathname file))))
    (unless (and path (stringp file) (plusp (length file)))
      (error "~S is no file name." file))
    (ecase direction
      (:input
       (let ((found (ignore-errors (probe-file path))))
         (unless (and found (pathname-name found))
           (error "The file ~A does not exist." file))))
      (:output
       (let ((folder (make-pathname :name nil :type nil :version nil :defaults (merge-pathnames path))))
         (unless (ignore-errors (probe-file folder))
           (error "The folder of ~A does not exist." file))
         (let ((found (ignore-errors (probe-file path))))
           (when (and found (null (pathname-name found)))
             (error "~A is a folder." file))
           (when (and found (eq if-exists :error))
             (error "The file ~A exists already." file))))))
    file))

(defun %convert (var token)
  "The value of VAR from a typed token, or a dialog-input-error."
  (let ((title (dialog-var-title var)))
    (ecase (dialog-var-type var)
      ((:string :read-only) (if (stringp token) token (princ-to-string token)))
      (:filename
       (unless (stringp token) (dialog-refuse "~A takes a file name in double quotes." title))
       token)
      (:boolean
       (cond ((member token '(:on t)) t)
             ((member token '(:off nil)) nil)
             (t (dialog-refuse "~A takes :ON or :OFF, not ~S." title token))))
      (:number (unless (realp token) (dialog-refuse "~A takes a number, not ~S." title token)) token)
      (:integer (unless (integerp token) (dialog-refuse "~A takes a whole number, not ~S." title token))
       token)
      (:positive-number (%positive-real token title))
      ;; Typed in the user's length unit, kept in the kernel's.
      (:length (* (%positive-real token title) (nth-value 1 (tv-inq-length-units))))
      (:angle (unless (realp token) (dialog-refuse "~A takes an angle in degrees, not ~S." title token))
       token)
      (:range
       (unless (member token (dialog-var-range var))
         (dialog-refuse "~A takes one of ~{~S~^, ~}, not ~S." title (dialog-var-range var) token))
       token)
      (:rgb
       (unless (and (listp token) (= (length token) 3) (every #'realp token)
                    (every (lambda (c) (<= 0 c 1)) token))
         (dialog-refuse "~A takes a colour as (red green blue), each from 0 to 1, not ~S." title token))
       token)
      ((:part :assembly :parcel)
       (let ((kinds (case (dialog-var-type var)
                      (:part '(:part)) (:assembly '(:assembly)) (t '(:part :assembly :container)))))
         (if (dialog-var-multiple var)
             (mapcar (lambda (x) (%selection x var kinds)) (if (listp token) token (list token)))
             (%selection token var kinds))))
      (:face
       (flet ((face-item (x)
                (unless (and (sel_item-p x) (eq (sel_item-type x) :face))
                  (dialog-refuse "~A takes faces (selection items of faces), not ~S." title x))
                x))
         (if (dialog-var-multiple var)
             (mapcar #'face-item (if (listp token) token (list token)))
             (face-item token))))
      (:push (dialog-refuse "~A is an action, not a value." title)))))

(defun %check-file (var value)
  (when (and (eq (dialog-var-type var) :filename) (plusp (length value)))
    (check-file-status value :direction (or (dialog-var-direction var) :input))))

(defun %next-var (after)
  "The next visible, enabled variable after AFTER (the first for NIL), or NIL."
  (let ((vars (dialog-def-variables (dialog-run-def *active-dialog*))))
    (when after (setf vars (rest (member after vars :key #'dialog-var-name))))
    (let ((v (find-if (lambda (v)
                        (and (not (eq (dialog-var-type v) :push))
                             (dialog-variable-visible-p (dialog-var-name v))
                             (dialog-variable-enabled-p (dialog-var-name v))))
                      vars)))
      (and v (dialog-var-name v)))))

(defun set-dialog-focus (name)
  "Puts the input on the variable NAME (NIL: the dialog's top prompt)."
  (when name (%need-var name))
  (setf (dialog-run-focus (%need-active)) name)
  (%changed)
  name)

(defun dialog-input (name token)
  "Gives the variable NAME of the active dialog the value of TOKEN, checked
by its type and its own check. Refused input signals dialog-input-error and
leaves the value; the input stays on the variable."
  (let ((var (%need-var name)))
    (when (dialog-var-local var)
      (dialog-refuse "The dialog has no variable ~S." name))
    (setf (dialog-run-focus *active-dialog*) name)
    (handler-case
        (progn
          (unless (dialog-variable-visible-p name)
            (dialog-refuse "~A is not shown now." (dialog-var-title var)))
          (unless (dialog-variable-enabled-p name)
            (dialog-refuse "~A cannot be changed now." (dialog-var-title var)))
          (let ((value (%convert var token)))
            (%check-file var value)
            (when (dialog-var-check var)
              (let* ((check (dialog-var-check var))
                     (verdict (if (consp check)
                                  (apply (first check) value (rest check))
                                  (%call check value))))
                (when (stringp verdict) (dialog-refuse "~A" verdict))))
            (setf (gethash name (dialog-run-values *active-dialog*)) value)
            (setf (dialog-run-message *active-dialog*) nil)
            (%call (dialog-var-after-input var) value)
            (when *active-dialog*
              (setf (dialog-run-focus *active-dialog*)
                    (let ((rule (dialog-def-next-input (dialog-run-def *active-dialog*))))
                      (if rule (%call rule) (%next-var name)))))
            (%changed)
            value))
      (error (c)
        (when *active-dialog* (setf (dialog-run-message *active-dialog*) (format nil "~A" c)))
        (%changed)
        (if (typep c 'dialog-input-error) (error c) (dialog-refuse "~A" c))))))

(defun dialog-push (name)
  "Runs the action of the push variable NAME."
  (let ((var (%need-var name)))
    (unless (eq (dialog-var-type var) :push)
      (dialog-refuse "~A is not an action." (dialog-var-title var)))
    (%call (dialog-var-action var))
    (%changed)
    t))

;;; Start, complete, cancel

(defun %pds-key (def var) (cons (dialog-def-name def) (dialog-var-name var)))

(defun %persistent-record (def)
  "The dialog's record in the user's persistent data; NIL when it has none
or it cannot be read (the reason is shown, the defaults hold)."
  (handler-case (tv-get-persistent-data "DIALOGS" (dialog-def-name def))
    (error (c) (tv-display-error (format nil "~A" c)) nil)))

(defun %stored-value (def var)
  "The value kept for VAR: for :PDS :SESSION from this session, for :PDS
:PERSISTENT from the user's persistent data (and this session's, which is
newer). Second value: whether one was kept."
  (case (dialog-var-pds var)
    (:session (gethash (%pds-key def var) *session-values*))
    (:persistent
     (multiple-value-bind (v found) (gethash (%pds-key def var) *session-values*)
       (if found
           (values v t)
           (let* ((record (%persistent-record def))
                  (tail (member (dialog-var-name var) record)))
             (if tail (values (second tail) t) (values nil nil))))))
    (t (values nil nil))))

(defun %store-values (def)
  "Keeps the values of the :PDS variables at Complete; the persistent ones
go to the user's persistent data as well. A store that fails is shown and
does not stop the dialog."
  (let ((persistent nil))
    (dolist (v (dialog-def-variables def))
      (when (and (member (dialog-var-pds v) '(:session :persistent))
                 (dialog-value-given-p (dialog-var-name v)))
        (setf (gethash (%pds-key def v) *session-values*) (dialog-value (dialog-var-name v)))
        (when (eq (dialog-var-pds v) :persistent)
          (setf (getf persistent (dialog-var-name v)) (dialog-value (dialog-var-name v))))))
    (when persistent
      (handler-case
          (let ((record (copy-list (%persistent-record def))))
            (loop for (k val) on persistent by #'cddr do (setf (getf record k) val))
            (tv-set-persistent-data "DIALOGS" (dialog-def-name def) record))
        (error (c) (tv-display-error (format nil "~A" c)))))))

(defun start-dialog (name)
  "Starts the dialog NAME; an active dialog is cancelled first. Defaults are
set in order (a session value of a :PDS :SESSION variable wins), then the
start function runs and the input goes to the first variable to fill."
  (let ((def (or (find-dialog name) (dialog-refuse "No dialog is named ~A." name))))
    (when *active-dialog* (cancel-dialog))
    (let ((run (%make-dialog-run def)))
      (when (dialog-def-cancel-to-checkpoint def)
        (setf (dialog-run-checkpoint run) (tv-set-model-checkpoint)))
      (setf *active-dialog* run)
      (dolist (v (dialog-def-variables def))
        (multiple-value-bind (stored found) (%stored-value def v)
          (cond (found (setf (gethash (dialog-var-name v) (dialog-run-values run)) stored))
                ((dialog-var-default v)
                 (setf (gethash (dialog-var-name v) (dialog-run-values run))
                       (%call (dialog-var-default v)))))))
      (%call (dialog-def-on-start def))
      (setf (dialog-run-focus run) (%next-var nil))
      (%changed)
      (dialog-def-name def))))

(defun %end-dialog ()
  (setf *active-dialog* nil)
  (%changed))

(defun complete-dialog ()
  "Completes the active dialog; returns the action's value. A missing
must-variable, a before-ok function answering NIL or an action error keep
the dialog open, with the reason as its message."
  (let* ((run (%need-active))
         (def (dialog-run-def run)))
    (handler-case
        (progn
          (dolist (v (dialog-def-variables def))
            (when (and (dialog-var-must v) (dialog-variable-visible-p (dialog-var-name v))
                       (let ((x (dialog-value (dialog-var-name v))))
                         (or (not (dialog-value-given-p (dialog-var-name v)))
                             (and (stringp x) (zerop (length x))))))
              (setf (dialog-run-focus run) (dialog-var-name v))
              (dialog-refuse "~A must be given." (dialog-var-title v))))
          (when (and (dialog-def-before-ok def) (not (%call (dialog-def-before-ok def))))
            (dialog-refuse "~A is not complete." (dialog-def-title def)))
          (%store-values def)
          (let ((result (%call (dialog-def-action def))))
            ;; The action may have started another dialog: that one stays.
            (when (eq *active-dialog* run) (%end-dialog))
            result))
      (error (c)
        (when (eq *active-dialog* run)
          (setf (dialog-run-message run) (format nil "~A" c))
          (%changed))
        (if (typep c 'dialog-input-error) (error c) (dialog-refuse "~A" c))))))

(defun cancel-dialog ()
  "Ends the active dialog without its action; back to the start's
checkpoint when the dialog asks for that."
  (let* ((run (%need-active))
         (def (dialog-run-def run)))
    (unwind-protect
         (progn
           (%call (dialog-def-cancel-action def))
           (when (dialog-run-checkpoint run)
             (tv-return-to-model-checkpoint (dialog-run-checkpoint run))))
      (when (eq *active-dialog* run) (%end-dialog)))
    t))

;;; The state, for front ends

(defun %value-text (var value given)
  (cond ((not given) "")
        ((eq (dialog-var-type var) :boolean) (if value ":ON" ":OFF"))
        ((and (eq (dialog-var-type var) :length) (realp value))
         (format nil "~A ~(~A~)" (tv-num-to-string (tv-sys-to-user-units :length value))
                 (tv-inq-length-units)))
        ((sel_item-p value) (or (ignore-errors (tv-inq-obj-pathname (sel_item-item value))) "?"))
        ((and (listp value) value (every #'sel_item-p value))
         (format nil "~{~A~^ ~}" (mapcar (lambda (s) (or (ignore-errors (tv-inq-obj-pathname (sel_item-item s))) "?"))
                                         value)))
        ((stringp value) (format nil "~S" value))
        (t (format nil "~S" value))))

(defun dialog-state ()
  "The active dialog as data: a property list with :DIALOG, :TITLE,
:PROMPT, :FOCUS, :MESSAGE and :VARIABLES, one property list per variable
(:NAME :TITLE :TYPE :VALUE :TEXT :GIVEN :VISIBLE :ENABLED :MUST :SECTION);
NIL when no dialog is active."
  (let ((run *active-dialog*))
    (when run
      (let* ((def (dialog-run-def run))
             (focus (dialog-run-focus run))
             (fvar (and focus (%var focus run))))
        (list :dialog (dialog-def-name def)
              :title (dialog-def-title def)
              :prompt (if fvar
                          (or (dialog-var-prompt fvar) (format nil "~A:" (dialog-var-title fvar)))
                          (format nil "~A: a variable, COMPLETE or CANCEL." (dialog-def-title def)))
              :focus focus
              :message (dialog-run-message run)
              :variables
              (mapcar (lambda (v)
                        (let ((n (dialog-var-name v)))
                          (multiple-value-bind (value given) (gethash n (dialog-run-values run))
                            (list :name n :title (dialog-var-title v) :type (dialog-var-type v)
                                  :value value :text (%value-text v value given) :given given
                                  :visible (dialog-variable-visible-p n run)
                                  :enabled (dialog-variable-enabled-p n run)
                                  :must (and (dialog-var-must v) t)
                                  :section (dialog-var-section v)
                                  :half (and (dialog-var-half v) t)))))
                      (remove-if #'dialog-var-local (dialog-def-variables def))))))))

(defun print-dialog-panel (&optional (stream *standard-output*))
  "The active dialog as a text panel: title, the visible variables with
their values (> marks the input, * a must-variable, - a disabled one), the
message and the prompt."
  (let ((state (dialog-state)))
    (if (null state)
        (format stream "~&No dialog is active.~%")
        (let* ((vars (remove-if-not (lambda (v) (getf v :visible)) (getf state :variables)))
               (width (reduce #'max vars :key (lambda (v) (length (getf v :title))) :initial-value 0))
               (section nil))
          (format stream "~&== ~A ==~%" (getf state :title))
          (dolist (v vars)
            (unless (equal (getf v :section) section)
              (setf section (getf v :section))
              (when section (format stream "  -- ~A --~%" section)))
            (format stream "~A~A~A ~vA ~A~%"
                    (if (eq (getf v :name) (getf state :focus)) ">" " ")
                    (if (getf v :must) "*" " ")
                    (if (getf v :enabled) " " "-")
                    width (getf v :title)
                    (if (eq (getf v :type) :push) "[action]" (getf v :text))))
          (when (getf state :message) (format stream "! ~A~%" (getf state :message)))
          (format stream "~A~%" (getf state :prompt))))
    (values)))

(export '(define-dialog find-dialog start-dialog complete-dialog cancel-dialog dialog-input
          dialog-push dialog-value dialog-value-given-p dialog-state print-dialog-panel
          set-dialog-focus set-dialog-variable-enabled set-dialog-variable-visible
          dialog-variable-visible-p dialog-variable-enabled-p dialog-input-error set-dialog-value
          *active-dialog* *dialog-listeners* dialog-command-symbol check-file-status))
