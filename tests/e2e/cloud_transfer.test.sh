#!/usr/bin/env bash
# Local tree to a bucket and back with the real binary, checked with s3cmd, aws and cmp: contents,
# content types, gzip-marked objects, odd keys, an unchanged tree that costs no PUT and no GET of an
# object, a changed file sent again, one connection and sixteen.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
e2e_init

BUCKET=quorle-transfer
SRC=$E2E_WORK/src

make_tree() {
  mkdir -p "$SRC/nested/deeper/deepest" "$SRC/dir with blanks" "$SRC/ünïcødé 日本語"
  : >"$SRC/empty"
  head -c 1 /dev/urandom >"$SRC/one-byte.bin"
  head -c 4097 /dev/urandom >"$SRC/nested/page.bin"
  head -c 3000000 /dev/urandom >"$SRC/nested/deeper/three-mib.bin"
  printf 'text\n' >"$SRC/dir with blanks/file with blanks.txt"
  printf '%%PDF-1.4\n' >"$SRC/ünïcødé 日本語/document ✓.pdf"
  printf 'reserved\n' >"$SRC/nested/deeper/deepest/a+b=c&d;e@f,g!'()~\$.html"
}

# quorle_sync SRC DST ARGS... : a sync against the current server
quorle_sync() {
  e2e_quorle "${@:3}" --endpoint "$S3_HOST" --port "$S3_PORT" "$1" "$2"
  e2e_expect_eq "sync $1 -> $2 ${*:3}: exit code ($(head -c 400 "$E2E_OUTPUT"))" 0 "$E2E_STATUS"
}

# every file of the tree, fetched back with s3cmd, equals its source
check_store_matches() {  # check_store_matches WHAT
  local rel fetched=$E2E_WORK/fetched
  while IFS= read -r -d '' rel; do
    rm -f "$fetched"
    s3_s3cmd --path get "s3://$BUCKET/${rel#./}" "$fetched" >/dev/null 2>&1
    e2e_check "$1: '$rel' stored intact" cmp -s "$SRC/$rel" "$fetched"
  done < <(cd "$SRC" && find . -type f -print0)
}

content_type() { s3_aws s3api head-object --bucket "$BUCKET" --key "$1" --query ContentType --output text; }


run_on() {
  e2e_server_start "$1" || { e2e_fail "$1 did not start"; return; }
  s3_make_bucket "$BUCKET"
  export QUORLES_ACCESS_KEY=$S3_ACCESS_KEY QUORLES_SECRET_KEY=$S3_SECRET_KEY

  quorle_sync "$SRC/" "s3://$BUCKET/" -t 16
  check_store_matches "upload -t 16"
  e2e_expect_eq "content type of a .txt" "text/plain" "$(content_type 'dir with blanks/file with blanks.txt')"
  e2e_expect_eq "content type of a .pdf" "application/pdf" "$(content_type 'ünïcødé 日本語/document ✓.pdf')"
  e2e_expect_eq "content type without extension" "application/octet-stream" "$(content_type empty)"

  s3_log_mark
  quorle_sync "$SRC/" "s3://$BUCKET/"
  e2e_expect_eq "unchanged tree: no PUT" 0 "$(s3_object_requests PUT)"
  e2e_expect_eq "unchanged tree: no GET of an object" 0 "$(s3_object_requests GET)"

  # each server's pass changes the file anew: the tree is shared by the passes
  printf 'changed for %s\n' "$S3_SERVER" >"$SRC/dir with blanks/file with blanks.txt"
  s3_log_mark
  quorle_sync "$SRC/" "s3://$BUCKET/" -t 1
  e2e_expect_eq "changed file: one PUT" 1 "$(s3_object_requests_at_least PUT 1)"
  check_store_matches "after the change"

  local back=$E2E_WORK/back-$1
  mkdir -p "$back"
  quorle_sync "s3://$BUCKET/" "$back/" -t 1
  e2e_check "download -t 1: trees match" diff -r "$SRC" "$back"
  rm -rf "$back"; mkdir -p "$back"
  quorle_sync "s3://$BUCKET/" "$back/" -t 16
  e2e_check "download -t 16: trees match" diff -r "$SRC" "$back"

  # objects that claim gzip but are too short to be believed are written as they are
  : >"$E2E_WORK/zero"; printf '\037\213' >"$E2E_WORK/two"
  s3_make_bucket "$BUCKET-gz"
  s3_aws s3api put-object --bucket "$BUCKET-gz" --key zero --body "$E2E_WORK/zero" --content-encoding gzip >/dev/null
  s3_aws s3api put-object --bucket "$BUCKET-gz" --key two --body "$E2E_WORK/two" --content-encoding gzip >/dev/null
  mkdir -p "$E2E_WORK/gz-$1"
  quorle_sync "s3://$BUCKET-gz/" "$E2E_WORK/gz-$1/"
  e2e_check "0-byte object marked gzip" cmp -s "$E2E_WORK/zero" "$E2E_WORK/gz-$1/zero"
  e2e_check "2-byte object marked gzip" cmp -s "$E2E_WORK/two" "$E2E_WORK/gz-$1/two"

  s3_remove_bucket "$BUCKET"; s3_remove_bucket "$BUCKET-gz"
  e2e_server_stop
}

make_tree
for server in $(e2e_servers); do run_on "$server"; done
e2e_finish
