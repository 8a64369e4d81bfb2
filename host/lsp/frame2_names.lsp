;;; The host's operations under the names module code calls them by, with
;;; underscores where the host's own names have them (set_tm, insert_child),
;;; beside the hyphenated names of the rest of FRAME2. Each calls the other
;;; by name when called (the native ones are registered after this unit
;;; loads), so both names always behave alike.

(in-package "FRAME2")

(defparameter +underscore-names+
  '(("CREATE_NPART3" . "CREATE-NPART3")
    ("CREATE_NASMB3" . "CREATE-NASMB3")
    ("CREATE_CONT" . "CREATE-CONT")
    ("CREATE_INSTANCE" . "CREATE-INSTANCE")
    ("INSERT_CHILD" . "INSERT-CHILD")
    ("INSERT_IN_GRAPH" . "INSERT-IN-GRAPH")
    ("SET_TM" . "SET-TM")
    ("INQ_TM" . "INQ-TM")
    ("ASSIGN_NAME" . "ASSIGN-NAME")
    ("INQUIRE_NAME" . "INQUIRE-NAME")
    ("ADD_BODY_TO_PART" . "ADD-BODY-TO-PART")
    ("GET_PART_BODY" . "GET-PART-BODY")
    ("INQ_SHARED_DATA" . "INQ-SHARED-DATA")
    ("TV-INQ-SYSID" . "TV-INQ-OBJ-SYSID"))
  "Pairs of (name the module calls . the host function it names).")

(dolist (pair +underscore-names+)
  (let ((alias (intern (car pair) "FRAME2"))
        (target (intern (cdr pair) "FRAME2")))
    (setf (fdefinition alias) (lambda (&rest args) (apply target args)))
    (export alias "FRAME2")))

(defun get_system_name (kind &optional parent)
  "A name for a new object of KIND (:part :assembly :container) that no
child of PARENT (the root by default) carries."
  (tv-gen-obj-basename kind :parent parent))

(defun inq_num_children (obj) (length (tv-inq-obj-children obj)))
(defun inq_child (obj i) (nth i (tv-inq-obj-children obj)))

(export '(get_system_name inq_num_children inq_child))
