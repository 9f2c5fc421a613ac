#!/usr/bin/env bash
# Files above --multipart-threshold go up in parts, on radosgw, which checks every signature: plain,
# gzip, aes-256-cbc and both. Each stored object is fetched with aws and opened with the standard
# tools (openssl enc -d, gunzip); a re-run sends nothing; a change that keeps size and date is
# caught by the plain MD5 in the metadata; the objects come back byte for byte. Bad thresholds
# are refused before anything is sent.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
e2e_init

BUCKET=quorle-multipart
PW='multi part secret'
SIZE_MIB=${MULTIPART_E2E_MIB:-100}
export QUORLES_ACCESS_KEY=dummy QUORLES_SECRET_KEY=dummy

for bad in 4M 5242879 64MB ''; do
  e2e_quorle --multipart-threshold "$bad" "$E2E_WORK" "$E2E_WORK"
  e2e_expect_eq "threshold '$bad' refused: exit code" 1 "$E2E_STATUS"
  e2e_check "threshold '$bad' refused: message" grep -q "Invalid argument --multipart-threshold" "$E2E_OUTPUT"
done

# decode VARIANT FILE : the plain bytes of a stored object
decode() {
  case $1 in
    plain) cat "$2" ;;
    z) gunzip -c <"$2" ;;
    e) openssl enc -d -aes-256-cbc -md sha1 -pass "pass:$PW" <"$2" ;;
    ze) openssl enc -d -aes-256-cbc -md sha1 -pass "pass:$PW" <"$2" | gunzip -c ;;
  esac
}

# upload VARIANT : quorle from the variant's folder to its prefix
upload() {
  local args=(--multipart-threshold 8M -t 4 --endpoint "$S3_HOST" --port "$S3_PORT")
  [[ $1 == *z* ]] && args+=(-z)
  [[ $1 == *e* ]] && args+=(-e aes-256-cbc --encryption-password "$PW")
  e2e_quorle "${args[@]}" "$E2E_WORK/$1/" "s3://$BUCKET/$1/"
}

# check_stored VARIANT WHAT : the object, as aws fetches it, opens to the file
check_stored() {
  local raw=$E2E_WORK/raw-$1
  s3_aws s3api get-object --bucket "$BUCKET" --key "$1/big.bin" "$raw" >/dev/null || : >"$raw"
  e2e_check "$1: $2: the stored object opens to the file" cmp "$E2E_WORK/$1/big.bin" <(decode "$1" "$raw")
  rm -f "$raw"
}

run_on() {
  e2e_server_start "$1" || { e2e_fail "$1 did not start"; return; }
  s3_make_bucket "$BUCKET"
  export QUORLES_ACCESS_KEY=$S3_ACCESS_KEY QUORLES_SECRET_KEY=$S3_SECRET_KEY
  local v back
  for v in plain z e ze; do
    mkdir -p "$E2E_WORK/$v"
    head -c $(( SIZE_MIB * 1024 * 1024 )) /dev/urandom >"$E2E_WORK/$v/big.bin"
    touch -d '2020-01-01 00:00:00' "$E2E_WORK/$v/big.bin"
    # a destination prefix exists once a folder object makes it
    s3_aws --path s3api put-object --bucket "$BUCKET" --key "$v/" >/dev/null

    s3_log_mark
    upload "$v"
    e2e_expect_eq "$v: upload: exit code ($(head -c 300 "$E2E_OUTPUT"))" 0 "$E2E_STATUS"
    e2e_expect_eq "$v: one multipart upload started" 1 "$(s3_request_count '^POST [^ ]*\?uploads ')"
    local parts
    parts=$(s3_request_count '^PUT [^ ]*\?partNumber=')
    e2e_check "$v: sent in several parts ($parts)" test "$parts" -ge $(( SIZE_MIB / 13 ))
    e2e_expect_eq "$v: completed once" 1 "$(s3_request_count '^POST [^ ]*\?uploadId=')"
    check_stored "$v" "first upload"

    s3_log_mark
    upload "$v"
    e2e_expect_eq "$v: re-run: exit code" 0 "$E2E_STATUS"
    e2e_expect_eq "$v: re-run sends nothing" 0 "$(s3_request_count '^(PUT|POST) ')"

    # Same size, same date, other bytes: only the MD5 can tell.
    printf 'changed' | dd of="$E2E_WORK/$v/big.bin" bs=1 seek=$(( 9 * 1024 * 1024 )) conv=notrunc status=none
    touch -d '2020-01-01 00:00:00' "$E2E_WORK/$v/big.bin"
    s3_log_mark
    upload "$v"
    e2e_expect_eq "$v: same-size change: exit code" 0 "$E2E_STATUS"
    e2e_expect_eq "$v: same-size change is sent again" 1 "$(s3_request_count '^POST [^ ]*\?uploads ')"
    check_stored "$v" "after the change"

    back=$E2E_WORK/back-$v
    mkdir -p "$back"
    e2e_quorle --decryption-password "$PW" --endpoint "$S3_HOST" --port "$S3_PORT" "s3://$BUCKET/$v/" "$back/"
    e2e_expect_eq "$v: download: exit code ($(head -c 300 "$E2E_OUTPUT"))" 0 "$E2E_STATUS"
    e2e_check "$v: download: same bytes" cmp "$E2E_WORK/$v/big.bin" "$back/big.bin"
    rm -rf "$back" "$E2E_WORK/$v"
  done
  # A file cut short while its parts go up: the parts that can't be read fail for good, and the
  # upload is aborted, so that the store lists nothing left behind.
  mkdir -p "$E2E_WORK/cut"
  head -c $(( 2 * SIZE_MIB * 1024 * 1024 )) /dev/urandom >"$E2E_WORK/cut/big.bin"
  s3_aws --path s3api put-object --bucket "$BUCKET" --key "cut/" >/dev/null
  s3_log_mark
  ( e2e_quorle --multipart-threshold 8M -t 1 --endpoint "$S3_HOST" --port "$S3_PORT" "$E2E_WORK/cut/" \
      "s3://$BUCKET/cut/"; echo "$E2E_STATUS" >"$E2E_WORK/cut.status" ) &
  local i
  for (( i = 0; i < 100; i++ )); do
    (( $(s3_request_count '^PUT [^ ]*\?partNumber=') > 0 )) && break
    sleep 0.1
  done
  truncate -s 1M "$E2E_WORK/cut/big.bin"
  wait
  if [[ $(<"$E2E_WORK/cut.status") == 0 ]]; then
    e2e_skip "cut file: the upload ended before the file was cut"
  else
    e2e_pass "cut file: exit code 1"
    e2e_expect_eq "cut file: the upload was aborted" 1 "$(s3_request_count '^DELETE [^ ]*\?uploadId=')"
  fi
  e2e_expect_eq "no upload left open" "" "$(s3_aws s3api list-multipart-uploads --bucket "$BUCKET" \
    --query 'Uploads[].Key' --output text | grep -v '^None$' || true)"
  s3_remove_bucket "$BUCKET" 2>/dev/null
  e2e_server_stop
}

for server in ${E2E_SERVERS:-rgw}; do run_on "$server"; done
e2e_finish
