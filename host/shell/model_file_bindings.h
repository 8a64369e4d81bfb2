#pragma once
// The Lisp face of model files, in FRAME2 (external):
//   (save-model path)
//     saves the model below the root to the model file `path` (a string;
//     ".lmx" by convention) and returns the path. The file is replaced only
//     when the new one is complete.
//   (load-tv path &key load-mode)
//     loads the file `path` through the loader that recognises it (model
//     files; other kinds plug in, see file_loaders.h). :load-mode is
//     :load-all-as-new (the default): the file's top objects become new
//     children of the root; their parcel handles come back as a list.
// Failures are Lisp errors whose text names the file: a missing, truncated,
// damaged or foreign file, one of a newer schema, an unwritable path, a full
// disk. A failed call leaves the model, and the file being replaced, as they
// were.

void register_model_file_bindings();
