;;; The user-interface registry: what modules put into the host's user
;;; interface, kept as data that front ends render and the input line
;;; drives. Available commands (an action behind an application, group and
;;; command id, enabled per application), ribbon tabs, groups and controls,
;;; help buttons, the toolbox, registered settings, module controller
;;; buttons with their toggle state, events, file types, and the URL last
;;; asked to be shown. Operations on things that are not there do nothing
;;; and answer NIL, so a module may remove what it never added.

(in-package "FRAME2")

(defstruct (available-command (:constructor %make-available-command))
  app group cmd title group-title description image action (ui-behavior :default))

(defvar *available-commands* nil "Available commands, in the order defined.")
(defvar *disabled-applications* nil "Applications whose commands are disabled.")
(defvar *ribbon-tabs* nil
  "Ribbon tabs in order: property lists (:id :title :groups), each group a
property list (:id :title :launch :controls), each control
(:kind :button|:split-button :label :availcmd :largeimage :contents).")
(defvar *ribbon-layouts* 0 "How often the ribbon's layout was recalculated.")
(defvar *help-buttons* nil "Available-command triples of the help menu.")
(defvar *toolbox* nil "Toolbox buttons: (title . action), in order.")
(defvar *registered-settings* nil "Settings entries: (group-id :submenutitle t :settings list).")
(defvar *module-controller-buttons* nil "Module controller buttons by module id.")
(defvar *event-subscribers* (make-hash-table :test 'equal))
(defvar *file-types* nil "Registered file types: (type . property list), in order.")
(defvar *displayed-urls* nil "URLs asked to be shown, newest first.")
(defvar *registry-listeners* nil "Functions called with no argument after a change.")

(defparameter *changed-parcel-tree-event* :changed-parcel-tree)
(defparameter *module-activation-event* :module-activation)

(defun %registry-changed ()
  (dolist (f *registry-listeners*)
    (handler-case (funcall f) (error (c) (tv-display-error (format nil "~A" c))))))

(defun %triple-key (app group cmd) (list (string app) (string group) (string cmd)))

;;; Available commands

(defun %find-command (app group cmd)
  (find (%triple-key app group cmd) *available-commands*
        :key (lambda (c) (list (available-command-app c) (available-command-group c)
                               (available-command-cmd c)))
        :test #'equal))

(defun tv-define-available-command (app group cmd &key commandtitle grouptitle description image
                                                     action (ui-behavior :default)
                                                     update-unknown-commands)
  "Defines (or redefines) the command CMD of GROUP of application APP."
  (declare (ignore update-unknown-commands))
  (unless (member ui-behavior '(:default :none :relative :on-request))
    (error "~S is no user-interface behaviour." ui-behavior))
  (let ((old (%find-command app group cmd)))
    (when old (setf *available-commands* (remove old *available-commands*)))
    (setf *available-commands*
          (append *available-commands*
                  (list (%make-available-command :app (string app) :group (string group) :cmd (string cmd)
                                                 :title commandtitle :group-title grouptitle
                                                 :description description :image image :action action
                                                 :ui-behavior ui-behavior))))
    (%registry-changed)
    (list (string app) (string group) (string cmd))))

(defun %command-enabled-p (c)
  (not (member (available-command-app c) *disabled-applications* :test #'string=)))

(defun tv-inq-available-command-data (app &optional group cmd)
  "The command's data as a property list (:TITLE :GROUPTITLE :DESCRIPTION
:IMAGE :ACTION :UI-BEHAVIOR :ENABLED), or NIL. Takes the three ids, or a
list of them."
  (when (listp app) (destructuring-bind (a g c) app (setf app a group g cmd c)))
  (let ((c (%find-command app group cmd)))
    (and c (list :title (available-command-title c) :grouptitle (available-command-group-title c)
                 :description (available-command-description c) :image (available-command-image c)
                 :action (available-command-action c) :ui-behavior (available-command-ui-behavior c)
                 :enabled (%command-enabled-p c)))))

(defun tv-enable-application-commands (app)
  (setf *disabled-applications* (remove (string app) *disabled-applications* :test #'string=))
  (%registry-changed)
  t)

(defun tv-disable-application-commands (app)
  (pushnew (string app) *disabled-applications* :test #'string=)
  (%registry-changed)
  t)

(defun run-action (action)
  "Runs an action as a button does: a string is typed at the input line, a
form is evaluated."
  (cond ((stringp action) (tv-put-buffer action))
        ((consp action) (eval action))
        ((and (symbolp action) action (fboundp action)) (funcall action))
        (t (error "~S is no action." action))))

(defun tv-run-available-command (app &optional group cmd)
  "Runs the command as its button would; an unknown or disabled command is an error."
  (when (listp app) (destructuring-bind (a g c) app (setf app a group g cmd c)))
  (let ((c (or (%find-command app group cmd)
               (error "No command ~A/~A/~A is available." app group cmd))))
    (unless (%command-enabled-p c)
      (error "The command ~A is disabled." (available-command-cmd c)))
    (run-action (available-command-action c))))

;;; The ribbon

(defun %tab (id) (find (string id) *ribbon-tabs* :key (lambda (tb) (getf tb :id)) :test #'string=))

(defun fluentui-ribbon-tab-exist-p (id) (and (%tab id) t))

(defun tv-fluentui-add-ribbon-tab (id &key title (position :end) appendutilitiesgroup)
  "Adds a ribbon tab (at :POSITION :END or :START); an existing tab stays."
  (declare (ignore appendutilitiesgroup))
  (unless (%tab id)
    (let ((tab (list :id (string id) :title (or title (string id)) :groups nil)))
      (setf *ribbon-tabs* (if (eq position :start) (cons tab *ribbon-tabs*) (append *ribbon-tabs* (list tab)))))
    (%registry-changed))
  (string id))

(defun %group (id parent)
  (let ((tab (%tab (if (consp parent) (first parent) parent))))
    (and tab (find (string id) (getf tab :groups) :key (lambda (g) (getf g :id)) :test #'string=))))

(defun fluentui-ribbon-group-exist-p (id parent) (and (%group id parent) t))

(defun tv-fluentui-add-ribbon-group (id &key title parent launchbuttonavailcmd)
  "Adds a group under the tab PARENT (which must exist); an existing group stays."
  (let ((tab (or (%tab (if (consp parent) (first parent) parent))
                 (error "No ribbon tab ~S." parent))))
    (unless (%group id parent)
      (setf (getf tab :groups)
            (append (getf tab :groups)
                    (list (list :id (string id) :title (or title (string id))
                                :launch launchbuttonavailcmd :controls nil))))
      ;; The tab is a fresh property list only when its :groups was NIL.
      (setf *ribbon-tabs* (substitute tab (%tab (getf tab :id)) *ribbon-tabs*))
      (%registry-changed))
    (list (getf tab :id) (string id))))

(defun fluentui-destroy-ribbon-group (id parent)
  (let ((tab (%tab (if (consp parent) (first parent) parent))))
    (when (and tab (%group id parent))
      (setf (getf tab :groups) (remove (string id) (getf tab :groups)
                                       :key (lambda (g) (getf g :id)) :test #'string=))
      (%registry-changed)
      t)))

(defun %add-control (parent control)
  (destructuring-bind (tab-id group-id) parent
    (let ((g (or (%group group-id tab-id) (error "No ribbon group ~S." parent))))
      (setf (getf g :controls) (append (getf g :controls) (list control)))
      (let ((tab (%tab tab-id)))
        (setf (getf tab :groups) (substitute g (%group group-id tab-id) (getf tab :groups))))
      (%registry-changed)
      control)))

(defun tv-fluentui-add-ribbon-button (&key parent availcmd largeimage label)
  "A button under PARENT (tab-id group-id) that runs the available command AVAILCMD."
  (unless availcmd (error "A ribbon button needs :AVAILCMD."))
  (%add-control parent (list :kind :button :availcmd availcmd :largeimage (and largeimage t)
                             :label (or label (getf (tv-inq-available-command-data availcmd) :title)))))

(defun tv-fluentui-add-ribbon-split-button (&key parent label largeimage contents)
  "A split button under PARENT whose CONTENTS are (:AVAILCMD triple) entries."
  (%add-control parent (list :kind :split-button :label label :largeimage (and largeimage t)
                             :contents (mapcar (lambda (e) (getf e :availcmd)) contents))))

(defun fluentui-ribbon-control-exist-p (path)
  "True when PATH (tab group [command-id]) names a group, or a control of it
whose command has that id."
  (destructuring-bind (tab group &optional cmd) path
    (let ((g (%group group tab)))
      (and g (or (null cmd)
                 (some (lambda (c) (or (equal (third (getf c :availcmd)) cmd)
                                       (member cmd (getf c :contents) :key #'third :test #'equal)))
                       (getf g :controls)))
           t))))

(defun tv-fluentui-recalc-ribbon-layout () (incf *ribbon-layouts*) (%registry-changed) t)

(defun tv-fluentui-add-help-button (&key availcmd)
  (pushnew availcmd *help-buttons* :test #'equal)
  (%registry-changed)
  t)

(defun tv-fluentui-remove-help-button (&key availcmd)
  (let ((had (member availcmd *help-buttons* :test #'equal)))
    (setf *help-buttons* (remove availcmd *help-buttons* :test #'equal))
    (%registry-changed)
    (and had t)))

;;; Toolbox and settings

(defun add-mfc-toolbox-button (title action)
  (setf *toolbox* (append (remove title *toolbox* :key #'car :test #'equal) (list (cons title action))))
  (%registry-changed)
  t)

(defun remove-mfc-toolbox-button (title)
  (let ((had (assoc title *toolbox* :test #'equal)))
    (setf *toolbox* (remove title *toolbox* :key #'car :test #'equal))
    (%registry-changed)
    (and had t)))

(defun tv-register-settings (group-id &key submenutitle settings)
  (let* ((entry (or (assoc group-id *registered-settings* :test #'equal)
                    (car (push (list group-id :submenutitle submenutitle :settings nil)
                               *registered-settings*))))
         (have (getf (cdr entry) :settings)))
    (dolist (s settings)
      (unless (member (getf s :itemname) have :key (lambda (x) (getf x :itemname)) :test #'equal)
        (setf have (append have (list s)))))
    (setf (getf (cdr entry) :settings) have)
    (%registry-changed)
    t))

(defun tv-unregister-settings (group-id &key itemname)
  (let ((entry (assoc group-id *registered-settings* :test #'equal)))
    (when entry
      (setf (getf (cdr entry) :settings)
            (remove itemname (getf (cdr entry) :settings) :key (lambda (x) (getf x :itemname)) :test #'equal))
      (%registry-changed)
      t)))

;;; Module controller buttons

(defstruct (controller-button (:constructor %make-controller-button))
  module page module-title page-title activation deactivation (on nil))

(defun tv-get-module-controller-button (module-id)
  (cdr (assoc (string module-id) *module-controller-buttons* :test #'string=)))

(defun tv-insert-module-controller-button (module-id page &key moduletitle pagetitle
                                                             activationfunction deactivationfunction)
  (or (tv-get-module-controller-button module-id)
      (let ((b (%make-controller-button :module (string module-id) :page page :module-title moduletitle
                                        :page-title pagetitle :activation activationfunction
                                        :deactivation deactivationfunction)))
        (setf *module-controller-buttons*
              (append *module-controller-buttons* (list (cons (string module-id) b))))
        (%registry-changed)
        b)))

(defun %call-form (f)
  (cond ((null f) nil)
        ((consp f) (eval f))
        ((or (functionp f) (fboundp f)) (funcall f))))

(defun tv-set-togglebutton (button &key (callaction t))
  "Shows BUTTON pressed; with :CALLACTION its activation runs too."
  (setf (controller-button-on button) t)
  (%registry-changed)
  (if callaction (%call-form (controller-button-activation button)) t))

(defun tv-reset-togglebutton (button &key (callaction t))
  (setf (controller-button-on button) nil)
  (%registry-changed)
  (if callaction (%call-form (controller-button-deactivation button)) t))

(defun press-module-controller-button (module-id)
  "What a click on the module's controller button does: toggles it and
calls the module's activation or deactivation."
  (let ((b (or (tv-get-module-controller-button module-id)
               (error "No module controller button for ~A." module-id))))
    (if (controller-button-on b) (tv-reset-togglebutton b) (tv-set-togglebutton b))))

;;; Events

(defun tv-subscribe-event (event function)
  "FUNCTION is called with the event's arguments each time EVENT is processed."
  (let ((key (if (symbolp event) event (string event))))
    (pushnew function (gethash key *event-subscribers*) :test #'equal)
    t))

(defun tv-unsubscribe-event (event function)
  (let ((key (if (symbolp event) event (string event))))
    (setf (gethash key *event-subscribers*) (remove function (gethash key *event-subscribers*) :test #'equal))
    t))

(defun process-event (event &rest args)
  "Calls the subscribers of EVENT, oldest first; a subscriber's error is
shown and the others still run. Returns how many ran without error."
  (let ((key (if (symbolp event) event (string event))) (ok 0))
    (dolist (f (reverse (gethash key *event-subscribers*)) ok)
      (handler-case (progn (apply f args) (incf ok))
        (error (c) (tv-display-error (format nil "~A" c)))))))

;;; File types

(defun tv-register-file-type (type &rest properties &key title patterns in-cmd in-cmd-file-token
                                                        in-cmd-options in-form in-enable-form out-cmd
                                                        out-cmd-file-token out-form out-enable-form)
  "Registers (or replaces) a file type: its :PATTERNS (\"*.stl\"), the
commands that load (:IN-CMD with :IN-CMD-FILE-TOKEN) and save (:OUT-CMD
with :OUT-CMD-FILE-TOKEN) a file of it, and the forms that say whether
they are enabled."
  (declare (ignore title in-cmd in-cmd-file-token in-cmd-options in-form in-enable-form
                   out-cmd out-cmd-file-token out-form out-enable-form))
  (unless (and patterns (listp patterns) (every #'stringp patterns))
    (error "A file type needs :PATTERNS, a list of strings such as \"*.stl\"."))
  (setf *file-types* (append (remove type *file-types* :key #'car) (list (cons type properties))))
  (%registry-changed)
  type)

(defun %matches-pattern (file pattern)
  "True when FILE's name matches PATTERN of the form *.ext (case-insensitive)."
  (let ((ext (and (> (length pattern) 2) (string= "*." pattern :end2 2) (subseq pattern 1))))
    (and ext (>= (length file) (length ext))
         (string-equal ext file :start2 (- (length file) (length ext))))))

(defun tv-file-type-of (file)
  "The registered file type whose patterns match FILE, or NIL."
  (car (find-if (lambda (entry) (some (lambda (p) (%matches-pattern file p)) (getf (cdr entry) :patterns)))
                *file-types*)))

(defun %file-command (file direction)
  (let* ((type (or (tv-file-type-of file) (error "No file type is registered for ~A." file)))
         (props (cdr (assoc type *file-types*)))
         (cmd (getf props (if (eq direction :in) :in-cmd :out-cmd)))
         (token (getf props (if (eq direction :in) :in-cmd-file-token :out-cmd-file-token)))
         (enable (getf props (if (eq direction :in) :in-enable-form :out-enable-form))))
    (unless cmd (error "Files of type ~A cannot be ~A here." type (if (eq direction :in) "loaded" "saved")))
    (when (and enable (not (eval enable)))
      (error "~A is not available now." cmd))
    (format nil "~A ~S ~S COMPLETE" cmd token file)))

(defun tv-load-file-by-type (file)
  "Loads FILE with the command of its file type, as the file manager does:
the command, the file token and COMPLETE go to the input line."
  (tv-put-buffer (%file-command file :in)))

(defun tv-save-file-by-type (file)
  (tv-put-buffer (%file-command file :out)))

;;; URLs

(defun tv-display-url (url)
  "Asks the user interface to show URL: the terminal prints it, the
browser front end opens it."
  (unless (stringp url) (error "~S is no URL." url))
  (push url *displayed-urls*)
  (display (format nil "Open ~A" url))
  (%registry-changed)
  t)

;;; The state, for front ends

(defun ui-registry-state ()
  "The registry as data: :TABS, :HELP, :TOOLBOX, :SETTINGS, :MODULES
(module id, title, on), :FILE-TYPES, :COMMANDS (triple, title, enabled)."
  (list :tabs *ribbon-tabs*
        :help *help-buttons*
        :toolbox (mapcar #'car *toolbox*)
        :settings *registered-settings*
        :modules (mapcar (lambda (e) (let ((b (cdr e)))
                                       (list :module (car e) :title (controller-button-module-title b)
                                             :on (controller-button-on b))))
                         *module-controller-buttons*)
        :file-types (mapcar (lambda (e) (list :type (car e) :title (getf (cdr e) :title)
                                              :patterns (getf (cdr e) :patterns)))
                            *file-types*)
        :commands (mapcar (lambda (c) (list :command (list (available-command-app c) (available-command-group c)
                                                           (available-command-cmd c))
                                            :title (available-command-title c)
                                            :enabled (%command-enabled-p c)))
                          *available-commands*)))

(defun print-ribbon (&optional (stream *standard-output*))
  "The ribbon as text: tabs, their groups and controls."
  (dolist (tab *ribbon-tabs*)
    (format stream "~&[~A]~%" (getf tab :title))
    (dolist (g (getf tab :groups))
      (format stream "  ~A~%" (getf g :title))
      (dolist (c (getf g :controls))
        (format stream "    ~:[ ~;*~] ~A~@[ (~{~A~^, ~})~]~%" (getf c :largeimage)
                (or (getf c :label) "?")
                (mapcar (lambda (tr) (or (getf (tv-inq-available-command-data tr) :title) (third tr)))
                        (getf c :contents))))))
  (values))

(export '(tv-define-available-command tv-inq-available-command-data tv-enable-application-commands
          tv-disable-application-commands tv-run-available-command run-action
          tv-fluentui-add-ribbon-tab fluentui-ribbon-tab-exist-p tv-fluentui-add-ribbon-group
          fluentui-ribbon-group-exist-p fluentui-destroy-ribbon-group tv-fluentui-add-ribbon-button
          tv-fluentui-add-ribbon-split-button fluentui-ribbon-control-exist-p
          tv-fluentui-recalc-ribbon-layout tv-fluentui-add-help-button tv-fluentui-remove-help-button
          add-mfc-toolbox-button remove-mfc-toolbox-button tv-register-settings tv-unregister-settings
          tv-get-module-controller-button tv-insert-module-controller-button tv-set-togglebutton
          tv-reset-togglebutton press-module-controller-button controller-button-on
          tv-subscribe-event tv-unsubscribe-event process-event
          *changed-parcel-tree-event* *module-activation-event*
          tv-register-file-type tv-file-type-of tv-load-file-by-type tv-save-file-by-type
          tv-display-url *displayed-urls* ui-registry-state print-ribbon *registry-listeners*))
