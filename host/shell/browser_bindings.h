#pragma once
// The Lisp face of the structure browser (host/ui structure_browser.h), in
// FRAME2: *structure-gbrowser*, browser nodes, popup entries, selection and
// folding, and the terminal's (browser). Nodes are FRAME2:BROWSERNODE
// structures or path strings; see the README's Lisp reference. A popup
// action that fails is reported in the output box and the call answers NIL.

void register_browser_bindings();
