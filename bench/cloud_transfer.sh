#!/usr/bin/env bash
# cloud_transfer.sh [BINARY]: times uploads and downloads against a local s3rver, with peak memory,
# and the same work done by s3cmd and aws s3 on the same server.
#   small: 2,000 files of 4 KiB in 20 folders
#   large: one file of 1 GiB
# Every download is compared with its source.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bin=${1:-$root/build/release/quorle}
[[ -x $bin ]] || { echo "no binary at $bin (run scripts/build.sh release)" >&2; exit 2; }
command -v /usr/bin/time >/dev/null || { echo "needs /usr/bin/time (Debian package time)" >&2; exit 2; }
# a 1 GiB transfer by any client takes longer than the harness default
export S3_CLIENT_TIMEOUT=${S3_CLIENT_TIMEOUT:-3600}
# shellcheck source=../tests/e2e/lib/s3server.sh
. "$root/tests/e2e/lib/s3server.sh"
work=$(mktemp -d "${TMPDIR:-/tmp}/quorle-bench.XXXXXX")
trap 's3_server_stop "$work/server" >/dev/null 2>&1 || true; rm -rf "$work"' EXIT
s3_server_start s3rver "$work/server" >/dev/null
export QUORLES_ACCESS_KEY=$S3_ACCESS_KEY QUORLES_SECRET_KEY=$S3_SECRET_KEY
BUCKET=quorle-bench
s3_make_bucket "$BUCKET"

make_small() {
  local i j
  for i in $(seq 1 20); do
    mkdir -p "$1/dir$i"
    for j in $(seq 1 100); do head -c 4096 /dev/urandom >"$1/dir$i/file$j.bin"; done
  done
}
make_large() { mkdir -p "$1"; head -c $((1024 * 1024 * 1024)) /dev/urandom >"$1/large.bin"; }

measure() {  # measure LABEL COMMAND... : prints seconds and peak RSS
  local out="$work/time.out"
  /usr/bin/time -f '%e %M' -o "$out" "${@:2}" >/dev/null 2>"$work/err" || { echo "$1 failed:" >&2; cat "$work/err" >&2; exit 1; }
  read -r seconds kib <"$out"
  printf '%-34s %8.2f s %9d KiB peak RSS\n' "$1" "$seconds" "$kib"
}

# /usr/bin/time runs programs, not shell functions: the tool is named by its path
quorle=("$bin" -t 4 --endpoint "$S3_HOST" --port "$S3_PORT")
# a destination prefix must exist before a sync into it: a folder object makes it
make_prefix() { s3_aws s3api put-object --bucket "$BUCKET" --key "$1" >/dev/null; }

for kind in small large; do
  src=$work/$kind/src
  "make_$kind" "$src"
  sync
  for tool in ${BENCH_TOOLS:-quorle s3cmd aws}; do
    dst=$work/$kind/$tool
    mkdir -p "$dst"
    case $tool in
      quorle) make_prefix "$tool/$kind/"
              measure "$kind: quorle upload" "${quorle[@]}" "$src/" "s3://$BUCKET/$tool/$kind/"
              measure "$kind: quorle download" "${quorle[@]}" "s3://$BUCKET/$tool/$kind/" "$dst/" ;;
      s3cmd)  measure "$kind: s3cmd upload" s3_s3cmd --path --no-progress sync "$src/" "s3://$BUCKET/$tool/$kind/"
              measure "$kind: s3cmd download" s3_s3cmd --path --no-progress sync "s3://$BUCKET/$tool/$kind/" "$dst/" ;;
      aws)    measure "$kind: aws s3 upload" s3_aws s3 sync --only-show-errors "$src/" "s3://$BUCKET/$tool/$kind/"
              measure "$kind: aws s3 download" s3_aws s3 sync --only-show-errors "s3://$BUCKET/$tool/$kind/" "$dst/" ;;
    esac
    diff -r "$src" "$dst" >/dev/null || { echo "$kind: $tool gave back a different tree" >&2; exit 1; }
    rm -rf "$dst"
  done
  rm -rf "${work:?}/$kind"
done
