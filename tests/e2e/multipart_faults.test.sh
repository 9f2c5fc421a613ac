#!/usr/bin/env bash
# A multipart upload against a store that misbehaves on one part. A part that fails once is sent
# again alone and the object comes out whole; a part that fails for good ends the run with exit 1
# and the upload aborted, so that the store lists no upload left; when even the abort fails, the
# error names the upload that stays.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
# shellcheck source=lib/faultstore.sh
. "$(dirname "$0")/lib/faultstore.sh"
e2e_init

export QUORLE_RETRY_DELAY_SCALE=0.01
SRC=$E2E_WORK/src
mkdir -p "$SRC"
# three parts of 8, 8 and 4 MiB
head -c $(( 20 * 1024 * 1024 )) /dev/urandom >"$SRC/big.bin"
fault_start mp

upload() { fault_quorle --multipart-threshold 8M -t 2 "$@" "$SRC/" s3://mp/; }
# how many times each part was sent: "1:N 2:N 3:N"
sends() {
  local n out=()
  for n in 1 2 3; do out+=("$n:$(fault_count "^PUT /mp/big\.bin\?partNumber=$n&")"); done
  echo "${out[*]}"
}
open_uploads() {
  AWS_ACCESS_KEY_ID=fault AWS_SECRET_ACCESS_KEY=fault AWS_CONFIG_FILE=/dev/null AWS_DEFAULT_REGION=us-east-1 \
    "$S3_AWS_BIN" --endpoint-url "http://127.0.0.1:$FAULT_PORT" s3api list-multipart-uploads --bucket mp \
    --query 'Uploads[].UploadId' --output text | grep -v '^None$' || true
}

for action in close reset status; do
  curl -sf -X DELETE "$(_fault_url mp big.bin)" >/dev/null || true
  fault_rules "[{\"method\":\"PUT\",\"query\":\"partNumber=2&\",\"action\":\"$action\",\"times\":1}]"
  fault_mark
  upload
  e2e_expect_eq "the second part $action once: exit code ($(tail -c 300 "$E2E_OUTPUT"))" 0 "$E2E_STATUS"
  e2e_expect_eq "the second part $action once: only it is sent again" "1:1 2:2 3:1" "$(sends)"
  e2e_check "the second part $action once: the object is whole" \
    cmp "$SRC/big.bin" <(curl -sf "$(_fault_url mp big.bin)")
done

# -z -e: parts go up while the encoder still writes; the one that fails is read again from its output
curl -sf -X DELETE "$(_fault_url mp big.bin)" >/dev/null
fault_rules '[{"method":"PUT","query":"partNumber=2&","action":"reset","bytes":65536,"times":1}]'
fault_mark
upload -z -e aes-256-cbc --encryption-password pw
e2e_expect_eq "-z -e, the second part fails once: exit code ($(tail -c 300 "$E2E_OUTPUT"))" 0 "$E2E_STATUS"
e2e_expect_eq "-z -e, the second part fails once: only it is sent again" "1:1 2:2 3:1" "$(sends)"
e2e_check "-z -e, the second part fails once: the object decodes to the file" cmp "$SRC/big.bin" \
  <(curl -sf "$(_fault_url mp big.bin)" | openssl enc -d -aes-256-cbc -md sha1 -pass pass:pw | gunzip -c)

# the temporary folder is a file: the encoder has nowhere to write, and nothing is opened in the store
curl -sf -X DELETE "$(_fault_url mp big.bin)" >/dev/null
fault_mark
TMPDIR=$SRC/big.bin upload -z
e2e_expect_eq "-z, temporary folder is a file: exit code" 1 "$E2E_STATUS"
e2e_expect_eq "-z, temporary folder is a file: no upload started" 0 "$(fault_count '^POST ')"
e2e_check "-z, temporary folder is a file: the error names it" grep -qF "$SRC/big.bin: Not a directory" "$E2E_OUTPUT"

# with -z -e the upload may give up while the encoder still writes: it stops, and the abort still goes
fault_rules '[{"method":"PUT","query":"partNumber=2&","action":"status"}]'
for opts in "" "-z -e aes-256-cbc --encryption-password pw"; do
  fault_mark
  # shellcheck disable=SC2086
  upload $opts
  v="the second part always fails${opts:+ (-z -e)}"
  e2e_expect_eq "$v: exit code" 1 "$E2E_STATUS"
  e2e_check "$v: the error on stderr" grep -qzE '\*\* Error \*\*.*big\.bin.*InternalError' "$E2E_OUTPUT"
  e2e_check "$v: sent at most 9 times ($(sends))" test "$(fault_count 'partNumber=2&')" -le 9
  e2e_expect_eq "$v: aborted once" 1 "$(fault_count '^DELETE /mp/big\.bin\?uploadId=.* 204$')"
  e2e_expect_eq "$v: no upload left" "" "$(open_uploads)"
  e2e_expect_eq "$v: no object" "" "$(fault_keys mp || true)"
done

fault_rules '[{"method":"PUT","query":"partNumber=2&","action":"status"},
              {"method":"DELETE","query":"uploadId=","action":"status","status":503,"code":"SlowDown"}]'
upload
left=$(open_uploads)
e2e_expect_eq "abort fails too: exit code" 1 "$E2E_STATUS"
e2e_check "abort fails too: the error names the upload left ($left)" \
  grep -qF "The multipart upload $left could not be aborted" "$E2E_OUTPUT"
fault_stop
e2e_finish
