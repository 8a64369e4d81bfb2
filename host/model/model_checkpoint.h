#pragma once
// Model checkpoints: named states of the history (HISTORY), so that a
// command can take the model back to where it started, as one step.
//
// Setting a checkpoint notes the history's state and returns a new id.
// Returning recovers that state and forgets the checkpoints of later states,
// which the next change cuts. An id is unknown once the
// history no longer keeps its state (it forgets the oldest states beyond its
// limit, and HISTORY::forget). Recovering a state directly and then changing
// the model cuts the states of later checkpoints without their ids knowing:
// return only to checkpoints set on the line of states that stands.

// A new checkpoint id (> 0) for the model as it is now.
int tv_set_model_checkpoint();
// Brings the model back to the checkpoint; false, and no change, for an
// unknown id.
bool tv_return_to_model_checkpoint(int id);
