# shellcheck shell=bash
# Sourced first by every tests/e2e/*.test.sh (each one is a CTest test; CTest sets QUORLE_BINARY and
# QUORLE_SOURCE_DIR). Brings the S3 servers of s3server.sh, a work folder, cleanup on every exit
# path, and the counting of checks.
#
#   . "$(dirname "$0")/lib/e2e.sh"
#   e2e_init
#   for server in $(e2e_servers); do
#     e2e_server_start "$server"              # exports S3_* for it (see s3server.sh)
#     s3_make_bucket bucket-one
#     e2e_quorle -v "$E2E_WORK/src/" "s3://bucket-one/prefix/"
#     e2e_expect_eq "exit code" 0 "$E2E_STATUS"
#     if s3_feature versions; then ...; fi     # skipped, with the reason, where the server lacks it
#     e2e_server_stop
#   done
#   e2e_finish                                # "N passed, N failed, N skipped"; non-zero on failures,
#                                             # and on a sanitizer report in any kept *.out or *.err
#
# The script runs under set -Eeuo pipefail: a command that fails outside a check ends the script
# with its line and command printed. E2E_SERVERS="s3rver" limits the servers (for local runs);
# E2E_KEEP=1 keeps the work folder, which is also kept when the script fails.
#
# E2E_QUORLE_ARGS="--signature-version 4" puts those words in front of every e2e_quorle run.
# E2E_V4GATE=1 puts tools/v4gate.py in front of each server: e2e_quorle's "--port $S3_PORT" then
# goes to the gate, which refuses Version 2 like Amazon; E2E_V4GATE_REGIONS="bucket=region ..."
# places buckets outside us-east-1. The other clients still talk to the server itself.

# shellcheck source=s3server.sh
. "$(dirname "${BASH_SOURCE[0]}")/s3server.sh"

E2E_PASSED=0 E2E_FAILED=0 E2E_SKIPPED=0
: "${E2E_QUORLE_TIMEOUT:=300}"
# A sanitizer build reports OpenSSL's own per-thread state at exit, which is not ours.
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=${QUORLE_SOURCE_DIR:-$S3_E2E_DIR/../..}/tests/lsan.supp:print_suppressions=0}

e2e_init() {
  set -Eeuo pipefail
  E2E_NAME=$(basename "$0" .test.sh)
  E2E_WORK=$(mktemp -d "${TMPDIR:-/tmp}/quorle-e2e-$E2E_NAME.XXXXXX")
  export E2E_WORK
  trap '_e2e_on_error $LINENO "$BASH_COMMAND" $?' ERR
  trap '_e2e_on_exit' EXIT
  trap 'echo "interrupted" >&2; exit 130' INT
  trap 'echo "terminated" >&2; exit 143' TERM
  echo "work folder $E2E_WORK"
}

_e2e_on_error() {
  echo "FAIL: line $1: '$2' exited with status $3" >&2
}

_e2e_on_exit() {
  local rc=$? dir
  trap - ERR
  set +e
  if (( rc != 0 || E2E_FAILED > 0 )); then
    for dir in "${_S3_STARTED[@]}"; do
      echo "--- last requests of the server in $dir"
      s3_server_requests "$dir" | tail -n 15
    done
  fi
  s3_server_stop_all
  if (( rc != 0 || E2E_FAILED > 0 )) || [[ ${E2E_KEEP:-0} == 1 ]]; then
    echo "work folder kept: $E2E_WORK"
  else
    rm -rf "$E2E_WORK"
  fi
  exit "$rc"
}

e2e_servers() { echo "${E2E_SERVERS:-s3rver rgw}"; }

_E2E_SERVER_N=0
# e2e_server_start KIND [--tls] : starts a server in the work folder and makes it the current one
e2e_server_start() {
  local dir="$E2E_WORK/server-$(( ++_E2E_SERVER_N ))-$1"
  s3_server_start "$1" "$dir" "${@:2}" || return 1
  # a watchdog, in case this shell is killed without its traps running
  setsid bash -c '. "$0"; while kill -0 "$1" 2>/dev/null && compgen -G "$2/run/*.pid" >/dev/null; do
                    sleep 1; done; s3_server_stop "$2" >/dev/null 2>&1' \
    "$S3_LIB_DIR/s3server.sh" "$$" "$dir" </dev/null >/dev/null 2>&1 &
  disown $!
  echo "== $1$([[ ${2:-} == --tls ]] && echo ' (TLS)') at $S3_ENDPOINT, started in $(<"$dir/startup-ms") ms"
  E2E_GATE_PORT=
  if [[ ${E2E_V4GATE:-0} == 1 ]]; then _e2e_gate_start "$dir" || return 1; fi
}

# the gate is one more daemon of the server's folder: it is stopped with the server
_e2e_gate_start() {
  local dir=$1 port i
  port=$(s3_reserve_ports 1 "$dir") || return 1
  # shellcheck disable=SC2086
  setsid python3 "$S3_E2E_DIR/tools/v4gate.py" "$port" "$S3_PORT" "$dir/v4gate.log" ${E2E_V4GATE_REGIONS:-} \
    </dev/null >"$dir/v4gate.out" 2>&1 &
  echo $! >"$dir/run/v4gate.pid"
  disown $!
  echo "v4gate KILL" >>"$dir/daemons"
  for (( i = 0; i < 100; i++ )); do
    if (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then E2E_GATE_PORT=$port; return 0; fi
    sleep 0.1
  done
  echo "v4gate did not start: $(cat "$dir/v4gate.out")" >&2
  return 1
}

# e2e_rerun_v4 SCENARIO : the scenario script of that name again on radosgw, once with
# --signature-version 4 and once in the automatic mode through the gate
e2e_rerun_v4() {
  local what out args
  for what in "with --signature-version 4" "automatic, through the V4-only gate"; do
    out="$E2E_WORK/$1 $what.out"
    args=(E2E_QUORLE_ARGS="--signature-version 4")
    [[ $what == automatic* ]] && args=(E2E_V4GATE=1)
    if env E2E_SERVERS=rgw "${args[@]}" bash "$S3_E2E_DIR/$1.test.sh" >"$out" 2>&1; then
      e2e_pass "$1 $what ($(tail -n 1 "$out"))"
    else
      e2e_fail "$1 $what"
      grep -E '^(FAIL|failed)' "$out" | head -n 20 | sed 's/^/     | /'
    fi
  done
}

# e2e_gate_log VERDICT : the gate's count of requests with that verdict (v2, region, pass)
e2e_gate_log() { grep -c "^$1 " "$S3_DIR/v4gate.log" || true; }

e2e_server_stop() { s3_server_stop "$S3_DIR"; }

e2e_pass() { E2E_PASSED=$(( E2E_PASSED + 1 )); echo "ok   [${S3_SERVER:--}] $*"; }
e2e_fail() {
  E2E_FAILED=$(( E2E_FAILED + 1 )); _E2E_FAILURES+=("[${S3_SERVER:--}] $*")
  echo "FAIL [${S3_SERVER:--}] $*"
}
_E2E_FAILURES=()
e2e_skip() { E2E_SKIPPED=$(( E2E_SKIPPED + 1 )); echo "SKIP [${S3_SERVER:--}] $*"; }

# e2e_check DESCRIPTION cmd... : passes when cmd succeeds; prints its output when it fails
e2e_check() {
  local what=$1 out rc=0; shift
  out=$("$@" 2>&1) || rc=$?
  if (( rc == 0 )); then e2e_pass "$what"; return 0; fi
  e2e_fail "$what (status $rc)"
  [[ -n $out ]] && sed 's/^/     | /' <<<"$out"
  return 0
}

# e2e_expect_eq DESCRIPTION EXPECTED ACTUAL : multi-line values are compared line by line
e2e_expect_eq() {
  if [[ $2 == "$3" ]]; then e2e_pass "$1"; return 0; fi
  e2e_fail "$1"
  diff -u --label expected --label actual <(printf '%s\n' "$2") <(printf '%s\n' "$3") | sed 's/^/     | /' || true
}

# e2e_quorle ARGS... : runs the real binary, bounded; sets E2E_STATUS and E2E_OUTPUT (a file with
# stdout and stderr together; E2E_OUTPUT_NAME names it, for runs in parallel). Never fails by itself:
# the script checks E2E_STATUS.
e2e_quorle() {
  [[ -x ${QUORLE_BINARY:-} ]] || { e2e_fail "QUORLE_BINARY is not an executable: '${QUORLE_BINARY:-}'"; E2E_STATUS=127; return 0; }
  E2E_OUTPUT="$E2E_WORK/${E2E_OUTPUT_NAME:-quorle-$(( ++_E2E_QUORLE_N ))}.out"
  E2E_STATUS=0
  local args=() arg prev=""
  read -ra args <<<"${E2E_QUORLE_ARGS:-}"
  for arg in "$@"; do
    [[ $prev == --port && -n ${E2E_GATE_PORT:-} && $arg == "$S3_PORT" ]] && arg=$E2E_GATE_PORT
    args+=("$arg"); prev=$arg
  done
  timeout -k 5 "$E2E_QUORLE_TIMEOUT" "$QUORLE_BINARY" "${args[@]}" >"$E2E_OUTPUT" 2>&1 || E2E_STATUS=$?
  (( E2E_STATUS != 124 )) || echo "quorle did not end within $E2E_QUORLE_TIMEOUT s: $*" >>"$E2E_OUTPUT"
  return 0
}
_E2E_QUORLE_N=0

# A sanitizer report in any output a script kept (its *.out and *.err files) fails it, whatever the
# exit code said: a check that expects exit 1 would otherwise pass over a crash of the sanitizer build.
_E2E_SANITIZER='ERROR: (AddressSanitizer|LeakSanitizer)|runtime error:'
_e2e_check_sanitizers() {
  local f
  while IFS= read -r f; do
    e2e_fail "sanitizer report in ${f#"$E2E_WORK"/}"
    grep -m 3 -A 6 -E "$_E2E_SANITIZER" "$f" | sed 's/^/     | /'
  done < <(grep -rlE --include='*.out' --include='*.err' --exclude-dir='server-*' --exclude-dir=fault \
             "$_E2E_SANITIZER" "$E2E_WORK" 2>/dev/null || true)
}

# ends the script: status 0 only when something passed and nothing failed
e2e_finish() {
  local f
  _e2e_check_sanitizers
  for f in "${_E2E_FAILURES[@]}"; do echo "failed: $f"; done
  echo "$E2E_NAME: $E2E_PASSED passed, $E2E_FAILED failed, $E2E_SKIPPED skipped"
  (( E2E_FAILED == 0 && E2E_PASSED > 0 )) && exit 0
  exit 1
}
