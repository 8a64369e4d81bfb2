;;; The structure browser as Lisp code sees it: the browser object that
;;; *structure-gbrowser* holds, and browser nodes. A node is a copy of what
;;; the browser showed when it was made: its path string (BROWSERNODE-OBJPATH),
;;; the label a user sees and its kind (:root :part :assembly :container
;;; :feature). A feature node's path string begins with a double quote and
;;; reads as ("parcel path" :FEATURE "key").

(in-package "FRAME2")

(defstruct (gbrowser (:constructor %make-gbrowser (name))) name)

(defvar *structure-gbrowser* (%make-gbrowser "STRUCTURE")
  "The structure browser of the session: the model tree with its features.")

(defstruct (browsernode (:constructor %make-browsernode (objpath label kind)))
  objpath label kind)

(defun browser ()
  "Prints the structure browser's tree in the output box."
  (tv-print-structure-browser *structure-gbrowser*)
  (values))

(export '(gbrowser gbrowser-p *structure-gbrowser* browsernode browsernode-p
          browsernode-objpath browsernode-label browsernode-kind browser))
