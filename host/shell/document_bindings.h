#pragma once
// The Lisp face of the user's documents, in FRAME2. Functions written in
// Lisp on top of these (tv-get-persistent-data, tv-set-persistent-data,
// tv-load-customization-file) are in host/lsp/frame2_documents.lsp.
//   (inquire-temporary-directory)                -> "/tmp/"
//   (inquire-unique-filename [folder] &key extension) -> a new, empty file's path
//   (xdbik-initialize access) (xdbik-finalize)
//   (tv-db-open-dummy-file path) (tv-db-generate-dummy sysid type name version)
//   (tv-db-close-dummy-file)
//   (tv-db-store-graphics sel-item path)         -> T, or NIL when nothing was stored
//   (tv-db-join-lightweight-file dummy graphics lightweight) -> T
//   (tv-graphics-only-part-p obj) (tv-inq-part-graphics obj)
//   (tv-inq-user-folder)
// and the internal %persistent-data-get, %persistent-data-set,
// %persistent-data-remove, %persistent-data-file, %customization-files and
// %load-graphics-file. Failures of files are Lisp errors whose text names the file.

void register_document_bindings();
