;;; lmx_core: the module core. Its first act is to load the language resource
;;; file; without it the module can not speak, so its absence ends the start-up.

(in-package "LUMESH")

(let ((path (make-pathname :directory +home+ :name +resource-file+ :type "lsp")))
  (if (and +home+ (probe-file path))
      (load path)
      (error "The module resource file '~A' is missing!" (namestring path))))

(tv-add-application-data +module-id+
                         (getf (get-module-manifest) :module-name)
                         "lmx"
                         (get-resource :module-title))
