#!/usr/bin/env bash
# A store that takes a request and never answers, once, for an upload, a download and a listing:
# each run waits out the 30 s network timeout once, not once per attempt, then recovers and exits 0.
# The three cases run side by side, one bucket each, so that the script costs one wait.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
# shellcheck source=lib/faultstore.sh
. "$(dirname "$0")/lib/faultstore.sh"
e2e_init

SRC=$E2E_WORK/src
mkdir -p "$SRC" "$E2E_WORK/down" "$E2E_WORK/list"
echo "some body" >"$SRC/f.txt"
fault_start upl down list
for b in down list; do fault_put "$b" f.txt "some body"$'\n'; done
fault_rules '[{"host":"^upl\\.","method":"PUT","path":"^/f.txt$","action":"hang","times":1},
              {"host":"^down\\.","method":"GET","path":"^/f.txt$","action":"hang","times":1},
              {"host":"^list\\.","method":"GET","path":"^/$","query":"prefix=","action":"hang","times":1}]'
fault_mark

# CASE | bucket | what hangs (ERE on the store's log) | source | destination
CASES='upload|upl|^PUT /f.txt |'$SRC'/|s3://upl/
download|down|^GET /f.txt |s3://down/|'$E2E_WORK'/down/
listing|list|^GET /\?prefix=|s3://list/|'$E2E_WORK'/list/'
runs=()
while IFS='|' read -r what _ _ from to; do
  ( SECONDS=0; E2E_OUTPUT_NAME=$what fault_quorle "$from" "$to"; echo "$E2E_STATUS $SECONDS" >"$E2E_WORK/$what.result" ) &
  runs+=($!)
done <<<"$CASES"
wait "${runs[@]}"

while IFS='|' read -r what bucket hung _; do
  read -r status took <"$E2E_WORK/$what.result"
  e2e_expect_eq "$what: exit code ($(tail -n 1 "$E2E_WORK/$what.out"))" 0 "$status"
  e2e_check "$what: one wait of the timeout, no more ($took s)" test "$took" -ge 29 -a "$took" -le 60
  e2e_expect_eq "$what: the request that hung, then went through" "hang 200" \
    "$(fault_requests "^$bucket\." | grep -E -- "$hung" | cut -d' ' -f3 | xargs)"
done <<<"$CASES"
e2e_expect_eq "upload: stored" f.txt "$(fault_keys upl)"
for d in down list; do e2e_check "$d: the file" cmp "$SRC/f.txt" "$E2E_WORK/$d/f.txt"; done

fault_stop
e2e_finish
