#pragma once
// The terminal's part in showing display tables: a table that the program
// shows is printed in the output box at once, as the terminal's window of it
// (tv-print-display-table prints it again on demand).

// Subscribes the terminal to the session's tables; once per process.
void attach_terminal_tables();
