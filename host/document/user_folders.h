#pragma once
// Where the host keeps what belongs to one user, and where it looks for the
// customization of a company and a site.
//
// The user folder is <base>/lumesh/<version>, where <base> is %APPDATA% when
// that is set (the name the host has always read), otherwise the platform's
// per-user configuration folder: $XDG_CONFIG_HOME when it is an absolute
// path, else ~/.config. The version is the host's major.minor, so that a new
// release starts from its own settings and an old one keeps working with
// its own. Nothing here creates a folder; writers call make_user_folder.

#include <optional>
#include <string>

// "lumesh"
const char* host_name();
// The host's version as major.minor ("0.1").
const char* host_version();

// The user folder, without a trailing '/'. Throws DOCUMENT_ERROR when no
// base can be found (no APPDATA, XDG_CONFIG_HOME or home folder).
std::string host_user_folder();

// Makes the user folder and the folders above it that are missing (mode 0700
// for new ones: settings are private). Throws DOCUMENT_ERROR naming the
// folder that cannot be made or that is not a writable folder.
void make_user_folder(const std::string& folder);

// The corporate and site customization folders: the values of
// TVCORPCUSTOMIZEDIR and TVSITECUSTOMIZEDIR without trailing '/'; none when
// the variable is unset or empty.
std::optional<std::string> corporate_customization_folder();
std::optional<std::string> site_customization_folder();

// The folder for temporary files: $TMPDIR when it is set and absolute, else
// /tmp; without trailing '/'.
std::string host_temporary_folder();
