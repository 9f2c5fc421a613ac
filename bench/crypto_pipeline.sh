#!/usr/bin/env bash
# crypto_pipeline.sh [BINARY]: times quorle's `-z -e aes-256-cbc` upload to a local s3rver against
# `gzip -c | openssl enc -aes-256-cbc -md sha1` on the same file, with peak memory, for a file of
# 64 MiB and one of 2 GiB (BENCH_SIZES_MIB overrides): the peak must not grow with the file.
# quorle's time covers the whole upload: the MD5 pass, the encoding into a temporary file, the PUT.
# Each stored object is fetched back, decrypted with openssl, gunzipped and compared with its source.
# shellcheck source=lib.sh
. "$(dirname "$0")/lib.sh"
export PW=bench-password

measure() {  # measure LABEL COMMAND... : prints seconds, throughput and peak RSS
  local out="$work/time.out"
  /usr/bin/time -f '%e %M' -o "$out" "${@:2}" >/dev/null 2>"$work/err" || { echo "$1 failed:" >&2; cat "$work/err" >&2; exit 1; }
  read -r seconds kib <"$out"
  printf '%-40s %8.2f s %8.1f MiB/s %9d KiB peak RSS\n' "$1" "$seconds" \
    "$(awk -v m="$mib" -v s="$seconds" 'BEGIN { print (s > 0 ? m / s : 0) }')" "$kib"
}

quorle=("$bin" -t 4 --endpoint "$S3_HOST" --port "$S3_PORT" -z -e aes-256-cbc --encryption-password "$PW")
for mib in ${BENCH_SIZES_MIB:-64 2048}; do
  src=$work/src-$mib
  mkdir -p "$src"
  # base64 of random bytes: gzip takes it down to about three quarters, as with many real files
  # (the last head closes the pipe early on purpose)
  (set +o pipefail; head -c $(( mib * 1024 * 1024 * 3 / 4 )) /dev/urandom | base64 -w 76 \
    | head -c $(( mib * 1024 * 1024 )) >"$src/data.txt")
  sync
  s3_aws s3api put-object --bucket "$BUCKET" --key "run-$mib/" >/dev/null
  measure "$mib MiB: quorle -z -e aes-256-cbc upload" "${quorle[@]}" "$src/" "s3://$BUCKET/run-$mib/"
  measure "$mib MiB: gzip | openssl enc (no upload)" \
    sh -c 'gzip -c "$1" | openssl enc -aes-256-cbc -md sha1 -pass env:PW >"$2" 2>/dev/null' sh \
    "$src/data.txt" "$work/reference.enc"
  s3_aws s3 cp --only-show-errors "s3://$BUCKET/run-$mib/data.txt" "$work/stored.enc"
  openssl enc -d -aes-256-cbc -md sha1 -pass env:PW <"$work/stored.enc" 2>/dev/null | gunzip -c \
    | cmp -s - "$src/data.txt" || { echo "$mib MiB: the stored object does not decode to the file" >&2; exit 1; }
  printf '%-40s %8.1f%% of the file\n' "$mib MiB: stored size" \
    "$(awk -v a="$(stat -c %s "$work/stored.enc")" -v b="$(stat -c %s "$src/data.txt")" 'BEGIN { print 100 * a / b }')"
  s3_s3cmd --path rb --recursive --force "s3://$BUCKET" >/dev/null 2>&1 || true
  s3_make_bucket "$BUCKET"
  rm -rf "$src" "$work/reference.enc" "$work/stored.enc"
done
