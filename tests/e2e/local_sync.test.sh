#!/usr/bin/env bash
# Local folder to local folder: the real binary on real temporary trees.
. "$(dirname "$0")/lib/e2e.sh"
e2e_init
# Two local folders need no store and no keys.
unset QUORLES_ACCESS_KEY QUORLES_SECRET_KEY

SRC= DST=
# fresh CASE: two empty trees for one case
fresh() {
  SRC="$E2E_WORK/$1/src" DST="$E2E_WORK/$1/dst"
  mkdir -p "$SRC" "$DST"
}
put() { mkdir -p "$(dirname "$1")"; printf '%s' "${2-$1}" >"$1"; }

# run ARGS...: runs quorle with the streams apart; sets STATUS, OUT, ERR
run() {
  local out="$E2E_WORK/run.out" err="$E2E_WORK/run.err"
  STATUS=0
  timeout -k 5 120 "$QUORLE_BINARY" "$@" >"$out" 2>"$err" || STATUS=$?
  OUT=$(cat "$out") ERR=$(cat "$err")
}
sync_ok() { run "$@" "$SRC/" "$DST/"; e2e_expect_eq "$CASE: exit code (stderr: ${ERR:0:300})" 0 "$STATUS"; }
same_trees() { e2e_check "$CASE: trees match" diff -r --no-dereference "$SRC" "$DST"; }
tree() { (cd "$1" && find . -mindepth 1 | sort); }
expect_tree() { e2e_expect_eq "$CASE: destination tree" "$(printf '%s\n' "$@" | sort)" "$(tree "$DST")"; }

CASE="mirror"; fresh mirror
put "$SRC/new.txt"; put "$SRC/same.txt" "same"; put "$DST/same.txt" "same"
put "$SRC/a/b/c/deep.txt"; mkdir -p "$SRC/empty-src" "$DST/empty-both" "$SRC/empty-both" "$DST/empty-dst"
put "$DST/gone.txt"; put "$DST/old/tree/x.txt"; put "$SRC/empty.bin" ""; put "$DST/empty.bin" ""
sync_ok
same_trees
e2e_expect_eq "$CASE: a good run prints nothing" "" "$OUT$ERR"
touch -d '2001-01-01' "$DST/same.txt"
run -v "$SRC/" "$DST/"
e2e_expect_eq "$CASE: rerun exit code" 0 "$STATUS"
e2e_expect_eq "$CASE: rerun only compares, ends with Done. and the summary" \
  "$(printf 'Done.\nCopied 0, replaced 0, deleted 0, unchanged 4, failed 0; sent N, received N in T s (N/s)')" \
  "$(grep -v '^\[Compare\] \|^\[List\] ' <<<"$OUT" | sed '/^$/d' | sed -E 's/[0-9.]+ [kMG]?B/N/g; s/in [0-9.]+ s/in T s/')"
e2e_expect_eq "$CASE: rerun touched nothing" "2001-01-01" "$(date -r "$DST/same.txt" +%F)"

CASE="verbose lines"; fresh verbose
put "$SRC/f.txt"; put "$DST/g.txt"
sync_ok -v
e2e_check "$CASE: copy line" grep -qxF "[Copy] $SRC/f.txt --> $DST/f.txt" <<<"$OUT"
e2e_check "$CASE: delete line" grep -q "^\[.*\] $DST/g.txt$" <<<"$OUT"
e2e_check "$CASE: Done. then the summary at the end" grep -qxE 'Done\.Copied 1, replaced 0, deleted 1, .*' \
  <(tail -n 2 <<<"$OUT" | tr -d '\n')
run -v -D "$SRC/" "$DST/"
e2e_check "$CASE: -v -D shows no start lines" bash -c '! grep -q "^\[Compare\]" <<<"$1"' _ "$OUT"
e2e_check "$CASE: -D prints operation logs" grep -q '^\*\*\* Operation: ' <<<"$OUT"

CASE="changed file"; fresh changed
put "$SRC/equal-size.txt" "AAAA"; put "$DST/equal-size.txt" "BBBB"
put "$SRC/other-size.txt" "longer text"; put "$DST/other-size.txt" "short"
chmod 640 "$SRC/other-size.txt"
sync_ok
e2e_expect_eq "$CASE: both replaced" "AAAA longer text" "$(cat "$DST/equal-size.txt") $(cat "$DST/other-size.txt")"
e2e_expect_eq "$CASE: permissions follow the source" 640 "$(stat -c %a "$DST/other-size.txt")"
expect_tree ./equal-size.txt ./other-size.txt

# The decisions themselves are covered by the planner's unit test; here the
# options only need to reach it.
CASE="options"; fresh options
put "$SRC/new.txt"; put "$DST/extra.txt"; mkdir -p "$SRC/newdir" "$DST/extradir"
put "$SRC/changed.txt" "source"; put "$DST/changed.txt" "destination"
sync_ok --KEEP-NEW --dont-delete --dont-add --dont-replace
expect_tree ./changed.txt ./extra.txt ./extradir
e2e_expect_eq "$CASE: destination kept" destination "$(cat "$DST/changed.txt")"

CASE="neighbour names"; fresh neighbours
for d in x x-y x.y "x 1" x0; do put "$SRC/$d/f" "$d"; done
sync_ok
same_trees
rm -r "$SRC/x-y"
run -v "$SRC/" "$DST/"
e2e_expect_eq "$CASE: exit code" 0 "$STATUS"
e2e_expect_eq "$CASE: only the removed neighbour goes" "$(printf '[Delete] %s\n' "$DST/x-y/f" "$DST/x-y")" \
  "$(grep '^\[\(Copy\|Delete\)\]' <<<"$OUT")"
same_trees
run -v "$SRC/" "$DST/"
e2e_expect_eq "$CASE: a second run changes nothing" "" "$(grep '^\[\(Copy\|Delete\|Create folder\)\]' <<<"$OUT" || true)"

CASE="dry run"; fresh dry
put "$SRC/new.txt"; put "$SRC/sized.txt" "longer"; put "$DST/sized.txt" "short"; put "$SRC/same.txt" same; put "$DST/same.txt" same
put "$SRC/content.txt" "AAAA"; put "$DST/content.txt" "BBBB"; put "$DST/gone.txt"; put "$SRC/newdir/f"; put "$DST/olddir/g"
put "$SRC/kept.txt" "new"; put "$DST/kept.txt" "newer"; touch -d 2001-01-01 "$SRC/kept.txt" "$DST/content.txt" "$DST/sized.txt" "$DST/same.txt"
before=$(cd "$DST" && find . -printf '%p %s %T@\n' | sort)
for opt in -n --dry-run; do
  run $opt --keep-new "$SRC/" "$DST/"
  e2e_expect_eq "$CASE $opt: exit code (stderr: ${ERR:0:300})" 0 "$STATUS"
  e2e_expect_eq "$CASE $opt: nothing changed" "$before" "$(cd "$DST" && find . -printf '%p %s %T@\n' | sort)"
done
e2e_expect_eq "$CASE: one line per change, with its reason" "$(sort <<EOT
[Copy] $SRC/new.txt --> $DST/new.txt (not in the destination)
[Replace] $SRC/sized.txt --> $DST/sized.txt (size differs)
[Replace] $SRC/content.txt --> $DST/content.txt (content differs)
[Delete] $DST/gone.txt (not in the source)
[Delete] $DST/olddir (not in the source)
[Create folder] $DST/newdir (not in the destination)
[Copy] $SRC/newdir/f --> $DST/newdir/f (not in the destination)
[Keep] $DST/kept.txt (destination is newer, --keep-new)
EOT
)" "$(sed '/^$/d' <<<"$OUT" | sort)"

CASE="progress"; fresh progress
for i in $(seq 1 400); do put "$SRC/f$i" "$(printf '%0100d' "$i")"; done
QUORLE_PROGRESS_INTERVAL=20 sync_ok --progress
e2e_expect_eq "$CASE: stdout stays quiet" "" "$OUT"
# the totals come from the plan: 0 while both sides are listed
lines=$(grep -c '^Progress: [0-9]*/[04]0*0* files, [0-9.]* [kM]\?B/[0-9.]* [kM]\?B, [0-9.]* [kM]\?B/s, ETA [-0-9:]*$' <<<"$ERR" || true)
e2e_check "$CASE: periodic lines when piped ($lines)" test "$lines" -ge 2 -a "$lines" = "$(wc -l <<<"$ERR")"
e2e_check "$CASE: the plan's totals" grep -q '^Progress: [0-9]*/400 files, [0-9.]* [kM]\?B/40.0 kB, ' <<<"$ERR"
e2e_check "$CASE: the count of files moves" test "$(grep -o '^Progress: [0-9]*' <<<"$ERR" | sort -u | wc -l)" -ge 2
rm -r "${DST:?}"/*
script -qec "QUORLE_PROGRESS_INTERVAL=20 $QUORLE_BINARY --progress $SRC/ $DST/" "$E2E_WORK/tty.log" >/dev/null
e2e_check "$CASE: redrawn in place on a terminal" grep -qa $'\rProgress: ' "$E2E_WORK/tty.log"
e2e_check "$CASE: the line is cleared at the end" grep -qa $'\r\e\[K' "$E2E_WORK/tty.log"
e2e_expect_eq "$CASE: copied" 400 "$(find "$DST" -type f | wc -l)"

CASE="filters"
check_filter() {  # check_filter "OPTION VALUE" expected-files...
  local option=$1; shift
  fresh "filter-$RANDOM"
  put "$SRC/keep.txt"; put "$SRC/skip.tmp" skip; put "$SRC/Upper.TXT"; put "$SRC/sub/inner.txt"; put "$SRC/sub/inner.tmp"
  # an equal twin: left alone when included, deleted when filtered out
  put "$DST/skip.tmp" skip
  # word splitting wanted, file name expansion not
  set -f
  # shellcheck disable=SC2086
  run $option "$SRC/" "$DST/"
  set +f
  CASE="filter $option"
  e2e_expect_eq "$CASE: exit code (stderr: ${ERR:0:300})" 0 "$STATUS"
  e2e_expect_eq "$CASE: copied" "$(printf '%s\n' "$@" | sort)" "$(cd "$DST" && find . -type f | sort)"
}
check_filter "--exclude-cs-filename *.tmp" ./Upper.TXT ./keep.txt ./sub/inner.txt
check_filter "--include-cs-filename *.txt" ./keep.txt ./sub/inner.txt
check_filter "--include-ci-filename *.txt" ./Upper.TXT ./keep.txt ./sub/inner.txt
check_filter "--include-cs-filepath */sub/*" ./sub/inner.tmp ./sub/inner.txt
check_filter "--exclude-ci-filepath */SUB/*" ./Upper.TXT ./keep.txt ./skip.tmp
check_filter "--include-regexp-filename ^[ks].*" ./keep.txt ./skip.tmp
check_filter "--include-regexp2-ci-filename upper.*" ./Upper.TXT
check_filter "--include-wildcardunix-filename [a-k]*.txt --exclude-filename inner*" ./keep.txt

CASE="hidden files"
for opts in "" "--hidden-files" "-s"; do
  fresh "hidden${opts}"
  put "$SRC/.hidden"; put "$SRC/seen"; put "$DST/.dst-hidden"
  run $opts "$SRC/" "$DST/"
  CASE="hidden files with '${opts}'"
  e2e_expect_eq "$CASE: exit code (stderr: ${ERR:0:300})" 0 "$STATUS"
  # The destination is listed in full: its hidden file has no twin and goes.
  if [[ -z $opts ]]; then expect_tree ./seen; else expect_tree ./.hidden ./seen; fi
done
run -h "$SRC/" "$DST/"
e2e_check "hidden files: -h is the help screen" grep -q '^quorle \[options\] source destination$' <<<"$OUT"

CASE="symbolic links"
for opts in "" "-l"; do
  fresh "links${opts}"
  put "$SRC/target.txt" "content"; ln -s target.txt "$SRC/link.txt"
  run $opts "$SRC/" "$DST/"
  CASE="symbolic links with '${opts}'"
  e2e_expect_eq "$CASE: exit code (stderr: ${ERR:0:300})" 0 "$STATUS"
  if [[ -z $opts ]]; then
    expect_tree ./target.txt
  else
    expect_tree ./link.txt ./target.txt
    e2e_expect_eq "$CASE: the link's content is copied" content "$(cat "$DST/link.txt")"
  fi
done

CASE="missing folders"
fresh missing
run "$E2E_WORK/no-such-source" "$DST"
e2e_expect_eq "$CASE: missing source exit code" 1 "$STATUS"
e2e_check "$CASE: missing source named as typed" grep -qxF "Message: Folder '$E2E_WORK/no-such-source' not found" <<<"$ERR"
run "$E2E_WORK/no-such-source" "$E2E_WORK/no-such-destination"
e2e_check "$CASE: only the source is named" bash -c '! grep -q no-such-destination <<<"$1"' _ "$ERR"
run "$SRC" "$E2E_WORK/no-such-destination/"
e2e_check "$CASE: missing destination named as typed" grep -qxF "Message: Folder '$E2E_WORK/no-such-destination/' not found" <<<"$ERR"

e2e_finish
