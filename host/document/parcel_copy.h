#pragma once
// Copies of parcels: a new instance, outside the tree, with a deep copy of
// everything its contents hold: bodies (through the model files' own
// encoding, so the copy is faithful to the last subshell and colour, with
// fresh sysids), colours, transparency, stored graphics, children with their
// names and placements, and the features that are copied with a copy
// (their :on-copy option). Contents shared within the copied tree stay
// shared in the copy. Through the history: undo removes the copy.

class NPARCEL;

// The copy of `p` (a live parcel, not the root), named and placed as `p`
// is. Throws TV_EXCEPTION (model errors) for null or the root, and the
// body encoding's error for a body that cannot be copied; nothing is left
// behind then.
NPARCEL* copy_parcel(NPARCEL* p);
