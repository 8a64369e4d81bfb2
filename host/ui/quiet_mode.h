#pragma once
// Quiet mode of the host: set for runs that nobody watches (scripts, batch
// jobs) so that nothing is drawn for a person, such as progress bars. The
// output box writes in either mode. Safe to read and set from any thread.

// False until set_host_quiet_mode(true).
bool host_quiet_mode();
void set_host_quiet_mode(bool quiet);
