#!/usr/bin/env bash
# Checks the language resource file resources/lmx_resources.lsp.
# $1: the repository root. Reads every (register-module-resource key text ...)
# form and checks that each key is a keyword registered once (keys compare
# case-insensitively), and that each text is a non-empty string.
# Prints "N keys" and exits 0, or lists the problems and exits 1.
set -u
root="${1:-}"
if [ -z "$root" ]; then
  echo "usage: $0 REPOSITORY-ROOT" >&2
  exit 2
fi
file="$root/resources/lmx_resources.lsp"
if [ ! -r "$file" ]; then
  echo "cannot read $file"
  exit 1
fi

awk '
function problem(msg) { print FILENAME ":" tokline ": " msg; bad++ }
# One finished token of the current form: kind "atom" or "string".
function token(kind, text,    k) {
  if (depth == 1 && nargs == -1) {           # head of a top-level form
    nargs = 0
    inform = (kind == "atom" && tolower(text) == "register-module-resource")
    if (inform) forms++
    return
  }
  if (!inform || depth != 1) return
  if (nargs % 2 == 0) {                      # a key
    key = ""
    if (kind != "atom" || substr(text, 1, 1) != ":" || length(text) < 2) {
      problem("not a keyword where a key belongs: " (kind == "string" ? "\"" text "\"" : text))
    } else {
      key = tolower(text)
      if (key in seen) problem("key " key " registered twice (first at line " seen[key] ")")
      else { seen[key] = tokline; keys++ }
    }
  } else {                                   # a text
    if (kind != "string") problem("text of " (key == "" ? "a key" : key) " is not a string: " text)
    else if (text == "") problem("text of " (key == "" ? "a key" : key) " is empty")
  }
  nargs++
}
function flush_atom() {
  if (atom != "") { token("atom", atom); atom = "" }
}
BEGIN { depth = 0; instr = 0; esc = 0; atom = ""; forms = 0; keys = 0; bad = 0; inform = 0; nargs = -1 }
{
  line = $0 "\n"
  n = length(line)
  for (i = 1; i <= n; i++) {
    c = substr(line, i, 1)
    if (instr) {
      if (esc) { str = str c; esc = 0 }
      else if (c == "\\") esc = 1
      else if (c == "\"") { instr = 0; token("string", str) }
      else str = str c
      continue
    }
    if (c == ";") { flush_atom(); break }              # comment to end of line
    if (c == "\"") { flush_atom(); instr = 1; str = ""; tokline = FNR; continue }
    if (c == "(") {
      flush_atom(); depth++
      if (depth == 1) { nargs = -1; inform = 0; formline = FNR }
      else if (inform && depth == 2) { tokline = FNR; problem("a list where a key or text belongs"); nargs++ }
      continue
    }
    if (c == ")") {
      flush_atom()
      if (depth == 1 && inform && nargs % 2 == 1) {
        tokline = FNR; problem("key " key " has no text (form of line " formline ")")
      }
      if (depth > 0) depth--
      else { tokline = FNR; problem("unbalanced closing parenthesis") }
      if (depth == 0) inform = 0
      continue
    }
    if (c == " " || c == "\t" || c == "\n" || c == "\r") { flush_atom(); continue }
    if (atom == "") tokline = FNR
    atom = atom c
  }
}
END {
  if (instr) { tokline = FNR; problem("string not closed at end of file") }
  if (depth != 0) { tokline = FNR; problem("parentheses not balanced at end of file") }
  if (forms == 0) { tokline = 0; problem("no register-module-resource form found") }
  if (bad > 0) { print bad " problem(s)"; exit 1 }
  print keys " keys"
}
' "$file"
