#!/usr/bin/env bash
# A file whose object the listing proves equal (size and single-PUT ETag) is settled without a head
# request; every other pair goes through the head as before. Both ways must decide alike: a mixed
# tree (plain, -z, -e, multipart, same-size changes, metadata rewritten behind our back) is planned
# with the listing and with QUORLE_COMPARE_BY_HEAD=1, in both directions, on radosgw.
. "$(dirname "$0")/lib/e2e.sh"
e2e_init
e2e_server_start "$(e2e_servers | grep -o rgw || e2e_servers | cut -d' ' -f1)"
export QUORLES_ACCESS_KEY=$S3_ACCESS_KEY QUORLES_SECRET_KEY=$S3_SECRET_KEY
BUCKET=decisions PW=decisions-pw
s3_make_bucket "$BUCKET"

# variant options: each folder goes up with its own
declare -A OPTS=([plain]="" [z]="-z" [e]="-e aes-256-cbc --encryption-password $PW"
                 [mp]="--multipart-threshold 8M")
SRC=$E2E_WORK/src
fill() { head -c "$2" /dev/urandom >"$1"; }
for v in "${!OPTS[@]}"; do
  mkdir -p "$SRC/$v"
  # compressible text for -z, so that a stored size is unlike the plain one
  for f in same meta samesize grown gone; do seq 1 1500 | sed "s/^/$v $f /" >"$SRC/$v/$f.txt"; done
  [[ $v == mp ]] && fill "$SRC/mp/big-same.bin" 9M && fill "$SRC/mp/big-changed.bin" 9M
  s3_aws --path s3api put-object --bucket "$BUCKET" --key "$v/" >/dev/null
  # shellcheck disable=SC2086
  e2e_quorle ${OPTS[$v]} --endpoint "$S3_HOST" --port "$S3_PORT" "$SRC/$v/" "s3://$BUCKET/$v/"
  e2e_expect_eq "$v: upload exit code" 0 "$E2E_STATUS"
done

# Local changes after the upload.
for v in "${!OPTS[@]}"; do
  sed -i '1s/^./X/' "$SRC/$v/samesize.txt"
  echo more >>"$SRC/$v/grown.txt"
  rm "$SRC/$v/gone.txt"
  echo new >"$SRC/$v/new.txt"
done
printf 'Y' | dd of="$SRC/mp/big-changed.bin" bs=1 seek=4096 conv=notrunc status=none
# A compressed object whose metadata another tool rewrote: its plain size and MD5 are gone.
s3_aws --path s3api copy-object --bucket "$BUCKET" --key z/meta.txt --copy-source "$BUCKET/z/meta.txt" \
  --metadata-directive REPLACE --metadata note=rewritten >/dev/null
# A plain object with metadata of no meaning to the comparison.
s3_aws --path s3api copy-object --bucket "$BUCKET" --key plain/same.txt \
  --copy-source "$BUCKET/plain/same.txt" --metadata-directive REPLACE --metadata note=x >/dev/null

# plan WAY VARIANT FROM TO : PLAN gets the dry run's lines, sorted, and HEADS its head requests
plan() {
  # shellcheck disable=SC2086
  QUORLE_COMPARE_BY_HEAD=$([[ $1 == head ]] && echo 1 || echo 0) \
    e2e_quorle -n -D ${OPTS[$2]} --endpoint "$S3_HOST" --port "$S3_PORT" "$3" "$4"
  # -D shows each request in the log of the comparison and of its folder
  HEADS=$(grep '^> HEAD ' "$E2E_OUTPUT" | sort -u | wc -l)
  PLAN=$(grep -E '^\[(Copy|Replace|Delete|Keep|Create folder)\]' "$E2E_OUTPUT" | LC_ALL=C sort || true)
}

for v in plain z e mp; do
  for dir in up down; do
    from=$SRC/$v/ to=s3://$BUCKET/$v/
    [[ $dir == down ]] && from=s3://$BUCKET/$v/ to=$SRC/$v/
    plan head "$v" "$from" "$to"; by_head=$PLAN heads_before=$HEADS status_before=$E2E_STATUS
    plan listing "$v" "$from" "$to"; by_list=$PLAN
    e2e_expect_eq "$v $dir: both ways exit 0" "0 0" "$status_before $E2E_STATUS"
    e2e_expect_eq "$v $dir: the listing decides as the head requests do" "$by_head" "$by_list"
    # the changes are found, whatever way
    for f in samesize grown; do
      e2e_check "$v $dir: $f.txt is replaced" grep -q "^\[Replace\].*/$v/$f.txt" <<<"$by_list"
    done
    [[ $v == z ]] && e2e_check "z $dir: meta.txt, its metadata gone, is replaced" grep -q '/z/meta.txt' <<<"$by_list"
    e2e_check "$v $dir: same.txt is not" bash -c "! grep -q '/$v/same.txt' <<<\"\$1\"" _ "$by_list"
    if [[ $v == plain ]]; then
      # the listing proves same.txt and meta.txt equal; another size may still be an encoded object's
      e2e_expect_eq "plain $dir: heads, then only where the listing can't decide" "4 2" "$heads_before $HEADS"
    fi
  done
done
plan listing mp "$SRC/mp/" "s3://$BUCKET/mp/"
e2e_check "mp: the changed big file is replaced" grep -q "big-changed.bin" <<<"$PLAN"

# After a real sync, a second run needs no head at all for the plain variant.
e2e_quorle --endpoint "$S3_HOST" --port "$S3_PORT" "$SRC/plain/" "s3://$BUCKET/plain/"
e2e_expect_eq "plain: sync exit code" 0 "$E2E_STATUS"
e2e_quorle -v -D --endpoint "$S3_HOST" --port "$S3_PORT" "$SRC/plain/" "s3://$BUCKET/plain/"
e2e_expect_eq "plain: re-sync changes nothing" "" "$(grep -E '^\[(Copy|Replace|Delete)\]' "$E2E_OUTPUT" || true)"
e2e_expect_eq "plain: re-sync sends no head" 0 "$(grep -c '^> HEAD ' "$E2E_OUTPUT" || true)"

e2e_server_stop
e2e_finish
