;;; The input line and the command interpreter: what a user types, a front
;;; end sends, or a command puts into the input buffer (tv-put-buffer).
;;;
;;; A line is read token by token in the current package (dialog commands
;;; are known by name, and are symbols of MEI and OLI as well):
;;;   - a dialog command starts its dialog;
;;;   - a keyword that names a variable of the active dialog selects it, and
;;;     the next token is its value (a push variable runs at once); another
;;;     keyword is a value (:ON, :OFF, a choice) for the variable that has
;;;     the input; :DISPLAY-OPTIONS and :UNDISPLAY-OPTIONS are accepted and
;;;     change nothing here;
;;;   - COMPLETE and CANCEL end the active dialog;
;;;   - a list is a Lisp form: evaluated, its value the value of the
;;;     variable named just before it, else printed; a list of numbers given
;;;     to a colour variable (named, or having the input) is the colour;
;;;   - any other token is a value for the variable that has the input, or,
;;;     without a dialog, a Lisp form evaluated and printed.
;;; A refused token ends the line with its message in the output box; the
;;; dialog stays as it was and the session goes on.

(in-package "FRAME2")

(defvar *input-buffer* nil "Lines put into the input buffer, oldest first.")
(defvar *interpreting* nil "True while a line is being interpreted.")

(defun tv-put-buffer (line)
  "Puts LINE into the host's input buffer: it is interpreted as if typed,
after the line being interpreted now, or at once when none is."
  (unless (stringp line) (error "tv-put-buffer takes a string, not ~S" line))
  (setf *input-buffer* (append *input-buffer* (list line)))
  (unless *interpreting* (process-input-buffer))
  t)

(defun process-input-buffer ()
  "Interprets the lines waiting in the input buffer, in order."
  (loop while *input-buffer*
        do (%interpret-line (pop *input-buffer*))))

(defun %dialog-command-p (token)
  (and (symbolp token) (not (keywordp token)) token (not (eq token t))
       (find-dialog (symbol-name token))))

(defun %word-p (token word)
  (and (symbolp token) (not (keywordp token)) (string= (symbol-name token) word)))

(defun %print-values (values)
  (dolist (v values) (display (format nil "~S" v))))

(defun %target (pending)
  "The variable that takes the next value: the one named last, else the
one that has the input; NIL without a dialog."
  (and *active-dialog* (or pending (dialog-run-focus *active-dialog*))))

(defun %literal-colour-p (token pending)
  "True when TOKEN, a list of numbers, goes to a colour variable as it stands."
  (let* ((target (%target pending))
         (var (and target (%var target))))
    (and var (eq (dialog-var-type var) :rgb) (listp token) (every #'realp token))))

(defun %read-tokens (line)
  "The tokens of LINE, read without evaluation, or an error."
  (let ((*read-eval* nil)
        (tokens nil)
        (pos 0))
    (loop
      (multiple-value-bind (token next) (read-from-string line nil '%end :start pos)
        (when (eq token '%end) (return (nreverse tokens)))
        (push token tokens)
        (setf pos next)))))

(defun interpret-line (line)
  "Interprets one input line, then what it put into the input buffer;
returns T when the line was taken whole, NIL when a token was refused (its
message is in the output box)."
  (if *interpreting*
      (%interpret-line line)
      (prog1 (%interpret-line line) (process-input-buffer))))

(defun %interpret-line (line)
  (let ((*interpreting* t))
    (handler-case
        (let ((tokens (%read-tokens line))
              (pending nil))
          (loop while tokens
                do (let ((token (pop tokens)))
                     (cond
                       ((%dialog-command-p token) (start-dialog (symbol-name token)) (setf pending nil))
                       ((%word-p token "COMPLETE")
                        (let ((r (complete-dialog))) (declare (ignore r))) (setf pending nil))
                       ((%word-p token "CANCEL") (cancel-dialog) (setf pending nil))
                       ((and (keywordp token) (member token '(:display-options :undisplay-options))))
                       ((and (keywordp token) *active-dialog* (not pending)
                             (or (%var token) (null (dialog-run-focus *active-dialog*))))
                        (let ((var (%need-var token)))
                          (if (eq (dialog-var-type var) :push)
                              (dialog-push token)
                              (progn (setf pending token) (set-dialog-focus token)))))
                       ((and (consp token) (not (%literal-colour-p token pending)))
                        ;; A form gives its value to a variable named just
                        ;; before it; typed alone it is a command of its own.
                        (let ((values (multiple-value-list (eval token))))
                          (if pending
                              (progn (dialog-input pending (first values)) (setf pending nil))
                              (%print-values values))))
                       ((and *active-dialog* (or pending (dialog-run-focus *active-dialog*)))
                        (dialog-input (or pending (dialog-run-focus *active-dialog*)) token)
                        (setf pending nil))
                       (*active-dialog*
                        (dialog-refuse "~S: no variable takes input now; name one, or COMPLETE or CANCEL." token))
                       (t (%print-values (multiple-value-list (eval token)))))))
          (when pending
            (dialog-refuse "~A needs a value." (dialog-var-title (%var pending))))
          t)
      (error (c)
        (tv-display-error (format nil "~A" c))
        nil))))

(export '(tv-put-buffer process-input-buffer interpret-line *input-buffer*))
