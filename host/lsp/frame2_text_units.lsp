;;; Strings, numbers and lengths as the user reads and types them.

(in-package "FRAME2")

;;; Strings, numbers and units

(defun tv-read-from-string (string &optional (eof-value nil))
  "The first object written in STRING, read without evaluation; EOF-VALUE
for an empty string; an error for text that is no object."
  (unless (stringp string) (error "tv-read-from-string takes a string, not ~S" string))
  (let ((*read-eval* nil))
    (values (read-from-string string nil eof-value))))

(defun tv-string-split (string &optional (separator #\Space))
  "The pieces of STRING between SEPARATOR characters (a character or a
string of them), empty pieces left out."
  (let ((seps (if (characterp separator) (list separator) (coerce (string separator) 'list)))
        (pieces nil) (start 0))
    (loop for i from 0 to (length string)
          do (when (or (= i (length string)) (member (char string i) seps))
               (when (> i start) (push (subseq string start i) pieces))
               (setf start (1+ i))))
    (nreverse pieces)))

(defvar *tv-num-digits* 6 "Significant digits of numbers shown to the user.")

(defun tv-num-to-string (number)
  "NUMBER as the user reads it: integers as they are, other reals with
*tv-num-digits* significant digits and no trailing zeros."
  (cond ((integerp number) (format nil "~D" number))
        ((and (floatp number) (/= number number)) "NaN")
        ((and (floatp number) (> (abs number) most-positive-double-float))
         (if (plusp number) "inf" "-inf"))
        ((realp number)
         (let* ((x (float number 1d0)))
           (if (or (zerop x) (< 1d-4 (abs x) 1d12))
               (let* ((digits (max 0 (- *tv-num-digits* 1
                                        (if (zerop x) 0 (floor (log (abs x) 10))))))
                      (text (format nil "~,vF" digits x)))
                 (when (find #\. text)
                   (setf text (string-right-trim "0" text))
                   (when (char= (char text (1- (length text))) #\.)
                     (setf text (subseq text 0 (1- (length text))))))
                 (if (member text '("-0" "") :test #'string=) "0" text))
               (format nil "~,v,,,,,'eE" (1- *tv-num-digits*) x))))
        (t (error "~S is no number." number))))

(defparameter +length-units+
  '(("MM" . 1d0) ("CM" . 10d0) ("M" . 1000d0) ("IN" . 25.4d0) ("FT" . 304.8d0))
  "Length units the user can choose, with their size in millimetres, the
kernel's unit.")

(defvar *user-length-unit* "MM" "The user's length unit, a name of +length-units+.")

(defun tv-inq-length-units ()
  "The user's length unit: its name and its size in millimetres."
  (let ((u (assoc *user-length-unit* +length-units+ :test #'string-equal)))
    (values (car u) (cdr u))))

(defun tv-set-length-units (name)
  (unless (assoc name +length-units+ :test #'string-equal)
    (error "~S is no length unit; units are ~{~A~^, ~}." name (mapcar #'car +length-units+)))
  (setf *user-length-unit* (string-upcase name)))

(defun tv-sys-to-user-units (kind value)
  "VALUE of KIND (:LENGTH, :AREA, :VOLUME, :ANGLE, :NUMBER) from the
kernel's units to the user's."
  (unless (realp value) (error "~S is no number." value))
  (let ((size (nth-value 1 (tv-inq-length-units))))
    (ecase kind
      (:length (/ value size))
      (:area (/ value (* size size)))
      (:volume (/ value (* size size size)))
      ((:angle :number) value))))

(export '(tv-read-from-string tv-string-split tv-num-to-string *tv-num-digits*
          tv-inq-length-units tv-set-length-units tv-sys-to-user-units))
