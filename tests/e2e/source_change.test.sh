#!/usr/bin/env bash
# A source file that changes while it is uploaded: the store keeps the old object or takes the
# version that was read, whole, never a mix; a file that could not go as it was measured fails the
# run (exit 1) with the reason. The store reads slowly, so that the writer strikes mid-upload.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
# shellcheck source=lib/faultstore.sh
. "$(dirname "$0")/lib/faultstore.sh"
e2e_init

SRC=$E2E_WORK/src
FILE=$SRC/big.bin
MIB=$(( 1024 * 1024 ))
SIZE=$(( 16 * MIB ))
mkdir -p "$SRC"
fault_start fb
n=0

descendants() { local p; for p in $(pgrep -P "$1" || true); do echo "$p"; descendants "$p"; done; }
# read_pos PID: how far a process under PID has read FILE (0 while none has it open)
read_pos() {
  local p fd
  for p in $(descendants "$1"); do
    for fd in /proc/"$p"/fd/*; do
      [[ $(readlink "$fd" 2>/dev/null) == "$FILE" ]] || continue
      sed -n 's/^pos:\s*//p' "/proc/$p/fdinfo/${fd##*/}" 2>/dev/null && return
    done
  done
  echo 0
}
md5() { md5sum | cut -d' ' -f1; }
stored_md5() { curl -sf "$(_fault_url fb big.bin)" | md5; }

# WHAT | CHANGE (run once the upload has read 4 MiB) | exit code | what the store holds after
while IFS='|' read -r what change want stored; do
  head -c "$SIZE" /dev/urandom >"$FILE"
  fault_rules '[]'
  fault_quorle "$SRC/" s3://fb/
  declare -A md=([old]=$(md5 <"$FILE"))
  # one byte more: the size alone tells the run to send it again, and only the upload reads it
  head -c $(( SIZE + 1 )) /dev/urandom >"$FILE"
  md[read]=$(md5 <"$FILE")
  fault_rules '[{"method":"PUT","path":"big","action":"slow","rate":2000000}]'
  fault_mark
  out=$E2E_WORK/change-$(( ++n )).out
  ( E2E_OUTPUT_NAME=change-$n fault_quorle "$SRC/" s3://fb/; exit "$E2E_STATUS" ) &
  runner=$!
  for (( i = 0; i < 600 && $(read_pos "$runner") < 4 * MIB; i++ )); do sleep 0.05; done
  pos=$(read_pos "$runner")
  e2e_check "$what: the writer strikes mid-upload (at $(( pos / MIB )) MiB)" test "$pos" -lt $(( SIZE - 4 * MIB ))
  eval "$change"
  status=0; wait "$runner" || status=$?
  e2e_expect_eq "$what: exit code ($(tail -n 1 "$out"))" "$want" "$status"
  if (( want == 1 )); then
    e2e_check "$what: the reason, in the summary" \
      bash -c 'tail -n 2 "$1" | tr "\n" " " | grep -qE "^Failed: 1 .*big.bin.*The file changed while it was being uploaded"' - "$out"
  fi
  e2e_expect_eq "$what: the store holds the $stored object whole" "${md[$stored]}" "$(stored_md5)"
  e2e_check "$what: at most 9 sends of the PUT" test "$(fault_count '^PUT /fb/big')" -le 9
done <<'CASES'
appended to|printf more >>"$FILE"|1|old
rewritten ahead of the reader|dd if=/dev/urandom of="$FILE" bs=1M count=1 seek=15 conv=notrunc status=none|1|old
replaced by a rename (the open file is read to its end)|head -c 100 /dev/urandom >"$FILE.new"; mv "$FILE.new" "$FILE"|0|read
CASES

fault_stop
e2e_finish
