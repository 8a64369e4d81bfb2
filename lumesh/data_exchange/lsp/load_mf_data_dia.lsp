;;; load_mf_data_dia: The load of manufacturing data (STL and 3MF files): the
;;; call of the native reader as the load command makes it, and the report
;;; the command writes into the output box.

(in-package "LUMESH.DATA-EXCHANGE")

(defparameter *load-mf-data-dia-unit-loaded* t)

(defparameter +import-progress-ticks+ 205
  "Up to 100 ticks for reading the file, up to 100 for the bodies, and a rest.")

(defparameter +import-report-ruler+
  "=====================================================================")

(defun manufacturing-data-type (file)
  "The :TYPE of FILE by its extension, in any case: :3MF, :STL, or NIL."
  (let ((type (pathname-type (pathname file))))
    (cond ((null type) nil)
          ((string-equal type "3mf") :3mf)
          ((string-equal type "stl") :stl)
          (t nil))))

(defun recognition-list (plane-recognition cylinder-recognition)
  "The recognitions as the load asks for them: cylinders only with planes."
  (when plane-recognition
    (if cylinder-recognition '(:planes :cylinders) '(:planes))))

(defun read-manufacturing-data-file (file &key plane-recognition cylinder-recognition
                                               resolution
                                               (face-count-limit lumesh::*lmx-face-count-limit*))
  "Reads FILE as the load command does, with a progress bar of its own, and
returns the model description (NIL when nothing was read)."
  (let ((bar (create-progress-bar :title "Import")))
    (unwind-protect
         (progn
           (set-max-progress-ticks bar +import-progress-ticks+)
           (read-manufacturing-data file
                                    :type (manufacturing-data-type file)
                                    :resolution resolution
                                    :progress bar
                                    :surface-reconstruction
                                    (recognition-list plane-recognition cylinder-recognition)
                                    :facecount-limit face-count-limit))
      (finalize-progress-bar bar))))

(defun report-import (file spec)
  "Writes the report of a load into the output box: the file, its metadata,
and a line for each body of the description."
  (let ((*read-default-float-format* 'double-float)) ; 1.00e-3, not 1.00d-3
    (report-import-lines file spec)))

(defun report-import-lines (file spec)
  (display (format nil "Imported manufacturing data file ~S" file))
  (dolist (entry (getf (first spec) :meta-data))
    (display (format nil "~20A:~A" (getf entry :name) (getf entry :value))))
  (display +import-report-ruler+)
  (display "Body#  Res.    #Facets  #Faces Reconstruction")
  (let ((count 0))
    (dolist (node spec)
      (let ((res (getf node :resolution)))
        (when res
          (display (format nil "~4D  ~6,2E  ~7D ~7D ~A"
                           (incf count) res (getf node :facet-count)
                           (getf node :face-count) (getf node :surface-reconstruction))))))))
