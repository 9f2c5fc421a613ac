#!/usr/bin/env bash
# A cloud side that is listed, compared and pruned: a store holding keys, folder objects and bare
# prefixes against a local tree, both ways, with the store checked by s3cmd and aws afterwards.
# Copies are left out: every case is one where nothing needs to be sent or fetched (equal files,
# --dont-add, deletions only).
#
# Known gaps: s3rver accepts any well-formed signature, so a wrong secret key is checked on rgw
# alone; its listing order around '/' is wrong past 1,000 keys, so the paged tree uses flat names.
. "$(dirname "$0")/lib/e2e.sh"
e2e_init

BUCKET=quorle-listing
BIG=1100

quorle() {  # quorle ARGS... : the binary on the current server, with its keys
  QUORLES_ACCESS_KEY=${KEY:-$S3_ACCESS_KEY} QUORLES_SECRET_KEY=${SECRET:-$S3_SECRET_KEY} \
    e2e_quorle --endpoint "$S3_DNS_NAME" --port "$S3_PORT" "$@"
}
out() { cat "$E2E_OUTPUT"; }
status_is() {
  e2e_expect_eq "$1: exit code" "$2" "$E2E_STATUS"
  [[ $E2E_STATUS == "$2" ]] || head -c 600 "$E2E_OUTPUT" | sed 's/^/     | /'
}
has_line() { e2e_check "$1" grep -qxF -- "$2" "$E2E_OUTPUT"; }
lacks_line() { e2e_check "$1" bash -c '! grep -q -- "$1" "$2"' _ "$2" "$E2E_OUTPUT"; }
put() { mkdir -p "$(dirname "$1")"; printf '%s\n' "$2" >"$1"; }
tree() { (cd "$1" && find . -mindepth 1 | LC_ALL=C sort); }
keys_both() {  # the keys under PREFIX as s3cmd and aws see them; fails when they disagree
  local a b
  a=$(s3_keys_s3cmd "$BUCKET" "${1:-}" | LC_ALL=C sort) b=$(s3_keys_aws "$BUCKET" "${1:-}" | LC_ALL=C sort)
  [[ $a == "$b" ]] || { echo "s3cmd and aws disagree:"; diff <(echo "$a") <(echo "$b"); return 1; }
  echo "$a"
}

# key|content; a content of "/" makes an empty folder object
STORE=(
  "p/top.txt|top" "p/a/|/" "p/a/b/c.txt|c" "p/a/x.txt|x" "p/empty/|/" "p/deep/only/keys.txt|deep"
  "p/old/|/" "p/old/sub/|/" "p/old/sub/f.txt|f" "p/old/g.txt|g"
  "other/z.txt|z" "p-sibling.txt|sib" "p|not a folder"
)

fill_store() {
  local entry key content
  s3_make_bucket "$BUCKET"
  for entry in "${STORE[@]}"; do
    key=${entry%%|*} content=${entry#*|}
    if [[ $content == / ]]; then
      s3_aws s3api put-object --bucket "$BUCKET" --key "$key" >/dev/null
    else
      printf '%s\n' "$content" >"$E2E_WORK/body"
      s3_s3cmd -q put "$E2E_WORK/body" "s3://$BUCKET/$key"
    fi
  done
}

mirror_of_p() {  # a local copy of everything below p/, equal content, every folder
  local dir=$1 entry key content
  mkdir -p "$dir"
  for entry in "${STORE[@]}"; do
    key=${entry%%|*} content=${entry#*|}
    [[ $key == p/* ]] || continue
    if [[ $content == / ]]; then mkdir -p "$dir/${key#p/}"; else put "$dir/${key#p/}" "$content"; fi
  done
}

exercise() {
  local url dir expected i requests
  e2e_server_start "$1"
  url="http://$BUCKET.$S3_DNS_NAME:$S3_PORT"
  fill_store

  # Store to local: everything below the prefix compares equal, the local extras go.
  dir=$E2E_WORK/$1-down
  mirror_of_p "$dir"
  put "$dir/extra.txt" extra; put "$dir/gone/g.txt" gone
  expected=$(tree "$dir" | grep -v '^\./extra.txt$\|^\./gone')
  quorle -v "s3://$BUCKET/p/" "$dir/"
  status_is "store to local" 0
  e2e_expect_eq "store to local: only the local extras are gone" "$expected" "$(tree "$dir")"
  has_line "store to local: the listing of the store" "[List] $url/p/"
  has_line "store to local: the extra file" "[Delete] $dir/extra.txt"
  has_line "store to local: the extra folder" "[Delete] $dir/gone"
  lacks_line "store to local: nothing copied" '^\[Copy\]'
  e2e_expect_eq "store to local: Done. then the summary" "Done." "$(tail -n 2 "$E2E_OUTPUT" | head -n 1)"
  e2e_check "store to local: the summary counts the deletions" \
    grep -qE '^Copied 0, replaced 0, deleted 2, unchanged [0-9]+, failed 0; sent [0-9.]+ k?B, received [0-9.]+ k?B in [0-9.]+ s' \
    <(tail -n 1 "$E2E_OUTPUT")

  # Local to store with --dont-add: keys, folder objects and a bare prefix that the local tree
  # lacks are deleted; nothing is added; keys outside the prefix stay.
  dir=$E2E_WORK/$1-up
  put "$dir/top.txt" top; put "$dir/a/b/c.txt" c; mkdir -p "$dir/empty"; put "$dir/new.txt" new
  quorle -v --dont-add "$dir/" "s3://$BUCKET/p/"
  status_is "local to store" 0
  e2e_check "local to store: keys after pruning" diff <(printf '%s\n' other/z.txt p p-sibling.txt p/a/ p/a/b/c.txt \
    p/empty/ p/top.txt) <(keys_both)
  has_line "local to store: a key" "[Delete] $url/p/a/x.txt"
  has_line "local to store: a key below a bare prefix" "[Delete] $url/p/deep/only/keys.txt"
  has_line "local to store: a folder object" "[Delete] $url/p/old/sub/"
  lacks_line "local to store: nothing added" "new.txt"
  quorle -v --dont-add "$dir/" "s3://$BUCKET/p/"
  status_is "local to store, again" 0
  lacks_line "local to store, again: nothing left to delete" '^\[Delete\]'

  # A folder that only the local side has becomes a folder object, after a head that finds none.
  rm "$dir/new.txt"
  mkdir -p "$dir/made/inner"
  s3_log_mark
  quorle -v "$dir/" "s3://$BUCKET/p/"
  status_is "new folders" 0
  requests=$(s3_requests | grep -E '^(HEAD|PUT) [^ ]*p/made/ ' | cut -d' ' -f1 | tr '\n' ' ')
  e2e_expect_eq "new folders: a head, then the put" "HEAD PUT " "$requests"
  e2e_check "new folders: their objects" diff <(printf '%s\n' p/made/ p/made/inner/) \
    <(keys_both p/made/)
  quorle -v "$dir/" "s3://$BUCKET/p/"
  status_is "new folders, again" 0
  lacks_line "new folders, again: nothing created" '^\[Create folder\]'

  # More keys than one page holds.
  dir=$E2E_WORK/$1-big
  mkdir -p "$dir"
  for (( i = 0; i < BIG; i++ )); do printf '%s\n' "$i" >"$dir/k$(printf %04d "$i")"; done
  s3_aws s3 cp --quiet --recursive "$dir/" "s3://$BUCKET/big/"
  e2e_expect_eq "paging: the store holds the keys" "$BIG" "$(keys_both big/ | wc -l)"
  put "$dir/zz-extra" extra
  s3_log_mark
  quorle "s3://$BUCKET/big/" "$dir/"
  status_is "paging: store to local" 0
  requests=$(s3_requests)
  e2e_check "paging: the second page starts after the last key" grep -q 'prefix=big/&marker=big%2Fk0999' \
    <<<"$requests"
  e2e_expect_eq "paging: every key found, the extra gone" "$BIG" "$(tree "$dir" | wc -l)"
  mkdir -p "$E2E_WORK/$1-nothing"
  quorle --dont-add "$E2E_WORK/$1-nothing/" "s3://$BUCKET/big/"
  status_is "paging: pruning all" 0
  e2e_expect_eq "paging: no key left" "" "$(keys_both big/)"

  # Failures end the run with exit code 1 and the store's or the engine's words.
  quorle "s3://quorle-no-such-bucket/" "$dir/"
  status_is "missing bucket" 1
  has_line "missing bucket: message" "Message: Folder 'http://quorle-no-such-bucket.$S3_DNS_NAME:$S3_PORT/' not found"
  KEY=QUORLEWRONGKEY000000 quorle "s3://$BUCKET/p/" "$dir/"
  status_is "wrong access key" 1
  e2e_check "wrong access key: the store's code" grep -q '^Message: InvalidAccessKeyId' "$E2E_OUTPUT"
  # Two local folders never ask the store, so a wrong key does not matter.
  KEY=QUORLEWRONGKEY000000 quorle "$dir/" "$E2E_WORK/$1-nothing/"
  status_is "wrong access key, local folders only: the store is not asked" 0
  if s3_feature signature; then
    SECRET=wrong-secret quorle "s3://$BUCKET/p/" "$dir/"
    status_is "wrong secret key" 1
    e2e_check "wrong secret key: the store's code" grep -q '^Message: SignatureDoesNotMatch' "$E2E_OUTPUT"
  fi
  e2e_server_stop
}

for server in $(e2e_servers); do exercise "$server"; done
e2e_finish
