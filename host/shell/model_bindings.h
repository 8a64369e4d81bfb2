#pragma once
// The Lisp face of the model tree, in FRAME2 (external, so module code calls
// them without a prefix). Objects are parcel handles (FRAME2::NPART3,
// NASMB3, NCONT); failures of the model are module errors with the model's text.
//   (create-npart3 [name]) (create-nasmb3 [name]) (create-cont [name])
//   (create-instance obj [name]) (insert-child parent child) (insert-in-graph child)
//   (destroy-parcel obj) (set-tm obj tm) (inq-tm obj) (assign-name obj name)
//   (inquire-name obj) (add-body-to-part part body) (get-part-body part)
//   (set-part-color part r g b) (set-part-transparency part tr)
//   (root-parcel) (root-parcel-sel-item)
//   (tv-inq-obj-children obj) (tv-inq-parent-obj obj) (tv-pathname-to-obj path)
//   (tv-inq-obj-pathname obj) (tv-inq-obj-basename obj) (tv-inq-xform obj)
//   (tv-inq-obj-sysid obj) (tv-inq-obj-contents-sysid obj)
//   (tv-set-model-checkpoint) (tv-return-to-model-checkpoint id)

#include "host/lisp/laobj.h"
#include "host/model/sel_item.h"

void register_model_bindings();

// The Lisp sel_item (FRAME2::SEL_ITEM) of `s`: its item, the instances of
// its path and its type keyword. A failure of the constructor is a Lisp error.
LAOBJ* make_lisp_sel_item(const SEL_ITEM& s);
// The SEL_ITEM of a Lisp sel_item (its item and path are checked), or of a
// parcel handle at its own place. Lisp errors for anything else.
SEL_ITEM object_to_sel_item(LAOBJ* x);
// The entity of a sel_item (its item) or of a handle, checked to be alive
// and of type T: the way commands take "an object or its selection".
ENTITY* object_or_item_entity(LAOBJ* x, const ENTITY_TYPE& expected);
template <class T>
T* object_or_item(LAOBJ* x) {
  return static_cast<T*>(object_or_item_entity(x, T::type));
}
