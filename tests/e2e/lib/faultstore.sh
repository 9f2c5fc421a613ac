# shellcheck shell=bash
# The misbehaving store (tools/faultstore.py) for the fault tests, after e2e.sh.
#
#   fault_start [BUCKET...]     starts one in $E2E_WORK/fault (it ends with this shell); exports
#                               FAULT_PORT, FAULT_LOG, FAULT_RULES; rules start empty
#   fault_rules JSON            replaces the rules (see the top of faultstore.py)
#   fault_put BUCKET KEY TEXT   stores an object as it is (no rule applies to it), key taken as is
#   fault_keys BUCKET           the stored keys, one a line
#   fault_mark; fault_requests [HOST_ERE]  log lines since the mark: "METHOD PATH OUTCOME"
#   fault_count ERE             how many of those lines match
#   fault_quorle ARGS...        e2e_quorle against the store
#   as_nobody CMD...            runs CMD as an unprivileged user (CI runs as root)

fault_start() {
  local dir=$E2E_WORK/fault b args=()
  mkdir -p "$dir"
  echo '[]' >"$dir/rules.json"
  : >"$dir/requests.log"
  for b in "$@"; do args+=(--bucket "$b"); done
  python3 "$S3_E2E_DIR/tools/faultstore.py" --port-file "$dir/port" --log "$dir/requests.log" \
    --rules "$dir/rules.json" --parent $$ "${args[@]}" >"$dir/stderr" 2>&1 &
  FAULT_PID=$!
  until [[ -s $dir/port ]]; do
    kill -0 "$FAULT_PID" 2>/dev/null || { cat "$dir/stderr" >&2; return 1; }
    sleep 0.05
  done
  FAULT_PORT=$(<"$dir/port") FAULT_LOG=$dir/requests.log FAULT_RULES=$dir/rules.json
  export FAULT_PORT FAULT_LOG FAULT_RULES
  echo "== faultstore on port $FAULT_PORT"
}

fault_stop() { kill "$FAULT_PID" 2>/dev/null || true; wait "$FAULT_PID" 2>/dev/null || true; }

fault_rules() { printf '%s\n' "$1" >"$FAULT_RULES.tmp" && mv "$FAULT_RULES.tmp" "$FAULT_RULES"; }

_fault_url() { printf 'http://127.0.0.1:%s/%s/%s' "$FAULT_PORT" "$1" "$2"; }
fault_put() {
  local saved
  saved=$(<"$FAULT_RULES"); fault_rules '[]'
  curl -sf --path-as-is -X PUT --data-binary "$3" "$(_fault_url "$1" "$2")" >/dev/null
  fault_rules "$saved"
}

fault_keys() {
  local saved
  saved=$(<"$FAULT_RULES"); fault_rules '[]'
  curl -sf "$(_fault_url "$1" '?prefix=')" | grep -o '<Key>[^<]*</Key>' | sed 's/<Key>\(.*\)<\/Key>/\1/'
  fault_rules "$saved"
}

fault_mark() { wc -l <"$FAULT_LOG" >"$FAULT_LOG.mark"; }
fault_requests() {  # [HOST_ERE]: only the requests whose Host header matches
  tail -n +$(( $(cat "$FAULT_LOG.mark" 2>/dev/null || echo 0) + 1 )) "$FAULT_LOG" |
    FAULT_HOST=${1:-} awk -F'\t' '$6 ~ ENVIRON["FAULT_HOST"] { print $2 " " $3 " " $4 }'
}
fault_count() { fault_requests | grep -cE -- "$1" || true; }

fault_quorle() {
  QUORLES_ACCESS_KEY=fault QUORLES_SECRET_KEY=fault \
    e2e_quorle --endpoint s3.localhost --port "$FAULT_PORT" "$@"
}

as_nobody() {
  if command -v runuser >/dev/null; then runuser -u nobody -- "$@"; else setpriv --reuid=65534 --regid=65534 --clear-groups "$@"; fi
}
