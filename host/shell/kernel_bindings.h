#pragma once
// The Lisp face of the kernel: the type symbols of its entities, and the
// state manager *K2-STATE-MANAGER*:
//   (current-state sm)        the id of the state the model is in now
//   (note-state sm)           notes the changes so far as a state; its id
//   (recover-state sm id)     back (or forward) to a kept state; NIL if unknown
//   (rm-future sm)            forgets the states after the current one

void register_kernel_bindings();
