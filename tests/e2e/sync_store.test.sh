#!/usr/bin/env bash
# A sync against a store that lists in its real order: a bucket root whose folder names sort
# before '/', and folders named after each other ('x', 'x-y', 'x.y', 'x 1'), in both directions;
# a source folder that cannot be read, run as an unprivileged user (nobody when the test runs as
# root); a dry run that sends nothing but reads.
. "$(dirname "$0")/lib/e2e.sh"
e2e_init
# radosgw lists in the store's real order and checks every signature.
e2e_server_start "$(e2e_servers | grep -o rgw || e2e_servers | cut -d' ' -f1)"

# as_user CMD... : runs CMD as an ordinary user, so that file permissions hold
as_user() {
  if (( $(id -u) == 0 )); then setpriv --reuid=nobody --regid=nogroup --clear-groups "$@"; else "$@"; fi
}
quorle() {  # quorle ARGS... : sets STATUS and OUT (stdout and stderr together)
  STATUS=0
  OUT=$(as_user env QUORLES_ACCESS_KEY="$S3_ACCESS_KEY" QUORLES_SECRET_KEY="$S3_SECRET_KEY" \
        LSAN_OPTIONS="$LSAN_OPTIONS" timeout -k 5 120 "$QUORLE_BINARY" --endpoint "$S3_DNS_NAME" \
        --port "$S3_PORT" "$@" 2>&1) || STATUS=$?
}
put() { mkdir -p "$(dirname "$1")"; printf '%s\n' "${2-$1}" >"$1"; }
tree() { (cd "$1" && find . -mindepth 1 -type f | LC_ALL=C sort); }
# the keys a tree makes: its files, and a folder object for each folder
tree_keys() { (cd "$1" && find . -mindepth 1 \( -type d -printf '%P/\n' -o -printf '%P\n' \) | LC_ALL=C sort); }
keys() { s3_keys_aws "$1" "" | LC_ALL=C sort; }
changes() { grep -E '^\[(Copy|Delete|Create folder)\]' <<<"$OUT" || true; }
# the work folder is private to root; the unprivileged user needs to pass through it
chmod 711 "$E2E_WORK"

# Files at the top of a bucket next to folders whose names sort below '/'.
ROOT_TREE=(.config/rc "#recycle/r" -old/o "x 1/s" docs/d.txt report.txt .top)
n=0
for hidden in "" --hidden-files; do
  CASE="bucket root${hidden:+ with $hidden}"
  bucket=root-$(( ++n )) src=$E2E_WORK/root-$n/src dst=$E2E_WORK/root-$n/dst
  for f in "${ROOT_TREE[@]}"; do put "$src/$f" "$f"; done
  mkdir -p "$dst"; chown -R nobody "$E2E_WORK/root-$n" 2>/dev/null || true
  s3_make_bucket "$bucket"
  quorle $hidden "$src/" "s3://$bucket"
  e2e_expect_eq "$CASE: upload exit code ($OUT)" 0 "$STATUS"
  expected=$(tree_keys "$src")
  [[ -n $hidden ]] || expected=$(grep -v '^\.' <<<"$expected")
  e2e_expect_eq "$CASE: the bucket holds the source" "$expected" "$(keys "$bucket")"
  quorle -v $hidden "$src/" "s3://$bucket"
  e2e_expect_eq "$CASE: a second upload changes nothing" "" "$(changes)"
  quorle -v $hidden "s3://$bucket" "$dst/"
  e2e_expect_eq "$CASE: download exit code ($OUT)" 0 "$STATUS"
  e2e_expect_eq "$CASE: the restore holds every file" "$(grep -v '/$' <<<"$expected" | sed 's|^|./|')" "$(tree "$dst")"
  quorle -v $hidden "s3://$bucket" "$dst/"
  e2e_expect_eq "$CASE: a second download changes nothing" "" "$(changes)"
  e2e_expect_eq "$CASE: second download exit code" 0 "$STATUS"
done

# An unreadable source folder: an error naming it, its backup kept, the rest synced.
for target in local bucket; do
  CASE="unreadable folder to $target"
  base=$E2E_WORK/unreadable-$target src=$E2E_WORK/unreadable-$target/src
  put "$src/a"; put "$src/sub/b"; put "$src/sub/deeper/c"
  if [[ $target == local ]]; then dst="$base/dst/"; mkdir -p "$dst"; else dst=s3://unreadable; s3_make_bucket unreadable; fi
  chown -R nobody "$base" 2>/dev/null || true
  quorle "$src/" "$dst"
  e2e_expect_eq "$CASE: first run exit code ($OUT)" 0 "$STATUS"
  as_user chmod 000 "$src/sub"
  put "$src/new" new
  quorle -v "$src/" "$dst"
  as_user chmod 755 "$src/sub"
  e2e_expect_eq "$CASE: exit code" 1 "$STATUS"
  e2e_check "$CASE: the error names the folder" grep -qF "Folder '$src/sub' could not be read (Permission denied)" <<<"$OUT"
  e2e_expect_eq "$CASE: nothing deleted" "" "$(grep '^\[Delete\]' <<<"$OUT" || true)"
  if [[ $target == local ]]; then
    e2e_expect_eq "$CASE: the backup keeps the folder" "$(printf './a\n./new\n./sub/b\n./sub/deeper/c')" "$(tree "$dst")"
    as_user chmod 000 "$src"
    quorle "$src/" "$dst"
    as_user chmod 755 "$src"
    e2e_expect_eq "$CASE: an unreadable root, exit code" 1 "$STATUS"
    e2e_expect_eq "$CASE: an unreadable root deletes nothing" "$(printf './a\n./new\n./sub/b\n./sub/deeper/c')" "$(tree "$dst")"
  else
    e2e_expect_eq "$CASE: the backup keeps the folder" "$(printf 'a\nnew\nsub/\nsub/b\nsub/deeper/\nsub/deeper/c')" "$(keys unreadable)"
  fi
done

CASE="neighbour names"
src=$E2E_WORK/neighbours/src dst=$E2E_WORK/neighbours/dst
for d in x x-y x.y "x 1" x0; do put "$src/$d/f" "$d"; done
mkdir -p "$dst"; chown -R nobody "$E2E_WORK/neighbours" 2>/dev/null || true
s3_make_bucket neighbours; s3_aws s3api put-object --bucket neighbours --key pre/ >/dev/null
quorle "$src/" s3://neighbours/pre/
e2e_expect_eq "$CASE: upload exit code ($OUT)" 0 "$STATUS"
rm -r "$src/x-y"
quorle -v "$src/" s3://neighbours/pre/
e2e_expect_eq "$CASE: only the removed neighbour goes from the store" \
  "$(printf '[Delete] x-y/f\n[Delete] x-y/')" "$(changes | sed 's|http[^ ]*/pre/||')"
e2e_expect_eq "$CASE: the store keeps x" "$(printf 'pre/x 1/f\npre/x.y/f\npre/x/f\npre/x0/f')" \
  "$(keys neighbours | grep -v '/$')"
quorle "s3://neighbours/pre/" "$dst/"
quorle -v "s3://neighbours/pre/" "$dst/"
e2e_expect_eq "$CASE: restored, a second download changes nothing ($OUT)" "0 " "$STATUS $(changes)"
e2e_check "$CASE: restored tree" diff -r "$src" "$dst"

CASE="dry run"
printf 'changed\n' >"$src/x/f"; put "$src/new"; rm -r "$src/x0"
s3_log_mark
quorle -n "$src/" s3://neighbours/pre/
e2e_expect_eq "$CASE: exit code ($OUT)" 0 "$STATUS"
e2e_expect_eq "$CASE: the store was only read" "GET HEAD" "$(s3_requests | awk '{print $1}' | sort -u | xargs)"
e2e_check "$CASE: a new file" grep -q "^\[Copy\] $src/new --> .*/pre/new (not in the destination)$" <<<"$OUT"
e2e_check "$CASE: a changed file" grep -q "^\[Replace\] $src/x/f --> .* (content differs)$" <<<"$OUT"
e2e_check "$CASE: a folder gone" grep -q "^\[Delete\] .*/pre/x0/ (not in the source)$" <<<"$OUT"

e2e_finish
