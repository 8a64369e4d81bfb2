;;; The user's documents as Lisp sees them: persistent data and the loading
;;; of customization files. The files themselves are handled natively
;;; (host/shell/document_bindings.cpp); printing and reading of Lisp values,
;;; and the evaluation of customization forms, are done here.

(in-package "FRAME2")

;;; ------------------------------------------------------------------
;;; Persistent data

(defun %persistent-key-text (x)
  "The stored form of a key: its printed form with every symbol's package
named, so that \"LMX_SETTINGS\", LMX_SETTINGS and :LMX_SETTINGS are three
different keys, whatever package the caller is in. NIL (no subkey) is the
empty text."
  (if (null x)
      ""
      (let ((*package* (find-package "KEYWORD")) (*print-readably* nil) (*print-pretty* nil)
            (*print-case* :upcase))
        (prin1-to-string x))))

(defun %property-list-p (x)
  "True for a proper list of even length (NIL included)."
  (and (listp x) (let ((n (ignore-errors (list-length x)))) (and n (evenp n)))))

(defun %print-record (value)
  "The text of VALUE, checked to read back without evaluation (ECL prints
some objects, such as hash tables, as #. forms, which a record may not hold)."
  (flet ((refuse ()
           (error "The value ~S can't be stored as persistent data: it has no printed form that reads back."
                  value)))
    (let ((text (handler-case
                    (let ((*package* (find-package "KEYWORD")) (*print-readably* t) (*print-pretty* nil)
                          (*print-circle* nil) (*print-case* :upcase))
                      (prin1-to-string value))
                  (error () (refuse)))))
      (handler-case
          (let ((*package* (find-package "KEYWORD")) (*read-eval* nil))
            (read-from-string text))
        (error () (refuse)))
      text)))

(defun %read-record (text application key subkey)
  (let ((file (%persistent-data-file)))
    (multiple-value-bind (value end)
        (handler-case
            (let ((*package* (find-package "KEYWORD")) (*read-eval* nil))
              (read-from-string text))
          (error (e)
            (error "The persistent data file '~A' holds a record for ~S ~S ~S that can't be read: ~A"
                   file application key subkey e)))
      (when (find-if-not (lambda (c) (member c '(#\Space #\Tab #\Newline #\Return))) text :start end)
        (error "The persistent data file '~A' holds a record for ~S ~S ~S with text after its value."
               file application key subkey))
      (unless (%property-list-p value)
        (error "The persistent data file '~A' holds a record for ~S ~S ~S that is not a property list: ~S"
               file application key subkey value))
      value)))

(defun tv-get-persistent-data (application key &key subkey)
  "The record stored for APPLICATION, KEY and SUBKEY, a property list; NIL
when nothing is stored. Records outlive the session."
  (let ((text (%persistent-data-get (%persistent-key-text application) (%persistent-key-text key)
                                    (%persistent-key-text subkey))))
    (and text (%read-record text application key subkey))))

(defun tv-set-persistent-data (application key data &key subkey)
  "Stores DATA, a property list, for APPLICATION, KEY and SUBKEY, replacing
what was stored; NIL removes the record. Returns DATA."
  (unless (%property-list-p data)
    (error 'type-error :datum data :expected-type '(satisfies %property-list-p)))
  (let ((a (%persistent-key-text application)) (k (%persistent-key-text key))
        (s (%persistent-key-text subkey)))
    (if (null data)
        (%persistent-data-remove a k s)
        (%persistent-data-set a k s (%print-record data))))
  data)

;;; ------------------------------------------------------------------
;;; Customization files

(define-condition customization-error (simple-error)
  ((failures :initarg :failures :initform nil :reader customization-error-failures))
  (:documentation "Some customization files failed; FAILURES lists (path . reason)."))

(defun %line-of (text position)
  (1+ (count #\Newline text :end (min position (length text)))))

(defun %skip-blanks-and-comments (stream)
  "Moves STREAM to the next character that starts a form; NIL at the end."
  (loop
    (let ((c (peek-char t stream nil nil)))
      (cond ((null c) (return nil))
            ((char= c #\;) (read-line stream nil nil))
            (t (return c))))))

(defun %file-text (path)
  (with-open-file (in path :direction :input :external-format :utf-8)
    (let* ((buffer (make-string (file-length in)))
           (n (read-sequence buffer in)))
      (subseq buffer 0 n))))

(defun %load-customization-source (path package)
  "Reads and evaluates the forms of the file at PATH in order, with *PACKAGE*
bound to PACKAGE. Returns NIL, or the reason the file stopped: the first form
that failed to read or to evaluate ends the file, and what came before it
stays done."
  (let ((text (handler-case (%file-text path)
                (error (e) (return-from %load-customization-source
                             (format nil "it can't be read as UTF-8 text: ~A" e))))))
    (with-input-from-string (in text)
      (let ((*package* package) (*readtable* *readtable*)
            (*load-pathname* (pathname path)) (*load-truename* (probe-file path)))
        (loop
          (unless (%skip-blanks-and-comments in) (return nil))
          (let* ((start (file-position in))
                 (line (%line-of text start))
                 (form (handler-case (read in)
                         (end-of-file ()
                           (return (format nil "line ~D: the form that begins there is not closed ~
                                                (a parenthesis or a quote is missing)" line)))
                         (error (e)
                           (return (format nil "line ~D: the form that begins there can't be read: ~A"
                                           line e))))))
            ;; Serious conditions too (a stack overflow of a runaway
            ;; recursion): one bad file must not keep the others from loading.
            (handler-case (eval form)
              (serious-condition (e) (return (format nil "line ~D: ~A" line e))))))))))

(defun tv-load-customization-file (file &key application (which :all) (order :tv-corp-site-user))
  "Loads the customization file FILE (a name such as \"customize.lsp\") of
APPLICATION from the corporate, site and user folders, in ORDER. A file that
fails stops at its first bad form; the other files load all the same, and
then a CUSTOMIZATION-ERROR names every file that failed, its line and the
reason. Returns the list of the paths loaded."
  (let ((package (or (and application (find-package (string application)))
                     (find-package "COMMON-LISP-USER")))
        (loaded '()) (failures '()))
    (dolist (entry (%customization-files (string file) application which order))
      (let ((problem (%load-customization-source (cdr entry) package)))
        (if problem
            (push (cons (cdr entry) problem) failures)
            (push (cdr entry) loaded))))
    (when failures
      (setq failures (nreverse failures))
      (error 'customization-error
             :failures failures
             :format-control "~{~A~^~%~}"
             :format-arguments
             (list (mapcar (lambda (f) (format nil "Customization file '~A', ~A" (car f) (cdr f)))
                           failures))))
    (nreverse loaded)))

(export '(tv-get-persistent-data tv-set-persistent-data tv-load-customization-file
          customization-error customization-error-failures))
