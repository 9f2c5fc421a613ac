#!/usr/bin/env bash
# One 200 MiB binary file local -> bucket -> local with the real binary, on each server: the stored
# object's md5 as aws fetches it, and the file brought back, byte for byte.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
e2e_init

BUCKET=quorle-large
SRC=$E2E_WORK/src
mkdir -p "$SRC"
head -c $(( 200 * 1024 * 1024 )) /dev/urandom >"$SRC/large.bin"
WANT=$(md5sum <"$SRC/large.bin" | cut -d' ' -f1)

run_on() {
  e2e_server_start "$1" || { e2e_fail "$1 did not start"; return; }
  s3_make_bucket "$BUCKET"
  export QUORLES_ACCESS_KEY=$S3_ACCESS_KEY QUORLES_SECRET_KEY=$S3_SECRET_KEY
  local back=$E2E_WORK/back-$1
  mkdir -p "$back"

  e2e_quorle --endpoint "$S3_HOST" --port "$S3_PORT" "$SRC/" "s3://$BUCKET/"
  e2e_expect_eq "upload: exit code ($(head -c 400 "$E2E_OUTPUT"))" 0 "$E2E_STATUS"
  e2e_expect_eq "upload: md5 of the stored object" "$WANT" "$(s3_object_md5 "$BUCKET" large.bin)"
  e2e_quorle --endpoint "$S3_HOST" --port "$S3_PORT" "s3://$BUCKET/" "$back/"
  e2e_expect_eq "download: exit code ($(head -c 400 "$E2E_OUTPUT"))" 0 "$E2E_STATUS"
  e2e_check "download: same bytes" cmp "$SRC/large.bin" "$back/large.bin"

  rm -rf "$back"
  s3_remove_bucket "$BUCKET" 2>/dev/null
  e2e_server_stop
}

for server in $(e2e_servers); do run_on "$server"; done
e2e_finish
