;;; lmx_doctools: the documentation forms shared by extension modules. They
;;; attach documentation in a debug run of the host and do nothing otherwise;
;;; the host here has no debug run, so they expand to nothing.

(in-package "TV-DOC-TOOLS")

(defmacro define-doc-form (name)
  `(defmacro ,name (&rest description)
     (declare (ignore description))
     nil))

(define-doc-form ~~~fun)
(define-doc-form ~~~dialog)
(define-doc-form ~~~feat)
(define-doc-form ~~~pkg)
(define-doc-form ~~~struct)
(define-doc-form ~~~type)
(define-doc-form ~~~var)
(define-doc-form ~~~class)

(export '(~~~fun ~~~dialog ~~~feat ~~~pkg ~~~struct ~~~type ~~~var ~~~class))
