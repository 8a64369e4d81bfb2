#!/usr/bin/env bash
# A STEP file written by `lumesh import ... --out` opened in a second CAD
# system: FreeCAD's command line, when it is installed (skipped otherwise).
# $1: the lumesh program, $2: a scratch folder, $3: the generator of the
# sample part, $4: the folder of generated parts (optional; skipped when
# absent). Each part must come back as one valid closed solid with the plane
# and cylinder counts the import reported and the mesh's volume within 1 %.
set -u
lumesh="$1"
scratch="$2/freecad"
make_sample="$3"
parts="${4:-}"
here="$(cd "$(dirname "$0")" && pwd)"
if ! command -v freecadcmd >/dev/null 2>&1; then
  echo "SKIPPED: freecadcmd is not installed (Debian package freecad-python3)"
  exit 77
fi
mkdir -p "$scratch"
failures=0
checked=0

check_part() {  # check_part STL
  local stl="$1" name step json planes cylinders verdict
  name="$(basename "$stl" .stl)"
  step="$scratch/$name.step"
  rm -f "$step"
  if ! json=$("$lumesh" import "$stl" --planes --cylinders --json --out "$step" 2>&1); then
    echo "FAIL $name: lumesh import failed: $json"
    failures=$((failures + 1))
    return
  fi
  planes=$(grep -oE '"planes": [0-9]+' <<<"$json" | grep -oE '[0-9]+$')
  cylinders=$(grep -oE '"cylinders": [0-9]+' <<<"$json" | grep -oE '[0-9]+$')
  verdict=$(LUMESH_STEP="$step" LUMESH_STL="$stl" LUMESH_PLANES="$planes" LUMESH_CYLINDERS="$cylinders" \
            freecadcmd "$here/freecad_check.py" 2>&1 | grep -E '^(OK|FAIL)' | head -1)
  checked=$((checked + 1))
  if [[ "$verdict" != OK* ]]; then
    echo "FAIL $name: ${verdict:-FreeCAD gave no verdict}"
    failures=$((failures + 1))
  else
    echo "$name: $verdict"
  fi
}

"$make_sample" "$scratch/flanged_plate.stl" >/dev/null || { echo "FAIL: no sample part"; exit 1; }
check_part "$scratch/flanged_plate.stl"
if [ -n "$parts" ] && [ -d "$parts" ]; then
  for stl in "$parts"/*.stl; do check_part "$stl"; done
else
  echo "the generated parts are absent; only the sample part was checked"
fi
echo "$checked checked, $failures failed"
[ "$failures" -eq 0 ]
