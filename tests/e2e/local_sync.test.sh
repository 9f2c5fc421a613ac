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
e2e_expect_eq "$CASE: rerun only compares and ends with Done." "Done." "$(grep -v '^\[Compare\] \|^\[List\] ' <<<"$OUT" | sed '/^$/d')"
e2e_expect_eq "$CASE: rerun touched nothing" "2001-01-01" "$(date -r "$DST/same.txt" +%F)"

CASE="verbose lines"; fresh verbose
put "$SRC/f.txt"; put "$DST/g.txt"
sync_ok -v
e2e_check "$CASE: copy line" grep -qxF "[Copy] $SRC/f.txt --> $DST/f.txt" <<<"$OUT"
e2e_check "$CASE: delete line" grep -q "^\[.*\] $DST/g.txt$" <<<"$OUT"
e2e_check "$CASE: Done. at the end" test "$(tail -c 7 <<<"$OUT" | tr -d '\n')" = "Done."
run -v -D "$SRC/" "$DST/"
e2e_check "$CASE: -v -D shows no start lines" bash -c '! grep -q "^\[Compare\]" <<<"$1"' _ "$OUT"
e2e_check "$CASE: -D prints operation logs" grep -q '^\*\*\* Operation: ' <<<"$OUT"

CASE="changed file"; fresh changed
put "$SRC/equal-size.txt" "AAAA"; put "$DST/equal-size.txt" "BBBB"
put "$SRC/other-size.txt" "longer text"; put "$DST/other-size.txt" "short"
run "$SRC/" "$DST/"
e2e_expect_eq "$CASE: the atomic copy refuses to replace, exit code" 1 "$STATUS"
e2e_check "$CASE: error block" grep -q '^\*\* Error \*\*$' <<<"$ERR"
e2e_expect_eq "$CASE: old files kept" "BBBB short" "$(cat "$DST/equal-size.txt") $(cat "$DST/other-size.txt")"

CASE="file against folder"; fresh clash
put "$SRC/x" "file"; put "$DST/x/inside.txt"
# The file copy and the folder delete run in no fixed order: a second run settles it.
run "$SRC/" "$DST/"; run "$SRC/" "$DST/"
e2e_expect_eq "$CASE: second run exit code" 0 "$STATUS"
same_trees

CASE="names differing in case"; fresh case
put "$SRC/Name.txt" "one"; put "$DST/name.txt" "one"
sync_ok
expect_tree ./Name.txt

CASE="options"
for opts in "--keep-new" "--dont-delete" "--dont-add" "--dont-replace" "--KEEP-NEW --dont-delete --dont-add --dont-replace"; do
  fresh "opts-${opts// /}"
  put "$SRC/new.txt"; put "$DST/extra.txt"; mkdir -p "$SRC/newdir" "$DST/extradir"
  put "$SRC/older-src.txt" "source"; put "$DST/older-src.txt" "destination"
  touch -d '2001-01-01' "$SRC/older-src.txt"
  run $opts "$SRC/" "$DST/"
  expected=(./older-src.txt)
  [[ $opts == *dont-add* ]] || expected+=(./new.txt ./newdir)
  [[ $opts == *dont-delete* ]] && expected+=(./extra.txt ./extradir)
  CASE="option $opts"
  expect_tree "${expected[@]}"
  # a newer or protected destination is left alone without an error
  if [[ $opts == *keep-new* || $opts == *KEEP-NEW* || $opts == *dont-replace* ]]; then
    e2e_expect_eq "$CASE: exit code (stderr: ${ERR:0:300})" 0 "$STATUS"
    e2e_expect_eq "$CASE: destination kept" destination "$(cat "$DST/older-src.txt")"
  else
    e2e_expect_eq "$CASE: replacing fails, exit code" 1 "$STATUS"
  fi
done

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
