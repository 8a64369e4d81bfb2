;;; The host's table of applications (modules that present themselves to the
;;; user) and its language services.

(in-package "FRAME2")

(defvar *applications* (make-hash-table :test #'equal)
  "Module id -> (name short-name title).")

(defun tv-add-application-data (module-id name short-name title)
  "Makes a module known to the host as an application."
  (setf (gethash module-id *applications*) (list name short-name title))
  t)

(defun tv-inq-application-data (module-id)
  "(name short-name title) of a registered application, or NIL."
  (values (gethash module-id *applications*)))

(defun tv-multi-lang-string (text)
  "The form of TEXT for the user's language. The host speaks English, whose
form is the text itself."
  text)

(export '(tv-add-application-data tv-inq-application-data tv-multi-lang-string))
