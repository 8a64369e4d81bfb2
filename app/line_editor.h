#pragma once
// The terminal's line editor: when standard input is a terminal, the host's
// command line reads through libedit, with line editing and a history of
// the session's lines. The host's loop only sees a function that returns the
// next line (K2::*LINE-READER*); other front ends leave it unset.

// Registers the editor as the command line's line reader.
void install_line_editor();
