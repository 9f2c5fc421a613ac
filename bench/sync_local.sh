#!/usr/bin/env bash
# sync_local.sh [BINARY]: times local-to-local syncs and reports peak memory.
#   many-small: 10,000 files of 1 KiB in 100 folders
#   few-large:  20 files of 100 MiB
# Each is synced twice: the first run copies everything, the second finds
# nothing to do (every file of equal size is read on both sides to compare).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bin=${1:-$root/build/release/quorle}
[[ -x $bin ]] || { echo "no binary at $bin (run scripts/build.sh release)" >&2; exit 2; }
command -v /usr/bin/time >/dev/null || { echo "needs /usr/bin/time (Debian package time)" >&2; exit 2; }
work=$(mktemp -d "${TMPDIR:-/tmp}/quorle-bench.XXXXXX")
# Every run lists the account's buckets first: a local S3 server answers that.
trap '"$root/scripts/s3-server.sh" stop "$work/s3" >/dev/null 2>&1 || true; rm -rf "$work"' EXIT
"$root/scripts/s3-server.sh" start "$work/s3" >/dev/null
# shellcheck disable=SC1091
set -a; . "$work/s3/env"; set +a
store=(--endpoint "$S3_HOST" --port "$S3_PORT")

make_small() {
  local d i j
  for i in $(seq 1 100); do
    d="$1/dir$i"; mkdir -p "$d"
    for j in $(seq 1 100); do head -c 1024 /dev/urandom >"$d/file$j.bin"; done
  done
}
make_large() {
  mkdir -p "$1"
  for i in $(seq 1 20); do head -c $((100 * 1024 * 1024)) /dev/urandom >"$1/large$i.bin"; done
}

measure() {  # measure LABEL SRC DST
  local out="$work/time.out"
  /usr/bin/time -f '%e %M' -o "$out" "$bin" -t 4 "${store[@]}" "$2/" "$3/" || { echo "$1: quorle failed" >&2; exit 1; }
  read -r seconds kib <"$out"
  printf '%-24s %8.2f s %8d KiB peak RSS\n' "$1" "$seconds" "$kib"
}

for kind in small large; do
  mkdir -p "$work/$kind/src" "$work/$kind/dst"
  "make_$kind" "$work/$kind/src"
  sync   # measure the tool, not the page cache flush of the set-up
  measure "$kind: first run" "$work/$kind/src" "$work/$kind/dst"
  measure "$kind: no-op rerun" "$work/$kind/src" "$work/$kind/dst"
  diff -r "$work/$kind/src" "$work/$kind/dst" >/dev/null || { echo "$kind: trees differ" >&2; exit 1; }
  rm -rf "$work/$kind"
done
