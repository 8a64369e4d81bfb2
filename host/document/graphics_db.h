#pragma once
// The host's graphics database interface: the session that a lightweight
// conversion opens (xdbik_initialize ... xdbik_finalize), the dummy file it
// writes inside it, and the temporary names it uses.
//
// A session is counted: each initialize needs one finalize, and the dummy
// file and the graphics store work only inside a session, so that a caller
// who forgot to open one hears it at once. One dummy file is open at a time;
// it is written, whole, when it is closed. Failures throw DOCUMENT_ERROR (or
// GRAPHICS_DB_ERROR for a call out of order).

#include <stdexcept>
#include <string>

#include "host/document/graphics_file.h"

class GRAPHICS_DB_ERROR : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The host's own access string, the one xdbik_initialize accepts.
const char* xdbik_access_string();
// Opens (or nests) a session. Throws GRAPHICS_DB_ERROR for another access string.
void xdbik_initialize(const std::string& access);
// Closes one level; the last one discards a dummy file left open. False when
// no session was open.
bool xdbik_finalize();
bool xdbik_initialized();

// Opens the dummy file `path` for one entry. Throws GRAPHICS_DB_ERROR outside
// a session or while another dummy file is open.
void tv_db_open_dummy_file(const std::string& path);
// Sets the entry of the open dummy file. Throws GRAPHICS_DB_ERROR when none
// is open or it has its entry already.
void tv_db_generate_dummy(const DUMMY_ENTRY& entry);
// Writes the open dummy file (whole or not at all) and closes it; it is
// closed even when the write fails. Throws GRAPHICS_DB_ERROR when none is
// open or it has no entry, DOCUMENT_ERROR when it can't be written.
void tv_db_close_dummy_file();

// A name in `folder` (the temporary folder when empty) that no file has,
// ending in `extension` ("" or ".tvpc"; a missing dot is added). The file is
// made, empty, so that no other process takes the name; the caller writes
// over it or removes it. Throws DOCUMENT_ERROR when the folder takes no files.
std::string inquire_unique_filename(const std::string& folder, const std::string& extension);
