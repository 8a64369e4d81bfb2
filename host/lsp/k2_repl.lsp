;;; The host's command line: reads forms from standard input and evaluates
;;; them in the current package, printing each value; an error prints its
;;; report and the loop goes on. Ends at end of input or with (quit).

(in-package "K2")

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
        (when (equal form '(quit)) (return t))
        (handler-case
            (let ((values (multiple-value-list (eval form))))
              (dolist (v values) (format t "~&~S~%" v))
              (finish-output))
          (error (c)
            (format *error-output* "~&Error: ~A~%" c)
            (finish-output *error-output*)))))))
