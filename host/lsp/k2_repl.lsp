;;; The host's command line: reads lines from standard input and gives each
;;; to the command interpreter (frame2_input.lsp), which starts and fills
;;; dialogs and evaluates Lisp forms, printing their values. A form may run
;;; over several lines: a line that leaves a form open is continued by the
;;; next. An error prints its report and the loop goes on. While a dialog is
;;; active its panel is shown whenever it changed, and the prompt names it.
;;; Ends at end of input or with (quit) or (exit), in whatever package they
;;; are read.

(in-package "K2")

(defun %quit-form-p (form)
  "True for (quit) or (exit) read in any package: the user types the word,
not a symbol of this package."
  (and (consp form) (null (cdr form)) (symbolp (car form))
       (member (symbol-name (car form)) '("QUIT" "EXIT") :test #'string=)))

(defun %frame2 (name) (find-symbol name "FRAME2"))

(defun %open-form-p (text)
  "True when TEXT ends inside a form (or string) that a further line could close."
  (let ((*read-eval* nil) (pos 0))
    (handler-case
        (loop
          (multiple-value-bind (form next) (read-from-string text nil '%end :start pos)
            (when (eq form '%end) (return nil))
            (setf pos next)))
      (end-of-file () t)
      (error () nil))))

(defun %quit-line-p (text)
  (let ((*read-eval* nil))
    (%quit-form-p (ignore-errors (read-from-string text nil nil)))))

(defvar *line-reader* nil
  "A function of a prompt that answers the next input line, or NIL at the
end of input; a terminal front end sets it to its line editor. Unset, the
loop prints the prompt and reads standard input.")

(defun %next-line (prompt text)
  (cond ((and prompt *line-reader*) (funcall *line-reader* text))
        (t (when prompt (format t "~&~A" text) (finish-output))
           (read-line *standard-input* nil nil))))

(defvar %panel-dirty nil)

(defun %note-dialog-change () (setf %panel-dirty t))

(defun %prompt-text ()
  (let ((active (symbol-value (%frame2 "*ACTIVE-DIALOG*"))))
    (if active
        (format nil "~(~A~)> " (getf (funcall (%frame2 "DIALOG-STATE")) :dialog))
        (format nil "~(~A~)> " (package-name *package*)))))

(defun %repl (package prompt)
  (let ((*package* (%package-or-user package))
        (listeners (%frame2 "*DIALOG-LISTENERS*")))
    (pushnew '%note-dialog-change (symbol-value listeners))
    ;; The model's root exists before the first step, so that undoing the
    ;; first command does not take the root away with it.
    (ignore-errors
     (funcall (%frame2 "ROOT-PARCEL"))
     (funcall (%frame2 "NOTE-COMMAND-STATE")))
    (loop
      (when (and prompt %panel-dirty (symbol-value (%frame2 "*ACTIVE-DIALOG*")))
        (funcall (%frame2 "PRINT-DIALOG-PANEL")))
      (setf %panel-dirty nil)
      (let ((text (%next-line prompt (%prompt-text))))
        (loop while (and text (%open-form-p text))
              do (let ((more (%next-line prompt "  ")))
                   (if more
                       (setf text (concatenate 'string text (string #\Newline) more))
                       (progn
                         (format *error-output* "~&Error: the input ended inside a form.~%")
                         (setf text nil)))))
        (when (null text)
          (when prompt (terpri))
          (return t))
        (when (%quit-line-p text) (return t))
        (funcall (%frame2 "INTERPRET-LINE") text)
        (funcall (%frame2 "PROCESS-INPUT-BUFFER"))
        ;; Each line is one step that (undo) takes back; a line that undid
        ;; or redid changes nothing and notes nothing.
        (ignore-errors (funcall (%frame2 "NOTE-COMMAND-STATE")))
        ;; Observers of the structure tree (a browser front end) see what
        ;; the line changed.
        (ignore-errors
         (funcall (%frame2 "TV-BROWSER-REFRESH") (symbol-value (%frame2 "*STRUCTURE-GBROWSER*"))))
        (finish-output)
        (finish-output *error-output*)))))
