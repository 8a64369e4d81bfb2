;;; Selection items: what a user picked, with the path of instances from the
;;; root to it (a list of parcel handles, outermost first) and its kind
;;; (:part :assembly :container :face :feature).

(in-package "FRAME2")

(defstruct sel_item item path type)

(export '(sel_item make-sel_item sel_item-p sel_item-item sel_item-path sel_item-type))
