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

(defvar *tv-language*
  (let ((code (string-downcase (string-trim " " (or (ext:getenv "TVLANGUAGE") "")))))
    (if (member code '("" "en" "english") :test #'string=) "en" code))
  "The language of the user's session as a code (\"en\", \"de\"); from the
environment variable TVLANGUAGE when it is set, English otherwise.")

(defun tv-inq-language ()
  "The code of the session's language, such as \"en\"."
  *tv-language*)

(defun tv-multi-lang-string (text)
  "The form of TEXT for the session's language. For a string, the name of a
language-specific file: in English the text itself, in another language the
text followed by an underscore and the language code (\"lmx_resources\" ->
\"lmx_resources_de\"). For a property list of language keywords and texts
(:EN \"Open\" :DE \"Oeffnen\"), the text of the session's language, else the
English one, else the first."
  (cond ((stringp text)
         (if (string= *tv-language* "en") text (concatenate 'string text "_" *tv-language*)))
        ((and (consp text) (ignore-errors (evenp (list-length text))))
         (let ((none '#:none))
           (flet ((text-of (key) (let ((v (getf text key none))) (and (not (eq v none)) v))))
             (or (text-of (intern (string-upcase *tv-language*) "KEYWORD"))
                 (text-of :en)
                 (second text)))))
        (t (error 'type-error :datum text :expected-type '(or string list)))))

(export '(tv-add-application-data tv-inq-application-data tv-multi-lang-string tv-inq-language
          *tv-language*))
