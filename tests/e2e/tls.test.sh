#!/usr/bin/env bash
# TLS with the real binary against RGW: its self-signed certificate is refused by default (exit 1,
# the host and the reason, no request in its log), trusted with --ca-file for upload, download,
# server-side copy and delete, accepted with --insecure after a warning; a bad --ca-file is
# refused before any connection; an impostor with a trusted certificate for another name gets
# handshakes but no request.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
e2e_init

BUCKET=quorle-tls
SRC=$E2E_WORK/src
TOOLS=$(cd "$(dirname "$0")/tools" && pwd)

make_tree() {
  mkdir -p "$SRC/nested/deeper"
  : >"$SRC/empty"
  head -c 1 /dev/urandom >"$SRC/one-byte.bin"
  head -c 70000 /dev/urandom >"$SRC/nested/blob.bin"
  printf 'text\n' >"$SRC/nested/deeper/file with blanks.txt"
}

tls_quorle() { e2e_quorle --ssl --endpoint "$S3_HOST" --port "$S3_PORT" "$@"; }

# expect_refused WHAT REASON ARGS... : exit 1, the message names the host and the reason, and the
# store saw no request
expect_refused() {
  local what=$1 reason=$2; shift 2
  s3_log_mark
  tls_quorle "$@"
  e2e_expect_eq "$what: exit code" 1 "$E2E_STATUS"
  e2e_check "$what: the message names the host and '$reason'" \
    grep -q "Certificate of $S3_HOST not trusted: .*$reason" "$E2E_OUTPUT"
  e2e_expect_eq "$what: no request reached the store" 0 "$(s3_request_count)"
}

expect_synced() {  # expect_synced WHAT ARGS...
  local what=$1; shift
  tls_quorle "$@"
  e2e_expect_eq "$what: exit code ($(head -c 300 "$E2E_OUTPUT"))" 0 "$E2E_STATUS"
}

# a refused --ca-file: exit 1, the message, and not one connection
expect_bad_ca_file() {  # WHAT FILE MESSAGE
  s3_log_mark
  tls_quorle --ca-file "$2" "$SRC/" "s3://$BUCKET/"
  e2e_expect_eq "$1: exit code" 1 "$E2E_STATUS"
  e2e_check "$1: message" grep -qF "$3" "$E2E_OUTPUT"
  e2e_expect_eq "$1: no request" 0 "$(s3_request_count)"
}

store_matches() {  # store_matches WHAT BUCKET : every file of SRC is an object of BUCKET
  local rel fetched=$E2E_WORK/fetched bad=()
  while IFS= read -r -d '' rel; do
    rm -f "$fetched"
    s3_s3cmd --path get "s3://$2/${rel#./}" "$fetched" >/dev/null 2>&1
    cmp -s "$SRC/$rel" "$fetched" || bad+=("$rel")
  done < <(cd "$SRC" && find . -type f -print0)
  e2e_expect_eq "$1: objects equal their files" "" "${bad[*]:-}"
}

# The impostor: a certificate for another name, made trusted, so that only the name is wrong.
impostor() {
  local dir=$E2E_WORK/impostor port
  mkdir -p "$dir/run"
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 1 \
    -subj /CN=impostor.example -addext subjectAltName=DNS:impostor.example \
    -keyout "$dir/key.pem" -out "$dir/cert.pem" 2>/dev/null
  port=$(s3_reserve_ports 1 "$dir")
  echo "tlsimpostor TERM" >"$dir/daemons"
  _S3_STARTED+=("$dir")
  setsid python3 "$TOOLS/tlsimpostor.py" "$port" "$dir/cert.pem" "$dir/key.pem" "$dir/log" \
    </dev/null >"$dir/out" 2>&1 &
  echo $! >"$dir/run/tlsimpostor.pid"
  disown $!
  until grep -q listening "$dir/log" 2>/dev/null; do sleep 0.1; done

  e2e_quorle --ssl --ca-file "$dir/cert.pem" --endpoint 127.0.0.1 --port "$port" "$SRC/" "s3://$BUCKET/"
  e2e_expect_eq "impostor: exit code" 1 "$E2E_STATUS"
  e2e_check "impostor: the message names the host and the mismatch" \
    grep -q "Certificate of 127.0.0.1 not trusted: .*host name did not match" "$E2E_OUTPUT"
  e2e_check "impostor: it was contacted" grep -q "handshake" "$dir/log"
  e2e_expect_eq "impostor: no request" "" "$(grep -v 'handshake\|listening' "$dir/log")"
  # the same log does show a request that is let through
  e2e_quorle --ssl --insecure --endpoint 127.0.0.1 --port "$port" "$SRC/" "s3://$BUCKET/"
  e2e_check "impostor: with --insecure the request is logged" grep -q "^request: GET / " "$dir/log"
  s3_server_stop "$dir"
}

make_tree
e2e_server_start rgw --tls || { e2e_fail "rgw did not start"; e2e_finish; }
s3_make_bucket "$BUCKET"
s3_make_bucket "$BUCKET-copy"

expect_refused "self-signed, no --ca-file" "self-signed" "$SRC/" "s3://$BUCKET/"
printf 'not a certificate\n' >"$E2E_WORK/garbage.pem"
expect_bad_ca_file "--ca-file not PEM" "$E2E_WORK/garbage.pem" "No PEM certificate in the CA file"
expect_bad_ca_file "--ca-file missing" "$E2E_WORK/missing.pem" "Cannot read the CA file"
expect_bad_ca_file "--ca-file a folder" "$E2E_WORK" "Cannot read the CA file"

expect_synced "upload with --ca-file -t 4" --ca-file "$S3_CA_FILE" -t 4 "$SRC/" "s3://$BUCKET/"
store_matches "upload with --ca-file" "$BUCKET"
expect_synced "server-side copy with --ca-file" --ca-file "$S3_CA_FILE" "s3://$BUCKET/" "s3://$BUCKET-copy/"
store_matches "server-side copy" "$BUCKET-copy"
mkdir -p "$E2E_WORK/back"
expect_synced "download with --ca-file -t 1" --ca-file "$S3_CA_FILE" -t 1 "s3://$BUCKET/" "$E2E_WORK/back/"
e2e_check "download: trees match" diff -r "$SRC" "$E2E_WORK/back"
rm "$SRC/one-byte.bin"
expect_synced "delete with --ca-file" --ca-file "$S3_CA_FILE" "$SRC/" "s3://$BUCKET/"
e2e_expect_eq "delete: the key is gone" "" "$(s3_keys_aws "$BUCKET" | grep -x one-byte.bin || true)"

rm -rf "$E2E_WORK/back"; mkdir -p "$E2E_WORK/back"
expect_synced "download with --insecure" --insecure "s3://$BUCKET/" "$E2E_WORK/back/"
e2e_check "--insecure: trees match" diff -r "$SRC" "$E2E_WORK/back"
e2e_expect_eq "--insecure: the warning comes first, once" \
  "Warning: --insecure: TLS certificates are not verified" "$(sed -n 2p "$E2E_OUTPUT")"

impostor
e2e_server_stop
e2e_finish
