;;; What the module says about itself: run with `lumesh examples/about.lsp`.

(in-package "LUMESH")

(let ((manifest (get-module-manifest)))
  (format t "~A ~A, built ~A~%~A~%"
          (get-resource :module-title)
          (getf manifest :version)
          (getf manifest :build-date)
          (getf manifest :copyright))
  (format t "  module id   ~A~%" +module-id+)
  (format t "  home        ~A~%" (namestring (make-pathname :directory +home+)))
  (format t "  manifest    ~S~%" manifest))
