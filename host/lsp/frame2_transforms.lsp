;;; Transformations as values, for commands that place and move objects.

(in-package "FRAME2")

;;; Transformations. A point p maps to p·M + t (row vectors), as in the
;;; kernel; (mult-transformation-3d a b) applies a first, then b.

(defun %elements (tm) (k2::transformation-elements tm))

(defun %transformation (m00 m01 m02 m10 m11 m12 m20 m21 m22 t0 t1 t2)
  (let ((e (make-array 12 :element-type 'double-float)))
    (loop for v in (list m00 m01 m02 m10 m11 m12 m20 m21 m22 t0 t1 t2)
          for i from 0
          do (setf (aref e i) (float v 1d0)))
    (k2::%make-transformation e)))

(defun make-matrix-3d (&key (t0 0) (t1 0) (t2 0) (a11 1) (a12 0) (a13 0) (a21 0) (a22 1)
                            (a23 0) (a31 0) (a32 0) (a33 1) (scale 1)
                            flag-1 flag-2 flag-3 flag-4 flag-5 flag-6)
  "A transformation from its matrix rows (:Aij, scaled by :SCALE) and its
translation (:T0 :T1 :T2); the identity by default. The flags are accepted
for callers that pass them; the matrix says all they could."
  (declare (ignore flag-1 flag-2 flag-3 flag-4 flag-5 flag-6))
  (%transformation (* scale a11) (* scale a12) (* scale a13)
                   (* scale a21) (* scale a22) (* scale a23)
                   (* scale a31) (* scale a32) (* scale a33) t0 t1 t2))

(defun mult-transformation-3d (a b)
  "The transformation that applies A, then B."
  (let ((x (%elements a)) (y (%elements b)) (e (make-array 12 :element-type 'double-float)))
    (dotimes (i 3)
      (dotimes (j 3)
        (setf (aref e (+ (* 3 i) j))
              (loop for k below 3 sum (* (aref x (+ (* 3 i) k)) (aref y (+ (* 3 k) j)))))))
    (dotimes (j 3)
      (setf (aref e (+ 9 j))
            (+ (aref y (+ 9 j))
               (loop for k below 3 sum (* (aref x (+ 9 k)) (aref y (+ (* 3 k) j)))))))
    (k2::%make-transformation e)))

(defun inverse-transformation-3d (tm)
  "The transformation that undoes TM; an error for a singular one."
  (let* ((x (%elements tm))
         (a (aref x 0)) (b (aref x 1)) (c (aref x 2))
         (d (aref x 3)) (e (aref x 4)) (f (aref x 5))
         (g (aref x 6)) (h (aref x 7)) (i (aref x 8))
         (det (+ (* a (- (* e i) (* f h))) (- (* b (- (* d i) (* f g)))) (* c (- (* d h) (* e g))))))
    (when (or (zerop det) (not (< (abs (/ 1 det)) most-positive-double-float)))
      (error "The transformation ~S is singular." tm))
    (let* ((r (/ 1 det))
           (m (list (* r (- (* e i) (* f h))) (* r (- (* c h) (* b i))) (* r (- (* b f) (* c e)))
                    (* r (- (* f g) (* d i))) (* r (- (* a i) (* c g))) (* r (- (* c d) (* a f)))
                    (* r (- (* d h) (* e g))) (* r (- (* b g) (* a h))) (* r (- (* a e) (* b d)))))
           (tx (aref x 9)) (ty (aref x 10)) (tz (aref x 11)))
      (flet ((col (j) (- (+ (* tx (nth j m)) (* ty (nth (+ 3 j) m)) (* tz (nth (+ 6 j) m))))))
        (apply #'%transformation (append m (list (col 0) (col 1) (col 2))))))))

(defun %xyz (p)
  (cond ((k2::gpnt3d-p p) (list (k2::gpnt3d-x p) (k2::gpnt3d-y p) (k2::gpnt3d-z p)))
        ((and (or (listp p) (vectorp p)) (= (length p) 3) (every #'realp p)) (coerce p 'list))
        (t (error "~S is no point." p))))

(defun pos-transformation-3d (point tm)
  "POINT (a gpnt3d or three numbers) moved by TM, as a gpnt3d."
  (destructuring-bind (px py pz) (%xyz point)
    (let ((x (%elements tm)))
      (flet ((c (j) (+ (* px (aref x j)) (* py (aref x (+ 3 j))) (* pz (aref x (+ 6 j))) (aref x (+ 9 j)))))
        (k2::make-gpnt3d (float (c 0) 1d0) (float (c 1) 1d0) (float (c 2) 1d0))))))

(defun gpntwc (x y z)
  "A point in world coordinates."
  (k2::make-gpnt3d (float x 1d0) (float y 1d0) (float z 1d0)))

(export '(make-matrix-3d mult-transformation-3d inverse-transformation-3d
          pos-transformation-3d gpntwc))
