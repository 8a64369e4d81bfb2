#!/usr/bin/env bash
# Fails when a source file outside the Lisp layer and the *_lisp.cpp bindings
# includes ECL's header (the C++ cores must not know Lisp), or a file outside
# the 3MF binding includes lib3mf's.
root="$1"
cd "$root" || exit 2
bad=$(grep -rl --include='*.h' --include='*.cpp' -E '#\s*include\s*[<"]ecl/' host lumesh app 2>/dev/null \
  | grep -v -E '^host/lisp/|_lisp\.(cpp|h)$' || true)
if [ -n "$bad" ]; then
  echo "ECL included outside the binding layer:"
  echo "$bad"
  exit 1
fi
# lib3mf's headers belong to the 3MF binding alone.
bad=$(grep -rl --include='*.h' --include='*.cpp' -E '#\s*include\s*[<"](Model|Common)/' host lumesh app 2>/dev/null \
  | grep -v -E '^lumesh/data_exchange/lib3mf_(binding_[a-z]+\.cpp|call\.h)$' || true)
if [ -n "$bad" ]; then
  echo "lib3mf included outside the 3MF binding:"
  echo "$bad"
  exit 1
fi
echo "layering ok"
