#!/usr/bin/env bash
# The include rules of the layers. Fails when a source file includes a
# library's headers outside the one layer allowed to see them:
#   ECL           only the Lisp layer and the *_lisp.cpp bindings (the C++
#                 cores must not know Lisp);
#   lib3mf        only the 3MF binding;
#   OpenCASCADE   only the exchange layer's .cpp files and its *_occt.h
#                 headers (the kernel and its other users see plain C++);
#   the module    never the host (host/ includes nothing of lumesh/).
root="$1"
cd "$root" || exit 2
status=0

# check WHAT INCLUDE-PATTERN ALLOWED-PATH-PATTERN
check() {
  local bad
  bad=$(grep -rl --include='*.h' --include='*.cpp' -E "#\\s*include\\s*[<\"]$2" host lumesh app 2>/dev/null \
    | grep -v -E "$3" || true)
  if [ -n "$bad" ]; then
    echo "$1 included outside its layer:"
    echo "$bad"
    status=1
  fi
}

check ECL 'ecl/' '^host/lisp/|_lisp\.(cpp|h)$'
check lib3mf '(Model|Common)/' '^lumesh/data_exchange/lib3mf_(binding_[a-z]+\.cpp|call\.h)$'
check OpenCASCADE '[A-Za-z0-9_]+\.hxx' '^host/exchange/([a-z0-9_]+\.cpp|[a-z0-9_]+_occt\.h)$'

# The host never includes the module: the program in app/ joins them.
bad=$(grep -rl --include='*.h' --include='*.cpp' -E '#\s*include\s*"lumesh/' host 2>/dev/null || true)
if [ -n "$bad" ]; then
  echo "the module included by the host:"
  echo "$bad"
  status=1
fi

[ "$status" -eq 0 ] && echo "layering ok"
exit "$status"
