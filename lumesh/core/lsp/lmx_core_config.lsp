;;; lmx_core_config: the constants that the module core needs first: its id,
;;; the name of its resource file and its installation directory.

(in-package "LUMESH")

(defconstant +module-id+
  (string-upcase (getf (get-module-manifest) :module-name))
  "Id of the module towards the host's customization and user-interface services.")

(defparameter +resource-file+ (tv-multi-lang-string "lmx_resources")
  "Base name of the language resource file, without extension.")

(defun find-module-home (directory)
  "The first of DIRECTORY, its parent's \"lumesh\" folder and its grandparent
that holds the resource file; NIL when none does."
  (let ((candidates
          (list directory
                (append (butlast directory) (list "lumesh"))
                (butlast directory 2))))
    (find-if (lambda (d)
               (probe-file (make-pathname :directory d :name +resource-file+ :type "lsp")))
             candidates)))

(unless (boundp '+home+)
  (defparameter +home+
    (find-module-home (pathname-directory (or *load-truename* *default-pathname-defaults*)))
    "Installation directory of the module, as a directory list."))

(defparameter +module-images-dir+ (append +home+ (list "images")))
(defparameter +module-help-location+ (append +home+ (list "documentation" "pub" "html")))

(export '(+module-id+))
