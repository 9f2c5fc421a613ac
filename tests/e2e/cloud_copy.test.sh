#!/usr/bin/env bash
# Bucket prefix to bucket prefix on one store with the real binary: every object is copied by the
# store itself (PUTs that name their source, no GET of a body), bytes, content types and user
# metadata checked with s3cmd and aws; a changed object is copied again, a removed one deleted;
# a copy into a second bucket.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
e2e_init

BUCKET=quorle-copy
OTHER=quorle-copy-other
SRC=$E2E_WORK/src

make_tree() {
  mkdir -p "$SRC/nested/deeper" "$SRC/dir with blanks" "$SRC/ünïcødé"
  : >"$SRC/empty"
  head -c 70000 /dev/urandom >"$SRC/nested/deeper/blob.bin"
  printf 'text\n' >"$SRC/dir with blanks/file with blanks.txt"
  printf 'reserved\n' >"$SRC/ünïcødé/a+b=c&d;e@f,g!'()~\$.html"
  printf 'removed later\n' >"$SRC/nested/gone.txt"
}
RESERVED="ünïcødé/a+b=c&d;e@f,g!'()~\$.html"

# the files of this pass, one a line: a key with reserved characters only where the server
# can copy it
pass_files() {
  (cd "$SRC" && find . -type f | sed 's|^\./||') | { if [[ $HAS_RESERVED == 1 ]]; then cat; else grep -vxF "$RESERVED"; fi; }
}

# put_tree: the tree under src/ with aws, one object with user metadata and a type of its own
put_tree() {
  local rel
  while IFS= read -r rel; do
    s3_aws s3api put-object --bucket "$BUCKET" --key "src/$rel" --body "$SRC/$rel" >/dev/null
  done < <(pass_files)
  s3_aws s3api put-object --bucket "$BUCKET" --key "src/nested/deeper/blob.bin" \
    --body "$SRC/nested/deeper/blob.bin" --content-type application/x-quorle-test \
    --metadata colour=blue,shape=round >/dev/null
}

# quorle_sync SRC DST : a sync against the current server, with the request log (-D)
quorle_sync() {
  e2e_quorle -D --endpoint "$S3_HOST" --port "$S3_PORT" "$1" "$2"
  e2e_expect_eq "sync $1 -> $2: exit code ($(head -c 400 "$E2E_OUTPUT"))" 0 "$E2E_STATUS"
}

# every file of the tree, fetched from BUCKET/PREFIX, equals its source
check_copies() {  # check_copies WHAT BUCKET PREFIX
  local rel fetched=$E2E_WORK/fetched
  while IFS= read -r rel; do
    rm -f "$fetched"
    s3_s3cmd --path get "s3://$2/$3$rel" "$fetched" >/dev/null 2>&1
    e2e_check "$1: '$rel' copied intact" cmp -s "$SRC/$rel" "$fetched"
  done < <(pass_files)
}

head_of() {  # head_of BUCKET KEY QUERY
  s3_aws s3api head-object --bucket "$1" --key "$2" --query "$3" --output text
}

# a shell operation's log may be printed again by the one above it: count distinct sources
copy_sources_sent() { grep -i '^> x-amz-copy-source: ' "$E2E_OUTPUT" | sort -u | wc -l; }

run_on() {
  e2e_server_start "$1" || { e2e_fail "$1 did not start"; return; }
  s3_make_bucket "$BUCKET"; s3_make_bucket "$OTHER"
  export QUORLES_ACCESS_KEY=$S3_ACCESS_KEY QUORLES_SECRET_KEY=$S3_SECRET_KEY
  HAS_RESERVED=1; s3_feature copy-source-reserved || HAS_RESERVED=0
  put_tree
  local files; files=$(pass_files | wc -l)
  # a sync's roots must exist: the target prefix as a folder object
  s3_aws s3api put-object --bucket "$BUCKET" --key dst/ >/dev/null

  s3_log_mark
  quorle_sync "s3://$BUCKET/src/" "s3://$BUCKET/dst/"
  e2e_expect_eq "first copy: one PUT a file" "$files" "$(s3_object_requests_at_least PUT "$files")"
  e2e_expect_eq "first copy: every PUT names its source" "$files" "$(copy_sources_sent)"
  e2e_expect_eq "first copy: no GET of an object" 0 "$(s3_object_requests GET)"
  check_copies "first copy" "$BUCKET" dst/
  e2e_expect_eq "content type kept" "application/x-quorle-test" \
    "$(head_of "$BUCKET" dst/nested/deeper/blob.bin ContentType)"
  e2e_expect_eq "user metadata kept" $'blue\tround' \
    "$(head_of "$BUCKET" dst/nested/deeper/blob.bin '[Metadata.colour, Metadata.shape]')"
  e2e_expect_eq "ETag of the copy" "$(head_of "$BUCKET" src/empty ETag)" "$(head_of "$BUCKET" dst/empty ETag)"

  # each server's pass changes the file anew: the tree is shared by the passes
  printf 'changed for %s\n' "$S3_SERVER" >"$SRC/dir with blanks/file with blanks.txt"
  s3_aws s3api put-object --bucket "$BUCKET" --key "src/dir with blanks/file with blanks.txt" \
    --body "$SRC/dir with blanks/file with blanks.txt" >/dev/null
  s3_aws s3api delete-object --bucket "$BUCKET" --key src/nested/gone.txt >/dev/null
  mv "$SRC/nested/gone.txt" "$E2E_WORK/gone.txt"
  s3_log_mark
  quorle_sync "s3://$BUCKET/src/" "s3://$BUCKET/dst/"
  e2e_expect_eq "changed object: one PUT" 1 "$(s3_object_requests_at_least PUT 1)"
  e2e_expect_eq "changed object: it names its source" 1 "$(copy_sources_sent)"
  e2e_expect_eq "removed object: one DELETE" 1 "$(s3_object_requests_at_least DELETE 1)"
  e2e_expect_eq "second pass: no GET of an object" 0 "$(s3_object_requests GET)"
  check_copies "after the change" "$BUCKET" dst/
  e2e_expect_eq "removed object gone from the copy" "" "$(s3_keys_aws "$BUCKET" dst/nested/gone)"

  quorle_sync "s3://$BUCKET/src/" "s3://$OTHER/"
  check_copies "into another bucket" "$OTHER" ""

  mv "$E2E_WORK/gone.txt" "$SRC/nested/gone.txt"
  s3_remove_bucket "$BUCKET"; s3_remove_bucket "$OTHER"
  e2e_server_stop
}

make_tree
for server in $(e2e_servers); do run_on "$server"; done
e2e_finish
