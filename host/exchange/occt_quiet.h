#pragma once
// OCCT reports transfer statistics through its default messenger, which
// prints to standard output; the host's output box must stay clean.

// Removes the messenger's printers once per process. Cheap after the first call.
void silence_occt_messages();
