#!/usr/bin/env bash
# The server dies while a 64 MiB file is on its way, up or down. Brought back 2 s later (its port
# held meanwhile, as a supervisor that restarts it would, so that the attempts wait rather than fail
# at once: they follow each other with no pause), the run recovers and exits 0 with the right bytes.
# Gone for good, the run exits 1 with the error block on stderr; the source is untouched, and a
# download leaves no partial file behind. s3rver only: it restarts on the same port and data.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
e2e_init

BUCKET=quorle-death
SRC=$E2E_WORK/src
mkdir -p "$SRC"
head -c $(( 64 * 1024 * 1024 )) /dev/urandom >"$SRC/big.bin"
WANT=$(md5sum <"$SRC/big.bin" | cut -d' ' -f1)
KILL_AT=$(( 16 * 1024 * 1024 ))
# a transfer on loopback can outrun the polling of its file, so the server takes and sends bodies
# at 16 MiB/s (4 s for the file); a download's kill comes at its first MiB
DOWN_KILL_AT=$(( 1024 * 1024 ))
export S3RVER_PACE=$(( 16 * 1024 * 1024 ))

# moved FILE PID: bytes of FILE that process PID has read (through its open descriptor), or the
# size of the file a download writes: an unnamed one in FILE's folder (O_TMPFILE, linked as FILE
# once complete), or FILE itself
moved() {
  local fd link
  # one listing of the descriptors per poll: a download may outrun a fork per descriptor
  while read -r fd link; do
    if [[ $link == "$1" ]]; then
      sed -n 's/^pos:\s*//p' "/proc/$2/fdinfo/$fd" 2>/dev/null && return
    elif [[ $link == "$(dirname "$1")/#"* ]]; then
      stat -L -c %s "/proc/$2/fd/$fd" 2>/dev/null && return
    fi
  done < <(find "/proc/$2/fd" -mindepth 1 -printf '%f %l\n' 2>/dev/null || true)
  stat -c %s "$1" 2>/dev/null || echo 0
}

# transfer WHAT FILE ACTION SRC DST: runs quorle, and ACTION (revive or never) once FILE has
# moved AT bytes (KILL_AT unless set); sets STATUS, and ERR to the file of its stderr
transfer() {
  local what=$1 file=$2 action=$3 pid q="" i at=${AT:-$KILL_AT} scale=1
  ERR=$E2E_WORK/$what.err
  [[ $action == never ]] && scale=0.2  # a run that can only fail need not wait out its minute of retries
  QUORLE_RETRY_DELAY_SCALE=$scale timeout -k 5 300 "$QUORLE_BINARY" -t 1 --endpoint "$S3_HOST" \
    --port "$S3_PORT" "$4" "$5" >"$E2E_WORK/$what.out" 2>"$ERR" &
  pid=$!
  for (( i = 0; i < 600 && ${#q} == 0; i++ )); do q=$(pgrep -P "$pid" || true); sleep 0.05; done
  while (( $(moved "$file" "$q") < at )) && kill -0 "$q" 2>/dev/null; do sleep 0.02; done
  if ! kill -0 "$q" 2>/dev/null; then
    e2e_fail "$what: the transfer ended before the server was killed"
  elif [[ $action == revive ]]; then
    s3rver_kill "$S3_DIR"; sleep 2; s3rver_revive "$S3_DIR"
  else
    # killed first: a graceful stop lets the request in flight finish, and the run then rightly succeeds
    s3rver_kill "$S3_DIR"; e2e_server_stop
  fi
  STATUS=0; wait "$pid" || STATUS=$?
}

expect_error_block() {  # WHAT
  e2e_expect_eq "$1: exit code" 1 "$STATUS"
  e2e_check "$1: error block on stderr" grep -qzE '\*\* Error \*\*.*Operation: .*Message: ' "$ERR"
}

S3RVER_HELD=1 e2e_server_start s3rver
s3_make_bucket "$BUCKET"
export QUORLES_ACCESS_KEY=$S3_ACCESS_KEY QUORLES_SECRET_KEY=$S3_SECRET_KEY

transfer "upload, server back" "$SRC/big.bin" revive "$SRC/" "s3://$BUCKET/"
e2e_expect_eq "upload, server back: exit code ($(head -c 400 "$ERR"))" 0 "$STATUS"
e2e_expect_eq "upload, server back: md5 of the stored object" "$WANT" "$(s3_object_md5 "$BUCKET" big.bin)"

mkdir -p "$E2E_WORK/back"
AT=$DOWN_KILL_AT transfer "download, server back" "$E2E_WORK/back/big.bin" revive "s3://$BUCKET/" "$E2E_WORK/back/"
e2e_expect_eq "download, server back: exit code ($(head -c 400 "$ERR"))" 0 "$STATUS"
e2e_check "download, server back: same bytes" cmp "$SRC/big.bin" "$E2E_WORK/back/big.bin"

rm -rf "$E2E_WORK/back"; mkdir -p "$E2E_WORK/back"
AT=$DOWN_KILL_AT transfer "download, server gone" "$E2E_WORK/back/big.bin" never "s3://$BUCKET/" "$E2E_WORK/back/"
expect_error_block "download, server gone"
e2e_expect_eq "download, server gone: no partial file left" "" "$(ls -A "$E2E_WORK/back")"

S3RVER_HELD=1 e2e_server_start s3rver
s3_make_bucket "$BUCKET"
transfer "upload, server gone" "$SRC/big.bin" never "$SRC/" "s3://$BUCKET/"
expect_error_block "upload, server gone"
e2e_expect_eq "upload, server gone: source unchanged" "$WANT" "$(md5sum <"$SRC/big.bin" | cut -d' ' -f1)"

e2e_finish
