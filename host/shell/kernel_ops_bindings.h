#pragma once
// The Lisp face of the kernel's operations on bodies, shells and faces. In
// FRAME2, the names module code calls:
//   (merge-3d body [:ignore-attributes flag])   joins faces of one surface; count removed
//   (split-body-3d body)                        one body per top-level shell; the list
//   (set-face-color faces color)                colour of faces; :OFF removes it
//   (face_prop items :color color)              the property action on face selections
//   (delete_3d items)                           deletes objects of the model or faces
//   (destroy object)                            destroys one parcel or kernel entity
//   (mass-props-ass bodies [tms [names]])       area and volume, an MP structure
//   (sfy-face-count object)                     faces of a part's body or a body
// In K2, the kernel's own constructors and readers:
//   (make-body shell resolution) (make-subshell [faces]) (attach-subshell parent sub)
//   (detach-subshell sub) (destroy-subshell sub) (body-shells body) (body-faces body)
//   (shell-faces shell) (shell-subshells shell) (shell-parent shell) (face-color face)
// Every mutation goes through the history. A refused call changes nothing.
// A merge that joins faces of a part's body, and a split of one, apply the
// part's features' options for the event (universal_feature.h) to the
// features on its contents and on each of its instances.

void register_kernel_ops_bindings();
