#!/usr/bin/env bash
# The user's documents across sessions: each check runs a separate lumesh
# process, as a user starting the program again would. $1: the program,
# $2: a scratch folder (emptied first).
set -u
lumesh="$1"
scratch="$2"
source="$3"
rm -rf "$scratch"
mkdir -p "$scratch/home" "$scratch/corp/LUMESH" "$scratch/site/LUMESH" "$scratch/tmp"
# Everything the host may read or write points into the scratch folder.
export HOME="$scratch/home" XDG_CONFIG_HOME="$scratch/xdg" TMPDIR="$scratch/tmp"
export TVCORPCUSTOMIZEDIR="$scratch/corp" TVSITECUSTOMIZEDIR="$scratch/site"
unset APPDATA TVLANGUAGE
user=$("$lumesh" -e '(tv-inq-user-folder)' | tr -d '"')
failures=0
passes=0
check() {  # check NAME EXPECTED-EXIT EXPECTED-OUTPUT-PATTERN FORM
  local name="$1" want_exit="$2" pattern="$3" out code
  out=$("$lumesh" -e "$4" 2>&1)
  code=$?
  if [ "$code" -ne "$want_exit" ] || ! grep -qE -- "$pattern" <<<"$out"; then
    echo "FAIL $name: exit $code (wanted $want_exit), output:"
    echo "$out" | head -20
    failures=$((failures + 1))
  else
    passes=$((passes + 1))
  fi
}

if [ "$user" != "$scratch/xdg/lumesh/0.1/" ] && [ "${user#"$scratch/xdg/lumesh/"}" = "$user" ]; then
  echo "FAIL user-folder: $user is not below \$XDG_CONFIG_HOME/lumesh"
  failures=$((failures + 1))
fi
mkdir -p "$user/LUMESH"

# A record written by one session is read by the next.
check no-record-yet 0 '^NIL$' '(tv-get-persistent-data "LUMESH" "LMX_SETTINGS" :subkey :values)'
check write 0 '^\(:MERGE T :FACE_LIMIT 2000\)$' \
  '(tv-set-persistent-data "LUMESH" "LMX_SETTINGS" (list :merge t :face_limit 2000) :subkey :values)'
check read-after-restart 0 '^\(:MERGE T :FACE_LIMIT 2000\)$' \
  '(tv-get-persistent-data "LUMESH" "LMX_SETTINGS" :subkey :values)'
check replace 0 '' '(tv-set-persistent-data "LUMESH" "LMX_SETTINGS" (list :merge nil) :subkey :values)'
check replaced-after-restart 0 '^\(:MERGE NIL\)$' '(tv-get-persistent-data "LUMESH" "LMX_SETTINGS" :subkey :values)'

# Two sessions writing at the same time lose none of each other's records.
writer='(dotimes (i 15) (tv-set-persistent-data "LUMESH" (format nil "~A~D" (quote WHO) i) (list :i i)))'
"$lumesh" -e "${writer/WHO/A}" >/dev/null 2>&1 &
first=$!
"$lumesh" -e "${writer/WHO/B}" >/dev/null 2>&1
wait "$first"
check concurrent-writers 0 '^30$' \
  '(loop for who in (list "A" "B") sum (loop for i below 15
     count (equal (tv-get-persistent-data "LUMESH" (format nil "~A~D" who i)) (list :i i))))'

# A session killed while it writes leaves a store that reads: each record
# is there whole or not at all.
"$lumesh" -e '(loop for i from 0 do (tv-set-persistent-data "KILLED" (format nil "K~D" i) (list :i i :text (make-string 500 :initial-element #\x))))' >/dev/null 2>&1 &
victim=$!
sleep 1
kill -9 "$victim" 2>/dev/null
wait "$victim" 2>/dev/null
check killed-writer 0 '^T$' \
  '(loop for i from 0 for r = (tv-get-persistent-data "KILLED" (format nil "K~D" i))
         while r always (and (eql (getf r :i) i) (= 500 (length (getf r :text)))))'
check killed-writer-wrote 0 '^\(:I 0 ' '(tv-get-persistent-data "KILLED" "K0")'

# Customization, then the persisted record, as a module starts: the user's
# file beats the site's, which beats the company's; the persisted value
# beats them all, in every new session, until the record is removed.
printf '(defparameter *limit* :corp)\n(defparameter *seen* (list :corp))\n' > "$scratch/corp/LUMESH/customize.lsp"
printf '(setq *limit* :site)\n(push :site *seen*)\n' > "$scratch/site/LUMESH/customize.lsp"
printf '(setq *limit* :user)\n(push :user *seen*)\n' > "$scratch/xdg/lumesh/0.1/LUMESH/customize.lsp"
start='(progn (tv-load-customization-file "customize.lsp" :application "LUMESH" :which :all :order :tv-corp-site-user)
               (let ((r (tv-get-persistent-data "LUMESH" "LIMIT"))) (when r (setq *limit* (getf r :limit))))
               (list *limit* (reverse *seen*)))'
check customization-order 0 '^\(:USER \(:CORP :SITE :USER\)\)$' "$start"
check persist-limit 0 '' '(tv-set-persistent-data "LUMESH" "LIMIT" (list :limit :persisted))'
check persisted-beats-customization 0 '^\(:PERSISTED \(:CORP :SITE :USER\)\)$' "$start"
check persisted-again 0 '^\(:PERSISTED ' "$start"
# A reset reloads the customization in the session; the record stays, and
# the next session starts from the persisted value again.
check reset-shows-customization 0 '^\(:USER \(:LIMIT :PERSISTED\)\)$' \
  "(progn $start (tv-load-customization-file \"customize.lsp\" :application \"LUMESH\")
          (list *limit* (tv-get-persistent-data \"LUMESH\" \"LIMIT\")))"
check persisted-after-reset 0 '^\(:PERSISTED ' "$start"
# Changing one entry of a record keeps the others.
check change-one-entry 0 '^\(:MERGE T :LIMIT :PERSISTED\)$' \
  '(let ((r (tv-get-persistent-data "LUMESH" "LIMIT"))) (setf (getf r :merge) t) (tv-set-persistent-data "LUMESH" "LIMIT" r))'
check one-entry-after-restart 0 '^\(:MERGE T :LIMIT :PERSISTED\)$' '(tv-get-persistent-data "LUMESH" "LIMIT")'
check remove-record 0 '^NIL$' '(tv-set-persistent-data "LUMESH" "LIMIT" nil)'
check customization-again 0 '^\(:USER ' "$start"

# A bad customization file: the error names it, the others load, and the
# program goes on (the next form runs, the exit status is that of success
# when the script handles the error).
printf '(push :site *seen*)\n(push (car 5) *seen*)\n' > "$scratch/site/LUMESH/customize.lsp"
# What the bad file did before its bad form stays done.
check bad-site-file 0 "site/LUMESH/customize.lsp', line 2: In function CAR.*\(:CORP :SITE :USER\)" \
  '(list (handler-case (tv-load-customization-file "customize.lsp" :application "LUMESH")
           (error (e) (let ((m (princ-to-string e))) (subseq m 0 (position #\Newline m)))))
         (reverse *seen*))'
printf '(push :site *seen*\n' > "$scratch/site/LUMESH/customize.lsp"
check unbalanced-site-file 1 "Error: Customization file '$scratch/site/LUMESH/customize.lsp', line 1: the form that begins there is not closed" \
  '(tv-load-customization-file "customize.lsp" :application "LUMESH")'
printf '(push :site *seen*)\n' > "$scratch/site/LUMESH/customize.lsp"

# A damaged store: a clear error that names it, and the file stays as it was.
cp "$user/persistent_data.sqlite" "$scratch/saved.sqlite"
printf 'not a database' > "$user/persistent_data.sqlite"
check damaged-store 1 "persistent_data.sqlite' .*damaged" '(tv-get-persistent-data "LUMESH" "LMX_SETTINGS")'
check damaged-store-kept 0 '^"not a database"$' "(with-open-file (s \"$user/persistent_data.sqlite\") (read-line s))"
cp "$scratch/saved.sqlite" "$user/persistent_data.sqlite"
check store-back 0 '^\(:MERGE NIL\)$' '(tv-get-persistent-data "LUMESH" "LMX_SETTINGS" :subkey :values)'

# Nothing outside the user's folders was written: the corporate and site
# folders and the home folder are as the test left them.
touch -d '2001-01-01' "$scratch/corp" "$scratch/site" "$scratch/home" "$scratch/corp/LUMESH" "$scratch/site/LUMESH"
before=$(find "$scratch/corp" "$scratch/site" "$scratch/home" -printf '%p %s %T@\n' | sort)
"$lumesh" -e "$start" >/dev/null 2>&1
"$lumesh" -e '(tv-set-persistent-data "LUMESH" "OTHER" (list :a 1))' >/dev/null 2>&1
after=$(find "$scratch/corp" "$scratch/site" "$scratch/home" -printf '%p %s %T@\n' | sort)
if [ "$before" != "$after" ]; then
  echo "FAIL nothing-outside-user-folders:"
  diff <(echo "$before") <(echo "$after")
  failures=$((failures + 1))
else
  passes=$((passes + 1))
fi

# The language of the session chooses the module's resource file.
mkdir -p "$scratch/de/app"
cp "$lumesh" "$scratch/de/app/lumesh"
check-program() {  # check-program NAME EXPECTED-EXIT PATTERN program args...
  local name="$1" want_exit="$2" pattern="$3" out code
  shift 3
  out=$("$@" 2>&1)
  code=$?
  if [ "$code" -ne "$want_exit" ] || ! grep -qE -- "$pattern" <<<"$out"; then
    echo "FAIL $name: exit $code (wanted $want_exit), output:"
    echo "$out" | head -20
    failures=$((failures + 1))
  else
    passes=$((passes + 1))
  fi
}
check-program german-missing 1 "resource file 'lmx_resources_de.lsp' is missing" \
  env TVLANGUAGE=de "$scratch/de/app/lumesh" -e '(get-resource :module-title)'
sed 's/:module-title "Lumesh"/:module-title "Lumesh auf Deutsch"/' "$source/resources/lmx_resources.lsp" \
  > "$scratch/de/app/lmx_resources_de.lsp"
check-program german 0 '^"Lumesh auf Deutsch"$' \
  env TVLANGUAGE=de "$scratch/de/app/lumesh" -e '(get-resource :module-title)'
check english-by-default 0 '^\("en" "lmx_resources"\)$' '(list (tv-inq-language) (tv-multi-lang-string "lmx_resources"))'

echo "$passes passed, $failures failed"
[ "$failures" -eq 0 ]
