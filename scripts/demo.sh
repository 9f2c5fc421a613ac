#!/usr/bin/env bash
# Installs what is needed, builds quorle, starts a local S3 server and runs real
# syncs with it: a sample tree goes up into a bucket, comes back into a new
# folder, and the result is compared with the original.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" release
bin="$root/build/release/quorle"

work=$(mktemp -d "${TMPDIR:-/tmp}/quorle-demo.XXXXXX")
server="$work/s3-server"
trap '"$root/scripts/s3-server.sh" stop "$server" >/dev/null 2>&1 || true; rm -rf "$work"' EXIT

"$root/scripts/s3-server.sh" start "$server"
# the server's endpoint, its keys (QUORLES_ACCESS_KEY, QUORLES_SECRET_KEY) and s3cmd's settings
# shellcheck disable=SC1091
. "$server/env"
# shellcheck source=../tests/e2e/lib/s3server.sh
. "$root/tests/e2e/lib/s3server.sh"
s3_server_use "$server"
s3_make_bucket quorle-demo

mkdir -p "$work/documents/reports" "$work/restored"
echo "quarterly figures" >"$work/documents/reports/q1.txt"
echo "notes" >"$work/documents/notes.txt"
head -c 100000 /dev/urandom >"$work/documents/photo.bin"

store=(--endpoint "$S3_HOST" --port "$S3_PORT")
echo
echo "== local folder to the store"
( set -x; "$bin" -v "${store[@]}" "$work/documents/" s3://quorle-demo/ )
echo
echo "== what the store holds (s3cmd)"
s3_s3cmd --path ls --recursive s3://quorle-demo/
echo
echo "== the store back to a new local folder"
( set -x; "$bin" -v "${store[@]}" s3://quorle-demo/ "$work/restored/" )
echo
diff -r "$work/documents" "$work/restored" && echo "demo: the restored folder matches the original"
