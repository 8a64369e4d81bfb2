#pragma once
// Packages, symbols and keywords of the host's Lisp.

#include <string>

#include "host/lisp/laobj.h"

// The use list new packages get: COMMON-LISP and the host's FRAME2.
LAOBJ* hcl_default_uselist();
// Makes a package (or returns the existing one of that name) with the given
// nicknames (a list of strings or NIL) and use list. The two flags are kept for
// the call's form and have no meaning here.
LAOBJ* make_package(LAOBJ* name, LAOBJ* nicknames, LAOBJ* use_list, int, int, int);
LAOBJ* make_package(const char* name, const char* nickname = nullptr);
// The package of that name or nickname, or NIL.
LAOBJ* find_package(const char* name);
// The symbol of that name accessible in the package (NIL when absent; a
// symbol named NIL is found as the symbol). `found` says whether it exists.
LAOBJ* find_symbol(const char* name, LAOBJ* package, bool* found = nullptr);
LAOBJ* hcl_find_symbol(const char* name, const char* package_name, bool* found = nullptr);
// Interns a symbol in a package; exports it when `external`.
LAOBJ* intern_symbol(const char* name, LAOBJ* package, bool external);
// The keyword of that name (upper-cased as the reader would); the same object
// for the same name.
LAOBJ* make_keyword(const char* name);
std::string symbol_name(LAOBJ* symbol);
std::string package_name(LAOBJ* package);
// The name of the symbol's home package; empty for an uninterned symbol.
std::string symbol_package_name(LAOBJ* symbol);
