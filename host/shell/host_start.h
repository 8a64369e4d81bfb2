#pragma once
// Start-up of the host: the Lisp runtime, the host's own logic units, and a
// module, loaded as the host loads an extension module: by calling the entry
// it is handed. The host knows no module; the program joins them.

#include <string>

// Boots Lisp and loads the host units; idempotent. Throws std::runtime_error
// when the host cannot start.
void host_start(int argc, char** argv);

// The entry function of an extension module.
using MODULE_ENTRY = void (*)();

// Loads a module: calls its entry. Returns an empty string on success, the
// error's text otherwise.
std::string host_load_module(MODULE_ENTRY entry);
