# Sourced by the cloud benchmarks: checks the binary and /usr/bin/time, starts an s3rver (or the
# server that BENCH_SERVER names) in a work folder that goes away on exit, and makes the bucket BUCKET.
# Sets: root, bin, work, BUCKET and the server's S3_* variables and keys.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
bin=${1:-$root/build/release/quorle}
[[ -x $bin ]] || { echo "no binary at $bin (run scripts/build.sh release)" >&2; exit 2; }
command -v /usr/bin/time >/dev/null || { echo "needs /usr/bin/time (Debian package time)" >&2; exit 2; }
# a transfer of gigabytes by any client takes longer than the harness default
export S3_CLIENT_TIMEOUT=${S3_CLIENT_TIMEOUT:-3600}
# shellcheck source=../tests/e2e/lib/s3server.sh
. "$root/tests/e2e/lib/s3server.sh"
work=$(mktemp -d "${TMPDIR:-/tmp}/quorle-bench.XXXXXX")
trap 's3_server_stop "$work/server" >/dev/null 2>&1 || true; rm -rf "$work"' EXIT
s3_server_start "${BENCH_SERVER:-s3rver}" "$work/server" >/dev/null
export QUORLES_ACCESS_KEY=$S3_ACCESS_KEY QUORLES_SECRET_KEY=$S3_SECRET_KEY
BUCKET=quorle-bench
s3_make_bucket "$BUCKET"

# measure LABEL COMMAND... : prints seconds and peak RSS, and keeps them in times[LABEL], rss[LABEL] (KiB).
# MEASURE_WIDTH sets the label column.
declare -A times=() rss=()
measure() {
  local out="$work/time.out" seconds kib width=${MEASURE_WIDTH:-34}
  if ! /usr/bin/time -f '%e %M' -o "$out" "${@:2}" >/dev/null 2>"$work/err"; then
    printf '%-*s   failed: %s\n' "$width" "$1" "$(grep -v '^Command exited' "$work/err" | tail -n 1)"
    return 1
  fi
  read -r seconds kib <"$out"
  printf '%-*s %8.2f s %9d KiB peak RSS\n' "$width" "$1" "$seconds" "$kib"
  times[$1]=$seconds rss[$1]=$kib
}
