#pragma once
// OCCT's process-wide state, set up once before any exchange work. Its
// messenger prints transfer statistics to standard output, which must stay
// the host's output box; and its STEP controllers fill static registries on
// first use that live until the process ends.

// Silences the messenger and initialises the STEP controllers, once per
// process. Cheap after the first call.
void prepare_occt();
