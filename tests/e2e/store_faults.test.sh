#!/usr/bin/env bash
# A store that drops connections, source files that can't be read, destinations that refuse writing
# or fill up: every such file fails with exit 1 and a reason, nothing is reported stored that is not,
# no partial file is left, the other files still go through.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
# shellcheck source=lib/faultstore.sh
. "$(dirname "$0")/lib/faultstore.sh"
e2e_init

SRC=$E2E_WORK/src
mkdir -p "$SRC"
echo fine >"$SRC/fine.txt"
echo doomed >"$SRC/doomed.txt"
fault_start fb fq

# The upload of doomed.txt meets RULES: exit 1 with TEXT, fine.txt stored, doomed.txt not.
upload_fails() {  # WHAT RULES TEXT
  fault_rules "$2"
  fault_mark
  fault_quorle "$SRC/" s3://fb/
  e2e_expect_eq "$1: exit code" 1 "$E2E_STATUS"
  e2e_check "$1: error block names the file and the reason" \
    grep -qzE "\*\* Error \*\*.*Message: .*doomed.txt.*$3" "$E2E_OUTPUT"
  e2e_expect_eq "$1: what the store holds" fine.txt "$(fault_keys fb)"
  e2e_check "$1: at most 9 sends of the PUT ($(fault_count '^PUT /fb/doomed'))" \
    test "$(fault_count '^PUT /fb/doomed')" -le 9
  fault_rules '[]'
  curl -sf -X DELETE "$(_fault_url fb fine.txt)" >/dev/null
}

upload_fails "PUT closed at once" '[{"method":"PUT","path":"doomed","action":"close"}]' \
  'Server closed connection unexpectedly'
# The store takes the body after "100 Continue" and goes; the client's resends find it closing at
# once. The interim answer must not pass for the store's.
upload_fails "PUT closed after the body" \
  '[{"method":"PUT","path":"doomed","action":"close-after-body","times":1},
    {"method":"PUT","path":"doomed","action":"close"}]' 'Server closed connection unexpectedly'

# Refusals all along a queue at -t 4, where each connection's next request is ready before its
# answer comes: every refused file is in the summary, every other one is stored.
QSRC=$E2E_WORK/queue && mkdir -p "$QSRC" && for i in {10..49}; do echo "$i" >"$QSRC/f$i$( ((i % 4)) || echo -bad).txt"; done
fault_rules '[{"method":"PUT","path":"-bad","action":"status","status":403,"code":"AccessDenied"}]'
fault_quorle -t 4 "$QSRC/" s3://fq/
e2e_expect_eq "refusals along a queue: exit code" 1 "$E2E_STATUS"
e2e_check "refusals along a queue: each in the summary" \
  bash -c 'sed -n "/^Failed: 10$/,\$p" "$1" | grep -c -- "-bad.txt: .*AccessDenied" | grep -qx 10' - "$E2E_OUTPUT"
e2e_expect_eq "refusals along a queue: the others stored" \
  "$(cd "$QSRC" && ls | grep -v bad | xargs)" "$(fault_keys fq | sort | xargs)"

# GET dropped before the status line: no file, not even a partial one; the other file arrives.
fault_rules '[]'
fault_quorle "$SRC/" s3://fb/
mkdir -p "$E2E_WORK/back"
fault_rules '[{"method":"GET","path":"doomed","action":"close"}]'
fault_quorle s3://fb/ "$E2E_WORK/back/"
e2e_expect_eq "GET closed before the status: exit code" 1 "$E2E_STATUS"
e2e_check "GET closed before the status: error block" \
  grep -qzE '\*\* Error \*\*.*doomed.txt.*Server closed connection unexpectedly' "$E2E_OUTPUT"
e2e_expect_eq "GET closed before the status: what arrived" fine.txt "$(ls -A "$E2E_WORK/back")"

# An unreadable source file, run as an ordinary user: the file fails at once with the
# system's reason, and no request is sent for it.
fault_rules '[]'
curl -sf -X DELETE "$(_fault_url fb doomed.txt)" >/dev/null
chmod 755 "$E2E_WORK" "$SRC"
chmod 000 "$SRC/doomed.txt"
printf '#!/bin/sh\nexec runuser -u nobody -- %q "$@"\n' "$QUORLE_BINARY" >"$E2E_WORK/as-nobody"
chmod 755 "$E2E_WORK/as-nobody"
fault_mark
SECONDS=0
QUORLE_BINARY=$E2E_WORK/as-nobody fault_quorle "$SRC/" s3://fb/
e2e_expect_eq "unreadable source file: exit code" 1 "$E2E_STATUS"
e2e_check "unreadable source file: the reason" grep -qzE 'doomed.txt.*Permission denied' "$E2E_OUTPUT"
e2e_expect_eq "unreadable source file: no request for it" 0 "$(fault_count 'doomed')"
e2e_check "unreadable source file: fails at once ($SECONDS s)" test "$SECONDS" -lt 20
e2e_expect_eq "unreadable source file: the store" fine.txt "$(fault_keys fb)"

# A destination the user may not write to: the file fails with the reason, nothing is left there.
mkdir -p "$E2E_WORK/locked"
chmod 755 "$E2E_WORK/locked"
SECONDS=0
QUORLE_BINARY=$E2E_WORK/as-nobody fault_quorle s3://fb/ "$E2E_WORK/locked/"
e2e_expect_eq "unwritable destination: exit code" 1 "$E2E_STATUS"
e2e_check "unwritable destination: the reason" grep -qzE 'fine.txt.*Permission denied' "$E2E_OUTPUT"
e2e_check "unwritable destination: fails at once ($SECONDS s)" test "$SECONDS" -lt 20
e2e_expect_eq "unwritable destination: left empty" "" "$(ls -A "$E2E_WORK/locked")"

# A destination that fills up: a 1 MiB tmpfs, mounted in a mount namespace of its own, takes the
# small file and not the 2 MiB one (one at a time, so that the small one is not written while the
# big one holds the space). Filled beforehand (FILL=1), it takes nothing, and no empty file may pass
# for a copied one. What it holds is copied out before the namespace goes.
head -c $(( 2 * 1024 * 1024 )) /dev/urandom >"$E2E_WORK/big.bin"
curl -sf -X PUT --data-binary @"$E2E_WORK/big.bin" "$(_fault_url fb big.bin)" >/dev/null
FULL=$E2E_WORK/full SEEN=$E2E_WORK/seen
mkdir -p "$FULL" "$SEEN"
cat >"$E2E_WORK/in-full" <<EOS
#!/bin/sh
[ "\$1" = --inside ] || exec unshare -m --propagation private "\$0" --inside "\$@"
shift
mount -t tmpfs -o size=1m quorle-full '$FULL' || exit 99
[ -z "\$FILL" ] || cat /dev/zero >'$FULL/.fill' 2>/dev/null
'$QUORLE_BINARY' "\$@"; rc=\$?
rm -f '$FULL/.fill'
cp -a '$FULL/.' '$SEEN/'
exit \$rc
EOS
chmod 755 "$E2E_WORK/in-full"
if ! why=$(unshare -m --propagation private mount -t tmpfs -o size=1m quorle-probe "$FULL" 2>&1); then
  e2e_skip "full destination: no private tmpfs here (unshare -m, then mount): $why"
else
  QUORLE_BINARY=$E2E_WORK/in-full fault_quorle -t 1 s3://fb/ "$FULL/"
  e2e_expect_eq "full destination: exit code" 1 "$E2E_STATUS"
  e2e_check "full destination: the reason, in the summary" \
    bash -c 'tail -n 2 "$1" | tr "\n" " " | grep -qE "^Failed: 1 .*big.bin.*No space left on device"' - "$E2E_OUTPUT"
  e2e_expect_eq "full destination: no partial file, the rest whole" "fine.txt" \
    "$(cd "$SEEN" && ls -A | xargs)"
  e2e_check "full destination: the file that fit" cmp "$SRC/fine.txt" "$SEEN/fine.txt"
  rm -rf "$SEEN"; mkdir -p "$SEEN"
  export FILL=1
  QUORLE_BINARY=$E2E_WORK/in-full fault_quorle --dont-delete s3://fb/ "$FULL/"
  unset FILL
  e2e_expect_eq "destination full beforehand: exit code" 1 "$E2E_STATUS"
  e2e_check "destination full beforehand: the reason" grep -q "fine.txt.*No space left on device" "$E2E_OUTPUT"
  e2e_expect_eq "destination full beforehand: no file, not even an empty one" "" "$(ls -A "$SEEN")"
fi

fault_stop
e2e_finish
