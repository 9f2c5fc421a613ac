#!/usr/bin/env bash
# A listing whose keys climb out of the destination ("../../x", "a/../../b", "/abs", "../" and a
# newline): each such key is skipped with an error naming it, on one line, nothing is written outside
# the destination, the ordinary keys (one with a newline) are still downloaded, and the run ends
# with exit 1. A listing whose ETags are those of other bytes settles nothing: the head requests
# decide, as they do when every object is asked.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
# shellcheck source=lib/faultstore.sh
. "$(dirname "$0")/lib/faultstore.sh"
e2e_init

fault_start fb lie
for key in ../../x a/../../b /abs ok.txt nl%0Akey ../%0Ax; do fault_put fb "$key" "body of $key"; done
fault_rules '[{"method":"GET","path":"^/fb/$","query":"prefix=","action":"listing",
               "keys":["../../x","/abs","a/../../b","ok.txt","nl\nkey","../\nx"]}]'
DST=$E2E_WORK/x/y/dst
mkdir -p "$DST"
fault_quorle s3://fb/ "$DST/"
e2e_expect_eq "exit code" 1 "$E2E_STATUS"
for key in ../../x a/../../b /abs '../\nx'; do
  e2e_check "an error names '$key'" grep -qF -- "'$key'" "$E2E_OUTPUT"
done
e2e_check "the summary: one line a skipped key" \
  bash -c 'tail -n 5 "$1" | { read -r first; [[ $first == "Failed: 4" ]] && grep -c "^http://" | grep -qx 4; }' - "$E2E_OUTPUT"
e2e_expect_eq "the ordinary key arrived" "body of ok.txt" "$(cat "$DST/ok.txt" 2>/dev/null || true)"
e2e_expect_eq "a key with a newline, inside the destination" "body of nl%0Akey" "$(cat "$DST/nl"$'\n'"key" 2>/dev/null || true)"
e2e_expect_eq "nothing outside the destination" "" \
  "$(find "$E2E_WORK" -path "$DST" -prune -o -type f \( -name x -o -name b -o -name abs \) -print)"
e2e_expect_eq "nothing at the root" "" "$(ls -d /abs /x /b 2>/dev/null || true)"
e2e_expect_eq "no GET of a climbing key" 0 "$(fault_count '^GET /fb/(\.\./|/|a/\.\./)')"

# Objects of one byte, listed with the ETag of other bytes: one equal to its file, one changed.
fault_put lie same.txt a; fault_put lie changed.txt c
fault_rules '[{"method":"GET","path":"^/(lie/)?$","query":"prefix=","action":"listing","keys":["changed.txt","same.txt"]}]'
SRC=$E2E_WORK/lie
mkdir -p "$SRC"; printf a >"$SRC/same.txt"; printf b >"$SRC/changed.txt"
for way in 1 0; do
  fault_mark
  QUORLE_COMPARE_BY_HEAD=$way fault_quorle -n "$SRC/" s3://lie/
  e2e_expect_eq "lying ETags, head for all=$way: only the changed file is replaced" "[Replace] changed.txt" \
    "$(grep -oE '^\[[A-Za-z ]+\] [^ ]*' "$E2E_OUTPUT" | sed 's|/[^ ]*/||')"
  e2e_expect_eq "lying ETags, head for all=$way: both objects asked" 2 "$(fault_count '^HEAD /(lie/)?[a-z]+\.txt')"
done
fault_rules '[]'

fault_stop
e2e_finish
