#pragma once
// The host's treatment of file names typed by users: expansion into the
// path the file system sees, and the split into directory and name.

#include <string>

// The path as the file system should see it: a leading "~" or "~/" stands
// for the home directory (HOME); everything else passes unchanged.
std::wstring me_cvrt_path(const std::wstring& path);

// Splits at the last '/': `directory` gets everything before it (without the
// slash, "/" for a file in the root), `name` everything after it, the
// extension kept. A path without a slash is all name; one that ends in a
// slash has an empty name.
void me_filenamesplit(const std::wstring& path, std::wstring& directory, std::wstring& name);

// The extension after the last '.' of the name part, in lower case; empty
// when the name has no dot or only a leading one (".profile").
std::wstring file_type_of(const std::wstring& path);

// True when the path names something that opens for reading and is not a
// directory (which fopen opens too, and which then reads as nothing).
bool is_readable_file(const std::wstring& path);
