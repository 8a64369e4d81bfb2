#pragma once
// The Lisp face of universal features, in FRAME2 (external). A place is a
// parcel handle (the instance) or the handle of its contents
// (inq-shared-data); the functions that the module calls with "the place as
// a list" take its first element. Memory values are numbers, strings,
// symbols, T, NIL and lists of them (dotted ones too); anything else, a
// handle say, is refused, because a feature outlives the session.
//   (make-thin-universal-feature-instance place-list [:on-split p] [:on-merge p]
//        [:on-xform p] [:on-copy p] [:on-sysid-change p] [:filing f] key value ...)
//        p is :detach, :maintain or :copy; f is :tv-file or :none
//   (search-universal-feature place-list keys)     features whose memory has every key
//   (get-universal-feature-contents feature keys)  plist of the keys it has
//   (set-universal-feature-contents feature key value ...)
//   (add-thin-universal-feature-entities feature path items)
//   (get-thin-universal-feature-ref-sel-items feature path)
//   (universal-features place)  (destroy-universal-feature feature)
//   (inq-shared-data parcel)  (feature-place feature)

void register_feature_bindings();
