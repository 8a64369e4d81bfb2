#!/usr/bin/env bash
# The lumesh program as a user runs it. $1: the program, $2: a scratch folder.
set -u
lumesh="$1"
scratch="$2"
failures=0
passes=0
check() {  # check NAME EXPECTED-EXIT EXPECTED-OUTPUT-PATTERN command...
  local name="$1" want_exit="$2" pattern="$3"
  shift 3
  local out
  out=$("$@" 2>&1)
  local code=$?
  if [ "$code" -ne "$want_exit" ] || ! grep -qE -- "$pattern" <<<"$out"; then
    echo "FAIL $name: exit $code (wanted $want_exit), output:"
    echo "$out" | head -20
    failures=$((failures + 1))
  else
    passes=$((passes + 1))
  fi
}

check version 0 '^lumesh [0-9]+\.[0-9]+' "$lumesh" --version
check manifest 0 '^\(:MODULE-NAME "lumesh" :VERSION "[^"]+" :BUILD-DATE "[A-Z][a-z]{2} [0-9]{1,2} [0-9]{4}" :COPYRIGHT "[^"]+"\)$' \
  "$lumesh" -e '(get-module-manifest)'
check title 0 '^"Lumesh' "$lumesh" -e '(get-resource :module-title)'
check unknown-key 0 '^"NO-SUCH-KEY"$' "$lumesh" -e '(get-resource :no-such-key)'
check lisp-error 1 'expected type CONS' "$lumesh" -e '(car 5)'
check count-error 1 'Error: ' "$lumesh" -e '(get-module-manifest 1)'
check read-error 1 'Error: ' "$lumesh" -e '(+ 1'
check unknown-command 2 'unknown command' "$lumesh" frobnicate
check repl 0 '^3$' sh -c "printf '(+ 1 2)\n' | '$lumesh'"
check repl-goes-on 0 '^ok$' sh -c "printf '(car 5)\n:ok\n' | '$lumesh' 2>/dev/null | sed 's/^:OK$/ok/'"
printf '(format t "from a script: ~A~%%" (+ 40 2))\n' > "$scratch/script.lsp"
check script 0 '^from a script: 42$' "$lumesh" "$scratch/script.lsp"
printf '(car 5)\n' > "$scratch/bad.lsp"
check bad-script 1 'Error: ' "$lumesh" "$scratch/bad.lsp"
check missing-script 1 "cannot read the script" "$lumesh" "$scratch/no-such-script.lsp"

# Without its resource file the module does not start, and says why.
mkdir -p "$scratch/alone/app"
cp "$lumesh" "$scratch/alone/app/lumesh"
check no-resources 1 "resource file '.*lmx_resources.lsp' is missing" "$scratch/alone/app/lumesh" -e '1'

echo "cli: $passes passed, $failures failed"
[ "$failures" -eq 0 ]
