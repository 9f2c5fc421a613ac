#!/usr/bin/env bash
# The retry policy against a store that fails on cue: at most 9 sends of one request (an upload, a
# download, a listing), waits that grow between them, a store's Retry-After and clock obeyed,
# recovery from a store that comes back, and a failed run that ends with the list of what failed.
# Every run is bounded.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
# shellcheck source=lib/faultstore.sh
. "$(dirname "$0")/lib/faultstore.sh"
e2e_init

SRC=$E2E_WORK/src
mkdir -p "$SRC"
echo fine >"$SRC/fine.txt"
echo doomed >"$SRC/doomed.txt"
fault_start fb dlb lsb
fault_put dlb doomed.txt doomed

# span HOST ERE: seconds between the first and the last logged request of HOST (ERE, "" for any)
# matching ERE
span() {
  tail -n +$(( $(cat "$FAULT_LOG.mark") + 1 )) "$FAULT_LOG" |
    FAULT_HOST=$1 RE=$2 awk -F'\t' '$6 ~ ENVIRON["FAULT_HOST"] && $2" "$3 ~ ENVIRON["RE"] { if (!f) f = $1; l = $1 }
                                      END { printf "%d", l - f }'
}
fault_requests_timed() { tail -n +$(( $(cat "$FAULT_LOG.mark") + 1 )) "$FAULT_LOG" | cut -f1-5 | tr '\t' ' '; }

# 500 on every send of one request, for an upload, a download and a listing side by side: nine
# sends each, spread out by the backoff, then exit 1 and the summary.
fault_rules '[{"method":"PUT","path":"^/fb/doomed","action":"status","status":500},
              {"host":"^dlb\\.","method":"GET","path":"^/doomed.txt$","action":"status","status":500},
              {"host":"^lsb\\.","method":"GET","path":"^/$","query":"prefix=","action":"status","status":500}]'
fault_mark
mkdir -p "$E2E_WORK/dl" "$E2E_WORK/ls"
# CASE | Host (ERE) | the request (ERE) | source | destination
CASES='upload|^s3\.|^PUT /fb/doomed|'$SRC'/|s3://fb/
download|^dlb\.|^GET /doomed.txt|s3://dlb/|'$E2E_WORK'/dl/
listing|^lsb\.|^GET /\?prefix=|s3://lsb/|'$E2E_WORK'/ls/'
runs=()
while IFS='|' read -r what _ _ from to; do
  ( E2E_OUTPUT_NAME=$what fault_quorle "$from" "$to"; echo "$E2E_STATUS" >"$E2E_WORK/$what.status" ) &
  runs+=($!)
done <<<"$CASES"
wait "${runs[@]}"
while IFS='|' read -r what host request _; do
  e2e_expect_eq "500 always, $what: exit code" 1 "$(<"$E2E_WORK/$what.status")"
  e2e_expect_eq "500 always, $what: sends" 9 "$(fault_requests "$host" | grep -cE -- "$request")"
  e2e_check "500 always, $what: the waits add up ($(span "$host" "$request") s)" test "$(span "$host" "$request")" -ge 25
  e2e_check "500 always, $what: the summary ends stderr" \
    bash -c 'tail -n 2 "$1" | tr "\n" " " | grep -qE "^Failed: 1 .*InternalError"' - "$E2E_WORK/$what.out"
done <<<"$CASES"
e2e_expect_eq "500 always, upload: the store" fine.txt "$(fault_keys fb)"
e2e_expect_eq "500 always, download: no file" "" "$(ls -A "$E2E_WORK/dl")"

# 503 SlowDown with Retry-After twice: the third send goes through, not before the store said.
fault_rules '[{"method":"PUT","path":"doomed","action":"status","status":503,"code":"SlowDown","retry_after":2,"times":2}]'
fault_mark
fault_quorle "$SRC/" s3://fb/
e2e_expect_eq "SlowDown twice: exit code" 0 "$E2E_STATUS"
e2e_expect_eq "SlowDown twice: sends" 3 "$(fault_count '^PUT /fb/doomed')"
e2e_check "SlowDown twice: Retry-After obeyed ($(span '' '^PUT /fb/doomed') s)" test "$(span '' '^PUT /fb/doomed')" -ge 4
e2e_expect_eq "SlowDown twice: the store" "doomed.txt fine.txt" "$(fault_keys fb | sort | xargs)"

# The store refuses the clock once and says its own time, an hour ahead: the next request is dated
# by it, and the reference host is never asked (it is a closed port here).
curl -sf -X DELETE "$(_fault_url fb doomed.txt)" >/dev/null
ahead=$(date -u -d '+1 hour' +%Y-%m-%dT%H:%M:%S.000Z)
fault_rules "[{\"method\":\"PUT\",\"path\":\"doomed\",\"action\":\"status\",\"status\":403,
  \"code\":\"RequestTimeTooSkewed\",\"elements\":{\"ServerTime\":\"$ahead\"},\"times\":1}]"
fault_mark
QUORLE_TIME_REFERENCE=127.0.0.1:1 fault_quorle "$SRC/" s3://fb/
e2e_expect_eq "skewed clock: exit code" 0 "$E2E_STATUS"
sent=$(fault_requests_timed | awk '$2 == "PUT" && $3 ~ /doomed/ && $4 == 200' | head -1 | cut -d' ' -f5-)
skew=$(( $(date -u -d "$sent" +%s) - $(date -u +%s) ))
e2e_check "skewed clock: the retry is dated by the store's time ($skew s)" test "$skew" -ge 3500

# A download cut short once: retried, and the bytes are whole.
mkdir -p "$E2E_WORK/back"
fault_rules '[{"method":"GET","path":"fine","action":"truncate","bytes":2,"times":1}]'
fault_quorle s3://fb/ "$E2E_WORK/back/"
e2e_expect_eq "truncated body once: exit code" 0 "$E2E_STATUS"
e2e_check "truncated body once: whole file" cmp "$SRC/fine.txt" "$E2E_WORK/back/fine.txt"

# Listings that never end, or weigh 10 MB: the run ends either way, in bounded time.
mkdir -p "$E2E_WORK/list"
fault_rules '[{"method":"GET","path":"^/fb/$","query":"prefix=","action":"listing","keys":["fine.txt"],
               "truncated":true,"marker":"fine.txt"}]'
fault_mark
E2E_QUORLE_TIMEOUT=60 fault_quorle s3://fb/ "$E2E_WORK/list/"
e2e_expect_eq "listing truncated for ever: exit code" 1 "$E2E_STATUS"
e2e_check "listing truncated for ever: said so" grep -q 'stays at the same page' "$E2E_OUTPUT"
e2e_check "listing truncated for ever: few requests" test "$(fault_count '^GET /fb/\?')" -le 3
fault_rules '[{"method":"GET","path":"^/fb/$","query":"prefix=","action":"listing","keys":["fine.txt"],
               "pad":10000000}]'
E2E_QUORLE_TIMEOUT=60 fault_quorle s3://fb/ "$E2E_WORK/list/"
e2e_expect_eq "listing of 10 MB: exit code" 0 "$E2E_STATUS"
e2e_check "listing of 10 MB: its file" cmp "$SRC/fine.txt" "$E2E_WORK/list/fine.txt"

# A store down at the start and back 3 s later, on the same port, with nothing holding the port.
fault_rules '[]'
fault_stop
port=$FAULT_PORT
( sleep 3; python3 "$S3_E2E_DIR/tools/faultstore.py" --port "$port" --port-file "$E2E_WORK/port2" \
    --log "$FAULT_LOG" --rules "$FAULT_RULES" --parent $$ --bucket fb >/dev/null 2>&1 ) &
SECONDS=0
fault_quorle "$SRC/" s3://fb/
e2e_expect_eq "store back after 3 s: exit code ($SECONDS s)" 0 "$E2E_STATUS"
e2e_expect_eq "store back after 3 s: the store" "doomed.txt fine.txt" "$(fault_keys fb | sort | xargs)"

e2e_finish
