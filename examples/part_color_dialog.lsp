;;; A dialog of the host's own: give a part a colour and a transparency.
;;;
;;;   lumesh examples/part_color_dialog.lsp     defines it, makes a sample part
;;;                                              and reads commands from the terminal
;;; then type, for example:
;;;   PART_COLOR :part "/sample" :color (0.9 0.2 0.1) :transparency 0.3 COMPLETE
;;; or PART_COLOR alone, then one value per line as the prompt asks; CANCEL
;;; leaves the model as it was when the dialog started.

(in-package "FRAME2")

(define-dialog "PART_COLOR"
  :title "Part Colour"
  :cancel-to-checkpoint t
  :variables
  '((:part :type :part :title "Part" :must t
     :prompt "Select the part (its path name, e.g. \"/sample\").")
    (:color :type :rgb :title "Colour" :default (0.8 0.8 0.8) :pds :session
     :prompt "Colour as (red green blue), each from 0 to 1.")
    (:transparency :type :number :title "Transparency" :default 0 :pds :session
     :check part-color-transparency-check
     :prompt "Transparency from 0 (opaque) to 1 (invisible).")
    (:help :type :push :title "Help" :action part-color-help))
  :action 'part-color-apply)

(defun part-color-transparency-check (value)
  (unless (<= 0 value 1) "The transparency must lie between 0 and 1."))

(defun part-color-help ()
  (display "PART_COLOR sets the colour and the transparency of a part; COMPLETE applies them."))

(defun part-color-apply ()
  (let ((part (sel_item-item (dialog-value :part)))
        (color (dialog-value :color)))
    (apply #'set-part-color part color)
    (set-part-transparency part (dialog-value :transparency))
    (display (format nil "~A: colour ~{~,2F~^ ~}, transparency ~,2F"
                     (tv-inq-obj-pathname part) color (dialog-value :transparency)))
    t))

;; A part to try the dialog on, when the model has none of that name.
(unless (tv-pathname-to-obj "/sample")
  (insert-in-graph (create-npart3 "sample")))
