#!/usr/bin/env bash
# The lumesh program as a user runs it. $1: the program, $2: a scratch folder,
# $3: the generator of the sample part.
set -u
lumesh="$1"
scratch="$2"
make_sample="$3"
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
check quit 0 '^3 end$' sh -c "printf '(+ 1 2)\n(quit)\n(+ 3 4)\n' | '$lumesh' | tr '\n' ' ' | sed 's/ $/ end/'"
check exit 0 '^3 end$' sh -c "printf '(+ 1 2)\n(exit)\n(+ 3 4)\n' | '$lumesh' | tr '\n' ' ' | sed 's/ $/ end/'"
# On a terminal the command line prompts in the module's package.
if command -v script >/dev/null 2>&1; then
  check prompt 0 '^lumesh> ' sh -c "printf '(quit)\n' | script -q -c '$lumesh' /dev/null | tr -d '\r'"
fi
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

# The import as a new user tries it: the sample part, then bad files.
"$make_sample" "$scratch/plate.stl" >/dev/null
check import-report 0 '^   1  [0-9]\.[0-9]{2}e-[0-9]     3072      13 \(PLANES CYLINDERS\)$' \
  "$lumesh" import "$scratch/plate.stl" --cylinders
check import-head 0 '^Body#  Res\.    #Facets  #Faces Reconstruction$' "$lumesh" import "$scratch/plate.stl"
check import-file-line 0 "^Imported manufacturing data file \".*plate\.stl\"$" "$lumesh" import "$scratch/plate.stl"
check import-no-recognition 0 '^   1  1\.00e-6     3072    3072 NIL$' "$lumesh" import "$scratch/plate.stl"
check import-json 0 '"facets": 3072, "faces": 13, "planes": 7, "cylinders": 6, "closed": true' \
  "$lumesh" import "$scratch/plate.stl" --cylinders --json
check import-precision 0 '"resolution": 0\.01,' \
  "$lumesh" import "$scratch/plate.stl" --planes --precision 0.01 --json
check import-limit 0 '"closed": true, "resolution": 0\.001, .*"reconstruction": \["planes"\]' \
  "$lumesh" import "$scratch/plate.stl" --face-limit 3000 --json
cp "$scratch/plate.stl" "$scratch/UPPER.STL"
check import-upper-case 0 '13 \(PLANES CYLINDERS\)$' "$lumesh" import "$scratch/UPPER.STL" --cylinders
check import-missing 1 '^lumesh import: .*missing\.stl: The file cannot be opened\.$' \
  "$lumesh" import "$scratch/missing.stl"
mkdir -p "$scratch/folder.stl"
check import-directory 1 'folder\.stl: The file cannot be opened\.$' "$lumesh" import "$scratch/folder.stl"
printf 'solid empty\nendsolid empty\n' > "$scratch/empty.stl"
check import-empty 1 'The file holds no mesh data\.$' "$lumesh" import "$scratch/empty.stl"
printf 'solid x\n facet normal 0 0 1\n rubbish\n' > "$scratch/bad.stl"
check import-bad 1 'The file is not a valid STL file\.$' "$lumesh" import "$scratch/bad.stl"
check import-unknown-type 1 'Unsupported manufacturing data type: NIL$' "$lumesh" import "$scratch/plate.obj"
check import-bad-option 2 "unknown option '--frobnicate'" "$lumesh" import "$scratch/plate.stl" --frobnicate
check import-bad-precision 2 'positive number' "$lumesh" import "$scratch/plate.stl" --precision zero
check import-no-file 2 'which file' "$lumesh" import
"$make_sample" "$scratch/plate.3mf" >/dev/null
check import-3mf 0 '^   1  [0-9]\.[0-9]{2}e-[0-9]     3072      13 \(PLANES CYLINDERS\)$' \
  "$lumesh" import "$scratch/plate.3mf" --cylinders
check import-3mf-json 0 '"name": "flanged plate", "facets": 3072, "faces": 13, "planes": 7, "cylinders": 6, .*"color": "#FF708090"' \
  "$lumesh" import "$scratch/plate.3mf" --cylinders --json
printf 'not a zip' > "$scratch/junk.3mf"
check import-3mf-corrupt 1 '^lumesh import: .*junk\.3mf: An unexpected error occurred\.$' "$lumesh" import "$scratch/junk.3mf"
check import-3mf-missing 1 'nothing\.3mf: The file cannot be opened\.$' "$lumesh" import "$scratch/nothing.3mf"
check import-step 0 '^Wrote STEP file ".*plate\.step" \(1 body\)$' \
  "$lumesh" import "$scratch/plate.stl" --cylinders --out "$scratch/plate.step"
check step-written 0 '^ISO-10303-21;' head -1 "$scratch/plate.step"
check import-step-3mf 0 '^Wrote STEP file ".*plate3\.step" \(2 bodies\)$' \
  "$lumesh" import "$scratch/plate.3mf" --cylinders --out "$scratch/plate3.step"
# A STEP file goes into the model tree, which is printed.
check import-step-head 0 '^Imported STEP file ".*plate3\.step"$' "$lumesh" import "$scratch/plate3.step"
check import-step-tree 0 '^  flanged plate-1 \(part, 13 faces: 6 cylinder, 7 plane\)$' \
  "$lumesh" import "$scratch/plate3.step"
check import-step-placed 0 '^  flanged plate \(part, 13 faces: .*\)  at \(120, 0, 0\)$' \
  "$lumesh" import "$scratch/plate3.step"
check import-step-missing 1 'missing\.stp: the file cannot be read as a model' "$lumesh" import "$scratch/missing.stp"
check import-step-options 2 'not STEP files' "$lumesh" import "$scratch/plate3.step" --json
check import-step-bad-path 1 'no-such-folder/x\.step: the file cannot be written' \
  "$lumesh" import "$scratch/plate.stl" --out "$scratch/no-such-folder/x.step"
check convert-to-step 0 '^Converted ".*plate\.stl" to ".*conv\.step": 1 body$' \
  "$lumesh" convert "$scratch/plate.stl" "$scratch/conv.step" --cylinders
check convert-step-to-stl 0 '^Converted ".*conv\.step" to ".*back\.stl": [0-9]+ triangles$' \
  "$lumesh" convert "$scratch/conv.step" "$scratch/back.stl"
check convert-back-imports 0 '"planes": 7, "cylinders": 6' "$lumesh" import "$scratch/back.stl" --cylinders --json
check convert-back-closed 0 '"closed": true, .*"repaired": 0' "$lumesh" import "$scratch/back.stl" --json
check convert-step-to-step 0 '^Converted ".*conv\.step" to ".*again\.step": 1 body$' \
  "$lumesh" convert "$scratch/conv.step" "$scratch/again.step"
check step-again-to-stl 0 '^Converted ".*again\.step" to ".*again\.stl": [0-9]+ triangles$' \
  "$lumesh" convert "$scratch/again.step" "$scratch/again.stl"
check step-again-imports 0 '"faces": 13, "planes": 7, "cylinders": 6, "closed": true, .*"repaired": 0' \
  "$lumesh" import "$scratch/again.stl" --cylinders --json
check step-to-3mf 0 '^Converted ".*again\.step" to ".*again\.3mf": [0-9]+ triangles in 1 object$' \
  "$lumesh" convert "$scratch/again.step" "$scratch/again.3mf"
check step-3mf-closed 0 '"closed": true, .*"repaired": 0' "$lumesh" import "$scratch/again.3mf" --json
check convert-to-3mf 0 '^Converted .* 3072 triangles in 1 object$' \
  "$lumesh" convert "$scratch/plate.stl" "$scratch/conv.3mf"
check convert-3mf-imports 0 '"facets": 3072, "faces": 13' "$lumesh" import "$scratch/conv.3mf" --cylinders --json
check convert-missing 1 'missing\.step: the file cannot be read' "$lumesh" convert "$scratch/missing.step" "$scratch/x.stl"
check convert-bad-out 2 'OUT must be' "$lumesh" convert "$scratch/plate.stl" "$scratch/x.obj"
check convert-one-file 2 'needs IN and OUT' "$lumesh" convert "$scratch/plate.stl"
# Model files: an import kept with its recognised body, written out again,
# reported, and bad ones refused.
check convert-to-model 0 '^Converted ".*plate\.stl" to ".*plate\.lmx": 1 part$' \
  "$lumesh" convert "$scratch/plate.stl" "$scratch/plate.lmx" --cylinders
check model-json 0 '"name": "Mesh", "faces": 13, "planes": 7, "cylinders": 6, "closed": true' \
  "$lumesh" import "$scratch/plate.lmx" --json
check model-report 0 '^    1  [0-9]\.[0-9]{2}e-[0-9]+      13        7           6  Mesh$' \
  "$lumesh" import "$scratch/plate.lmx"
check model-to-step 0 '^Converted ".*plate\.lmx" to ".*model\.step": 1 body$' \
  "$lumesh" convert "$scratch/plate.lmx" "$scratch/model.step"
check model-step-imports 0 'Mesh \(part, 13 faces: 6 cylinder, 7 plane\)' "$lumesh" import "$scratch/model.step"
check step-to-model 0 '^Converted ".*model\.step" to ".*model\.lmx": 1 part$' \
  "$lumesh" convert "$scratch/model.step" "$scratch/model.lmx"
check step-model-json 0 '"faces": 13, "planes": 7, "cylinders": 6, "closed": true' \
  "$lumesh" import "$scratch/model.lmx" --json
check model-from-lisp 0 '^\("/Mesh"\)$' \
  "$lumesh" -e "(mapcar #'tv-inq-obj-pathname (load-tv \"$scratch/plate.lmx\"))"
check model-foreign 1 'plate\.stl": is not a file that Lumesh loads' \
  "$lumesh" -e "(load-tv \"$scratch/plate.stl\")"
cp "$scratch/plate.stl" "$scratch/fake.lmx"
check model-not-a-model 1 'fake\.lmx": is not a Lumesh model file' "$lumesh" import "$scratch/fake.lmx"
check model-out-refused 2 'not model files' "$lumesh" import "$scratch/plate.lmx" --out "$scratch/x.step"
check sample-bad-name 2 'usage: make_sample_part' "$make_sample" "$scratch/plate.obj"
check import-help 0 '^usage: lumesh import FILE' "$lumesh" import --help

echo "cli: $passes passed, $failures failed"
[ "$failures" -eq 0 ]
