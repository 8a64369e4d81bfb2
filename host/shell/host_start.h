#pragma once
// Start-up of the host: the Lisp runtime, the host's own logic units, and the
// module, loaded as the host loads an extension module (its entry called).

#include <string>

// Boots Lisp and loads the host units; idempotent. Throws std::runtime_error
// when the host cannot start.
void host_start(int argc, char** argv);

// Loads the module: calls its entry. Returns an empty string on success, the
// error's text otherwise (the module's load counter then stays 0).
std::string host_load_module();
