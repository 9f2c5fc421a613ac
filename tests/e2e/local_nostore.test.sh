#!/usr/bin/env bash
# Two local folders need no store: no keys, no request, not even a network.
. "$(dirname "$0")/lib/e2e.sh"
e2e_init
unset QUORLES_ACCESS_KEY QUORLES_SECRET_KEY http_proxy
TOOLS=$(cd "$(dirname "$0")/tools" && pwd)

SRC=$E2E_WORK/src DST=
fresh() {  # fresh NAME: a new empty destination
  DST=$E2E_WORK/$1
  mkdir -p "$DST/old"; printf gone >"$DST/old/gone.txt"
}
mkdir -p "$SRC/a/b" "$SRC/empty"
printf one >"$SRC/one.txt"; printf deep >"$SRC/a/b/deep.txt"
head -c 100000 /dev/urandom >"$SRC/a/random.bin"

# run [WRAPPER...] -- ARGS...: sets STATUS, OUT, ERR
run() {
  local wrap=() out="$E2E_WORK/run.out" err="$E2E_WORK/run.err"
  while [[ $1 != -- ]]; do wrap+=("$1"); shift; done; shift
  STATUS=0
  timeout -k 5 120 "${wrap[@]}" "$QUORLE_BINARY" "$@" >"$out" 2>"$err" || STATUS=$?
  OUT=$(cat "$out") ERR=$(cat "$err")
}
# every entry with its kind, size, time and inode: a second run that rewrites anything shows here
snapshot() { (cd "$DST" && find . -mindepth 1 -printf '%p %y %s %T@ %i\n' | sort); }
# sync_twice CASE [WRAPPER...] -- ARGS...: a first run mirrors, a second changes nothing
sync_twice() {
  local case=$1 before; shift
  run "$@" "$SRC/" "$DST/"
  e2e_expect_eq "$case: exit code (stderr: ${ERR:0:300})" 0 "$STATUS"
  e2e_check "$case: trees match" diff -r "$SRC" "$DST"
  before=$(snapshot)
  run "$@" "$SRC/" "$DST/"
  e2e_expect_eq "$case: second run exit code (stderr: ${ERR:0:300})" 0 "$STATUS"
  e2e_expect_eq "$case: second run changed nothing" "$before" "$(snapshot)"
  e2e_expect_eq "$case: nothing printed" "" "$OUT$ERR"
}

# A network namespace of its own has nothing but a loopback that is down.
if unshare -rn true 2>/dev/null; then
  fresh offline
  sync_twice "no network, no keys, no endpoint" unshare -rn --
else
  e2e_skip "no network: this machine does not allow user namespaces (unshare -rn)"
fi

# An endpoint that accepts and counts connections: a local pair must leave it alone.
"$TOOLS/connectioncounter.py" "$E2E_WORK/port" "$E2E_WORK/connections" &
COUNTER=$!
trap 'rc=$?; kill "$COUNTER" 2>/dev/null; (exit $rc); _e2e_on_exit' EXIT
for _ in $(seq 100); do [[ -s $E2E_WORK/port ]] && break; sleep 0.1; done
STORE=(--endpoint 127.0.0.1 --port "$(<"$E2E_WORK/port")")
connections() { wc -l <"$E2E_WORK/connections"; }

fresh counted
sync_twice "listening endpoint" -- "${STORE[@]}"
e2e_expect_eq "listening endpoint: no connection made" 0 "$(connections)"

# One store side: the keys are asked for first, as ever, and still nothing is sent.
run -- "${STORE[@]}" "$SRC/" s3://bucket/prefix/
e2e_expect_eq "store side without keys: exit code" 1 "$STATUS"
e2e_expect_eq "store side without keys: message" $'\nMissing Access Key !' "$ERR"
e2e_expect_eq "store side without keys: no connection made" 0 "$(connections)"
# With keys the same line does reach the endpoint: the count above could have failed.
QUORLES_ACCESS_KEY=k QUORLES_SECRET_KEY=s run -- "${STORE[@]}" -t 1 "$SRC/" s3://bucket/prefix/
e2e_expect_eq "store side with keys: the mute store fails the run" 1 "$STATUS"
e2e_check "store side with keys: the endpoint was reached" test "$(connections)" -gt 0

# A destination that refuses writing fails on its own terms, not for want of a store.
# Root writes anywhere: it runs the tool as nobody.
as_user=()
(( $(id -u) != 0 )) || { as_user=(setpriv --reuid=65534 --regid=65534 --clear-groups); chmod 755 "$E2E_WORK"; }
fresh readonly; rm -rf "$DST/old"; chmod 555 "$DST"
run "${as_user[@]}" -- "$SRC/" "$DST/"
chmod 755 "$DST"
e2e_expect_eq "read-only destination: exit code" 1 "$STATUS"
e2e_check "read-only destination: error block" grep -qx '\*\* Error \*\*' <<<"$ERR"
e2e_check "read-only destination: no key complaint" bash -c '! grep -q "Missing" <<<"$1"' _ "$ERR"
e2e_expect_eq "read-only destination: nothing written" "" "$(ls -A "$DST")"

e2e_finish
