;;; The terminal's picture of a viewport: what it draws, part by part, with
;;; colours and transparency, its box, its view and its feedback elements.

(in-package "FRAME2")

(defun %xyz-text (p)
  (format nil "(~,3F ~,3F ~,3F)" (k2::gpnt3d-x p) (k2::gpnt3d-y p) (k2::gpnt3d-z p)))

(defun viewport (&optional vp (stream *standard-output*))
  "Prints what the viewport VP (the current one by default) draws."
  (let ((picture (vp-picture vp))
        (view (vp-view vp)))
    (format stream "~&Viewport ~D: ~D triangles~%" (or vp (tv-inq-current-vp)) (getf picture :triangles))
    (dolist (p (getf picture :parts))
      (destructuring-bind (part count color transparency edged) p
        (format stream "  ~A  ~D triangles  colour ~{~,2F~^ ~}~:[~;  transparency ~:*~,2F~]~:[  (no edges)~;~]~%"
                (if part (tv-inq-obj-pathname part) "?") count color
                (and (plusp transparency) transparency) edged)))
    (let ((box (getf picture :box)))
      (if box
          (format stream "  box ~A .. ~A~%" (%xyz-text (first box)) (%xyz-text (second box)))
          (format stream "  nothing is drawn~%")))
    (format stream "  view: right ~A up ~A~@[  window ~A~]~%" (%xyz-text (getf view :x))
            (%xyz-text (getf view :up))
            (let ((w (getf view :window)))
              (and w (format nil "~A .. ~A" (%xyz-text (first w)) (%xyz-text (second w))))))
    (dolist (f (getf picture :feedback))
      (format stream "  feedback ~A: ~D lines~%" (first f) (second f)))
    (values)))

(export '(viewport))
