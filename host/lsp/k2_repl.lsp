;;; The host's command line: reads forms from standard input and evaluates
;;; them in the current package, printing each value; an error prints its
;;; report and the loop goes on. Ends at end of input or with (quit) or
;;; (exit), in whatever package they are read.

(in-package "K2")

(defun %quit-form-p (form)
  "True for (quit) or (exit) read in any package: the user types the word,
not a symbol of this package."
  (and (consp form) (null (cdr form)) (symbolp (car form))
       (member (symbol-name (car form)) '("QUIT" "EXIT") :test #'string=)))

(defun %repl (package prompt)
  (let ((*package* (%package-or-user package)))
    (loop
      (when prompt
        (format t "~&~A> " (string-downcase (package-name *package*)))
        (finish-output))
      (let ((form (handler-case (read *standard-input* nil '%eof)
                    (error (c)
                      (format *error-output* "~&Error: ~A~%" c)
                      (clear-input *standard-input*)
                      nil))))
        (when (eq form '%eof)
          (when prompt (terpri))
          (return t))
        (when (%quit-form-p form) (return t))
        (handler-case
            (let ((values (multiple-value-list (eval form))))
              (dolist (v values) (format t "~&~S~%" v))
              (finish-output))
          (error (c)
            (format *error-output* "~&Error: ~A~%" c)
            (finish-output *error-output*)))))))
