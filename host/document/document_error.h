#pragma once
// DOCUMENT_ERROR: a failure of one of the host's files (persistent data,
// customization, graphics files). Its text names the file and says what is
// wrong with it, so that the user can find and mend it; at the Lisp border it
// becomes a Lisp error with that text.

#include <stdexcept>
#include <string>

class DOCUMENT_ERROR : public std::runtime_error {
 public:
  DOCUMENT_ERROR(const std::string& path, const std::string& problem)
      : std::runtime_error("The file '" + path + "' " + problem), path_(path) {}
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};
