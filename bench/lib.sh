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

# The clients that the benches compare. /usr/bin/time runs programs, not shell functions: every
# client is named by its path, with what the harness's s3_s3cmd and s3_aws would add, written out.
quorle=("$bin" -t 4 --endpoint "$S3_HOST" --port "$S3_PORT")
base=("${BENCH_BASE:-$bin}" -t 4 --endpoint "$S3_HOST" --port "$S3_PORT")
s3cmd=(s3cmd -c "$S3CMD_CONFIG_PATH" --no-progress sync)
aws=("$S3_AWS_BIN" --profile path --endpoint-url "$S3_ENDPOINT" s3 sync --only-show-errors)
# rclone reads the remote "s3" from the environment alone
export RCLONE_CONFIG=$work/rclone.conf RCLONE_CONFIG_S3_TYPE=s3 RCLONE_CONFIG_S3_PROVIDER=Other \
  RCLONE_CONFIG_S3_ENDPOINT=$S3_ENDPOINT RCLONE_CONFIG_S3_ACCESS_KEY_ID=$S3_ACCESS_KEY \
  RCLONE_CONFIG_S3_SECRET_ACCESS_KEY=$S3_SECRET_KEY RCLONE_CONFIG_S3_FORCE_PATH_STYLE=true
: >"$RCLONE_CONFIG"
rclone=(rclone sync -q)
# A destination prefix must exist before a sync into it: a folder object makes it
make_prefix() { s3_aws --path s3api put-object --bucket "$BUCKET" --key "$1" >/dev/null; }

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
